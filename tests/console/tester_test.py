# SPDX-License-Identifier: Apache-2.0
"""The console with an RF test set: measurements, causes of failures, and the sessions that verify and calibrate."""

import itertools
import json
import re
import signal
import socket
import threading
import time

import jsonschema
import pytest

from support.console import started, station
from support.rf_tester import DIALECTS, Phone, RunningTester, answering_server, profile, unused_address
from support.tree import CHIPS, ROOT

SCHEMA = jsonschema.Draft202012Validator(json.loads((ROOT / "docs/reference/session.schema.json").read_text()))
CABLE = "2412 1.2 2472 1.3 5180 2.1 5825 2.4"
CABLE_OPTION = "3=2412:1.2,2472:1.3,5180:2.1,5825:2.4"
LIMITS = ROOT / "rf_tester/limits.csv"


@pytest.fixture(params=DIALECTS)
def dialect(request):
    return request.param


@pytest.fixture
def running(dialect):
    with RunningTester("--dialect", dialect, "--cable-loss", CABLE_OPTION) as running:
        yield running


def session(script, *options):
    """Runs a session from standard input: its exit status and its JSON lines."""
    done = station("--json", *options, "run", "-", stdin=script)
    lines = [json.loads(line) for line in done.stdout.splitlines()]
    for line in lines:
        SCHEMA.validate(line)
    return done.returncode, lines


def measurements(lines):
    return [line for line in lines if line["type"] == "expectation"]


def connected(running, dialect, rest, loss=CABLE):
    enter = f"tester loss {{{loss}}}" if loss else ""
    return f"""
tester connect {running.address} {{{profile(dialect)}}}
tester reset
tester port 3
tester timeout 0.1
{enter}
tester channel 2442
tester expect 15
{rest}
"""


def test_a_measurement_has_value_unit_limits_and_condition(running, dialect):
    with Phone(running.cable_address) as phone:
        phone.plug(3)
        phone.emit((15.5, -33), frequency_error_ppm=-7.5, mask_margin_db=3)
        status, lines = session(connected(running, dialect, """
tester average 10
set values [tester measure -wanted 15 -at {rate mcs7} -> power 14.5..16.5 evm ..-40 frequency_error -8..-7 mask_margin 0..]
limits "values" [dict size $values] 4
"""))
    assert status == 1, "the EVM misses its limit"
    power, evm, frequency, mask, _ = measurements(lines)
    units = {"power": "dBm", "evm": "dB", "frequency_error": "ppm", "mask_margin": "dB"}
    true = {"power": (15.5, 0.31), "evm": (-33, 0.46), "frequency_error": (-7.5, 0.06), "mask_margin": (3, 0.51)}
    for one in (power, evm, frequency, mask):
        assert one["unit"] == units[one["what"]]
        assert one["condition"] == {"mhz": "2442", "bandwidth_mhz": "20", "rate": "mcs7"}
        value, within = true[one["what"]]
        assert float(one["got"]) == pytest.approx(value, abs=within)
    assert [one["held"] for one in (power, evm, frequency, mask)] == [True, False, True, True]
    assert evm["limits"] == "..-40"


def test_packets_are_generated_as_asked(running, dialect):
    with Phone(running.cable_address) as phone:
        phone.plug(3)
        status, lines = session(connected(running, dialect, """
tester channel 5190 40
limits sent [tester generate -format ht -rate mcs3 -level -61.5 -count 250] 250
limits sent [tester generate -format vht -rate mcs8 -level -62 -bandwidth 20] 1000
"""))
        assert status == 0, lines
        first, second = phone.receive()
        assert second["level_dbm"] == pytest.approx(-62, abs=0.01)
        assert (first["format"], first["rate"], first["bandwidth_mhz"], first["packets"]) == ("ht", "mcs3", 40, 250)
        assert first["level_dbm"] == pytest.approx(-61.5, abs=0.01)
        assert (second["format"], second["rate"], second["bandwidth_mhz"], second["packets"]) == ("vht", "mcs8", 20, 1000)


