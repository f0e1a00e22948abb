# SPDX-License-Identifier: Apache-2.0
"""script/push, with a stand-in for adb whose phone is this computer."""

import json
import os
import platform
import shutil
import signal
import subprocess

import pytest

from support.console import STATION_PHONE
from support.tree import ROOT

ABI, FOREIGN = {"x86_64": ("x86_64", "arm64-v8a"), "aarch64": ("arm64-v8a", "x86_64")}[platform.machine()]
GOOD = "step Range\nwifi_power_set_range -> 1 lower 0 upper 14\n"
BAD = "wifi_power_set_range -> 1 lower 3\n"


class Desk:
    """A computer with adb, a build, and the phones that a test describes."""

    def __init__(self, folder):
        self.folder, self.results = folder, folder / "out"
        self.state, self.build = folder / "phone.json", folder / "build"
        programs = folder / "bin"
        programs.mkdir()
        (programs / "adb").symlink_to(ROOT / "tests/support/adb_stand_in.py")
        (programs / "python3").symlink_to("/usr/bin/python3")
        self.build.mkdir()
        for file in (STATION_PHONE, os.environ["ORVA_LIBRARY"]):
            shutil.copy(file, self.build)
        self.path = f"{programs}:/usr/bin:/bin"
        self.has()

    def has(self, **state):
        self.state.write_text(json.dumps({"phones": {"P1": "device"}, "user": 2000, "root": "granted", "abi": ABI, "fail": {}, **state}))

    def session(self, text, name="session.tcl"):
        (self.folder / name).write_text(text)
        return ["--session", self.folder / name]

    def command(self, *arguments):
        return list(map(str, [ROOT / "script/push", "--build", self.build, "--out", self.results, *arguments]))

    def environment(self, **more):
        return {**os.environ, "PATH": self.path, "ADB_STAND_IN": str(self.state), **more}

    def push(self, *arguments, **more):
        return subprocess.run(self.command(*arguments), capture_output=True, text=True, timeout=120, env=self.environment(**more))

    def records(self, run=1, name="records.jsonl"):
        return [json.loads(line) for line in (self.results / f"run-{run}" / name).read_text().splitlines()]

    def left_on_phone(self):
        return list((self.folder / "data").glob("*"))


@pytest.fixture
def desk(tmp_path):
    return Desk(tmp_path)


@pytest.mark.parametrize("shell", ["new", "old"])
@pytest.mark.parametrize("text, status", [(GOOD, 0), (BAD, 1), ("fault ioctl 1\n", 2), ("wifi_power_set_range\n", 3), ("note {\n", 2)])
def test_the_session_runs_there_and_its_results_come_back(text, status, shell, desk):
    desk.has(old_shell=shell == "old")
    done = desk.push(*desk.session(text))
    assert done.returncode == status, done.stdout + done.stderr
    brought = {file.name for file in (desk.results / "run-1").iterdir()}
    assert {"junit.xml", "report.html", "records.jsonl", "doctor.jsonl"} <= brought
    assert desk.records()[-1]["type"] == "summary" and desk.records()[-1]["passed"] == (status == 0)
    assert desk.records(name="doctor.jsonl")[-1]["type"] == "doctor"
    assert f"results: {desk.results}/run-1" in done.stdout
    assert ("STOP  session.tcl:1: missing close-brace" in done.stdout) == (text == "note {\n"), "why it broke"
    assert desk.left_on_phone() == []


def test_without_a_session_the_doctor_runs(desk):
    done = desk.push()
    assert done.returncode == 1 and "missing  interface wlan0: ENODEV" in done.stdout and "Cure: " in done.stdout
    assert not (desk.results / "run-1" / "records.jsonl").exists()


def test_no_run_overwrites_another(desk):
    (desk.results / "run-2").mkdir(parents=True)
    (desk.results / "run-2" / "mine").write_text("kept")
    assert [desk.push(*desk.session(text)).returncode for text in (GOOD, BAD)] == [0, 1]
    assert (desk.records(1)[-1]["verdict"], desk.records(3)[-1]["verdict"]) == ("PASS", "FAIL")
    assert [file.name for file in (desk.results / "run-2").iterdir()] == ["mine"]


