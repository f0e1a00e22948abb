# SPDX-License-Identifier: Apache-2.0
"""The verdict: text, JSON, JUnit, page and exit status agree, and nothing passes that was not judged."""

import json
import re
from xml.etree import ElementTree

import pytest

from support.console import station
from support.page_sample import page_events
from support.tree import CHIPS, PHONES, ROOT

STATUS = {"PASS": 0, "FAIL": 1, "BROKEN": 2, "NO VERDICT": 3}


class Run:
    """One run in every output format."""

    def __init__(self, folder, *words, options=()):
        report, page = folder / "report.xml", folder / "page.html"
        done = station("--json", "--junit", report, "--report", page, *options, *words)
        self.status, self.stderr = done.returncode, done.stderr
        self.lines = [json.loads(line) for line in done.stdout.splitlines()]
        self.text = station(*options, *words)
        self.quiet = station("--quiet", *options, *words).stdout
        self.page = page.read_text(encoding="utf-8")
        self.events = page_events(page)
        self.suites = ElementTree.parse(report).getroot() if self.lines else []

    def of(self, kind):
        return [line for line in self.lines if line["type"] == kind]

    def failures(self):
        return [e for line in self.lines for e in line.get("expectations", [line]) if e.get("held") is False]

    def verdicts(self):
        """The verdict as each output gives it; of JUnit, whether it is green."""
        last = {name: [line for line in lines if line["type"] == "summary"][-1] for name, lines in (("json", self.lines), ("page", self.events))}
        red = any(int(suite.get("failures")) + int(suite.get("errors")) for suite in self.suites)
        assert all(line["passed"] == (line["verdict"] == "PASS") for line in last.values())
        return last["json"]["verdict"], last["page"]["verdict"], not red


@pytest.fixture
def session(tmp_path):
    def run(text, *options):
        script = tmp_path / "session.tcl"
        script.write_text(text)
        return Run(tmp_path, "run", script, options=options)

    return run


@pytest.mark.parametrize("text, verdict", [
    ("wifi_set_mode 4 -> 1", "PASS"),
    ("limits seen 5 1..9", "PASS"),
    ("wifi_set_mode 4 -> 1\nwifi_set_band 0", "PASS"),
    ("wifi_set_mode 99 -> 0", "PASS"),
    ("wifi_set_mode 4 -> 1\nignore wifi_set_mode 99", "PASS"),
    ("wifi_set_mode 4 -> 0", "FAIL"),
    ("wifi_set_mode 4 -> 1\nwifi_set_mode 99", "FAIL"),
    ("wifi_set_mode 99\nexpect driver {}", "FAIL"),
    ("wifi_set_mode 4 -> 1\nignore wifi_set_mode 99\nwifi_set_mode 99", "FAIL"),
    ("wifi_set_mode 4", "NO VERDICT"),
    ("ignore wifi_set_mode 99", "NO VERDICT"),
    ("note done", "NO VERDICT"),
    ("set list {}\nforeach mhz $list { wifi_set_channel $mhz -> 1 }", "NO VERDICT"),
    ("wifi_set_mode 4 -> 1\nsweep {mhz {}} { wifi_set_channel $mhz -> 1 }", "BROKEN"),
    ("wifi_set_mode 4 -> 1\nwait NaN", "BROKEN"),
    ("wifi_set_mode 4 -> 1\nwait inf", "BROKEN"),
    ("wifi_set_mode 4 -> 1\nignore note x", "BROKEN"),
    ("wifi_set_mode 4 -> 1\nignore wifi_set_mode 4 -> 1", "BROKEN"),
    ("wifi_set_mode 4 -> 1\npreview {wifi_set_power 1 -> 0}", "BROKEN"),
    ("wifi_set_mode 4 -> 1\npreview wifi_set_power 1 -> 1", "BROKEN"),
    ("wifi_set_mode 4 -> 1\npreview {limits power 5 1}", "BROKEN"),
    ("wifi_set_mode 4 -> 1\npreview {expect phone radio.rssi 1}", "BROKEN"),
])
def test_every_output_gives_the_same_verdict(session, text, verdict):
    run = session(text)
    assert run.verdicts() == (verdict, verdict, verdict == "PASS")
    assert (run.status, run.text.returncode) == (STATUS[verdict],) * 2
    assert run.quiet.rstrip().endswith(f"  {verdict}") and run.of("end")[0]["verdict"] == verdict