# What is done to the set-up, and how the failed expectation names the cause. The phone sends 14 dBm in 40 MHz.
TROUBLES = [
    ("tester channel 2442 20", "port 3: the burst at 2442 MHz cannot be demodulated: it is wider than the 20 MHz that tester channel set"),
    ("tester port 4", "port 4: no burst at 2442 MHz.*not connected to port 4"),
    ("tester channel 2412", "port 3: no burst at 2412 MHz"),
    ("tester expect 0", "over the analyzer's range: raise"),
    ("tester expect 40", "under the analyzer's range: lower"),
]


@pytest.mark.parametrize("spoil, text", TROUBLES)
def test_a_unit_that_cannot_be_measured_fails_with_the_cause(running, dialect, spoil, text):
    with Phone(running.cable_address) as phone:
        phone.plug(3)
        phone.emit(14, bandwidth_mhz=40)
        status, lines = session(connected(running, dialect, f"tester channel 2442 40\n{spoil}\ntester measure -> power 13..15"))
    assert status == 1
    trouble, power = measurements(lines)
    assert trouble["what"] == "measurement" and re.search(text, trouble["got"])
    assert (power["got"], power["held"]) == ("", False)


@pytest.mark.parametrize("wrong_sign, text", [(True, "twice the path loss of 1.25 dB, so its sign is likely wrong"),
                                              (False, "no path loss is entered for this port")])
def test_a_wrong_path_loss_shows_in_the_power(running, dialect, tmp_path, wrong_sign, text):
    own = tmp_path / "own.toml"
    content = profile(dialect).read_text()
    sign = {"a": ("sign = 1", "sign = -1"), "b": ("sign = -1", "sign = 1")}[dialect]
    own.write_text(content.replace(*sign) if wrong_sign else content)
    with Phone(running.cable_address) as phone:
        phone.plug(3)
        phone.emit(15)
        script = connected(running, dialect, "tester measure -wanted 15 -within 0.8", "2442 1.25" if wrong_sign else "")
        status, lines = session(script.replace(str(profile(dialect)), str(own)))
    (trouble,) = measurements(lines)
    assert status == 1 and text in trouble["got"]


# A line of a session, and the error that ends it.
ERRORS = [
    ("tester loss {2442 -1.5}", "-1.5 dB at 2442 MHz: enter a loss as a positive number"),
    ("tester loss {}", "table of path losses is empty"),
    ("tester loss {2442}", "give frequencies in MHz with a loss in dB each"),
    ("tester loss {2442 1 2442 2}", "2442 MHz is given twice"),
    ("tester loss {2442 500}", "set path loss was refused: -222 Data out of range"),
    ("tester reset; tester loss {2442 1}", "the path loss belongs to a port"),
    ("tester channel 9000", "9000"),
    ("tester channel zero", '"zero", which is no number'),
    ("tester port 9", "select port was refused: -222 Data out of range"),
    ("tester port 1.5", "give a whole number from 1"),
    ("tester average 0", "give a whole number from 1"),
    ("tester timeout 0", "more than 0"),
    ("tester generate -format ht -rate mcs77 -level -60", "load waveform was refused: -256 File name not found"),
    ("tester generate -format ht -rate mcs7 -count 10", "-level is missing"),
    ("tester generate -format ht -rate mcs7 -level -60 -count 1e9", "from 1 to 1000000"),
    ("tester measure -> power", "pairs of a quantity and its limits"),
    ("tester measure -> colour 1..2", '"colour" is no quantity.*power, evm, frequency_error or mask_margin'),
    ("tester measure -> power 2..1", "2..1"),
    ("tester measure -want 3", '"-want" is no option: give -wanted, -within or -at'),
    ("tester uncertainty sent", '"sent" is no quantity'),
    ("tester limit evm", "use tester limits FILE"),
    ("tester sing", 'tester: "sing" is nothing that a test set does'),
    ("tester port", "usage: tester port NUMBER"),
    ("tester close; tester measure", "No test set is connected"),
    ("preview {tester measure}", "a preview judges nothing"),
]


@pytest.fixture(scope="module")
def shared():
    with RunningTester("--cable-loss", CABLE_OPTION) as running:
        yield running


@pytest.mark.parametrize("line, text", ERRORS)
def test_misuse_and_refusals_are_explained(shared, line, text):
    status, lines = session(connected(shared, "a", line))
    assert status == 2
    assert re.search(text, lines[-3]["text"]), lines[-3]
    assert lines[-3]["type"] == "error"