def test_several_sessions_and_the_files_that_they_read(desk):
    (desk.folder / "nv.txt").write_text("340 WIC0_2G5G_OFDM 0x41\n")
    load = desk.session("nv load nv.txt\nlimits one 1 1\n", "it's a load.tcl")
    done = desk.push(*load, *desk.session(GOOD), "--file", desk.folder / "nv.txt", "--yes")
    assert done.returncode == 0, done.stdout + done.stderr
    assert desk.records()[-1]["sessions"] == 2
    assert desk.push(*load, "--file", desk.folder / "nv.txt").returncode == 2, "the NV is changed with --yes only"


def test_one_of_two_phones_is_named(desk):
    desk.has(phones={"P1": "offline", "192.168.0.7:5555": "device"})
    for named in ({"ANDROID_SERIAL": "192.168.0.7:5555"}, {}):
        words = [] if named else ["--serial", "192.168.0.7:5555"]
        assert desk.push(*words, *desk.session(GOOD), **named).returncode == 0


FAILURES = [  # the phone, then words of the message: cause and cure
    ({"phones": {}}, "no phone is connected", "plug it in"),
    ({"phones": {"P1": "device", "P2": "device"}}, "more than one phone is connected: P1 (device), P2 (device)", "--serial"),
    ({"phones": {"P1": "unauthorized"}}, "not allowed this computer", "Allow USB debugging"),
    ({"phones": {"P1": "offline"}}, "does not answer adb", "reconnect offline"),
    ({"phones": {"P1": "recovery"}}, "not started Android", "adb reboot"),
    ({"phones": {"P1": "no permissions (user in plugdev group; are your udev rules wrong?); see [url]"}}, "may not open", "udev"),
    ({"root": "denied"}, "production build", "docs/how-to/device.md"),
    ({"root": "denied-old"}, "production build", "docs/how-to/device.md"),
    ({"abi": FOREIGN}, "the phone is " + FOREIGN, "build it for"),
    ({"fail": {"devices": "error: cannot connect to daemon"}}, "server does not start", "kill-server"),
    ({"fail": {"get-state": "error: device 'P1' not found"}}, "the phone has gone", "cable"),
    ({"fail": {"push": "adb: error: failed to copy 'a' to 'b': remote write failed: No space left on device"}}, "/data is full", "df -h"),
    ({"fail": {"push": "adb: error: failed to copy 'a' to 'b': remote couldn't create file: Read-only file system"}}, "cannot be written", "reboot"),
    ({"fail": {"shell mktemp": "mktemp: /data/local/tmp: Permission denied"}}, "may not do it", "adb root"),
    ({"fail": {"shell chmod": "error: closed"}}, "the phone has gone", "cable"),
    ({"fail": {"pull": "adb: error: connect failed: closed; device 'P1' not found"}}, "bringing junit.xml back", "ended with status 0"),
    ({"fail": {"pull": "adb: error: failed to stat remote object '/data/a': No such file or directory"}}, "did not write it", "errors.txt"),
    ({"fail": {"pull": "adb: error: cannot create 'junit.xml': Permission denied"}}, "this computer cannot write", "--out"),
    ({"fail": {"pull": "adb: error: remote object '/data/a' does not exist"}}, "did not write it", "errors.txt"),
    ({"fail": {"shell cd": "/system/bin/sh: ./orva-station-phone: No such file or directory"}}, "no such program", "for Android"),
    ({"lines_until_lost": 2}, "went away while the console ran", "transmitter may still be on"),
    ({"fail": {"root": "flux capacitor"}}, "adb said: flux capacitor", "by hand"),
]


