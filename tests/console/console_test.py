# SPDX-License-Identifier: Apache-2.0
"""The console as a program: what it prints, and its exit status."""

import json
import os
import re
import shutil
import signal
from xml.etree import ElementTree

import jsonschema
import pytest

from support.console import CARELESS, STATION_PHONE, started, station
from support.terminal import Terminal
from support.tree import CHIPS, ROOT


SCHEMA = json.loads((ROOT / "docs/reference/session.schema.json").read_text())
DEFINITIONS = {name: jsonschema.Draft202012Validator({"$ref": f"#/$defs/{name}", "$defs": SCHEMA["$defs"]})
               for name in SCHEMA["$defs"]}


def lines(*arguments, **keywords):
    """The console's exit status and its JSON lines, each checked against the schema."""
    done = station("--json", *arguments, **keywords)
    reported = [json.loads(line) for line in done.stdout.splitlines()]
    for line in reported:
        DEFINITIONS[{"expectation": "expectation_line"}.get(line["type"], line["type"])].validate(line)
    return done.returncode, reported


def calls(reported):
    return [line for line in reported if line["type"] == "call"]


def call(*arguments):
    status, reported = lines(*arguments)
    return status, calls(reported)[0]


@pytest.fixture
def session(tmp_path):
    """Runs the text of a session on a chip: exit status and JSON lines."""

    def run(text, *options):
        script = tmp_path / "session.tcl"
        script.write_text(text)
        return lines(*options, "run", script)

    return run


@pytest.mark.parametrize(
    "arguments, expected",
    [
        (["wifi_set_powr", "1"], ["wifi_set_powr", "Did you mean wifi_set_power"]),
        (["wifi_set_power"], ["missing", "wifi_set_power POWER"]),
        (["wifi_set_power", "1", "2"], ["too many", "2 given"]),
        (["wifi_set_power", "1dBm"], ["power", "1dBm", "no number"]),
        (["wifi_set_power", ""], ["no number"]),
        (["wifi_set_power", "4294967296"], ["32 bits", "4294967295"]),
        (["wifi_set_power", "-2147483649"], ["32 bits"]),
        (["wifi_set_power", "99999999999999999999999"], ["no number"]),
        (["wifi_nvram_calibrate_get", "65536"], ["size", "0..65535"]),
        (["wifi_nvram_calibrate_clean_new", "1,0,1"], ["flags", "four numbers"]),
        (["wifi_hw_get", "5"], ["null or scratch"]),
        (["--expect", "1 snr 5", "wifi_get_rx_rssi"], ["snr", "rssi"]),
        (["--expect", "1 rssi 5..1", "wifi_get_rx_rssi"], ["5..1", "allows nothing"]),
        (["--expect", "1 rssi", "wifi_get_rx_rssi"], ["pairs"]),
        (["--expect", "yes", "wifi_set_power", "1"], ["yes", "LOW..HIGH"]),
        (["--chip", "vq2060", "wifi_start_tx"], ["vq2060", "vq2070"]),
        (["--chip"], ["--chip", "value"]),
        (["--clok", "real"], ["--clok", "--clock"]),
        (["--clock", "slow", "list"], ["slow", "virtual"]),
        (["--log=loud", "list"], ["loud", "error"]),
        (["--phone", "/nowhere/phone.toml", "wifi_start_tx"], ["/nowhere/phone.toml"]),
        (["--library", "/nowhere/lib.so", "wifi_start_tx"], ["/nowhere/lib.so", "--library"]),
        (["--phone", "/", "wifi_start_tx"], ["/: is a folder", "description file"]),
        (["--unit", "spare", "wifi_start_tx"], ["unit: 'spare'", "a number from 0 to 4294967295"]),
        (["--chip", "vq2040", "--chip=vq2050", "wifi_start_tx"], ["--chip is given twice", "vq2050", "once"]),
        (["--chip=vq2040", "--chip=vq2040", "wifi_start_tx"], ["--chip is given twice"]),
        (["--nv", "a.nv", "--nv", "b.nv", "nv", "list"], ["--nv is given twice", "b.nv"]),
        (["--log", "--log=error", "list"], ["--log is given twice"]),
        (["run"], ["session file"]),
        (["run", "x.tcl", "--", "power"], ["\"power\"", "NAME=VALUE"]),
        (["run", "x.tcl", "--", "power=1", "power=2"], ["power", "twice"]),
        (["run", "-", "-"], ["twice", "standard input"]),
        (["run", "/nowhere/rf.tcl"], ["/nowhere/rf.tcl", "cannot be read"]),
        (["run", ROOT / "sessions" / "board_check.tcl", "/nowhere/rf.tcl"], ["/nowhere/rf.tcl", "cannot be read"]),
        (["run", "/"], ["cannot be read", "folder"]),
        (["run", "/dev/null"], ["no command"]),
        ([""], ["empty"]),
        (["--phone=", "wifi_start_tx"], ["--phone=", "value"]),
        (["sessions/rf.tcl"], ["orva-station run sessions/rf.tcl"]),
        (["wifi_start_tx", "--chip"], ["--chip NAME wifi_start_tx"]),
        (["phone", "keys"], ["help phone"]),
        (["docter"], ["Did you mean doctor"]),
        (["wifi_set_power", "1", "--chip=vq2050"], ["options come first", "--chip=vq2050 wifi_set_power"]),
        (["--expect", "1", "run", "x.tcl"], ["--expect", "single call"]),
        (["--report", "page.html", "doctor"], ["--report", "doctor"]),
        (["help", "wifi_set_chanel"], ["wifi_set_channel"]),
        (["--junit", "/nowhere/report.xml", "wifi_start_tx"], ["/nowhere/report.xml"]),
        (["nv", "show", "many"], ["many", "340"]),
        (["nv", "load", "/nowhere/nv.txt"], ["/nowhere/nv.txt"]),
        (["nv", "forget"], ["list", "show NUMBER"]),
        (["nv", "restore", "/nowhere/nv.txt"], ["/nowhere/nv.txt"]),
        (["preview"], ["name a call"]),
        (["generate", "fish"], ["bash or zsh"]),
    ],
)
def test_misuse_is_named(arguments, expected):
    done = station(*arguments)
    assert done.returncode == 2
    assert done.stdout == ""
    assert len(done.stderr.strip().splitlines()) == 1
    for words in expected:
        assert words in done.stderr