CONNECTIONS = [
    (unused_address, "no test set can be reached there (Connection refused)"),
    (lambda: "127.0.0.1", "give HOST:PORT"),
    (lambda: "127.0.0.1:70000", "give HOST:PORT"),
    (lambda: answering_server(b""), "no answer to *IDN? within 0.5 s"),
    (lambda: answering_server(b"MAKER,MODEL,1,2\n"), "'MAKER,MODEL,1,2' is not what PROFILE is for (ORVA"),
    (lambda: answering_server(b'-200,"in use by 10.0.0.1:5"\n'), "serves another client: -200,\"in use by 10.0.0.1:5\""),
]


@pytest.mark.parametrize("address, text", CONNECTIONS)
def test_a_connection_that_fails_is_explained(tmp_path, address, text):
    quick = tmp_path / "quick.toml"
    patience = 500 if "no answer" in text else 60_000
    quick.write_text(profile("a").read_text().replace("timeout_ms = 5000", f"timeout_ms = {patience}"))
    at = address()
    status, lines = session(f"tester connect {at} {{{quick}}}")
    assert status == 2
    assert at in lines[-3]["text"] and text.replace("PROFILE", str(quick)) in lines[-3]["text"]


# A change of a good profile, and what is said about it.
BAD_PROFILES = [
    ('name = "ORVA', '= "ORVA', "orva.toml:3: "),
    ('[done]\nask = "*OPC?"', "[done]", "done.ask: is missing"),
    ("{mhz}MHZ,{db}DB", "{mhz}MHZ,{watts}", "path_loss.point: '{mhz}MHZ,{watts}' names watts; it may name db, hz, mhz"),
    ('reset = ["*RST", "*CLS"]\n', "", "actions.reset: is missing"),
    ('reset = ["*RST", "*CLS"]', 'reset = "*RST"', "actions.reset: is no list"),
    ('"ROUT:PORT {port}"', '"ROUT:PORT {port"', "actions.select_port: "),
    ('"ROUT:PORT {port}"', '"ROUT:PORT {port:upper}"', "{port:upper} has a format that does not fit its value"),
    ("timeout_ms", "timeout", "connection.timeout: is no key of a profile"),
    ("sign = 1", "sign = 2", "path_loss.sign: 2: give 1"),
    ('unit = "ppm"', 'unit = "mHz"', "values.frequency_error.unit: 'mHz': give Hz or ppm"),
    ("'^(-?\\d+),\"(.*)\"$'", "'('", "error.pattern: '(' is no regular expression"),
    ("'^(-?\\d+),\"(.*)\"$'", "'x'", "error.pattern: is due with two groups"),
    ('good = ["OK"]\n', "", "outcome.good: is missing"),
]


@pytest.mark.parametrize("good, bad, message", BAD_PROFILES, ids=range(len(BAD_PROFILES)))
def test_a_bad_profile_is_refused_with_its_key(tmp_path, good, bad, message):
    text = profile("a").read_text()
    assert good in text
    (tmp_path / "orva.toml").write_text(text.replace(good, bad))
    status, lines = session(f"tester connect 127.0.0.1:1 {{{tmp_path}/orva.toml}}")
    assert status == 2 and message in lines[-3]["text"], lines[-3]


class Instrument:
    """A foreign instrument: answers queries from a table and keeps the other lines."""

    def __init__(self, answers):
        self.answers, self.heard = answers, []
        self.listening = socket.create_server(("127.0.0.1", 0))
        self.address = "127.0.0.1:%d" % self.listening.getsockname()[1]
        self.thread = threading.Thread(target=self.serve, daemon=True)
        self.thread.start()

    def serve(self):
        client, _ = self.listening.accept()
        with client, client.makefile("r", newline="\r\n") as lines:
            for line in lines:
                line = line.rstrip("\r\n")
                if line in self.answers:
                    client.sendall(self.answers[line].encode() + b"\r\n")
                else:
                    self.heard.append(line)

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.thread.join(timeout=120)
        self.listening.close()


