# SPDX-License-Identifier: Apache-2.0
"""A line of slots, each with a console of its own: here a stand-in that behaves as its unit's serial number says."""

import json
import os
import re
import signal
import subprocess
import time
from pathlib import Path

import pytest

from orva_records.collect import collect
from orva_records.queries import Filter, unit, yields
from orva_records.store import Store
from support.console import PATIENCE_S, STATION, started, station
from support.terminal import Terminal
from support.tree import CHIPS, PHONES, ROOT

STAND_IN = ROOT / "tests" / "support" / "console_stand_in.py"


class Line:
    """A plan in a folder, and the station that runs it."""

    def __init__(self, folder):
        self.folder = folder
        self.journal = folder / "journal"
        for name in ("rf.tcl", "off.tcl", "bad_off.tcl"):
            (folder / name).write_text("")

    def plan(self, more="", slots=("1", "2"), head='teardown = "off.tcl"', console=STAND_IN):
        text = f'version = "7"\nstation = "line-3"\nsessions = ["rf.tcl"]\nspool = "spool"\nconsole = ["{console}"]\n{head}\n'
        text += "".join(f'[[slot]]\nname = "{name}"\n' for name in slots)
        (self.folder / "plan.toml").write_text(text + more)
        return self.folder / "plan.toml"

    def script(self, text):
        """A console that takes no time to start."""
        path = self.folder / "console.sh"
        path.write_text(f"#!/bin/sh\n{text}\n")
        path.chmod(0o755)
        return path

    def start(self, plan, **options):
        return started("line", plan, env=self.environment(), **options)

    def environment(self):
        return {**os.environ, "STAND_IN_LOG": str(self.journal)}

    def run(self, plan, *scans):
        return station("line", plan, stdin="".join(f"{scan}\n" for scan in scans), env=self.environment())

    def done(self):
        return self.journal.read_text().splitlines() if self.journal.exists() else []

    def asked(self, query, *arguments):
        """What the database answers once the spool is collected."""
        database = f"sqlite:///{self.folder}/store.sqlite"
        tally = collect(self.folder / "spool", Store(database))
        assert not tally.problems and not tally.damaged
        with Store(database).reading() as connection:
            return query(connection, *arguments)

    def counts(self):
        """Runs and BROKEN ones."""
        (row,) = self.asked(yields, Filter())
        return row["runs"], row["broken"]

    def history(self, serial):
        return self.asked(unit, serial)


@pytest.fixture
def line(tmp_path):
    return Line(tmp_path)


def state_of(process):
    return Path(f"/proc/{process}/stat").read_text().rpartition(")")[2].split()[0]


def outcomes(printed):
    """(unit, verdict, reason) of each run, in the order in which they ended."""
    return [(unit, verdict, reason.strip()) for unit, verdict, reason in
            re.findall(r"^slot \S+  (\S+)  (PASS|FAIL|BROKEN|NO VERDICT)  [0-9.]+ s(.*)$", printed, re.M)]


@pytest.mark.parametrize("unit, verdict, reason, status", [
    ("pass-1", "PASS", "", 0),
    ("fail-1", "FAIL", r"stand_in.tcl:7 power 3, expected 13..17", 1),
    ("crash-1", "BROKEN", "the console was ended by SIGSEGV", 2),
    ("rubbish-1", "BROKEN", r'the console printed "Segmentation fault \(core dumped\)", which is no line of --json', 2),
    ("mute-1", "BROKEN", "the console ended with status 0", 2),
    ("liar-1", "BROKEN", "the console ended with status 1: the record cannot be written", 2),
    ("hang-1", "BROKEN", "the run took longer than 2 s", 2),
    ("deaf-1", "BROKEN", "the run took longer than 2 s", 2),
])
def test_each_way_a_console_can_end_has_its_verdict_and_a_teardown(line, unit, verdict, reason, status):
    limits = 'teardown = "off.tcl"\ntime_limit_s = 2\ngrace_s = 12' if unit in ("hang-1", "deaf-1") else 'teardown = "off.tcl"'
    done = line.run(line.plan(head=limits), unit)
    (found,) = outcomes(done.stdout)
    assert found[:2] == (unit, verdict) and re.fullmatch(reason, found[2]), done.stdout
    assert (done.returncode, done.stderr) == (status, "")
    assert line.done()[-1].startswith("teardown")