@pytest.mark.parametrize("phone, cause, cure", FAILURES, ids=[f"{number} {row[1][:24]}" for number, row in enumerate(FAILURES)])
def test_a_failure_names_its_cause_and_cure(phone, cause, cure, desk):
    desk.has(**phone)
    done = desk.push(*desk.session(GOOD))
    assert done.returncode == 10, done.stdout + done.stderr
    message = [line for line in done.stderr.splitlines() if line.startswith("script/push: ")][-1]
    assert cause in message and cure in message and "Cure: " in message
    stays = "lines_until_lost" in phone or "this computer cannot" in cause
    assert any(words in done.stderr for words in ("left on the phone", "still on the phone")) == bool(desk.left_on_phone()) == stays
    if "lines_until_lost" in phone:
        assert [record["type"] for record in desk.records()] == ["begin", "step"], "what came before is kept"


def test_programs_that_do_not_fit(desk):
    (desk.build / "more").mkdir()
    console = desk.build / "orva-station-phone"
    shutil.copy(console, desk.build / "more" / "orva-station-phone")
    assert "more than one orva-station-phone" in desk.push().stderr
    shutil.rmtree(desk.build / "more")
    for text, expected in (("#!/bin/sh\n", "is no program"), (None, "has no orva-station-phone")):
        console.write_text(text) if text else console.unlink()
        done = desk.push()
        assert done.returncode == 10 and expected in done.stderr and "Cure: " in done.stderr


def test_a_console_that_does_not_start_or_crashes(desk):
    source = desk.folder / "console.c"
    for body, expected in (('fputs("CANNOT LINK EXECUTABLE: library \\"libtcl8.6.so\\" not found", stderr); return 1;', "--file"),
                           ('puts("Usage"); return c > 2 ? (raise(11), 0) : 0;', "status 139"),
                           ('puts("Usage"); return 0;', "before its last record")):
        source.write_text(f"#include <signal.h>\n#include <stdio.h>\nint main(int c, char **v) {{ (void)v; (void)c; {body} }}\n")
        subprocess.run(["gcc", source, "-o", desk.build / "orva-station-phone"], check=True)
        done = desk.push(*desk.session(GOOD))
        assert done.returncode == 10 and expected in done.stderr and "Cure: " in done.stderr, done.stderr


def test_what_a_crashed_console_left_comes_back(desk):
    with subprocess.Popen(desk.command(*desk.session(GOOD + "wait 300\n")), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                          env=desk.environment()) as running:
        assert any("wifi_power_set_range" in line for line in running.stdout)
        left = [file.name for file in (desk.folder / "data").glob("orva.*/*.part-*")]
        os.kill(int(left[0].split("-")[-1]), signal.SIGKILL)  # the sanitizers take SIGSEGV for themselves
        message = running.communicate(timeout=120)[1]
    assert running.returncode == 10 and "status 137" in message, message
    brought = {file.name for file in (desk.results / "run-1").glob("*.part-*")}
    assert left and brought == set(left) and all(name in message for name in left) and f"to {desk.results}/run-1:" in message
    assert desk.left_on_phone() == []


def interrupted(desk, text, call):
    """Ctrl-C once the call was shown: a signal to the terminal's processes. Returns what push said last."""
    with subprocess.Popen(desk.command(*desk.session(text)), stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True,
                          env=desk.environment(), start_new_session=True) as running:
        assert any(call in line for line in running.stdout)
        os.killpg(running.pid, signal.SIGINT)
        message = running.communicate(timeout=120)[1]
    assert running.returncode == 130 and desk.left_on_phone() == [], message
    return message.splitlines()[-1]


def test_an_interrupted_session_ends_in_order_and_its_results_come_back(desk):
    message = interrupted(desk, GOOD + "wait 300\n", "wifi_power_set_range")
    assert "last calls leave test mode" in message and all(name in message for name in ("junit.xml", "report.html", "session.trace"))
    assert {file.name for file in (desk.results / "run-1").iterdir()} >= {"junit.xml", "report.html", "session.trace"}
    assert [record["verdict"] for record in desk.records()[-2:]] == ["BROKEN", "BROKEN"]


