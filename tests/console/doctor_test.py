# SPDX-License-Identifier: Apache-2.0
"""The console's doctor, the causes of failed calls, and recordings replayed and compared."""

import errno
import json
import os
import re
import subprocess
from pathlib import Path
from xml.etree import ElementTree

import jsonschema
import pytest

from support.console import CARELESS, STATION_PHONE, station
from support.tree import CHIPS, ROOT

SCHEMA = jsonschema.Draft202012Validator(json.loads((ROOT / "docs/reference/session.schema.json").read_text()))


def doctor(*arguments, **options):
    """The findings by subject. Checks the verdict and the exit status against them."""
    done = station("--json", *arguments, "doctor", **options)
    *findings, verdict = [json.loads(line) for line in done.stdout.splitlines()]
    for line in [*findings, verdict]:
        SCHEMA.validate(line)
    missing = sum(finding["state"] == "missing" for finding in findings)
    assert verdict == {"type": "doctor", "missing": missing, "ready": missing == 0}
    assert done.returncode == (missing > 0)
    for finding in findings:
        assert (finding["state"] == "ok") == (finding["cause"] == "") == (finding["cure"] == ""), finding
    return {finding["what"]: finding for finding in findings}


def step_of(*arguments):
    """The line of a single call."""
    line = json.loads(station("--json", *arguments).stdout.splitlines()[1])
    SCHEMA.validate(line)
    return line


def fault(place, value):
    return f'[[fault]]\nplace = "{place}"\nnth = 1\ntimes = 0\nvalue = {value}\n'


@pytest.fixture
def phone(tmp_path):
    def describe(text):
        file = tmp_path / "phone.toml"
        file.write_text(text)
        return ["--phone", file]

    return describe


@pytest.mark.parametrize("chip", CHIPS)
def test_a_good_phone_is_ready_and_stays_as_it_was(chip, phone, tmp_path):
    store = ["--chip", chip, "--nv", tmp_path / "unit.nv"]
    listed = lambda: station(*store, "nv", "list").stdout
    empty = listed()
    assert "is empty" in doctor(*store, "--write")["NV writing"]["cause"] and listed() == empty
    calibrate = ["wifi_nvram_set"] if chip in ("vq2040", "vq2040a") else ["wifi_nvram_calibrate_set", *"00000", 2442, 10]
    station(*store, "--yes", *calibrate)
    calibrated = listed()
    found = doctor(*store, "--write")
    assert {finding["state"] for finding in found.values()} == {"ok"}
    assert found["private request"]["found"].endswith(chip)
    assert doctor(*store)["NV writing"]["state"] == "unknown"
    assert listed() == calibrated != empty
    refused = doctor(*phone(fault("nv_write:340", -1)), *store, "--write")["NV writing"]
    assert (refused["state"], refused["found"]) == ("missing", "code -1")


SHELL = "/system/bin/sh"


@pytest.mark.parametrize(
    "description, what, state, expected",
    [
        ('subchip = 7', "chip", "missing", "index 7"),
        ('subchip = 7', "private request", "unknown", "chip is unknown"),
        ("[driver]\nloaded = false", "interface wlan0", "missing", "ENODEV"),
        ("[driver]\nloaded = false", "private request", "missing", "ENODEV"),
        ("[interface]\nup = false", "interface wlan0", "ok", "down"),
        ("[driver]\nrefuse = [24]", "private request", "missing", "EIO"),
        (fault("ioctl", 13), "private request", "missing", "SELinux"),
        (fault("ioctl", 100), "private request", "missing", "wlan0 is down"),
        (fault("ioctl", 14), "private request", "missing", "EFAULT"),
        (fault("ioctl", 121), "private request", "missing", "errno 121"),
        ('chip = "vq2050"\nsubchip = 0', "private request", "missing", "another chip's"),
        (fault("socket", 24), "socket", "missing", "EMFILE"),
        (fault("socket", 24), "interface wlan0", "unknown", "no socket"),
        (fault("execl", 2), SHELL, "missing", "ENOENT"),
        (fault("execl", 2), "netcfg", "unknown", "no shell"),
        (fault("fork", 11), SHELL, "missing", "EAGAIN"),
        (fault("waitpid", 10), SHELL, "missing", "SIGCHLD"),
        (fault("shell:ifconfig wlan0", 127), "ifconfig", "missing", "no such program"),
        (fault("shell:svc wifi", 126), "svc", "missing", "126"),
        (fault("shell:/system/bin/netcfg", 1), "netcfg", "missing", "exit status 1"),
        ("[supplicant]\nrunning = false", "wpa_cli_orva", "missing", "supplicant"),
        (fault("nv_read:340", 2), "NV reading", "missing", "code 2"),
        (fault("nv_read:340", 9), "NV writing", "unknown", "nothing was read"),
        (fault("open", 13), "/sys/vq20x0_debug/bfgx_test", "missing", "EACCES"),
        ("[node]\npresent = false", "/sys/vq20x0_debug/bfgx_test", "missing", "ENOENT"),
    ],
)
def test_what_is_missing_is_named_with_its_cause(description, what, state, expected, phone):
    chip = "" if "chip =" in description.replace("subchip =", "") else 'chip = "vq2040"\n'
    finding = doctor(*phone(chip + description), "--write")[what]
    assert finding["state"] == state
    assert expected in " ".join(finding.values())