PASSES = """echo '{"type":"summary","verdict":"PASS"}'"""


@pytest.mark.parametrize("does, verdict, reason", [
    (PASSES, "PASS", ""),
    ("echo the cause >&2\nexit 2", "BROKEN", "the console ended with status 2: the cause"),
])
def test_the_last_words_of_a_console_that_ends_at_once_are_heard(line, does, verdict, reason):
    done = line.run(line.plan(head="", slots="123456", console=line.script(does)), *range(150))
    assert [found[1:] for found in outcomes(done.stdout)] == [(verdict, reason)] * 150


def test_a_unit_is_retried_until_it_passes_and_the_shift_counts_both_yields(line):
    done = line.run(line.plan(head="attempts = 3"), "pass-1", "flaky-1", "fail-1")
    found = outcomes(done.stdout)
    assert [verdict for unit, verdict, _ in found if unit == "flaky-1"] == ["FAIL", "PASS"]
    assert [verdict for unit, verdict, _ in found if unit == "fail-1"] == ["FAIL"] * 3
    assert done.stdout.splitlines()[-1] == "3 units: first-pass yield 33.3 %, final yield 66.7 %; 6 runs, 0 BROKEN"
    assert done.returncode == 1 and line.counts() == (6, 0)


def test_a_slot_with_too_many_misses_in_a_row_takes_no_more(line):
    done = line.run(line.plan(head="stop_after = 2", slots=("a",)), "fail-1", "pass-1", "fail-2", "crash-3", "pass-4", "pass-5")
    assert [unit for unit, _, _ in outcomes(done.stdout)] == ["fail-1", "pass-1", "fail-2", "crash-3"]
    assert "slot a is stopped: 2 units in a row did not pass" in done.stdout
    assert all(f"pass-{n} is not tested" in done.stdout for n in (4, 5))
    assert done.returncode == 2 and done.stdout.splitlines()[-1].endswith("4 runs, 1 BROKEN, 2 not tested")


def test_a_teardown_that_fails_is_a_broken_run_of_its_own(line):
    done = line.run(line.plan(head='teardown = "bad_off.tcl"\nattempts = 2'), "pass-1")
    failed = "the teardown failed, so the phone may still transmit: "
    assert [verdict for _, verdict, _ in outcomes(done.stdout)] == ["PASS", "PASS"]
    assert done.stdout.count(f"slot 1  pass-1  BROKEN  {failed}") == 2
    assert done.stdout.splitlines()[-1] == "1 unit: first-pass yield 100.0 %, final yield 100.0 %; 4 runs, 2 BROKEN"
    assert done.returncode == 2 and line.counts() == (4, 2)
    history = [(run["plan"], run["attempt"], run["verdict"]) for run in line.history("pass-1")]
    assert history == [("rf.tcl", 1, "PASS"), ("bad_off.tcl", 1, "BROKEN"), ("rf.tcl", 2, "PASS"), ("bad_off.tcl", 2, "BROKEN")]
    assert line.history("pass-1")[1]["causes"][0].startswith(failed)


def test_a_failed_teardown_without_room_for_its_record_says_so(line):
    """A spool that is away stands in for a full disk: the console is done with its record by then."""
    plan = line.plan(head='teardown = "gone_off.tcl"')
    (line.folder / "gone_off.tcl").write_text("")
    done = line.run(plan, "pass-1")
    assert re.search(r"BROKEN  the teardown failed, .*; it has no record: .*spool/\S+: No such file", done.stdout), done.stdout
    assert done.returncode == 2


