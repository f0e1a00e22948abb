# SPDX-License-Identifier: Apache-2.0
"""The console for a real phone offers what works there, and says why the rest does not."""

import json
import os
import re
import signal

import pytest

from support.console import STATION, STATION_PHONE, started, station


def phone(*arguments, **options):
    return station(*arguments, program=STATION_PHONE, **options)


def offered(run):
    """The options, words and session commands in a console's help."""
    text = run("help").stdout
    top, language = text.split("Session language: ")
    return (set(re.findall(r"^  (--[\w-]+)", top, re.M)),
            set(re.findall(r"^  ([a-z]+)", top.split("\nOptions:")[0], re.M)),
            set(re.findall(r"^  ([a-z]+)  ", language, re.M)))


OPTIONS, WORDS, COMMANDS = (virtual - real for virtual, real in zip(offered(station), offered(phone)))


def test_it_offers_less_than_the_virtual_phone_and_only_its_log_more():
    assert OPTIONS == {"--chip", "--phone", "--unit", "--clock", "--nv"}
    assert WORDS == {"line", "preview", "replay", "trace"}
    assert COMMANDS == {"phone", "fault", "preview"}
    assert [real - virtual for virtual, real in zip(offered(station), offered(phone))] == [{"--logcat"}, set(), set()]


@pytest.mark.parametrize("what", ["bash", "zsh", "man"])
def test_completion_and_manual_offer_the_same(what):
    made = phone("generate", what).stdout.replace("\\-", "-")
    named = set(re.findall(r"--[a-z][a-z-]*", re.sub(r"^ *#.*", "", made, flags=re.M)))
    assert "--report" in named and not named & OPTIONS
    assert "orva-station-phone" in made and not re.search(r"orva-station(?!-phone)", made.replace("_orva-station", ""))


VALUE = {"--chip": ["vq2050"], "--unit": ["5"], "--clock": ["real"], "--phone": ["x.toml"], "--nv": ["x.nv"]}


@pytest.mark.parametrize("words", [*([name, *VALUE[name], "wifi_power_set_range"] for name in sorted(OPTIONS)),
                                   *([name, "wifi_stop_tx"] for name in sorted((WORDS | COMMANDS) - {"trace"}))], ids=lambda words: words[0])
def test_what_is_not_offered_says_why(words):
    done = phone(*words)
    assert (done.returncode, done.stdout) == (2, "")
    reason, = done.stderr.splitlines()
    assert reason.startswith(f"orva-station-phone: {words[0]}: ")
    assert any(why in reason for why in ("real phone", "virtual phone", "use orva-station there"))
    if not words[0].startswith("-"):
        assert phone("help", words[0]).stderr == done.stderr


@pytest.mark.parametrize("words, message", [
    (["trace", "to-phone", "unit.trace"], "trace to-phone: only the virtual phone is described by a file; the console with"),
    (["--yes", "nv", "restore", "bad.nv"], 'it does not begin with "# orva-station NV backup 1".'),
    (["diff", "orva-station", "x"], "orva-station: cannot be read"),
    (["--no"], "See orva-station-phone --help."), (["run"], "as in: orva-station-phone run sessions/rf.tcl")], ids=lambda value: str(value[0]))
def test_messages_name_this_console_and_leave_the_names_of_others(words, message, tmp_path):
    (tmp_path / "bad.nv").write_text("# mine\n")
    done = phone(*words, cwd=tmp_path)
    assert done.returncode == 2 and done.stderr.startswith("orva-station-phone: ") and message in done.stderr


@pytest.mark.parametrize("line", ["expect phone radio.rssi 1", "phone set chip vq2040", "fault ioctl 1",
                                  "preview {wifi_stop_tx}", "chip vq2040"])
def test_a_session_that_wants_more_stops_there(line, tmp_path):
    script = tmp_path / "session.tcl"
    script.write_text(f"wifi_power_set_range -> 1\n{line}\nnote unreached\n")
    done = phone("run", script)
    assert done.returncode == 2 and "unreached" not in done.stdout
    assert re.search(rf"STOP .*session.tcl:2: {line.split()[0]}.* (real|virtual) phone", done.stdout), done.stdout


def test_a_session_of_calls_runs_on_the_real_clock(tmp_path):
    script = tmp_path / "session.tcl"
    script.write_text("wifi_power_set_range -> 1 lower 0 upper 14\nnote [chip] [has wifi_set_power]\n")
    done = phone("run", script)
    assert done.returncode == 0 and "real clock" in done.stdout and re.search("PASS", done.stdout), done.stdout


@pytest.mark.parametrize("typed, text, calls", [("", "wifi_start_rx -> 1\n", "wifi_start_rx wifi_power_set_range wifi_stop_rx"),
                                                ("wifi_start_rx -> 1\n", "", "wifi_start_rx wifi_stop_rx wifi_power_set_range")])
@pytest.mark.parametrize("program", [STATION, STATION_PHONE], ids=["virtual", "real"])
def test_what_the_prompt_or_its_session_began_is_stopped(tmp_path, program, typed, text, calls):
    """Before the session where the phone stays the same, and at the latest when a signal ends the prompt."""
    (tmp_path / "session.tcl").write_text(text + "wifi_power_set_range -> 1\n")
    if program == STATION and typed:
        calls = calls.replace("wifi_stop_rx ", "")  # its session has a new phone
    environment = {**os.environ, "ORVA_TEST_LOG": str(tmp_path / "log")}
    with started("--json", "--library", os.environ["ORVA_OWN_LOG"], program=program, cwd=tmp_path, env=environment) as running:
        running.stdin.write(f"{typed}run session.tcl\n")
        running.stdin.flush()
        lines = []
        for line in running.stdout:
            lines.append(json.loads(line))
            if lines[-1]["type"] == "end" and lines[-1]["session"]:
                running.send_signal(signal.SIGTERM)
        errors = running.stderr.read()
    assert [line["function"] for line in lines if line["type"] == "call"] == calls.split(), errors
    assert [line["verdict"] for line in lines if line["type"] == "end" and line["session"]] == ["PASS"]
