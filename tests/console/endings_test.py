# SPDX-License-Identifier: Apache-2.0
"""How a run ends: signals, failed output, closed pipes. The reports are written and the transmitter is off."""

import json
import os
import signal
import subprocess
import time
from xml.etree import ElementTree

import pytest

from support.console import STATION, STATION_PHONE, early_signal, started, station
from support.page_sample import page_events

TRANSMIT = """wifi_start_testmode -> 1
wifi_set_mode 4
wifi_set_band 0
wifi_set_rate 6500
wifi_set_channel 2412
wifi_start_tx -> 1
wait 3000
wifi_set_power 166
"""


def stopped_with(number, script, *options):
    """The run's exit status and JSON lines, after a signal as the script's wait begins, or during it."""
    with started("--json", "--clock", "real", *options, "run", script) as running:
        lines = []
        for line in running.stdout:
            lines.append(json.loads(line))
            if lines[-1].get("function") == "wifi_start_tx":
                running.send_signal(number)
    return running.returncode, lines


def called(lines):
    return [line["function"] for line in lines if line["type"] == "call"]


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGHUP, signal.SIGINT])
def test_a_signal_ends_transmission_and_completes_the_reports(tmp_path, number):
    script, junit, page, trace = (tmp_path / name for name in ("session.tcl", "unit.xml", "unit.html", "unit.trace"))
    script.write_text(TRANSMIT)
    options = ["--junit", junit, "--report", page, "--trace", trace]
    status, lines = stopped_with(number, script, *options)
    assert status == 2 and lines[-1]["type"] == "summary" and not lines[-1]["passed"]
    assert called(lines)[-3:] == ["wifi_start_tx", "wifi_stop_tx", "wifi_stop_testmode"]
    assert [line["text"] for line in lines if line["type"] == "note"] == [f"{number.name}: test mode is left"]
    assert ElementTree.parse(junit).find("testsuite").get("errors") == "1"
    assert "wifi_stop_testmode" in page.read_text() and '"type":"end"' in trace.read_text().splitlines()[-1]
    assert sorted(path.name for path in tmp_path.iterdir()) == sorted(p.name for p in (script, junit, page, trace))


@pytest.mark.parametrize("program", [STATION, STATION_PHONE], ids=["virtual", "real"])
@pytest.mark.parametrize("name, text", [("session.tcl", "wait 3000\n"), ("session.early", "while 1 {}\n")], ids=["wait", "session"])
def test_a_signal_just_before_it_ends_a_wait_and_a_session(tmp_path, program, name, text):
    (tmp_path / name).write_text(text)
    clock = ["--clock", "real"] if program == STATION else []
    done = station("--json", *clock, "run", name, program=program, **early_signal(tmp_path, signal.SIGTERM))
    assert done.returncode == 2 and '"verdict":"BROKEN"' in done.stdout, done.stderr


@pytest.mark.parametrize("delay", [0, 0.002, 0.005, 0.011, 0.02])
def test_a_signal_between_two_sessions_breaks_the_run(tmp_path, delay):
    """Most of the time of a run of short sessions passes between them."""
    script, junit, page = tmp_path / "short.tcl", tmp_path / "unit.xml", tmp_path / "unit.html"
    script.write_text("wifi_set_power 155 -> 1\n")
    with started("--json", "--junit", junit, "--report", page, "run", *[script] * 2000) as running:
        lines = [json.loads(running.stdout.readline()) for _ in range(20)]
        time.sleep(delay)
        running.send_signal(signal.SIGINT)
        lines += [json.loads(line) for line in running.stdout]
        errors = running.stderr.read()
    ends = [line["verdict"] for line in lines if line["type"] == "end"]
    assert running.returncode == 2 and errors == ""
    assert ends[-1] == "BROKEN" and set(ends[:-1]) == {"PASS"} and 1 < len(ends) < 2000
    assert lines[-1] == {"type": "summary", "sessions": len(ends), "verdict": "BROKEN", "passed": False}
    suites = ElementTree.parse(junit).findall("testsuite")
    assert [suite.get("errors") for suite in suites] == ["0"] * (len(ends) - 1) + ["1"]
    assert [event["type"] for event in page_events(page)].count("begin") == len(ends)


@pytest.mark.parametrize("number", [signal.SIGTERM, signal.SIGINT])
def test_a_signal_at_the_prompt_breaks_its_reports(tmp_path, number):
    junit = tmp_path / "unit.xml"
    with started("--json", "--junit", junit) as running:
        running.stdin.write("wifi_set_power 155 -> 1\n")
        running.stdin.flush()
        assert any('"type":"call"' in line for line in running.stdout)
        running.send_signal(number)
        lines = [json.loads(line) for line in running.stdout]
    assert running.returncode == 2 and lines[-1]["verdict"] == "BROKEN"
    assert ElementTree.parse(junit).find("testsuite").get("errors") == "1"


def test_an_input_that_cannot_be_read_is_told(tmp_path):
    folder = os.open(tmp_path, os.O_RDONLY)
    done = subprocess.run([STATION], stdin=folder, capture_output=True, text=True, timeout=120)
    os.close(folder)
    assert done.returncode == 2 and "standard input cannot be read: Is a directory" in done.stderr