def test_an_input_that_fails_is_not_the_end_of_the_shift(line):
    """A folder, and the terminal of a bar code scanner that is pulled out while its unit is tested."""
    plan = line.plan()
    folder = os.open(line.folder, os.O_RDONLY)
    done = subprocess.run([STATION, "line", plan], stdin=folder, capture_output=True, text=True, timeout=PATIENCE_S)
    os.close(folder)
    assert (done.returncode, done.stdout.splitlines()[0]) == (2, "the standard input cannot be read: Is a directory")
    ours, theirs = os.openpty()
    with subprocess.Popen([STATION, "line", plan], stdin=theirs, stdout=subprocess.PIPE, text=True, env=line.environment()) as running:
        os.close(theirs)
        os.write(ours, b"pass-1\n")
        first = running.stdout.readline()
        os.close(ours)
        printed = first + running.communicate(timeout=PATIENCE_S)[0]
    assert "the standard input cannot be read: Input/output error\n" in printed and running.returncode == 2
    assert outcomes(printed) == [("pass-1", "PASS", "")] and line.done()[-1].startswith("teardown")


def test_a_slow_slot_does_not_hold_the_others(line):
    """The slow unit waits for the three of the other slot, and the unit behind it for the slow one."""
    done = line.run(line.plan(), "1 slow-1", "1 pass-0", *(f"2 pass-{n}" for n in (1, 2, 3)))
    order = [unit for unit, _, _ in outcomes(done.stdout)]
    assert order[:2] == ["pass-1", "pass-2"] and order.index("slow-1") < order.index("pass-0")
    assert len(order) == 5 and done.returncode == 0


@pytest.mark.parametrize("scans, message", [
    (["9 pass-1"], r'"9 pass-1": there is no slot 9: scan SERIAL or SLOT SERIAL, with slot 1 or 2'),
    (["pass-1", "pass-1"], r"pass-1 (is being tested in slot 1; scan it again afterwards|is waiting for a slot already)"),
    (["1 " + "x" * 4000], r"x+: it has 4000 characters: give 1 to 200 characters without control characters."),
    (["pass\x1b[2J"], r"pass \[2J: it has a control character: give 1 to 200 characters without control characters."),
])
def test_a_scan_that_is_refused_is_no_pass(line, scans, message):
    done = line.run(line.plan(), *scans)
    (refused,) = re.findall(r"^refused: (.*)$", done.stdout, re.M)
    assert re.fullmatch(message, refused), refused
    assert done.returncode == 2


def test_a_console_gets_all_that_the_plan_gives(line):
    keys = """chip = "vq2070"\nphone = "%station.toml"\nunit = "%serial"\nnv = "%slot.nv"\noptions = ["--strict", "--brief"]
operator = "Ann"\nname = "board"\nreports = "pages"\nparameters = { power = 120, band = "5G" }\nteardown = "off.tcl"\n"""
    done = line.run(line.plan("[slot.parameters]\nband = \"2G\"\n", slots=("7",), head=keys), "words-1")
    assert [verdict for _, verdict, _ in outcomes(done.stdout)] == ["PASS"], done.stdout
    folder = str(line.folder)
    phone = ["--json", "--chip", "vq2070", "--phone", f"{folder}/line-3.toml", "--unit", "words-1", "--nv", f"{folder}/7.nv",
             "--strict", "--brief"]
    identity = ["--serial", "words-1", "--station", "line-3", "--slot", "7", "--operator", "Ann", "--plan", "board", "--plan-version", "7",
                "--attempt", "1"]
    files = ["--record", f"{folder}/spool/%run.jsonl", "--report", f"{folder}/pages/%run.html"]
    runs = [json.loads(text) for text in line.done() if text.startswith("[")]
    assert runs == [[*phone, *identity, *files, "run", f"{folder}/rf.tcl", "--", "band=2G", "power=120"], [*phone, "run", f"{folder}/off.tcl"]]


@pytest.mark.parametrize("key, least, most", [("attempts", 1, 100), ("stop_after", 0, 1000), ("time_limit_s", 1, 86400), ("grace_s", 1, 86400)])
def test_the_numbers_of_a_plan_have_ends(line, key, least, most):
    for number in (least - 1, least, most, most + 1):
        done = line.run(line.plan(head=f"{key} = {number}"))
        complaint = "" if least <= number <= most else f"{key}: give a whole number from {least} to {most}.\n"
        assert done.stderr.endswith(complaint) and bool(done.stderr) == bool(complaint), number