def test_a_folder_in_the_environment_is_no_phone(tmp_path):
    done = station("wifi_start_tx", program=STATION_PHONE, env={**os.environ, "ORVA_PHONE": str(tmp_path)})
    assert done.returncode == 2 and done.stdout == ""
    assert done.stderr.startswith(f"ORVA_PHONE: {tmp_path}: is a folder") and "description file" in done.stderr


@pytest.mark.parametrize(
    "arguments, status",
    [
        (["wifi_set_power", "155"], 0),
        (["wifi_setmimo_channel", "3"], 1),
        (["wifi_query_setting", "5"], 1),
        (["wifi_query_setting", "13"], 0),
        (["conn_test_uart_loop"], 0),
        (["--expect", "1", "conn_test_uart_loop"], 1),
        (["--expect", "0", "wifi_setmimo_channel", "3"], 0),
        (["wifi_ru_set", "0"], 1),
        (["--chip", "vq2070", "wifi_ru_set", "0"], 0),
    ],
)
def test_exit_status_of_a_single_call(arguments, status):
    assert station(*arguments).returncode == status


@pytest.mark.parametrize("word, sent", [("155", "15"), ("-99", "-9"), ("0x9B", "15"), ("4294967197", "-9"), ("2147483647", "214748364")])
def test_numbers_reach_the_driver_as_typed(word, sent):
    _, step = call("--chip", "vq2050", "wifi_set_power", word)
    assert [(c["id"], c["name"], c["sent"]) for c in step["driver"]] == [(1, "power", sent)]
    assert step["pauses_us"] == [1000, 1000]


LIMITS = [
    ("5", "5", True), ("5", "6", False), ("-70..-40", "-70", True), ("-70..-40", "-71", False), ("10..", "9", False),
    ("10..", "4294967295", True), ("..0", "-5", True), ("..0", "1", False), ("1,3..5", "4", True), ("1,3..5", "2", False),
    ("*", "7", True), ("0x10", "16", True), ("0.5..1", "0.75", True), ("0.5..1", "0.25", False), ("5", "5.0", True),
    ("-1.5..1.5", "[expr {(15.1+15.2)/2-15.15}]", True), ("0..1", "[expr {1.0/100000}]", True), ("1000000", "1e6", True), ("5", "+5", True),
    ("..1", "1e6", False), ("1..", "1E-7", False), ("0..", "inf", False), ("..0", "-5e-324", True), ("*", "12E4", True),
]


def test_limits(session):
    text = "\n".join(f"limits case{i} {value} {limits}" for i, (limits, value, _) in enumerate(LIMITS))
    status, reported = session(text)
    held = [line["held"] for line in reported if line["type"] == "expectation"]
    assert held == [holds for _, _, holds in LIMITS]
    assert status == 1
    assert [line["got"] for line in reported if line["type"] == "expectation"][-8:-5] == ["0.00001", "1000000", "5"]
    assert reported[-3]["got"] == "12E4", "where anything is allowed, a text stays one"


