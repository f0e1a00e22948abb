# SPDX-License-Identifier: Apache-2.0
"""The prompt on a terminal: characters, completion, the bell, the progress bar, and terminals without abilities."""

import os
import re
import subprocess
from xml.etree import ElementTree

import pytest

from support.console import STATION, station
from support.terminal import Terminal

READY = r"rx:off> $"
LOCALES = [{"LC_ALL": "C"}, {"LC_ALL": "C.UTF-8"}, {"LC_ALL": "", "LANG": "", "LC_CTYPE": ""}]


def plain(text):
    return re.sub(r"\033\[[0-9;?]*[A-Za-z]", "", text)


def open_prompt(folder, *options, **keywords):
    here = Terminal(folder, *options, **keywords)
    here.type("", READY)
    return here


@pytest.mark.parametrize("locale", LOCALES, ids=["C", "UTF-8", "none"])
def test_every_character_can_be_typed_edited_and_recalled(tmp_path, locale):
    (tmp_path / "prüfung-中.tcl").write_text("limits é 1 1\n")
    here = open_prompt(tmp_path, environment=locale)
    left, delete = "\033[D", "\x7f"
    here.type(f"note é中xx{delete}{delete}ß{left}{left}{delete}ü\r", r"\n +ü中ß\r\n[\s\S]*" + READY)
    here.type("\x10", "note ü中ß")
    here.type("\r", r"\n +ü中ß\r\n[\s\S]*" + READY)
    here.type("phone load prü\t", r"fung-中\.tcl ")
    here.type("\x15string length é中\r", r"\n2\r\n[\s\S]*" + READY)
    os.write(here.fd, b"exit\r")
    assert here.rest()[1] == 3
    again = open_prompt(tmp_path, environment=locale)
    again.type("\x10\x10\x10", r"note ü中ß")


def test_a_session_file_may_have_any_name(tmp_path):
    script = tmp_path / "prüfung-中.tcl"
    script.write_text("limits é 1 1\n", encoding="utf-8")
    done = station("run", script, env={**os.environ, "LC_ALL": "C"}, encoding="utf-8")
    assert done.returncode == 0 and "prüfung-中.tcl" in done.stdout and "expect é" in done.stdout


COMPLETED = [
    ("tester iden", "tity "), ("tester uncertainty fre", "quency_error "), ("tester generate -fo", "rmat "), ("tester limits sub/o", r"ne\.txt "),
    ("phone load my", r"\\ file\.tcl "), ("nv save my", r"\\ file\.tcl "), ("nv load sub/o", r"ne\.txt "), ("nv backup su", "b/"),
    ("nv restore sub/", r"one\.txt +two\.txt"), ("nv diff {my", r"file\.tcl"), ('phone load "my', r"file\.tcl"),
    ("ignore wifi_get_rx_r", "ssi "), ("ignore wifi_set_band ", "0 +1 +2 +3"), ("preview wifi_set_band ", "0 +1 +2 +3"),
    ("preview wifi_hw_get s", "cratch "), ("expect no l", "og "), ("expect phone radio.rs", "si "), ("expect driver po", "wer"),
    ("expect driver {power=1 cha", "nnel "), ("phone set radio.rs", "si "), ("phone set radio.rssi ", "-52 "), ("has wifi_get_rx_r", "ssi "),
    ("has driver mimo", "_chain "), ("fault nv_l", "ose:"), ("chip vq207", "0 "), ("log err", "or "), ("seen sh", "ell "), ("help swe", "ep "),
    ("set a [wifi_get_rx_r", "ssi "), ("foreach a {1 2} { wifi_get_rx_r", "ssi "), ("note a; wifi_get_rx_r", "ssi "),
    ("teardown {wifi_get_rx_r", "ssi "), ("wifi_get_rx_rssi -> 1 rs", "si "),
]


@pytest.fixture(scope="module")
def folder(tmp_path_factory):
    folder = tmp_path_factory.mktemp("files")
    (folder / "my file.tcl").write_text("wifi_set_power 1 -> 1\n")
    (folder / "sub").mkdir()
    for name in ("one.txt", "two.txt"):
        (folder / "sub" / name).touch()
    return folder


@pytest.fixture(scope="module")
def completing(folder):
    return open_prompt(folder, "--chip", "vq2050", columns=100)


@pytest.mark.parametrize("begun, rest", COMPLETED)
def test_the_tab_key_completes(completing, begun, rest):
    completing.type("\x03", READY)
    completing.type(begun, re.escape(begun[-8:]) + "$")
    assert "\a" not in completing.type("\t", rest)


def test_a_continued_command_is_completed_as_a_whole(completing):
    completing.type("\x03", READY)
    completing.type("wifi_set_power 1 \\\r", r"\.\.\. $")
    completing.type("-\t", "> $")
    completing.type("\x151\x03", READY)