@pytest.mark.parametrize("words, verdict", [
    (["wifi_set_mode", "4"], "PASS"),
    (["wifi_query_setting", "13"], "PASS"),
    (["wifi_set_mode", "99"], "FAIL"),
    (["wifi_query_setting", "5"], "FAIL"),
    (["--expect", "0", "wifi_set_mode", "99"], "PASS"),
    (["--expect", "0", "wifi_set_mode", "4"], "FAIL"),
    (["--chip", "all", "wifi_ru_set", "0"], "FAIL"),
])
def test_a_single_call_is_judged_by_its_result(tmp_path, words, verdict):
    run = Run(tmp_path, *words)
    assert (run.verdicts(), run.status) == ((verdict, verdict, verdict == "PASS"), STATUS[verdict])


def test_the_worst_session_decides(tmp_path):
    scripts = {}
    for name, text in {"good": "wifi_set_mode 4 -> 1", "none": "wifi_set_mode 4", "bad": "wifi_set_mode 99"}.items():
        scripts[name] = tmp_path / f"{name}.tcl"
        scripts[name].write_text(text)
    for names, verdict in ((["good"], "PASS"), (["none", "good"], "NO VERDICT"), (["bad", "none", "good"], "FAIL")):
        run = Run(tmp_path, "run", *[scripts[name] for name in names])
        assert (run.verdicts()[0], run.status) == (verdict, STATUS[verdict])


@pytest.mark.parametrize("typed, status", [
    ("wifi_set_mode 4 -> 1\n", 0), ("wifi_set_mode 99\n", 1), ("wifi_set_mode 4\n", 3), ("", 3), ("nonsense\n", 2),
])
def test_piped_input_is_judged_too(typed, status):
    assert station(stdin=typed).returncode == status


@pytest.mark.parametrize("typed, reason", [
    ("nosuch\nwifi_set_mode 4 -> 1\n", 'no function or command "nosuch"'), ("foreach p {1 2} {\n", "ends inside a command"),
    ("run nosuch.tcl\n", "nosuch.tcl cannot be read"), ("source half.tcl\n", "half.tcl:2:"),
])
def test_piped_input_that_stops_breaks_its_session(tmp_path, typed, reason):
    (tmp_path / "half.tcl").write_text("wifi_set_mode 4 -> 1\nnosuch\n")
    done = station("--json", "--junit", "report.xml", "--report", "page.html", stdin="wifi_set_mode 4 -> 1\n" + typed, cwd=tmp_path)
    lines = [json.loads(line) for line in done.stdout.splitlines()]
    for events in (lines, page_events(tmp_path / "page.html")):
        assert [reason in line["text"] for line in events if line["type"] == "error"] == [True]
        assert [line["verdict"] for line in events if line["type"] in ("end", "summary")] == ["BROKEN"] * 2
    assert reason in ElementTree.parse(tmp_path / "report.xml").find(".//error").get("message")
    assert done.returncode == 2 and reason in done.stderr


@pytest.mark.parametrize("words", [["run", "ok.tcl"], ["wifi_set_mode", "4"], []], ids=str)
def test_an_output_that_cannot_be_written_breaks_the_run(tmp_path, words):
    (tmp_path / "ok.tcl").write_text("wifi_set_mode 4 -> 1\n")
    options = {"cwd": tmp_path, "stdin": "wifi_set_mode 4 -> 1\n"}
    done = station("--json", "--trace", "/dev/full", "--junit", "e.xml", "--report", "e.html", *words, **options)
    for events in ([json.loads(line) for line in done.stdout.splitlines()], page_events(tmp_path / "e.html")):
        assert "--trace /dev/full" in events[-2]["text"] and (events[-1]["verdict"], events[-1]["passed"]) == ("BROKEN", False)
    suite = ElementTree.parse(tmp_path / "e.xml").find("testsuite")
    assert (suite.get("tests"), suite.get("errors"), done.returncode) == ("2", "1", 2)
    done = station("--junit", "/dev/full", *words, **options)
    assert done.returncode == 2 and "STOP  --junit /dev/full: No space" in done.stdout
    assert ("BROKEN" in done.stdout) == ("run" in words)