# Each of these holds on vq2050 after a transmit start with one refused command in it.
TX = """
wifi_set_mode 4; wifi_set_band 0; wifi_set_channel 2412; wifi_setmimo_channel 1; wifi_set_rate 6500
phone set interface.up true
fault ioctl:3 1 0
wifi_start_tx -> 0
"""
HOLDING = [
    "expect driver {11=0 2=10 4=0 0=1 27=1 3=65!}",
    "expect driver {power_save=0 mode=1..12 bandwidth channel=* mimo_chain=1,2 rate!}",
    "expect log {wifi_ioctl_set_channel fail, ret[0].}",
    "expect log {*fail, ret*}",
    "expect no log {wifi_ioctl_set_power}",
    "expect shell {}",
    "expect phone state.channel 1",
]
FAILING = [
    "expect driver {}",
    "expect driver {11=0 2=10 4=0 0=1 27=1}",
    "expect driver {11=0 2=10 4=0 0=1 27=1 3=65}",
    "expect driver {11=0 2=10 4=0 0=1 27=1 3=64!}",
    "expect driver {2=10 11=0 4=0 0=1 27=1 3=65!}",
    "expect driver {11=0 2=10 4=0 0=1 27=1 3=65! 1=15}",
    "expect log {wifi_ioctl_set_power}",
    "expect no log {fail}",
    "expect shell {{ifconfig wlan0 up}}",
    "expect phone state.channel 2",
]


def test_expectations_hold_and_fail(session):
    status, reported = session(TX + "\n".join(HOLDING), "--chip", "vq2050")
    assert status == 0
    assert [line["held"] for line in reported if line["type"] == "expectation"] == [True] * len(HOLDING)
    status, reported = session(TX + "\n".join(FAILING), "--chip", "vq2050")
    assert status == 1
    failed = [line for line in reported if line["type"] == "expectation"]
    assert [line["held"] for line in failed] == [False] * len(FAILING)
    first = TX.count("\n") + 1
    assert [line["line"] for line in failed] == list(range(first, first + len(FAILING)))


def test_a_failed_expectation_is_recorded_and_the_session_goes_on(session):
    status, reported = session("proc one {p} {\n  wifi_set_power $p -> 0\n}\nforeach p {1 2} {\n  one $p\n}\nwifi_set_band 0 -> 1\n")
    assert status == 1
    made = calls(reported)
    assert [c["function"] for c in made] == ["wifi_set_power", "wifi_set_power", "wifi_set_band"]
    assert [c["line"] for c in made] == [2, 2, 7]
    assert made[0]["expectations"] == [{"what": "result", "limits": "0", "got": "1", "held": False}]
    assert reported[-2]["failed"] == 2 and reported[-2]["held"] == 1 and not reported[-1]["passed"]


@pytest.mark.parametrize(
    "text, expected",
    [
        ("wifi_set_band 0\nwifi_set_power\nwifi_set_band 1", "missing"),
        ("wifi_set_band 0\nwifi_set_pwer 1", "Did you mean wifi_set_power"),
        ("wifi_set_band 0\nexpect drivr {}", "drivr"),
        ("wifi_set_band 0\nexpect driver {pwer=1}", "Did you mean power"),
        ("wifi_set_band 0\nexpect phone radio.rsi 5", "radio.rssi"),
        ("wifi_set_band 0\nphone set radio.rssi loud", "radio.rssi"),
        ("wifi_set_band 0\nfault printer 1", "printer"),
        ("wifi_set_band 0\nfault ioctl 0", "counts from 1"),
        ("wifi_set_band 0\nwait soon", "seconds"),
        ("wifi_set_band 0\nchip vq9", "vq2070"),
        ("wifi_set_band 0\nhas driver mimo_chian", "Did you mean mimo_chain"),
        ("wifi_set_band 0\nhas shell ls", "driver"),
        ("wifi_set_band 0\nexpr {1 +}", "missing operand"),
    ],
)
def test_an_error_ends_the_session(session, text, expected):
    status, reported = session(text)
    assert status == 2
    error = [line for line in reported if line["type"] == "error"]
    assert len(error) == 1 and expected in error[0]["text"] and error[0]["line"] == 2
    assert len(calls(reported)) == 1 and reported[-2]["broken"]