ORDINARY = {"user": 65534, "group": 65534, "extra_groups": [3003]}


@pytest.mark.parametrize("identity", [{}, ORDINARY], ids=["as I am", "ordinary"])
def test_on_a_real_kernel_it_shows_who_asks(identity):
    if identity and os.getuid() != 0:
        pytest.skip("only root can become another user")
    program = Path(STATION_PHONE)
    if identity and not all(path.stat().st_mode & 0o001 for path in (program, *program.parents)):
        pytest.skip("another user cannot reach the console")
    found = doctor(program=STATION_PHONE, **identity)
    uid = identity.get("user", os.getuid())
    assert re.match(rf"uid {uid}\b.*, gid {identity.get('group', os.getgid())}\b", found["user"]["found"])
    assert ("groups 3003" in found["user"]["found"]) == bool(identity)
    assert (found["capabilities"]["state"] == "missing") == (uid != 0), found["capabilities"]
    if not os.path.exists("/sys/class/net/wlan0"):
        assert found["driver module"]["state"] == "missing" and "lo" in found["driver module"]["found"]
        assert found["private request"]["found"] == "ENODEV, from the interface"
    assert [what for what, finding in found.items() if not finding["check"]] == []


LAYERS = re.findall(r"^\| (E[A-Z, ]+) \| ([^|]+?) \| ", (ROOT / "docs/how-to/device.md").read_text(), re.M)


@pytest.mark.parametrize("error, layer", [(error, layer) for errors, layer in LAYERS for error in errors.split(", ")])
def test_a_refused_request_names_the_layer_that_the_guide_names(error, layer, phone):
    found = doctor(*phone('chip = "vq2040"\n' + fault("ioctl", getattr(errno, error))))["private request"]["found"]
    assert found == f"{error}, from {layer.split(',')[0]}"


def test_the_cause_of_a_missing_library_is_the_loaders():
    cause = doctor("--library", "/nowhere.so")["library"]["cause"]
    assert cause.startswith("/nowhere.so: ") and "--library" not in cause and not cause.endswith(".")


def test_on_the_virtual_phone_there_is_no_kernel_to_check_by_hand():
    found = doctor()
    assert not {"user", "capabilities", "SELinux", "driver module"} & found.keys()
    assert {finding["check"] for finding in found.values()} == {""}


def test_a_library_that_is_not_there_or_not_the_one(tmp_path):
    assert "nowhere.so" in doctor("--library", "/nowhere.so")["library"]["cause"]
    assert "of 41 exported" in doctor("--library", CARELESS)["library functions"]["found"]
    source = tmp_path / "needy.c"
    source.write_text("int phones_service(int); int phones_other(void); extern double pow(double, double);"
                      "int wifi_set_power(int power) { return phones_service(power) + phones_other() + (int)pow(power, 2); }")
    for more in ("-Wl,-z,lazy", "-Wl,-z,now"):
        library = tmp_path / f"needy{more[-3:]}.so"
        subprocess.run(["gcc", "-shared", "-fPIC", more, source, "-o", library, "-lm"], check=True)
        found = doctor("--library", library)
        assert found["library"]["state"] == "ok"
        names = found["platform functions"]["found"].removeprefix("undefined: ").split(", ")
        assert sorted(names) == ["phones_other", "phones_service"]