REFUSED = "fault ioctl:10 1 2\n"
NO_SOCKET = "fault socket 1\n"


@pytest.mark.parametrize("text, got", [
    (REFUSED + "wifi_get_rx_pckg -> 10..", "4294967295 (the driver refused)"),
    (REFUSED + "wifi_get_rx_pckg -> *", "4294967295 (the driver refused)"),
    (REFUSED + "wifi_get_rx_pckg -> 0..9,4294967295", None),
    (REFUSED + "wifi_get_rx_pckg -> 0xFFFFFFFF", None),
    (REFUSED + "wifi_get_rx_pckg", "4294967295"),
    (NO_SOCKET + "wifi_get_rx_pckg -> 0..1000", "0 (no reading, the phone refused)"),
    (NO_SOCKET + "wifi_get_rx_pckg -> 0", None),
    (NO_SOCKET + "wifi_get_upc_code -> 1..65535", "1 (no reading, the phone refused)"),
    ("phone set driver.refuse 24\nwifi_get_upc_code -> 0..65535", "0 (no reading, the phone refused)"),
    ("wifi_query_setting 5 -> -5..200", "-1 (not set, or no such item)"),
    ("wifi_query_setting 5 -> -1", None),
    ("wifi_set_mode 99 -> 0..1", "0 (failure)"),
    ("wifi_set_mode 99 -> 0,1", None),
    ("phone set check.chip 7\nconn_test_get_chipcheck_result -> 0..9", "7 (a code that is neither success nor failure)"),
    ("wifi_get_rx_rssi -> 1 rssi *", None),
])
def test_a_failure_is_no_value_within_a_range(session, text, got):
    run = session(text)
    assert [e["got"] for e in run.failures() if e["what"] == "result"] == ([got] if got else [])
    assert run.status == (1 if got else 0)


STORED = "340 WIC0_2G5G_OFDM pa2ga0=10,-300,5000;pa5ga0=8,-260,5100;\n367 WITXCCK pa2gccka0=11,-310,5050;\n"
CORRECT = "wifi_nvram_calibrate_set 0 0 0 0 0 2442 60 -> 1"
KEPT, CLEANED = (f"read back 340 WIC0_2G5G_OFDM {name}" for name in ("pa5ga0", "pa2ga0"))
UNREAD = "NV read 340 WIC0_2G5G_OFDM before it is written"


@pytest.mark.parametrize("fault, call, failed", [
    ("", CORRECT, {}),
    ("fault nv_read:340 1 2", CORRECT, {KEPT: "none", UNREAD: "code -1"}),
    ("fault nv_read:340 2", CORRECT, {KEPT: "none", UNREAD: "code -1"}),
    ("fault nv_read:340 1", CORRECT, {UNREAD: "code -1"}),
    ("fault nv_lose:340 1", CORRECT, {"read back 340 WIC0_2G5G_OFDM pa2ga0": "10,-300,5000"}),
    ("fault nv_read:340 1 2", "ignore " + CORRECT.partition(" ->")[0], {KEPT: "none", UNREAD: "code -1"}),
    ("fault nv_read:340 1", "wifi_nvram_calibrate_clean 4 -> 1", {KEPT: "none", CLEANED: "none", UNREAD: "code -1"}),
    ("", "wifi_nvram_calibrate_clean 4 -> 1", {}),
])
@pytest.mark.parametrize("chip", ["vq2050", "vq2070"])
def test_a_success_that_lost_calibration_fails(session, tmp_path, chip, fault, call, failed):
    (tmp_path / "stored.txt").write_text(STORED)
    run = session(f"nv load stored.txt\n{fault}\n{call}\n", "--chip", chip)
    assert {e["what"]: e["got"] for e in run.failures()} == failed
    assert run.of("call")[0]["result"] == 1 and run.verdicts()[0] == ("FAIL" if failed else "PASS")