FOREIGN = r"""
name = "foreign"
[connection]
termination = "\r\n"
[identify]
ask = "WHO"
[uncertainty]
power_db = 0.5
evm_db = 1
frequency_ppm = 0.1
mask_db = 0
[actions]
reset = []
select_port = ["PORT {port:02d} {{x}}"]
set_path_loss = ["LOSS {points}"]
expect_power = ["LEVEL {dbm:.2f}"]
channel = ["TUNE {hz} {bandwidth_hz}"]
trigger_timeout = ["WAIT {s}"]
average = []
measure_burst = ["GO"]
load_waveform = ["LOAD {format:upper}-{rate}"]
generator_level = ["OUT {dbm}"]
send_packets = ["SEND {count}"]
[path_loss]
point = "{mhz}={db:.1f}"
separator = ";"
[done]
ask = "DONE"
[error]
ask = "ERR"
pattern = '^(\d+) (.*)$'
[outcome]
ask = "RESULT"
field = 0
good = ["fine"]
[values]
missing = ["---"]
[values.power]
ask = "RESULT"
pattern = 'P=([^,]+)'
unit = "W"
[values.evm]
ask = "EVM"
unit = "percent"
[values.frequency_error]
ask = "RESULT"
field = 2
unit = "Hz"
[values.mask_margin]
ask = "MASK"
unit = "dB"
[values.sent]
ask = "SENT"
unit = "packets"
scale = 2
"""


def test_a_profile_alone_adapts_to_another_instrument(tmp_path):
    (tmp_path / "foreign.toml").write_text(FOREIGN)
    answers = {"WHO": "it is I", "ERR": "0 fine", "DONE": "yes", "RESULT": "fine,P=3.1623e-02, -24420", "EVM": "+10",
               "MASK": "---", "SENT": "50"}
    with Instrument(answers) as foreign:
        status, lines = session(f"""
tester connect {foreign.address} {{{tmp_path}/foreign.toml}}
tester reset; tester port 3; tester loss {{5180 2.25 2412 1}}; tester channel 2442; tester expect -5.125; tester timeout 1.5
set values [tester measure -> power 14.99..15.01 evm -20 frequency_error -10]
limits "no mask margin" [expr {{[dict keys $values] eq {{power evm frequency_error}}}}] 1
limits sent [tester generate -format ht -rate mcs7 -level -70.5 -count 100] 100
limits uncertainty [tester uncertainty power] 0.5
""")
    assert status == 0, lines
    assert foreign.heard == ["PORT 03 {x}", "LOSS 2412=1.0;5180=2.2", "TUNE 2442000000 20000000", "LEVEL -5.12", "WAIT 1.5",
                             "GO", "LOAD HT-mcs7", "OUT -70.5", "SEND 100"]


def test_limits_are_the_first_row_that_fits_less_the_guard_band(shared, tmp_path):
    table = tmp_path / "limits.csv"
    table.write_text("quantity,format,rate,band,bandwidth_mhz,low,high,unit,source\n"
                     'evm,ht,mcs7,,,,-27,dB,"clause 19, table"\nevm,ht,,2.4,40,,-5,dB,\nevm,,,,,,-9,dB,\n'
                     "frequency_error,,,5,,-20,20,ppm,\npacket_error_rate,,,,,,10,%,\nmask_margin,,,,,0,,dB,\n"
                     "power_error,,,,,-0.2,0.2,dB,\n")
    asked = [("evm -format ht -rate mcs7 -bandwidth 40", "..-27.3"), ("evm -format ht -rate mcs0 -band 2.4 -bandwidth 40", "..-5.3"),
             ("evm -format ht -rate mcs0 -band 5", "..-9.3"), ("evm -tighten 1.5", "..-10.8"), ("frequency_error -band 5", "-19.95..19.95"),
             ("packet_error_rate", "..10"), ("mask_margin", "0.5..")]
    script = f"tester limits {{{table}}}\n" + "\n".join(f"limits {{{name}}} [tester limit {name}] {{{text}}}" for name, text in asked)
    status, lines = session(connected(shared, "a", script))
    assert {one["what"]: one["got"] for one in measurements(lines)} == dict(asked)
    for line, text in [("tester limit evm -tighten -1", "only be tightened"), ("tester limit frequency_error -band 2.4", "no limit of frequency_error for band 2.4"),
                       ("tester limit power_error", "leave nothing")]:
        status, lines = session(connected(shared, "a", f"tester limits {{{table}}}\n{line}"))
        assert status == 2 and text in lines[-3]["text"]