def test_a_limit_that_a_run_reached_as_it_ended_is_not_the_next_runs(line):
    """The line is stopped meanwhile, so that it learns of the end and of the limit at once."""
    console, gate = line.folder / "pid", line.folder / "open"
    script = line.script(f'echo $$ > "{console}.new"; mv "{console}.new" "{console}"\nwhile [ ! -e "{gate}" ]; do sleep 0.05; done\n{PASSES}')
    with line.start(line.plan(slots=("1",), head="time_limit_s = 3", console=script)) as running:
        running.stdin.write("first\nsecond\n")
        running.stdin.flush()
        while not console.exists():
            assert running.poll() is None
            time.sleep(0.02)
        running.send_signal(signal.SIGSTOP)
        limit = time.monotonic() + 3
        gate.touch()
        while state_of(int(console.read_text())) != "Z" or time.monotonic() < limit:
            time.sleep(0.05)
        running.send_signal(signal.SIGCONT)
        printed = running.communicate()[0]
    assert outcomes(printed) == [("first", "PASS", ""), ("second", "PASS", "")]


@pytest.mark.parametrize("number", [signal.SIGINT, signal.SIGTERM, signal.SIGHUP])
def test_a_signal_ends_every_console_in_good_order(line, number):
    with line.start(line.plan()) as running:
        running.stdin.write("hang-1\nhang-2\npass-3\n")
        running.stdin.flush()
        while len(list((line.folder / "spool").glob("*.part"))) < 2:
            assert running.poll() is None
            time.sleep(0.02)
        running.send_signal(number)
        printed = running.stdout.read()
    assert sorted(outcomes(printed)) == [("hang-1", "BROKEN", number.name), ("hang-2", "BROKEN", number.name)]
    assert f"pass-3 is not tested: {number.name}" in printed
    assert running.returncode == 2
    assert sum(text.startswith("teardown") for text in line.done()) == 2
    assert line.counts() == (2, 2)


def test_ending_an_idle_line_breaks_nothing(line):
    terminal = Terminal(line.folder, "line", line.plan(), environment=line.environment())
    terminal.type("pass-1\r", r"(?s)PASS.*scan> ")
    terminal.type("\x04", "1 unit: first-pass yield 100.0 %")
    assert terminal.rest()[1] == 0


def test_the_terminal_shows_every_slot_and_what_is_typed(line):
    terminal = Terminal(line.folder, "line", line.plan(), environment=line.environment())
    seen = terminal.type("1 hang-1\r", r"hang-1 +\d+ s  Transmit 1/2")
    assert "2    free\r\n" in seen
    terminal.type("junk\x159x\x7f\x08pass-ä", r"scan> pass-ä")
    terminal.type("\x7f-2\r", r"slot 2  pass--2  PASS")
    terminal.type("7 x\r", r"refused: .*no slot 7")
    terminal.type("\x03", r"SIGINT: the line ends")
    rest, status = terminal.rest()
    assert "hang-1  BROKEN" in rest and status == 2


def test_a_line_whose_terminal_is_gone_ends_every_console_in_good_order(line):
    terminal = Terminal(line.folder, "line", line.plan(), environment=line.environment())
    terminal.type("1 hang-1\r2 hang-2\rpass-3\r", r"(?s)hang-1 +\d+ s  Transmit 1/2.*hang-2 +\d+ s  Transmit 1/2.*1 waiting")
    assert terminal.hang_up() == 2
    assert sorted(text.split()[0] for text in line.done()) == ["BROKEN", "BROKEN", "teardown", "teardown"]
    assert line.counts() == (2, 2)


def real_plan(line, sessions, more, slots=("1", "2")):
    """A plan for the console itself, whose time is the virtual phone's unless more says otherwise."""
    text = f'version = "7"\nstation = "line-3"\nsessions = {json.dumps([str(path) for path in sessions])}\nspool = "spool"\n{more}\n'
    (line.folder / "plan.toml").write_text(text + "".join(f'[[slot]]\nname = "{name}"\n' for name in slots))
    return line.folder / "plan.toml"