@pytest.mark.parametrize("phone, failed", [
    (PHONES / "good.toml", []),
    (PHONES / "wrong-fem.toml", ["result", "driver", "rssi"]),
    ("[check]\nfem = 2\n", ["result", "driver"]),
    ("[radio]\nrssi = -71\n", ["rssi"]),
    ("[radio]\nrssi = -40\n", ["rssi"]),
    ("[radio]\npacket_rate = 100\n", ["packets in 2 s"]),
    ("[[fault]]\nplace = \"ioctl:10\"\nnth = 2\ntimes = 0\n", ["result", "packets in 2 s"]),
])
@pytest.mark.parametrize("chip", CHIPS)
def test_the_rf_session_fails_a_bad_unit(tmp_path, chip, phone, failed):
    if isinstance(phone, str):
        description, phone = phone, tmp_path / "phone.toml"
        phone.write_text(description)
    run = Run(tmp_path, "run", ROOT / "sessions/rf.tcl", options=("--chip", chip, "--phone", phone))
    assert [e["what"] for e in run.failures()] == failed
    assert run.verdicts()[0] == ("FAIL" if failed else "PASS")


@pytest.mark.parametrize("typed, begun", [
    ("foreach p {1 2} {\n  wifi_set_mode 99 -> 1\n", "foreach p {1 2} {"),
    ("wifi_set_mode 99 -> {1", "wifi_set_mode 99 -> {1"),
    ("wifi_set_mode [chip", "wifi_set_mode [chip"),
    ('note "abc\n', 'note "abc'),
    ("wifi_set_mode 99 \\\n", "wifi_set_mode 99 \\"),
    ("wifi_set_mode 4 -> 1", ""),
])
def test_input_that_ends_inside_a_command_is_named(typed, begun):
    done = station(stdin="wifi_set_mode 4 -> 1\n" + typed)
    assert done.returncode == (2 if begun else 0)
    assert begun in done.stderr and ("ends inside a command" in done.stderr) == bool(begun)


SWEEP = """
step First
wifi_set_band 0 -> 1
step Modes
sweep {mhz {2412 5500} power {100 500}} {
  wifi_set_channel $mhz -> 1
  if {$mhz == 5500} { wifi_set_mode 99 -> 1 }
  limits own $power ..400
}
step Last
limits own 5 1
"""
POINTS = ["mhz 2412 power 500", "mhz 5500 power 100", "mhz 5500 power 500", "mhz 5500 power 500"]


def test_a_failure_in_a_sweep_names_its_point(session):
    run = session(SWEEP)
    failed = [line for line in run.lines for e in line.get("expectations", [line]) if e.get("held") is False]
    assert [line.get("point") for line in failed] == [*POINTS, None]
    assert [line.get("point") for line in run.lines if line["type"] == "call"][:2] == [None, "mhz 2412 power 100"]
    for text in (run.text.stdout, run.quiet):
        assert re.findall(r"expected .*session.tcl:\d+, (mhz .*)\]", text) == POINTS
    cases = [case.get("name").partition(" at ")[2] for case in run.suites.iter("testcase") if case.find("failure") is not None]
    assert cases == [*POINTS, ""]
    assert [e.get("point") for e in run.events if e.get("held") is False or not all(x["held"] for x in e.get("expectations", []))] == [*POINTS, None]


def test_failures_with_one_cause_are_counted(session):
    run = session(SWEEP)
    groups = [(g["count"], g["first"], g["last"]) for g in run.of("end")[0]["failures"]]
    assert groups == [(2, POINTS[0], POINTS[3]), (2, POINTS[1], POINTS[3]), (1, "", "")]
    shown = run.quiet.partition("Failures by cause")[2]
    assert re.findall(r"^ +(\d) x  (.*?):? expected", shown, re.M) == [("2", "wifi_set_mode")] and shown.count(" 2 x  ") == 2
    assert "2 x wifi_set_mode: expected result 1, got 0" in run.suites[0].findtext("system-out")
    assert "Failures by cause" not in session("wifi_set_mode 99").quiet