def test_a_page_fits_the_terminal(tmp_path):
    words = ["help"], ["help", "expect"], ["--chip", "vq2070", "wifi_start_testmode"], ["--chip", "vq2070", "wifi_conn_info"]
    for arguments in words:
        shown, _ = Terminal(tmp_path, *arguments, columns=72).rest()
        plain = re.sub(r"\033\[[0-9;]*m", "", shown).splitlines()
        assert len(plain) > 4 or "ssid" in shown
        assert [line for line in plain if len(line) > 72 or line.endswith(" ")] == []


def test_a_session_is_run_to_its_last_line_or_not_at_all(tmp_path):
    script = tmp_path / "session.tcl"
    script.write_text("wifi_set_power 155 -> 1\n# 21 \x1a\nwifi_set_power 1 -> 0\n")
    for done in (station("run", script), station("run", "-", stdin=script.read_text()), station(stdin=f"source {script}\n")):
        assert done.returncode == 2 and re.search(r"(session.tcl|-):2: .*0x1A", done.stderr + done.stdout), done.stdout


def test_a_character_beyond_16_bits_keeps_its_form(tmp_path, session):
    text = 'note \U0001f600 "a \U0010fffd" \\ud83d\\ude01\nset x \U00010000\nteardown {note $x}\nerror "x \U0001f600"\n'
    _, reported = session(text)
    assert [line["text"] for line in reported if line["type"] in ("note", "error")] == [
        "\U0001f600 a \U0010fffd \U0001f601", "x \U0001f600", "\U00010000"]


def test_a_junit_report_is_xml_whatever_the_phone_says(tmp_path):
    phone, junit = tmp_path / "phone.toml", tmp_path / "unit.xml"
    phone.write_text('chip = "vq2050"\n[ap]\nssid = "\\u0001\\u001b<b>&\\uFFFE\\U0001F600\\u00E9"\n')
    assert station("--phone", phone, "--junit", junit, "--expect", "1 ssid zz", "wifi_conn_info").returncode == 1
    assert "\uFFFD\uFFFD<b>&\uFFFD\U0001f600\u00e9" in ElementTree.parse(junit).find(".//failure").get("message")
    script = tmp_path / "session.tcl"
    script.write_bytes(b'limits "\\ud800 \xff \\0" 1 1\n')
    assert station("--junit", junit, "run", script, errors="replace").returncode == 0
    assert "\uFFFD" in ElementTree.parse(junit).find(".//testcase").get("name")


@pytest.mark.parametrize("door", ["exec ls", "open /etc/passwd", "socket a 1", "file exists /", "source x", "exit 0", "cd /", "glob *", "load x", "after 1", "vwait x"])
def test_sessions_cannot_reach_outside(session, door):
    status, reported = session(door)
    assert status == 2 and reported[-2]["broken"]


def test_a_fault_that_never_came_fails_the_session(session):
    status, reported = session("fault ioctl:27 1\nwifi_set_power 1 -> 1\n")
    assert status == 1
    assert any(line["type"] == "expectation" and line["what"] == "fault ioctl:27" and line["line"] == 1 for line in reported)
    assert session("fault ioctl:25 1\nwifi_set_power 1 -> 1\n")[0] == 0


def test_every_place_in_the_help_takes_a_fault(session):
    places = re.findall(r"^  (\S+) +\S.*", station("help", "fault").stdout.partition("Places\n")[2].partition("Example")[0], re.M)
    assert {"socket", "nv_lose:NUMBER", "shell:COMMAND"} <= set(places)
    given = [re.sub("(ID|NUMBER|COMMAND)$", "11", place) for place in places]
    status, reported = session("".join(f"fault {place} 1000\n" for place in given) + "wifi_set_power 1 -> 1\n")
    unfired = [line["what"] for line in reported if line["type"] == "expectation"]
    assert (status, unfired) == (1, [f"fault {place}" for place in given])


def test_scripts_see_values_and_time_passes(session):
    status, reported = session(
        """
        set rssi [output_of wifi_get_rx_rssi rssi]
        limits seen $rssi -48
        phone set radio.rssi -33
        limits changed [output_of wifi_get_rx_rssi rssi] -33
        limits has_ru [has wifi_ru_set] 1
        limits chip_name [expr {[chip] eq "vq2070"}] 1
        wait 1.5
        wifi_set_power 155
        limits pauses [llength [seen pauses]] 2
        limits driver [lindex [seen driver] 0 2] 15
        """.replace("set rssi", "proc output_of {f name} { $f; output $name }\nphone set interface.up true\nphone set radio.rssi -48\nset rssi"),
        "--chip", "vq2070",
    )
    assert status == 0, reported
    assert calls(reported)[-1]["at_us"] >= 1_500_000