def test_an_interruption_that_the_phone_does_not_hear_brings_back_what_is_there(desk):
    desk.has(fail={"shell kill": "error: closed"})
    message = interrupted(desk, GOOD + "wait 300\n", "wifi_power_set_range")
    brought = [file.name for file in (desk.results / "run-1").glob("*.part-*")]
    os.kill(int(brought[0].split("-")[-1]), signal.SIGKILL)  # this phone's console runs on
    assert "transmitter may still be on" in message and brought and all(name in message for name in brought)


@pytest.mark.parametrize("size, culprit", [("48k", "writing"), ("64k", "bringing report.html back")])
def test_a_full_disk_here_is_not_the_phones(size, culprit, desk):
    """A disk of this size, for the results alone."""
    disk = ["unshare", "-rm", "sh", "-c", 'mount -t tmpfs -o size=$0 none "$1" && shift && exec "$@"', size]
    desk.results.mkdir()
    if subprocess.run([*disk, desk.results, "true"], capture_output=True).returncode:
        pytest.skip("no file system can be mounted here")
    session = desk.session("".join(f"{GOOD}" for _ in range(5 if culprit != "writing" else 200)))
    done = subprocess.run([*disk, desk.results, *desk.command(*session)], capture_output=True, text=True, timeout=120, env=desk.environment())
    assert done.returncode == 10, done.stdout + done.stderr
    message = done.stderr.splitlines()[-1]
    assert culprit in message and "this computer's disk is full" in message and "df -h" in message
    left, = desk.left_on_phone()
    assert (left / "report.html").exists() and f"adb pull /data/local/tmp/{left.name}" in done.stderr


def test_an_expectation_outside_a_call_is_shown(desk):
    done = desk.push(*desk.session(GOOD + "wifi_power_set_range -> 1\nexpect log nothing-like-it\nwifi_power_set_range -> 2 lower 3\n"))
    assert done.returncode == 1
    assert "FAIL expect log" in done.stdout and "got" in done.stdout.split("FAIL expect log")[1]
    assert "expected lower 3, got 0  [session.tcl:5]" in done.stdout


def test_a_session_whose_name_starts_with_a_dash(desk):
    desk.session(GOOD, "-yes.tcl")
    done = desk.push(f"--session={desk.folder / '-yes.tcl'}")
    assert done.returncode == 0, done.stdout + done.stderr


@pytest.mark.parametrize("words, expected", [(["--session", "/no/such.tcl"], "/no/such.tcl"), (["--fast"], "--fast"), (["--session", "/"], "'/'")])
def test_misuse(words, expected, desk):
    done = desk.push(*words)
    assert done.returncode == 2 and expected in done.stderr


@pytest.mark.parametrize("option", ["--session", "--file"])
@pytest.mark.parametrize("name", ["orva-station-phone", "libwifi_factory_test_orva.so", "junit.xml", "report.html", "session.trace",
                                  "session.trace.part-7", "console.pid"])
def test_no_file_replaces_one_of_the_script_itself(name, option, desk):
    (desk.folder / name).write_text(GOOD)
    done = desk.push(option, desk.folder / name)
    assert done.returncode == 2 and f"a file is named {name}," in done.stderr and not (desk.folder / "data").exists()


def test_misuse_of_names_and_folders(desk):
    (desk.folder / "b").mkdir()
    twice = desk.push(*desk.session(GOOD), *desk.session(GOOD, "b/session.tcl"))
    assert twice.returncode == 2 and "session.tcl" in twice.stderr
    desk.results.write_text("a file")
    done = desk.push()
    assert done.returncode == 10 and str(desk.results) in done.stderr and desk.results.read_text() == "a file"
    absent = subprocess.run(["/usr/bin/python3", *desk.command()], capture_output=True, text=True, env=desk.environment(PATH="/nowhere"))
    assert absent.returncode == 10 and "adb is not in PATH" in absent.stderr