def test_the_bell_rings_once_where_nothing_fits(completing):
    completing.type("\x03", READY)
    completing.type("wifi_nothing", "wifi_nothing$")
    seen = completing.type("\t", "\a")
    assert seen.count("\a") == 1
    completing.type("\t\t", "")
    seen = completing.type("x", "x")
    assert "\a" not in seen
    assert completing.type("\t", "\a").count("\a") == 1
    completing.type("\x15\r", READY)
    seen = completing.type("wifi_set_band \t\t\t", "0 +1 +2 +3[^\a]*0 +1 +2 +3[^\a]*0 +1 +2 +3")
    assert "\a" not in seen
    completing.type("\x15\r", READY)


def test_a_note_of_several_lines_keeps_its_margin(tmp_path):
    here = open_prompt(tmp_path)
    here.type("note {first\r", r"\.\.\. $")
    here.type("second}\r", r"\n        first\r\n        second\r\n[\s\S]*" + READY)
    assert station(stdin="note {first\nsecond\n}\n").stdout == "        first\n        second\n"
    keys = station(stdin="note [phone keys]\n").stdout
    assert re.search(r"^        radio\.rssi +\S", keys, re.M) and len(re.findall(r"^        \S+ +\S", keys, re.M)) == len(keys.splitlines())


BAR = "progress 1 3 {at one}\n"


@pytest.mark.parametrize("then, message", [("wifi_set_powr 1", "There is no function"), ("wifi_set_power 1 -> 0", "FAIL"), ("expr {6*7}", "42"),
                                           ("error bad", "bad"), ("expect log x", "expect: no function|no function was called")])
def test_the_progress_bar_makes_room(tmp_path, then, message):
    here = open_prompt(tmp_path)
    seen = here.type(f"progress 1 3 one; {then}\r", rf"({message})[\s\S]*" + READY)
    assert re.search(rf"\[#+\.+\] 1/3 one\r\033\[K[\s\S]*?({message})", seen), seen


def test_a_message_after_the_run_has_its_own_line(tmp_path):
    (tmp_path / "bad.tcl").write_text(BAR + "nonsense\n")
    shown, status = Terminal(tmp_path, "--quiet", "run", "bad.tcl").rest()
    assert status == 2 and re.search(r"1/3 at one\r\033\[K[\s\S]*STOP", shown)


@pytest.mark.parametrize("environment", [{"TERM": "dumb"}, {"NO_COLOR": "1"}, {"TERM": ""}], ids=str)
def test_a_terminal_without_abilities_gets_plain_text(tmp_path, environment):
    (tmp_path / "long.tcl").write_text("sweep {a {1 2 3}} { wifi_set_power $a -> 0 }\n")
    shown, status = Terminal(tmp_path, "run", "long.tcl", environment=environment).rest()
    assert status == 1 and "FAIL" in shown and "\033" not in shown and "#" not in shown
    here = open_prompt(tmp_path, environment=environment)
    seen = here.type("note abc\x7f\x01\x05d\r", "  abd")
    seen += here.type("wifi_set_band \t\x15\r", READY)
    assert "\033" not in seen
    assert Terminal(tmp_path, "run", "long.tcl", environment={"NO_COLOR": ""}).rest()[0].count("\033") > 3


def test_editing_does_not_mix_with_output_in_a_file(tmp_path):
    here = Terminal(tmp_path, "-c", f'"{STATION}" >out', program="bash")
    here.type("", READY)
    here.type("wifi_set_power 1\r", READY)
    os.write(here.fd, b"exit\r")
    here.rest()
    out = (tmp_path / "out").read_text()
    assert "wifi_set_power 1 " in out and "\033" not in out and ">" not in out.replace("->", "")


def test_the_log_does_not_run_into_the_bar(tmp_path):
    (tmp_path / "long.tcl").write_text("sweep {a {1 2 3}} { wifi_set_power $a -> 1 }\n")
    shown, _ = Terminal(tmp_path, "--log", "--quiet", "run", "long.tcl").rest()
    assert "wifi_set_power" in shown and "#" not in shown
    quiet = subprocess.run([STATION, "--quiet", "run", "long.tcl"], cwd=tmp_path, capture_output=True, text=True, check=True)
    assert "\033" not in quiet.stdout + quiet.stderr