@pytest.mark.parametrize("content, text", [("quantity,low\n", "the column format is missing"), ("", "the column quantity is missing"),
                                           ("quantity,format,rate,band,bandwidth_mhz,low,high,unit,source\nevm,,,,,,x,dB,\n", ":2: 'x' is no number"),
                                           ("quantity,format,rate,band,bandwidth_mhz,low,high,unit,source\nevm,,\n", ":2: 3 cells where")])
def test_a_bad_table_of_limits_is_refused_with_its_line(tmp_path, content, text):
    (tmp_path / "limits.csv").write_text(content)
    status, lines = session(f"tester limits {{{tmp_path}/limits.csv}}")
    assert status == 2 and text in lines[-3]["text"]


def test_an_interrupted_measurement_frees_the_test_set(shared):
    with started("--json", "run", "-") as process:
        process.stdin.write(connected(shared, "a", "tester timeout 30\nnote waiting\ntester measure"))
        process.stdin.close()
        assert any(json.loads(line).get("text") == "waiting" for line in process.stdout)
        begin = time.monotonic()
        process.send_signal(signal.SIGINT)
        rest = process.stdout.read()
    assert process.returncode == 2 and '"verdict":"BROKEN"' in rest
    assert time.monotonic() - begin < 25, "the signal ends the wait for a burst"
    status, lines = session(f"tester connect {shared.address} {{{profile('a')}}}\nlimits identified [string match ORVA* [tester identity]] 1")
    assert status == 0, lines


# ---- The sessions -----------------------------------------------------------------------------------------------


def run_session(name, running, dialect, chip, *options, **parameters):
    words = {"address": running.address, "profile": profile(dialect), "cable": f"{running.cable_address}/3", "port": 3, "loss": CABLE, **parameters}
    done = station("--json", "--chip", chip, *options, "run", ROOT / "sessions" / name, "--", *(f"{key}={value}" for key, value in words.items()))
    lines = [json.loads(line) for line in done.stdout.splitlines()]
    return done.returncode, lines, [line for line in measurements(lines) if not line["held"]]


# The dialects take turns: what a chip does and how the test set is spoken to do not depend on each other.
@pytest.mark.parametrize("dialect, chip", list(zip(itertools.cycle(DIALECTS), CHIPS)), indirect=["dialect"])
def test_a_unit_that_fails_passes_once_it_is_calibrated(running, dialect, chip, tmp_path):
    options = ["--unit", "2", "--nv", tmp_path / "nv", "--yes"]
    strict = {"power_tolerance": 0.9}
    status, lines, failed = run_session("verify.tcl", running, dialect, chip, *options, **strict)
    assert status == 1 and {line["what"] for line in failed} == {"power"}
    for again in range(2):  # with the first calibration in NV the second must not undo it
        status, lines, failed = run_session("calibrate.tcl", running, dialect, chip, *options)
        assert (status, failed) == (0, [])
    status, lines, failed = run_session("verify.tcl", running, dialect, chip, *options, **strict)
    assert (status, failed) == (0, [])
    measured = {(line["what"], line["unit"]) for line in measurements(lines)}
    assert measured == {("power", "dBm"), ("evm", "dB"), ("frequency_error", "ppm"), ("mask_margin", "dB"),
                        ("packet_error_rate", "%"), ("rssi_error", "dB")}
    chains = {line["condition"]["chain"] for line in measurements(lines)}
    assert chains == ({"0", "1"} if chip in ("vq2050", "vq2070") else {"0"})


# A fault of the unit and the quantities that show it.
FAULTS = [("bad_crystal", {"frequency_error"}), ("open_antenna", {"power", "packet_error_rate", "rssi_error"})]