@pytest.mark.parametrize(
    "description, call, expected",
    [
        (fault("ioctl:12", 100), ["wifi_get_rx_rssi"], "driver command 12 rssi: ENETDOWN: wlan0 is down."),
        (fault("shell:ifconfig wlan0 up", 127), ["wifi_start_testmode"], "ifconfig wlan0 up: exit status 127: the phone has no"),
        (fault("socket", 24), ["wifi_get_rx_rssi"], "socket: EMFILE"),
        (fault("nv_write:340", 2), ["wifi_nvram_calibrate_set", *"00000", 2442, 10], "NV write 340: code 2: the NV store"),
    ],
)
def test_a_failed_call_shows_its_likely_cause(description, call, expected, phone, tmp_path):
    on, junit = phone('chip = "vq2050"\n' + description), tmp_path / "junit.xml"
    printed = station(*on, "--yes", "--junit", junit, *call).stdout
    causes = [line[17:] for line in printed.splitlines() if line.startswith("        cause    ")]
    assert expected in causes[0] and "Cure: " in causes[0]
    case, = ElementTree.parse(junit).findall(".//testcase")
    assert case.find("failure").text.splitlines() == causes
    step, = step_of(*on, "--yes", *call)["causes"]
    assert "{what}: {found}: {cause}. Cure: {cure}.".format(**step) == causes[0]
    assert step_of(*on, "--yes", "--expect", "0", *call)["causes"] == []
    mended = phone('chip = "vq2050"\n' + fault("ioctl:12", 5).replace("times = 0", "times = 1"))
    assert step_of(*mended, "wifi_get_rx_rssi")["causes"] == []


SESSION = """
step "Receive"
wifi_start_testmode -> 1
wifi_set_channel 2442 -> 1
wifi_set_band 0 -> 1
fault ioctl:12 1 1 5
wifi_start_rx -> 1
wifi_get_rx_rssi -> 1
fault memcpy_s 1 1 0
wifi_get_rx_pckg
fault {shell:ifconfig wlan0 down} 1 1 127
wifi_stop_testmode
chip vq2050
fault waitpid 1 1 10
fault popen 1 1 0
wifi_start_testmode
fault socket 1 1 -1000
wifi_get_rx_rssi -> 1
wifi_nvram_calibrate_set 0 0 0 0 0 2442 10 -> 1
fault nv_read:340 1 1 2
wifi_nvram_calibrate_get 104
phone set subchip 7
wifi_get_rx_rssi
"""


@pytest.fixture
def record(tmp_path):
    def run(name, *options, text=SESSION):
        script, file = tmp_path / "session.tcl", tmp_path / f"{name}.trace"
        script.write_text(text)
        done = station(*options, "--quiet", "--yes", "--trace", file, "run", script)
        assert done.returncode in (0, 1, 3) and "nothing used that place" not in done.stdout, done.stdout + done.stderr
        return file

    return run


def edited(file, what, becomes):
    text = file.read_text()
    assert what in text
    other = file.with_suffix(".edited")
    other.write_text(text.replace(what, becomes, 1))
    return other


def test_a_recording_is_replayed_the_same_wherever_it_failed(record):
    file = record("unit", "--chip", "vq2040")
    done = station("replay", file)
    assert (done.returncode, done.stdout) == (0, f"{file}: 12 calls replayed, all the same.\n")
    again = record("again", "--chip", "vq2040", "--clock", "virtual")
    assert station("diff", file, again).returncode == 0


@pytest.mark.parametrize(
    "what, becomes, expected",
    [  # the phone answers otherwise; the library did otherwise then; it gave another result
        ('"left":"F80700000C000000CC', '"left":"F80700000C000000CD', ["call 5", "wifi_get_rx_rssi", "-51"]),
        ('"us":2000000', '"us":3000000', ["call 1", "expected  sleep us 3000000", "came      sleep us 2000000"]),
        ('"command":0,"sent":"F8', '"command":0,"sent":"F9', ["call 4", "expected  ioctl on", "sent F9", "sent F8"]),
        ('"kind":"wait","at_us":2000000,"status":0', '"kind":"wait","at_us":2000000,"status":256', ["call 1", "came"]),
        ('"result":"1","outputs":{}', '"result":"0","outputs":{}', ["call 1", "expected  the call's end, result 0"]),
        ('{"type":"contact","kind":"fork"', '{"type":"contact","kind":"fork","errno":11', ["call 1", "fork -> EAGAIN", "came"]),
    ],
)
def test_a_changed_recording_differs_at_the_contact(record, what, becomes, expected):
    file = record("unit", "--chip", "vq2040")
    other = edited(file, what, becomes)
    for command in (["replay", other], ["diff", file, other]):
        done = station(*command)
        assert done.returncode == 1, command
        assert expected[0] in done.stdout and "expected" in done.stdout
        if command[0] == "replay":
            assert all(part in done.stdout for part in expected), done.stdout