def test_every_session_starts_with_a_fresh_library_and_phone(tmp_path):
    first, second = tmp_path / "a.tcl", tmp_path / "b.tcl"
    first.write_text("wifi_set_power 155 -> 1\nphone set radio.rssi -20\n")
    second.write_text("wifi_query_setting 5 -> -1\nlimits rssi [phone get radio.rssi] -100..-30\n")
    assert lines("run", first, second)[0] == 0


def test_a_changed_chip_remembers_nothing(session):
    text = "wifi_set_power 155 -> 1\nchip vq2070\nwifi_query_setting 5 -> -1\nchip vq2050\nwifi_query_setting 5 -> -1\n"
    status, reported = session(text, "--chip", "vq2050")
    assert status == 0 and reported[-2]["chip"] == "vq2050"


@pytest.mark.parametrize("function, what", [("wifi_conn_info", '"bssid" (6 bytes): 0 before it, 2 behind it'), ("wifi_power_set_range", "1 before it")])
def test_an_overrun_buffer_fails_the_call(function, what):
    status, step = call("--library", CARELESS, function)
    assert status == 1
    assert [e["held"] for e in step["expectations"]] == [False] and what in step["expectations"][0]["got"]


def test_a_library_without_the_function_is_named():
    done = station("--library", CARELESS, "wifi_start_tx")
    assert done.returncode == 2 and "wifi_start_tx" in done.stderr


def declared():
    header = (ROOT / "include/wifi_factory_test_orva.h").read_text()
    return re.findall(r"^\w+ (\w+)\(", header, re.M)


def test_the_table_has_every_public_function():
    assert sorted(re.findall(r"^  (\w+)", station("list").stdout, re.M)) == sorted(declared())


def example_of(name):
    return station("help", name).stdout.rstrip().splitlines()[-1].strip()


@pytest.mark.parametrize("chip", CHIPS)
def test_the_console_knows_which_functions_a_chip_has(chip, session):
    """A chip without a function logs it. Each function's example is called, whatever comes of it."""
    text = "".join(f'note "[has {name}]"\n{example_of(name)}\n' for name in declared())
    _, reported = session(text, "--chip", chip)
    told = dict(zip(declared(), [line["text"] for line in reported if line["type"] == "note"]))
    absent = {line["function"] for line in calls(reported)
              if any("funcname is null" in entry["text"] for entry in line["log"])}
    assert len(calls(reported)) == len(told) == len(declared())
    wrong = {name for name, has in told.items() if (has == "0") != (name in absent)}
    assert wrong == set(), f"console/run/functions.cpp: .chips is wrong about {chip}"


def session_commands():
    overview = station("help").stdout.partition("Session language:")[2]
    return re.findall(r"^  (\w+) ", overview, re.M)


@pytest.mark.parametrize("name", session_commands())
def test_the_example_of_a_session_command_is_one(name):
    assert re.search(rf"(^|[\s\[;{{]){name}\b", example_of(name)), example_of(name)


@pytest.mark.parametrize("name", declared())
def test_help_and_its_example(name, session):
    text = station("help", name).stdout
    chip = re.search(r"^Chips\n  (\w+)", text, re.M).group(1)
    example = text.rstrip().splitlines()[-1].strip()
    assert example.startswith(name)
    status, reported = session(example, "--chip", chip)
    assert status in (0, 1) and calls(reported)[0]["function"] == name
    assert len(calls(reported)[0]["expectations"]) >= 1


@pytest.mark.parametrize("chip", CHIPS)
@pytest.mark.parametrize("name", [*(f"sessions/{name}" for name in ("rf", "board_check", "sweep")),
                                  *(f"kernel_phone/sessions/{name}" for name in ("late-interface", "refused", "alone/removed"))])
def test_shipped_sessions_pass_on_a_good_phone(name, chip):
    status, reported = lines("--chip", chip, "run", ROOT / f"{name}.tcl")
    assert status == 0, [line for line in reported if not line.get("held", True)]


@pytest.mark.parametrize("chip", CHIPS)
def test_the_sweep_judges_the_chain(chip):
    reported = lines("--chip", chip, "run", ROOT / "sessions/sweep.tcl")[1]
    made = [step for step in calls(reported) if step["function"] == "wifi_setmimo_channel"]
    assert [len(step["expectations"]) for step in made] == [1] * len(made)


@pytest.mark.parametrize("text, value", [("has driver mimo_chain", "1"), ("has driver bss_expire_age", "1"), ("has driver cal_block_push", "0")])
def test_a_session_asks_for_a_driver_command(session, text, value):
    assert session(f"limits has [{text}] {value}\n", "--chip", "vq2050")[0] == 0