def test_verdicts_of_eight_slots_at_once_are_those_of_single_runs(line):
    session = ROOT / "sessions" / "board_check.tcl"
    units = {f"{phone.stem}-{chip}": (phone, chip) for phone in sorted(PHONES.glob("*.toml")) for chip in CHIPS}
    for name, (phone, chip) in units.items():
        (line.folder / f"{name}.toml").write_text(f'chip = "{chip}"\n{phone.read_text()}')
    done = line.run(real_plan(line, [session], 'phone = "%serial.toml"', slots="12345678"), *units)
    found = {unit: verdict for unit, verdict, _ in outcomes(done.stdout)}
    assert "BROKEN" not in found.values(), done.stdout
    words = {0: "PASS", 1: "FAIL"}
    assert found == {name: words[station("--quiet", "--phone", line.folder / f"{name}.toml", "run", session).returncode]
                     for name in units}
    assert set(found.values()) == set(words.values()) and line.counts() == (len(units), 0)


def test_no_phone_transmits_after_the_line_was_ended(line):
    script = line.folder / "transmit.tcl"
    script.write_text("wifi_start_testmode -> 1\nwifi_set_mode 4\nwifi_set_band 0\nwifi_set_rate 6500\nwifi_set_channel 2412\n"
                      'if {[has driver mimo_chain]} { wifi_setmimo_channel 1 }\nwifi_start_tx -> 1\nstep "On air"\nwait 3000\n')
    plan = real_plan(line, [script], 'reports = "pages"\noptions = ["--clock", "real", "--trace", "%run.trace"]')
    with line.start(plan, cwd=line.folder) as running:
        running.stdin.write("R1\nR2\n")
        running.stdin.flush()
        while sum("On air" in path.read_text() for path in (line.folder / "spool").glob("*.part")) < 2:
            assert running.poll() is None
            time.sleep(0.05)
        running.send_signal(signal.SIGTERM)
        printed = running.stdout.read()
    assert [verdict for _, verdict, _ in outcomes(printed)] == ["BROKEN"] * 2 and running.returncode == 2
    traces = [path.read_text() for path in line.folder.glob("*.trace")]
    assert len(traces) == 2 and all("wifi_stop_tx" in text and "wifi_stop_testmode" in text for text in traces)
    assert len(list((line.folder / "pages").glob("*.html"))) == 2 and line.counts() == (2, 2)


@pytest.mark.parametrize("serial", ["../../x", "a'; DROP TABLE runs; --\"", "µ单元-№7", ".hidden", "%run", "x" * 200])
def test_a_serial_number_is_stored_as_it_is_and_leaves_no_folder(line, serial):
    script = line.folder / "one.tcl"
    script.write_text("wifi_set_power 120 -> 1\n")
    for name in ("nv", "pages", "spool"):
        (line.folder / name).mkdir()
    before = sorted(path.name for path in line.folder.iterdir())
    done = line.run(real_plan(line, [script], 'nv = "nv/%serial.nv"\nreports = "pages"', slots=("%s",)), f"%s {serial}")
    assert f"  {serial}  PASS  " in done.stdout and done.returncode == 0, done.stdout
    (record,) = (line.folder / "spool").glob("*.jsonl")
    assert json.loads(record.read_text().splitlines()[0])["serial"] == serial
    assert sorted(path.name for path in line.folder.iterdir()) == sorted([*before, "plan.toml"])
    assert line.counts() == (1, 0)


PLAN = 'version = "7"\nstation = "s"\nsessions = ["rf.tcl"]\nspool = "spool"\n'
SLOT = '[[slot]]\nname = "1"\n'