def test_the_phone_may_be_left_as_it_is(tmp_path):
    script = tmp_path / "session.tcl"
    script.write_text(TRANSMIT)
    status, lines = stopped_with(signal.SIGTERM, script, "--keep-test-mode")
    assert status == 2 and called(lines)[-1] == "wifi_start_tx"


def test_a_script_cannot_swallow_a_signal(tmp_path):
    script = tmp_path / "session.tcl"
    script.write_text(TRANSMIT.replace("wait 3000", "while 1 { catch { wait 1 }; catch { error no } }"))
    status, lines = stopped_with(signal.SIGTERM, script)
    assert status == 2 and called(lines)[-1] == "wifi_stop_testmode"


@pytest.mark.parametrize("end, status", [("", 0), ("error broken", 2), ("wifi_set_powr 1", 2), ("return", 0),
                                         ("catch {error swallowed}", 0)])
def test_teardown_runs_however_a_session_ends(tmp_path, end, status):
    script = tmp_path / "session.tcl"
    script.write_text("teardown { wifi_stop_testmode }\nteardown { wifi_stop_tx; note off }\n"
                      + TRANSMIT.partition("wait")[0] + end + "\n")
    done = station("--json", "run", script)
    lines = [json.loads(line) for line in done.stdout.splitlines()]
    assert called(lines)[6:] == ["wifi_stop_tx", "wifi_stop_testmode"]
    assert done.returncode == status


def test_teardown_runs_after_a_signal_and_its_errors_count(tmp_path):
    script = tmp_path / "session.tcl"
    script.write_text("teardown { wifi_stop_tx; note off; error later }\nteardown { wait 0.1; wifi_stop_rx }\n" + TRANSMIT)
    status, lines = stopped_with(signal.SIGTERM, script)
    assert status == 2
    assert called(lines)[-4:] == ["wifi_start_tx", "wifi_stop_rx", "wifi_stop_tx", "wifi_stop_testmode"]
    assert "teardown: later" in [line["text"] for line in lines if line["type"] == "error"]
    prompted = station("--json", stdin="teardown { note bye }\nwifi_set_power 1 -> 1\n")
    assert prompted.returncode == 0 and "bye" in prompted.stdout.splitlines()[-3]
    assert "teardown" in station("help", "teardown").stdout


@pytest.mark.skipif(b"__asan_init" in open(STATION, "rb").read(), reason="2 GB take minutes under the address sanitizer")
def test_a_value_too_large_for_tcl_ends_the_session_with_its_reports(tmp_path):
    script, junit = tmp_path / "session.tcl", tmp_path / "unit.xml"
    script.write_text(TRANSMIT.partition("wait")[0] + "set a [string repeat x 1048576]\nwhile 1 { append b $a }\n")
    done = station("--junit", junit, "run", script)
    assert done.returncode == 2 and "max size for a Tcl value" in done.stderr
    assert [case.get("name") for case in ElementTree.parse(junit).iter("testcase")][-2:] == ["wifi_stop_tx", "wifi_stop_testmode"]


SCRIPT = "wifi_start_testmode\nwifi_start_tx\nnote {" + "x" * 5000 + "}\nwifi_set_power 1\n"
WRITERS = [["wifi_set_power", "1"], ["--json", "wifi_set_power", "1"], ["doctor"], ["--json", "doctor"], ["list"],
           ["help"], ["generate", "man"], ["nv", "list"], ["run", "SCRIPT"], ["--json", "run", "SCRIPT"],
           ["preview", "wifi_nvram_set"], ["--version"], []]


@pytest.mark.parametrize("words", WRITERS, ids=" ".join)
@pytest.mark.parametrize("output", ["full", "pipe", "closed", "all full"])
def test_output_that_fails_ends_with_a_message(tmp_path, words, output):
    script, junit = tmp_path / "session.tcl", tmp_path / "unit.xml"
    script.write_text(SCRIPT)
    runs = "SCRIPT" in words
    arguments = (["--junit", str(junit)] if runs else []) + [str(script) if w == "SCRIPT" else w for w in words]
    redirected = {"full": ">/dev/full", "all full": ">/dev/full 2>&1", "closed": ">&-", "pipe": "| true"}[output]
    # The pipe's reader is gone for certain when the console starts.
    command = f'"$0" "$@" {redirected}' if output != "pipe" else \
        'mkfifo fifo; true <fifo & exec 3>fifo; wait; "$0" "$@" >&3'
    done = subprocess.run(["bash", "-c", command, STATION, *arguments], cwd=tmp_path, input="wifi_set_power 1\nlist\n",
                          capture_output=True, text=True, timeout=120)
    assert done.returncode == 2
    said = {"full": "No space left", "closed": "Bad file descriptor"}.get(output)
    assert said in done.stderr if said else done.stderr == ""
    assert len(done.stderr.splitlines()) == (1 if said else 0)
    if runs and output != "closed":
        cases = [case.get("name") for case in ElementTree.parse(junit).iter("testcase")]
        assert "wifi_stop_tx" in cases or "wifi_start_tx" not in cases