TAKES = "set p [parameter power integer 0..300 155]\nset s [parameter serial text ?*]\nset l [parameter rssi limits * -70..-40]\nif {[chip] eq {}} {}\nwifi_set_power $p -> 1\nlimits l -50 $l\n"
TAKEN = "The session takes power (an integer in 0..300, default 155), serial (a text in ?*, must be given), rssi (limits, default -70..-40)."


def test_parameters_are_given_and_recorded(tmp_path):
    script, junit, page = tmp_path / "session.tcl", tmp_path / "unit.xml", tmp_path / "unit.html"
    script.write_text(TAKES)
    status, reported = lines("--junit", junit, "--report", page, "run", script, "--", "power=0x10", "serial=a=b c")
    values = [("power", "0x10", True), ("serial", "a=b c", True), ("rssi", "-70..-40", False)]
    assert status == 0 and calls(reported)[0]["arguments"]["power"] == 16
    assert [(line["name"], line["value"], line["given"]) for line in reported if line["type"] == "parameter"] == values
    assert [(one.get("name"), one.get("value")) for one in ElementTree.parse(junit).iter("property")] == [value[:2] for value in values]
    assert "parameter power = 0x10" in page.read_text() and "parameter rssi = -70..-40 (default)" in station("run", script, "--", "serial=1").stdout


@pytest.mark.parametrize("given, message", [
    (["power=1"], "The parameter serial is missing. " + TAKEN), (["serial=1", "pwer=2"], 'There is no parameter "pwer". Did you mean power? ' + TAKEN),
    (["serial=1", "power=loud"], 'parameter power: the value is "loud": give an integer in 0..300.'),
    (["serial=1", "power=301"], 'parameter power: the value is "301"'), (["serial=1", "power=1.5"], "give an integer"),
    (["serial="], "give a text in ?*"), (["serial=1", "rssi=5..1"], "give limits")])
def test_wrong_parameters_end_a_session_before_its_first_call(tmp_path, given, message):
    script = tmp_path / "session.tcl"
    script.write_text(TAKES)
    status, reported = lines("run", script, "--", *given)
    assert status == 2 and calls(reported) == []
    assert message in [line["text"] for line in reported if line["type"] == "error"][0]


@pytest.mark.parametrize("text, message", [
    ("wifi_set_power 1\nparameter a text *", "before the session's first act"), ("parameter a word *", "integer, number, text or limits"),
    ("parameter a integer 5..1", "allows nothing"), ("parameter a integer 1..5 9", "the default"), ("parameter {a b} text * x", "no name"),
    ("parameter a text * x\nparameter a text * x", "already"), ("run x.tcl", "for the prompt"), ("source x.tcl", "no files")])
def test_a_wrong_declaration_is_named(session, text, message):
    status, reported = session(text + "\n")
    assert status == 2 and message in [line["text"] for line in reported if line["type"] == "error"][0]


def test_a_session_from_standard_input(tmp_path):
    done = station("--chip", "all", "run", "-", "--", "power=3", stdin="set p [parameter power integer 0..9]\nwifi_set_power $p -> 1\nlimits a 1 2\n", cwd=tmp_path)
    assert done.returncode == 1 and done.stdout.count("wifi_set_power 3") == done.stdout.count(", -:3]") == len(CHIPS)
    assert station("run", "-").returncode == 2


@pytest.mark.parametrize("chip", CHIPS)
def test_shipped_sessions_take_their_limits(chip):
    status, reported = lines("--chip", chip, "run", ROOT / "sessions/rf.tcl", "--", "power=230", "rssi=-30..-20")
    failed = [e["what"] for step in calls(reported) for e in step["expectations"] if not e["held"]]
    assert (status, failed) == (1, ["rssi"])
    assert lines("--chip", chip, "run", ROOT / "sessions/board_check.tcl", "--", "rssi=-30..-20")[0] == 1
    assert lines("--chip", chip, "run", ROOT / "sessions/sweep.tcl", "--", "power=90")[0] == 0


DOCUMENTED = re.findall(r"^```tcl\n(.*?)^```", (ROOT / "docs/reference/sessions.md").read_text(), re.M | re.S)


@pytest.mark.parametrize("chip", CHIPS)
@pytest.mark.parametrize("number", range(len(DOCUMENTED)))
def test_documented_examples(number, chip, session):
    status, reported = session(DOCUMENTED[number], "--chip", chip)
    assert status == 0, [line for line in reported if not line.get("held", True) or line["type"] == "error"]