@pytest.mark.parametrize("text, message", [
    ("version 7", r"plan.toml:1: .*"),
    (PLAN, r"plan.toml: slot is missing; give at least one, .*"),
    (PLAN.replace('version = "7"\n', "") + SLOT, r'plan.toml: version is missing; give it, as version = "1".'),
    (PLAN.replace('station = "s"\n', "") + SLOT, r'plan.toml: station is missing; give it there, .*'),
    (PLAN.replace("rf.tcl", "none.tcl") + SLOT, r"plan.toml:3: sessions: there is no file .*none.tcl."),
    (PLAN.replace('"rf.tcl"', '"rf.tcl", "off.tcl"') + 'name = "n"\n' + SLOT, r"plan.toml: name: each of several sessions .*"),
    (PLAN + "atempts = 2\n" + SLOT, r"plan.toml:5: atempts: no such key; give .*attempts.*slot."),
    (PLAN + "attempts = 0\n" + SLOT, r"plan.toml:5: attempts: give a whole number from 1 to 100."),
    (PLAN + "attempts = 1.5\n" + SLOT, r"plan.toml:5: attempts: give a whole number from 1 to 100."),
    (PLAN + 'console = "adb"\n' + SLOT, r'plan.toml:5: console: give a list of texts, as \["A", "B"\].'),
    (PLAN + SLOT + 'chip = "vq1"\n', r'plan.toml:7: slot.chip: "vq1" is no chip; give vq2040, .*'),
    (PLAN + SLOT + 'station = "x"\n', r"plan.toml:7: slot.station: no such key; give chip, .* or name."),
    (PLAN + SLOT + SLOT, r"plan.toml:7: slot.name: there are two slots 1; give each a name of its own."),
    (PLAN + '[[slot]]\nname = "a b"\n', r'plan.toml:5: slot: the name "a b" has a blank, .*'),
    (PLAN + 'nv = "x.nv"\n' + SLOT + SLOT.replace("1", "2"), r"plan.toml: slot 2: nv x.nv is another slot's too; .*"),
    (PLAN + 'nv = "%chip.nv"\nchip = "vq2040"\n' + SLOT + SLOT.replace("1", "2"), r"plan.toml: slot 2: nv %chip.nv is another slot's too; .*"),
    (PLAN + SLOT + 'nv = "%slot2.nv"\n' + SLOT.replace("1", "2") + 'nv = "./12.nv"\n', r"plan.toml: slot 2: nv ./12.nv is another .*"),
    (PLAN + 'phone = "%what.toml"\n' + SLOT, r"plan.toml: phone %what.toml: a % has no placeholder behind it: give .*"),
    (PLAN + 'nv = "%chip.nv"\n' + SLOT, r"plan.toml: nv %chip.nv: %chip has no value: give --chip."),
    (PLAN + "parameters = 5\n" + SLOT, r"plan.toml:5: parameters: give a table of names and values, .*"),
])
def test_a_plan_that_is_wrong_is_named_with_file_line_and_key(line, text, message):
    (line.folder / "plan.toml").write_text(text)
    done = station("line", "plan.toml", cwd=line.folder)
    assert done.returncode == 2 and done.stdout == ""
    assert re.fullmatch(f"orva-station: {message}\n", done.stderr), done.stderr
    assert not (line.folder / "spool").exists()


@pytest.mark.parametrize("stores", [("%chip.nv", "%chip.nv"), ("%slot.nv", "%slot.nv"), ("%serial.nv", "%serial.nv"), ("a" * 300, "b" * 300)])
def test_slots_have_nv_stores_of_their_own(line, stores):
    slots = "".join(f'[[slot]]\nname = "{chip}"\nchip = "{chip}"\nnv = "{store}"\n' for chip, store in zip(CHIPS, stores))
    (line.folder / "plan.toml").write_text(PLAN + slots)
    done = station("line", "plan.toml", cwd=line.folder)
    assert (done.returncode, done.stderr) == (3, "")


def test_words_and_options_that_a_line_does_not_take(line):
    for words, message in [
        (["line"], "line: name one plan, as in: orva-station line plan.toml"),
        (["line", "none.toml"], "none.toml: there is no such file; name a plan (TOML)."),
        (["line", "."], ".: is a folder; name a plan (TOML)."),
        (["--chip", "vq2050", "line", "plan.toml"], "--chip does nothing for line: the plan has what its consoles get."),
        (["--json", "line", "plan.toml"], "--json does nothing for line: the plan has what its consoles get."),
        (["--serial", "x", "line", "plan.toml"], "--serial does nothing for line: the plan has what its consoles get."),
    ]:
        done = station(*words, cwd=line.folder)
        assert (done.returncode, done.stderr) == (2, f"orva-station: {message}\n")