def test_run_and_source_at_the_prompt(folder):
    (folder / "two.tcl").write_text("proc both {p} { wifi_set_power $p -> 1 }\nboth [parameter power integer 0..300 1]\nlimits rssi [phone get radio.rssi] -52\n")
    here = open_prompt(folder, "--chip", "vq2050", "--junit", "run.xml")
    assert "PASS  two.tcl on vq2050: 2 held, 0 failed" in plain(here.type("run two.tcl power=7\r", READY))
    here.type("phone set radio.rssi -80\r", READY)
    seen = here.type("source two.tcl\r", READY)
    assert "expected rssi -52, got -80" in plain(seen)
    assert "both" in here.type("info procs b*\r", READY)
    assert plain(here.type("chip vq2070; foreach p {1 2} { run two.tcl power=$p }\r", READY)).count("PASS  two.tcl on vq2070") == 2
    assert "nowhere.tcl cannot be read" in here.type("source nowhere.tcl\r", READY)
    assert "There is no parameter \"pwr\"" in here.type("run two.tcl pwr=1\r", READY)
    here.type("phone load sub/\x15source my\t", r" file\.tcl ")
    here.type("\r", READY)
    os.write(here.fd, b"exit\r")
    assert here.rest()[1] == 2  # the run with the wrong parameter was broken
    suites = [(suite.get("name"), suite.get("errors")) for suite in ElementTree.parse(folder / "run.xml").iter("testsuite")]
    assert suites == [("two.tcl on vq2050", "0"), ("call on vq2050", "0"), ("two.tcl on vq2070", "0"), ("two.tcl on vq2070", "0"),
                      ("two.tcl on vq2070", "1"), ("call on vq2070", "0")]


WORDS = ["", "wifi_stop_tx", "run", "preview", "nv", "doctor", "line", "replay", "diff", "trace", "list", "help", "generate"]
RUNS = {"", "wifi_stop_tx", "run"}
# Options with what has a use for them, and how the console says that.
USES = [
    (["--expect", "1"], {"wifi_stop_tx"}, "--expect", "a single call; in a session it stands behind ->"),
    (["--json"], RUNS | {"preview", "doctor", "line"}, "--json", "calls, sessions, the prompt and doctor"),
    (["--write"], {"doctor"}, "--write", "doctor"),
    *(([option, "out"], RUNS, option, "calls, sessions and the prompt") for option in ("--junit", "--report", "--trace")),
    (["--record", "r.jsonl"], RUNS - {""}, "--record", "calls and sessions"),
    (["--serial", "R1"], RUNS | {"line"}, "--serial and what else says who is tested", "calls, sessions and the prompt"),
    (["--chip", "all"], RUNS - {""} | {"preview"}, "--chip all", "calls, run and preview; give --chip one chip's name"),
]


@pytest.mark.parametrize("options, uses, name, what", USES, ids=lambda use: use[0] if isinstance(use, list) else "")
def test_an_option_without_effect_is_refused(tmp_path, options, uses, name, what):
    for word in WORDS:
        done = station(*options, *([word] if word else []), cwd=tmp_path)
        refusal = f"orva-station: {name} does nothing for {word or 'the prompt'}: it is for {what}.\n"
        assert (done.stderr == refusal) is (word not in uses), (word, done.stderr)
        assert word in uses or (done.returncode, done.stdout) == (2, "")


@pytest.mark.parametrize("words", [["--nv", ""], ["--report", ""], ["--nv="], ["--junit"]], ids=str)
def test_an_option_without_its_value_is_named(words):
    done = station(*words)
    assert done.returncode == 2 and f"orva-station: {words[0]} wants a value" in done.stderr


@pytest.mark.parametrize("typed, file, status", [
    ("source half.tcl", "wifi_set_power 1 -> 1\nnonsense\n", 2), ("source half.tcl", "wifi_set_power 1 -> 1\nif 1 {\n", 2),
    ("source nowhere.tcl", "", 0), ("nonsense", "", 0),
])
def test_only_a_typing_error_is_forgiven(tmp_path, typed, file, status):
    (tmp_path / "half.tcl").write_text(file)
    here = open_prompt(tmp_path, "--junit", "run.xml")
    here.type("wifi_set_power 1 -> 1\r", READY)
    here.type(f"{typed}\r", READY)
    os.write(here.fd, b"\x04")
    assert here.rest()[1] == status
    assert [suite.get("errors") for suite in ElementTree.parse(tmp_path / "run.xml").iter("testsuite")] == ["1" if status else "0"]


def test_an_interrupted_run_returns_to_the_prompt(folder):
    (folder / "long.tcl").write_text("wifi_start_testmode -> 1\nwait 3000\n")
    here = open_prompt(folder, "--clock", "real")
    here.type("foreach i {1 2 3} { run long.tcl }\r", "wifi_start_testmode")
    assert "wifi_stop_testmode" in here.type("\x03", r"interrupted[\s\S]*" + READY)
    assert "42" in here.type("expr {6*7}\r", r"42\r\n[\s\S]*" + READY)