SWEEP = """
wifi_set_band 0 -> 1
sweep {channel {2412 2484 5180} power {100 155}} {
  if {$channel == 5180} { break }
  wifi_set_channel $channel -> 1
  if {$power == 155} { continue }
  wifi_set_power $power -> 0
}
"""


def test_the_schema_as_a_whole(session):
    whole = jsonschema.Draft202012Validator(SCHEMA)
    _, reported = session("step a\nnote b\nprogress 1 2\nwifi_start_testmode -> 1\nexpect log x\nnonsense\n")
    assert [line["type"] for line in reported] == ["begin", "step", "note", "progress", "call", "expectation", "error", "end", "summary"]
    for line in reported:
        whole.validate(line)
        assert not whole.is_valid({**line, "type": "rumour"})
        assert not whole.is_valid({**line, "extra": 1})


def test_a_sweep_goes_through_every_combination(session):
    status, reported = session(SWEEP)
    made = [(c["function"], *c["arguments"].values()) for c in calls(reported)[1:]]
    assert made == [("wifi_set_channel", 2412), ("wifi_set_power", 100), ("wifi_set_channel", 2412),
                    ("wifi_set_channel", 2484), ("wifi_set_power", 100), ("wifi_set_channel", 2484)]
    assert {c["line"] for c in calls(reported)[1:]} == {5, 7}
    assert [(p["done"], p["total"]) for p in reported if p["type"] == "progress"] == [(i, 6) for i in (0, 1, 2, 3, 4, 6)]
    assert status == 1


def test_the_ledger_adds_up(session):
    text = "wifi_start_testmode -> 1\nwait 0.25\nwifi_set_antenna 1 -> 1\n"
    for clock in ("virtual", "real"):
        _, reported = session(text, "--chip", "vq2050", "--clock", clock)
        end = [line for line in reported if line["type"] == "end"][0]
        assert end["phone_us"] - end["calls_us"] >= 250_000
        assert sum(end["time"].values()) == end["calls_us"]
        assert sum(sum(c["pauses_us"]) for c in calls(reported)) <= end["time"]["pauses_us"]
        costs = (end["time"]["driver_us"] > 0, end["time"]["shell_us"] > 0)
        assert costs == ((True, True) if clock == "real" else (False, False))


def test_nv_is_kept_shown_saved_and_loaded(tmp_path):
    store, text, other = tmp_path / "store.db", tmp_path / "nv.txt", tmp_path / "other.db"
    text.write_text("# from the line\n340 WIC0_2G5G_OFDM pa2ga0=1,-2,3;pa5ga0=4,5;\n363 NV_UNUSED 0x00FF10\n")
    assert station("--yes", "--nv", store, "nv", "load", text).returncode == 0
    shown = station("--nv", store, "nv", "show", "340").stdout
    assert "pa2ga0" in shown and "1,-2,3" in shown and "pa5ga0" in shown
    saved = tmp_path / "saved.txt"
    station("--nv", store, "nv", "save", saved)
    station("--yes", "--nv", other, "nv", "load", saved)
    listed = station("--nv", other, "nv", "list").stdout
    assert listed == station("--nv", store, "nv", "list").stdout
    assert "340 WIC0_2G5G_OFDM pa2ga0=1,-2,3;pa5ga0=4,5;\n" in listed and "363 NV_UNUSED 0x00FF1000" in listed
    station("--yes", "--nv", other, "nv", "clear")
    assert "empty" in station("--nv", other, "nv", "list").stdout
    text.write_text("340 A 0xZZ\n")
    assert f"{text}:1" in station("--nv", store, "nv", "load", text).stderr


def test_the_log_goes_to_stderr_in_logcat_format():
    done = station("--chip", "vq2050", "--log", "wifi_set_power", "155")
    assert re.search(r"^\d\d-\d\d \d\d:\d\d:\d\d\.\d{3} +\d+ +\d+ D WIFI_ORVA_FAC_TEST_2050: wifi_set_power::pow\[155\]\.$", done.stderr, re.M)
    assert station("--chip", "vq2050", "--log=error", "wifi_set_power", "155").stderr == ""


def test_the_prompt_works_in_a_pipe():
    done = station("--chip", "vq2050", stdin="foreach p {10 20} {\n  wifi_set_power $p -> 1\n}\nset x [expr {6 * 7}]\nlog\n")
    assert done.returncode == 0 and done.stdout.count("wifi_set_power") >= 2 and "42" in done.stdout
    assert station(stdin="wifi_set_power 1 -> 0\n").returncode == 1
    assert station(stdin="nonsense\nwifi_set_power 1\n").returncode == 2