def test_quiet_shows_failures_under_their_step(session):
    quiet = session(SWEEP).quiet
    assert "First" not in quiet and quiet.index("Modes") < quiet.index("FAIL") < quiet.index("Last")
    assert station("--quiet", "wifi_set_mode", "99").stdout.startswith("FAIL  wifi_set_mode 99")
    assert station("--quiet", "wifi_set_mode", "4").stdout == ""


def test_a_point_ends_with_its_sweep(session):
    run = session("sweep {a {1 2}} { sweep {b {3}} { limits x 1 0 } }\ncatch { sweep {c 4} { error no } } why\n"
                  "limits why [string equal $why {no, at c 4}] 1\nlimits x 1 0\nsweep {d 5} { nonsense }")
    assert [e.get("point") for e in run.failures()] == ["a 1 b 3", "a 2 b 3", None]
    assert run.status == 2 and run.of("error")[0]["text"].endswith(", at d 5")


START = {"mode": "wifi_set_mode 4 -> 1", "band": "wifi_set_band 0 -> 1", "channel": "wifi_set_channel 2412 -> 1"}


@pytest.mark.parametrize("changed, what, found, words", [
    ({"band": ""}, "bandwidth", "not set", "wifi_set_band was not called"),
    ({"band": "wifi_set_band 9 -> 1"}, "bandwidth", "9", "no such bandwidth"),
    ({"channel": "wifi_set_channel 5181 -> 1"}, "channel in MHz", "5181", "no such channel"),
    ({"channel": ""}, "channel in MHz", "not set", "wifi_set_channel was not called"),
    ({"channel": "fault ioctl:0 1 2 22\nwifi_set_channel 2412 -> 1"}, "driver command 0 channel", "EINVAL", "another chip's"),
])
@pytest.mark.parametrize("start", ["wifi_start_tx", "wifi_start_rx"])
@pytest.mark.parametrize("chip", CHIPS)
def test_an_unusable_setting_is_the_cause(session, chip, start, changed, what, found, words):
    run = session("\n".join(["wifi_start_testmode -> 1", *{**START, **changed}.values(), f"{start} -> 1"]), "--chip", chip)
    cause, = run.of("call")[-1]["causes"]
    assert (cause["what"], cause["found"]) == (what, found) and words in cause["cause"]
    assert f"cause    {what}: {found}: " in run.quiet


@pytest.mark.parametrize("words", [["run", "SCRIPT"], ["--expect", "0", "wifi_set_power", "155"]], ids=["session", "call"])
@pytest.mark.parametrize("detail", [[], ["--brief"], ["--quiet"]], ids=str)
def test_text_of_several_chips_names_each(tmp_path, words, detail):
    script = tmp_path / "session.tcl"
    script.write_text("wifi_set_power 155 -> 0\nforeach a {1 2} { limits a 1 2 }\nnonsense\n")
    done = station("--chip", "all", *detail, *[script if word == "SCRIPT" else word for word in words])
    runs = "run" in words
    for chip in CHIPS:
        assert re.search(rf"^\S+ on {chip}, virtual clock$", done.stdout, re.M)
        assert re.search(rf"expected result 0, got 1  \[{chip}{', .*:1' if runs else ''}\]", done.stdout)
        assert len(re.findall(rf"^STOP  {chip}, .*:3", done.stdout, re.M)) == runs
        assert re.search(rf"^{chip} .*{'BROKEN' if runs else 'FAIL'}$", done.stdout, re.M)
        assert bool(re.search(rf"^(BROKEN|FAIL)  \S+ on {chip}: ", done.stdout, re.M)) == (detail != ["--quiet"])
    alone = station("--chip", CHIPS[0], *detail, "run", script).stdout
    assert f"[{script}:1]" in alone and "\nBROKEN" not in alone