def test_the_end_of_a_log_line_may_be_lost_and_nothing_else_of_it(record):
    file = record("unit", "--chip", "vq2040")
    whole = re.search(r'"text":"([^"]*)\\n","result":(\d+)', file.read_text())
    length = int(whole[2]) - 1
    for text, result, same in ((whole[1], length, True), (whole[1], length + 1, False), (whole[1][:-1], length - 1, False),
                               (whole[1] + "\\n\\n", length + 2, False)):
        other = edited(file, whole[0], f'"text":"{text}","result":{result}')
        assert [station(*words).returncode == 0 for words in (["replay", other], ["diff", file, other], ["diff", other, file])] == [same] * 3, text


def test_a_library_that_behaves_otherwise_and_a_phone_that_does(record, phone):
    file = record("unit", text="wifi_power_set_range\nwifi_conn_info\n")
    changed = station("--library", CARELESS, "replay", file)
    assert changed.returncode == 1 and "expected  subchip -> 0" in changed.stdout and "the call's end, result 1" in changed.stdout
    weak = record("weak", *phone('chip = "vq2040"\n[ap]\nrssi = -77\n'), text="wifi_power_set_range\nwifi_conn_info\n")
    done = station("diff", file, weak)
    assert done.returncode == 1 and "call 2 on vq2040, wifi_conn_info" in done.stdout
    shorter = record("shorter", text="wifi_power_set_range\n")
    assert "call 2, wifi_conn_info, has no counterpart" in station("diff", file, shorter).stdout
    other = record("other", text="wifi_conn_info\n")
    assert "call 1 is another" in station("diff", file, other).stdout


HEAD = '{"type":"trace","version":1}\n{"type":"session","session":"","chip":"vq2040"}\n'
CALL = '{"type":"call","function":"wifi_stop_tx","arguments":[]}\n'
RESULT = '{"type":"result","result":"1","outputs":{}}\n'


@pytest.mark.parametrize(
    "text, expected",
    [
        ("", ": is empty"),
        (HEAD + CALL, "cut within call 1"),
        (HEAD + CALL + RESULT, "cut after call 1"),
        (HEAD + CALL + '{"type":"cont', ":4: this line is no JSON"),
        ("[1]\n", ":1: a field is missing"),
        ('{"type":"session","chip":"vq2040"}\n', ":1: this is no recording"),
        ('{"type":"trace","version":2}\n', ":1: the format's version is 2; this console reads version 1"),
        (HEAD + '{"type":"cal"}\n', ':3: "cal" is no type of line'),
        (HEAD + RESULT, ":3: a result line outside a call"),
        (HEAD + CALL + CALL, ":4: a call line within a call"),
        (HEAD + CALL.replace("stop_tx", "stop_ty"), ':3: there is no function "wifi_stop_ty"'),
        (HEAD + CALL.replace("[]", "7"), ":3: a field is missing or of the wrong kind"),
        (HEAD + CALL + '{"type":"contact","kind":"smoke","result":0}\n', ':4: "smoke" is no kind of contact'),
        (HEAD + CALL + '{"type":"contact","kind":"fread","data":"0G","result":1}\n', ':4: "0G" is not made of pairs'),
        (HEAD + CALL + RESULT + '{"type":"end","calls":2}\n', ":5: the end line tells of 2 calls, the file has 1"),
        (HEAD + '{"type":"end","calls":0}\n' + CALL, ":4: there is something behind the end line"),
    ],
)
def test_a_damaged_recording_is_refused_in_words(text, expected, tmp_path):
    file = tmp_path / "damaged.trace"
    file.write_text(text)
    for command in (["replay", file], ["diff", file, file]):
        done = station(*command)
        assert (done.returncode, done.stdout) == (2, "")
        assert expected in done.stderr


@pytest.mark.parametrize("words, expected", [
    (["replay"], "replay: name one"), (["replay", "/no/such.trace"], "/no/such.trace: cannot be read"),
    (["replay", "/"], "/: cannot be read: it is a folder."),
    (["diff", "one"], "diff: name two"), (["doctor", "who"], '"who"'),
    (["--trace", "/no/such/x.trace", "wifi_stop_tx"], "/no/such/x.trace: cannot be written")])
def test_misuse(words, expected):
    done = station(*words)
    assert done.returncode == 2 and expected in done.stderr