def test_the_prompt_on_a_terminal(tmp_path):
    here = Terminal(tmp_path, "--chip", "vq2070", "--clock", "real")
    here.type("", r"vq2070 test:off tx:off rx:off> ")
    here.type("wifi_get_rx_r\t", "ssi ")
    here.type("\x03", r"\n.*rx:off> ")
    here.type("wifi_set_band \t\t", r"0 +1 +2 +3")
    here.type("\x03", r"\n.*rx:off> ")
    here.type("wifi_start_testmode\r", r"test:on tx:off rx:off> ")
    here.type("note begun; wait 3000\r", r"\n +begun")  # shown when the command runs, and not its echo
    here.type("\x03", r"interrupted[\s\S]*test:on tx:off rx:off> ")
    here.type("note begun; while 1 {incr i}\r", r"\n +begun")
    here.type("\x03", r"interrupted[\s\S]*rx:off> ")
    os.write(here.fd, b"exit\r")
    assert here.rest()[1] == 3  # nothing was expected
    assert "wifi_start_testmode" in (tmp_path / ".orva_station_history").read_text()


def test_an_interrupted_session_reports_what_it_did(tmp_path):
    script, report = tmp_path / "session.tcl", tmp_path / "unit.xml"
    script.write_text("wifi_set_power 155\nwait 3000\nwifi_set_power 166\n")
    with started("--chip", "all", "--clock", "real", "--junit", report, "run", script) as running:
        assert [running.stdout.readline() for _ in range(2)][1].startswith("   -  wifi_set_power 155")  # before the end
        running.send_signal(signal.SIGINT)
        printed = running.stdout.read()
    assert running.returncode == 2
    assert re.search(r"STOP  .*session.tcl:\d: interrupted: the phone is as the last call left it", printed)
    assert "wifi_set_power 166" not in printed and "vq2050" not in printed
    assert ElementTree.parse(report).find("testsuite").get("errors") == "1"


def test_a_long_run_shows_its_progress_on_a_terminal_only(tmp_path):
    arguments = ["--quiet", "run", ROOT / "sessions/sweep.tcl"]
    shown, status = Terminal(tmp_path, *map(str, arguments)).rest()
    assert status == 0 and "[" + "#" * 15 + "." * 15 + "] 288/576 bandwidth 2 channel 2484" in shown
    assert re.search(r"\033\[32mPASS", shown)
    assert "#" not in station(*arguments).stdout and "\033" not in station(*arguments).stdout


SHELLS = {
    "bash": (["--norc", "--noprofile"], "bind 'set show-all-if-ambiguous on'; bind 'set enable-bracketed-paste off'; source _orva-station"),
    "zsh": (["-f"], "fpath=($PWD $fpath); autoload -Uz compinit; compinit -u; unset zle_bracketed_paste"),
}
COMPLETED = [
    ("doct", "doctor "), ("wifi_get_rx_r", "wifi_get_rx_rssi "), ("help wifi_get_rx_r", "rx_rssi "), ("generate z", "zsh "),
    ("wifi_set_band ", r"\s0\b[\s\S]*\s1\b[\s\S]*\s2\b[\s\S]*\s3\b"), ("preview wifi_hw_get s", "scratch "),
    ("--qui", "--quiet "), ("--chip vq207", "vq2070"), ("--log=er", "error "), ("--log doct", "doctor "), ("--clock=v", "virtual "),
    ("--chip vq2050 --nv unit.nv wifi_set_channel 248", "2484 "), ("--log=error wifi_set_channel 248", "2484 "), ("nv b", "backup "),
    ("--chip=vq2050 run my\\ ses", r"my\\ session\.tcl "), ("--phone my", r"my\\ session\.tcl "), ("nv load my", r"my\\ session\.tcl "),
]


@pytest.mark.parametrize("shell", SHELLS)
def test_the_tab_key_completes_in_a_shell(shell, tmp_path):
    if not shutil.which(shell):
        pytest.skip(f"{shell} is not installed")
    (tmp_path / "my session.tcl").touch()
    (tmp_path / "_orva-station").write_text(station("generate", shell).stdout)
    arguments, setup = SHELLS[shell]
    here = Terminal(tmp_path, *arguments, "-i", program=shell, term="dumb", columns=200)
    here.type(f"PS1='rea''dy> '; {setup}\r", "ready> ")
    for begun, whole in COMPLETED:
        here.type(f"orva-station {begun}\t", r"orva-station [\s\S]*" + whole)
        here.type("\x15\r", "ready> $")