@pytest.mark.parametrize("fault, shown", FAULTS)
def test_a_fault_of_the_unit_is_found(shared, tmp_path, fault, shown):
    (tmp_path / "unit.toml").write_text(f'rf.fault = ["{fault}"]\n')
    status, lines, failed = run_session("verify.tcl", shared, "a", "vq2050", "--phone", tmp_path / "unit.toml")
    assert status == 1
    assert shown <= {line["what"] for line in failed}
    healthy = {line["what"] for line in measurements(lines) if line["held"]}
    assert healthy, "not everything fails"


# Sent as a profile tells it, in percent; sent is what a test set says of 1000 packets at the minimum sensitivity.
COUNTS = [(1.0, "..8.100", None), (0.5, None, "the phone counted 1000 packets of 500 sent: something else transmits on 2442 MHz")]


@pytest.mark.parametrize("scale, limit, error", COUNTS)
def test_a_packet_error_rate_is_judged_with_its_whole_interval(shared, tmp_path, scale, limit, error):
    own = tmp_path / "own.toml"
    text = profile("a").read_text()
    own.write_text(re.sub(r'(\[values.sent\]\n(?:.+\n)*)', rf"\1scale = {scale}\n", text))
    status, lines, failed = run_session("verify.tcl", shared, "a", "vq2040a", profile=own)
    rates = [line for line in measurements(lines) if line["what"] == "packet_error_rate"]
    limits = {line["limits"] for line in rates if line["condition"]["format"] != "dsss"}
    assert (status, limits) == ((0, {limit}) if limit else (2, set())), failed
    assert [line["text"] for line in lines if line["type"] == "error" and error] == ([error] if error else [])


def test_an_error_beyond_what_can_be_corrected_fails(shared, tmp_path):
    """The codes of the vq2040 end before such a loss in 40 MHz is made up for; the other modes are corrected."""
    (tmp_path / "unit.toml").write_text("rf.error.block = [-1, 1, -1, 1, -1, 1, -4, 0]\n")
    status, lines, failed = run_session("calibrate.tcl", shared, "a", "vq2040", "--phone", tmp_path / "unit.toml")
    assert status == 1
    assert [line["condition"]["mhz"] for line in failed] == ["5190"]
    assert len(measurements(lines)) == 8


def test_calibration_without_a_cable_ends_soon(shared):
    status, lines, failed = run_session("calibrate.tcl", shared, "a", "vq2070", port=4)
    assert status == 1 and all("not connected to port 4" in line["got"] for line in failed)
    assert [line["text"] for line in lines if line["type"] == "note"][1:] == [
        f"no reading of chain {chain} at 2442 MHz: its other channels are not measured" for chain in (0, 1)]


# ---- The doctor -------------------------------------------------------------------------------------------------


def doctor(*parameters):
    done = station("--json", "doctor", *(["--", *parameters] if parameters else []))
    findings = [json.loads(line) for line in done.stdout.splitlines()]
    for line in findings:
        SCHEMA.validate(line)
    return done, {line["what"]: line for line in findings if line["type"] == "finding"}


def test_the_doctor_examines_a_test_set(running, dialect):
    with Phone(running.cable_address) as phone:
        phone.plug(3)
        phone.emit(15)
        done, found = doctor(f"address={running.address}", f"profile={profile(dialect)}", "port=3")
    assert done.returncode == 0
    assert found["RF test set"]["found"].startswith(f"ORVA,RF-TESTER-{dialect.upper()},")
    assert found["first measurement"]["found"].startswith("1") and "dBm on port 3" in found["first measurement"]["found"]
    done, found = doctor(f"address={running.address}", f"profile={profile(dialect)}", "port=9")
    assert done.returncode == 1 and "select port was refused" in found["first measurement"]["cause"]
    done, found = doctor(f"address={unused_address()}", f"profile={profile(dialect)}")
    assert done.returncode == 1 and "can be reached" in found["RF test set"]["cause"] and "first measurement" not in found
    assert "RF test set" not in doctor()[1]


@pytest.mark.parametrize("parameters, text", [(["address=127.0.0.1:1"], "profile is missing"), (["profile=x.toml"], "address is missing"),
                                              (["address=a", "profile=b", "port=x"], "port=x: give the number"),
                                              (["colour=red"], '"colour" is nothing that it takes')])
def test_the_doctor_names_what_it_does_not_take(parameters, text):
    done, _ = doctor(*parameters)
    assert done.returncode == 2 and text in done.stderr
