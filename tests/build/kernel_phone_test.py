# SPDX-License-Identifier: Apache-2.0
"""What kernel_phone/verdict.py makes of the results that a phone brought back."""

import json
import runpy
from types import SimpleNamespace

import pytest

from support.tree import ROOT

verdict = SimpleNamespace(**runpy.run_path(str(ROOT / "kernel_phone/verdict.py")))
SAMPLE = (ROOT / "android/sepolicy/orva_factory_test.te").read_text()
DOMAIN = "scontext=u:r:orva_factory_test:s0 tcontext=u:r:orva_factory_test:s0"
PRINTED = """confined: status 0
        cause    driver command 12 rssi: EACCES: this process has no permission.
ok       SELinux              enforcing, domain u:r:other_tool:s0
missing  private request      EACCES, from SELinux or a file's permissions
                              cause: SELinux refused it: avc: denied { ioctl } for pid=1 ioctlcmd=0x89f2
"""


def granted(number):
    return f'[1.0] audit: avc:  granted  {{ ioctl }} for  pid=1 path="socket:[1]" ioctlcmd={number:#x} {DOMAIN} tclass=udp_socket\n'


def capability(name, done="granted"):
    return f"[1.0] audit: avc:  {done}  {{ {name} }} for  pid=1 capability=12  {DOMAIN} tclass=capability\n"


USED = "".join(map(granted, (0x89F2, 0x8913, 0x8914))) + capability("net_admin")


@pytest.mark.parametrize("log, printed, problem", [
    (USED, PRINTED, ""),
    (USED + capability("sys_admin").replace("orva_factory_test", "kernel"), PRINTED, ""),
    (USED.replace("0x8914", "0x8913"), PRINTED, "the sample names"),
    (USED + granted(0x8927), PRINTED, "the sample names"),
    (USED + capability("sys_admin"), PRINTED, "the sample names"),
    (USED + capability("sys_admin", "denied"), PRINTED, "denied: "),
    (USED, PRINTED.replace("status 0", "status 1"), "the session fails"),
    (USED, PRINTED.replace("SELinux refused it", "refused"), "is not explained: SELinux refused it"),
    ("", PRINTED, "the sample names"),
])
def test_the_sample_policy_names_what_is_used_and_no_more(log, printed, problem, tmp_path):
    (tmp_path / "printed.txt").write_text(printed)
    found = verdict.policy_problem(tmp_path, log, SAMPLE)
    assert problem in found and bool(problem) == bool(found)


@pytest.mark.parametrize("script, printed, unprinted", [
    ("# prints: one\n# prints: two\n", "so one and two", ""),
    ("# prints: one\n# prints: two\n", "first two, then one", "two"),
    ("# prints: one\n# prints: one\n", "one", "one"),
    ("# prints: one\n", "", "one"),
    ("# nothing is wanted\n", "much", "any line # prints:"),
])
def test_a_cause_is_printed_in_the_order_of_its_script(script, printed, unprinted):
    assert verdict.first_unprinted(script, printed) == unprinted


RECORD = "02080000" + "0C000000"


def test_a_line_of_a_report_ends_at_a_newline_alone():
    report = '{"text":"a\u2028{b\u0085c"}\nof the shell\n{"text":"d"}\n{"text":'
    assert [line["text"] for line in verdict.lines_of(report)] == ["a\u2028{b\u0085c", "d"]


@pytest.mark.parametrize("heard, ran, exit_status, problem", [
    (RECORD, "exec 0 ifconfig wlan0 up", 0, ""),
    (RECORD.replace("0C", "0D"), "exec 0 ifconfig wlan0 up", 0, "driver command 1: "),
    (RECORD, "exec 1 ifconfig wlan0 up", 0, "shell command 1: 0 ifconfig wlan0 up is recorded, the shell has 1 ifconfig"),
    (RECORD, "exec 0 ifconfig wlan0 up", 1, "replayed on the virtual phone: differs"),
])
def test_a_recording_is_what_driver_and_shell_saw(heard, ran, exit_status, problem, tmp_path):
    folder, station = tmp_path / "vq2050-rf", tmp_path / "station"
    folder.mkdir()
    station.write_text(f"#!/bin/sh\n[ {exit_status} = 0 ] || echo differs\nexit {exit_status}\n")
    station.chmod(0o755)
    contacts = [{"kind": "ioctl", "sent": RECORD}, {"kind": "ioctl", "sent": RECORD, "errno": 19}, {"kind": "exec", "result": 0, "text": "ifconfig wlan0 up"}]
    (folder / "unit.trace").write_text("".join(json.dumps({"type": "contact", **contact}) + "\n" for contact in contacts))
    (folder / "commands.txt").write_text(f"12 0 {heard} {heard}\n")
    (folder / "shell.txt").write_text(f"1.0 {ran}\n1.0 popen 0 netcfg\n")
    session = verdict.Session("session", "vq2050", "rf", tmp_path / "rf.tcl", tmp_path, str(station))
    found = session.recording_problem()
    assert problem in found and bool(problem) == bool(found)
