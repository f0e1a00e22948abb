# SPDX-License-Identifier: Apache-2.0
"""The Python driver: the same plan with each dialect, and failures that name their cause."""

import contextlib
import re
import time

import pytest

from orva import instrument_profile, tester

from support.rf_tester import DIALECTS, Lines, Phone, RunningTester, answering_server, profile, scripted_server, unused_address

CABLE = {2412: 1.2, 2472: 1.3, 5180: 2.1, 5825: 2.4}
CABLE_OPTION = "3=" + ",".join(f"{mhz}:{db}" for mhz, db in CABLE.items())


@pytest.fixture(params=DIALECTS)
def dialect(request):
    return request.param


@pytest.fixture
def running(dialect):
    with RunningTester("--dialect", dialect, "--cable-loss", CABLE_OPTION) as running:
        yield running


@pytest.fixture
def phone(running):
    with Phone(running.cable_address) as phone:
        assert phone.plug(3) == {"ok": True}
        yield phone


@pytest.fixture
def driver(running, dialect):
    with tester.Tester(running.address, profile(dialect)) as driver:
        driver.reset()
        driver.select_port(3)
        driver.set_path_loss(CABLE)
        driver.trigger_timeout(0.05)
        yield driver


def test_the_plan(driver, phone, dialect):
    assert driver.identity.startswith(f"ORVA,RF-TESTER-{dialect.upper()},")
    uncertainty = driver.profile.uncertainty
    for mhz, bandwidth in ((2412, 20), (2442, 20), (5190, 40), (5775, 80)):
        driver.channel(mhz, bandwidth)
        for power in (10, 17):
            driver.expect_power(power)
            phone.emit((power + 0.5, -33), mhz=mhz, bandwidth_mhz=bandwidth, frequency_error_ppm=-7.5, mask_margin_db=3)
            reading = driver.measure(wanted_dbm=power)
            assert reading.power_dbm == pytest.approx(power + 0.5, abs=uncertainty["power_db"] + 0.001)
            assert reading.evm_db == pytest.approx(-33, abs=uncertainty["evm_db"] + 0.15)
            assert reading.frequency_error_ppm == pytest.approx(-7.5, abs=uncertainty["frequency_ppm"] + 0.001)
            assert reading.mask_margin_db == pytest.approx(3, abs=uncertainty["mask_db"] + 0.001)
        driver.load_waveform("vht" if mhz > 5000 else "ht", "mcs7", bandwidth)
        driver.generator_level(-62.5)
        assert driver.send(250) == 250
        (burst,) = phone.receive(mhz)
        assert burst["level_dbm"] == pytest.approx(-62.5, abs=0.01)
        assert (burst["mhz"], burst["bandwidth_mhz"], burst["packets"]) == (mhz, bandwidth, 250)
    assert driver.errors() == []


def test_both_dialects_read_the_same():
    readings = []
    for dialect in DIALECTS:
        with RunningTester("--dialect", dialect, "--seed", 8) as running, Phone(running.cable_address) as phone:
            phone.plug(1)
            phone.emit((15, -31))
            with tester.Tester(running.address, profile(dialect)) as driver:
                driver.channel(2442)
                driver.average(10)
                readings.append(driver.measure())
    assert vars(readings[0]) == {name: pytest.approx(value, abs=0.001) for name, value in vars(readings[1]).items()}


def test_errors_of_an_earlier_client_are_not_blamed_on_the_driver(running, dialect):
    with Lines(running.address) as earlier:
        assert earlier.ask("BOGUS;\n*TST?") == "0"
    with tester.Tester(running.address, profile(dialect)) as driver:
        driver.select_port(3)


def test_a_wider_burst_is_refused(driver, phone):
    driver.channel(5190, 20)
    phone.emit(15, mhz=5190, bandwidth_mhz=40)
    with pytest.raises(tester.NotDemodulated, match="port 3: the burst at 5190 MHz cannot be .* wider than the 20 MHz"):
        driver.measure()
    driver.channel(5190, 40)
    assert driver.measure().evm_db is not None


# What is passed in place of a number, and what is said about it.
NO_NUMBERS = [
    (lambda d: d.channel("2442"), "mhz: '2442' is no number"),
    (lambda d: d.expect_power(None), "dbm: None is no number"),
    (lambda d: d.expect_power(float("nan")), "dbm: nan is no number"),
    (lambda d: d.generator_level("low"), "dbm: 'low' is no number"),
    (lambda d: d.set_path_loss({2442: None}), "path loss at 2442 MHz: None is no number"),
    (lambda d: d.set_path_loss({"2442": 1}), "frequency of a path loss: '2442' is no number"),
    (lambda d: d.trigger_timeout("1"), "seconds: '1' is no number"),
    (lambda d: d.average(None), "count: None is no number"),
    (lambda d: d.send(None), "count: None is no number"),
    (lambda d: d.select_port("3"), "port: '3' is no number"),
]


def test_what_is_no_number_is_refused_before_it_is_sent(driver):
    for wrong, text in NO_NUMBERS:
        with pytest.raises(tester.TesterError, match=text):
            wrong(driver)
    assert driver.errors() == []


def raised(error, text, address=r"127\.0\.0\.1:\d+"):
    """Expects an error of the driver with this text, a pattern in which ADDRESS stands for the address."""
    return pytest.raises(getattr(tester, error), match=f"^{text.replace('ADDRESS', address)}$")


# Who is at the address, the error and its text.
CONNECTIONS = [
    (unused_address, "Unreachable", r"ADDRESS: the connection failed at \*IDN\?: .*Connection refused"),
    (lambda: "127.0.0.1", "Unreachable", "ADDRESS: give HOST:PORT or a VISA resource, as in 127.0.0.1:5025"),
    (lambda: "host:0", "Unreachable", "ADDRESS: give HOST:PORT or .*"),
    (lambda: "host:65536", "Unreachable", "ADDRESS: give HOST:PORT or .*"),
    (lambda: ":5025", "Unreachable", "ADDRESS: give HOST:PORT or .*"),
    (lambda: "NONE::x", "Unreachable", r"ADDRESS: no test set can be reached there \((?s:.+)\)"),
    (lambda: 5025, "Unreachable", "ADDRESS: give HOST:PORT or a VISA resource as a text"),
    (lambda: "host.invalid:65535", "Unreachable", "ADDRESS: .+"),
    (lambda: answering_server(b""), "NoAnswer", r"ADDRESS: no answer to \*IDN\? within 0.3 s"),
    (lambda: answering_server(b"MAKER,MODEL,1,2\n"), "WrongInstrument",
     "ADDRESS: 'MAKER,MODEL,1,2' is not what .*/orva-[ab].toml is for .ORVA RF tester, dialect [AB]."),
    (lambda: answering_server(b'-200,"in use by 10.0.0.1:5"\n'), "InUse",
     'ADDRESS: the test set serves another client: -200,"in use by 10.0.0.1:5"'),
]


@pytest.mark.parametrize("address, error, text", CONNECTIONS)
def test_a_connection_that_fails_is_explained(address, error, text, dialect):
    where = address()
    with raised(error, text, re.escape(str(where))):
        tester.Tester(where, profile(dialect), timeout_s=0.3 if error == "NoAnswer" else 60)
    with raised("TesterError", "timeout_s: 'long' is no number"):
        tester.Tester(where, profile(dialect), timeout_s="long")


def test_the_profile_of_the_other_dialect_is_noticed(running, dialect):
    other = "b" if dialect == "a" else "a"
    with pytest.raises(tester.WrongInstrument, match=f"RF-TESTER-{dialect.upper()}.* is not what .*orva-{other}.toml is for"):
        tester.Tester(running.address, profile(other))


def test_a_missing_profile_or_visa_library_is_named(tmp_path):
    with pytest.raises(instrument_profile.ProfileError, match="none.toml: the profile cannot be read: No such file"):
        tester.Tester("127.0.0.1:5025", tmp_path / "none.toml")
    with pytest.raises(tester.Unreachable, match="127.0.0.1:5025: no VISA library '@none'"):
        tester.Tester("127.0.0.1:5025", profile("a"), backend="@none")


# What is done to the set-up, the error and its text.
FAILURES = [
    (lambda d, p: p.receive(), "NothingReceived", "port 3: no burst at 2442 MHz before the trigger timeout: the phone does not transmit on "
     "this channel, its cable is not connected to port 3, or the expected power is far too high"),
    (lambda d, p: d.select_port(4), "NothingReceived", "port 4: no burst .* not connected to port 4, .*"),
    (lambda d, p: d.expect_power(0), "OverRange", "port 3: the power is over the analyzer's range: raise the expected power"),
    (lambda d, p: d.expect_power(40), "UnderRange",
     "port 3: the power is under the analyzer's range: lower the expected power, or a connector is loose"),
    (lambda d, p: d.set_path_loss({2442: -1.5}), "TesterError",
     "port 3: a path loss of -1.5 dB at 2442 MHz: enter a loss as a positive number"),
    (lambda d, p: d.set_path_loss({}), "TesterError", "port 3: the table of path losses is empty"),
    (lambda d, p: d.set_path_loss({2442: 500}), "Refused", "ADDRESS: set path loss was refused: -222 Data out of range.*"),
    (lambda d, p: d.channel(9000), "TesterError", ".*(-222 Data out of range|9000 MHz is the centre of no channel in the bands of .*-b.toml).*"),
    (lambda d, p: d.select_port(9), "Refused", "ADDRESS: select port was refused: -222 Data out of range.*"),
    (lambda d, p: d.load_waveform("ht", "mcs77"), "Refused", "ADDRESS: load waveform was refused: -256 File name not found.*"),
    (lambda d, p: d.send(10), "Refused", "ADDRESS: send packets was refused: -221 Settings conflict;no waveform is loaded.*"),
    (lambda d, p: p.emit(20.5), "ImplausiblePower", "port 3: 20.. dBm where 15.0 dBm were wanted at 2442 MHz, .5.. dB: check the cable, "
     "the path loss of 1.2 dB, and the phone's power setting"),
]


@pytest.mark.parametrize("spoil, error, text", FAILURES)
def test_a_failure_names_its_cause(driver, phone, spoil, error, text):
    driver.channel(2442)
    driver.expect_power(15)
    phone.emit(14)
    with raised(error, text):
        spoil(driver, phone)
        driver.measure(wanted_dbm=15)


@pytest.mark.parametrize("turned, losses, text", [
    (-1, {2442: 2.5}, "twice the path loss of 2.5 dB, so its sign is likely wrong"),
    (1, None, "no path loss is entered for this port"),
])
def test_a_path_loss_that_is_wrong_shows_in_the_power(turned, losses, text, dialect):
    right = instrument_profile.load(profile(dialect))
    wrong = vars(right) | {"sign": turned * right.sign}
    with RunningTester("--dialect", dialect, "--cable-loss", 3.6 if losses is None else 2.5) as running, Phone(running.cable_address) as phone:
        phone.plug(1)
        phone.emit(15)
        with tester.Tester(running.address, instrument_profile.Profile(**wrong)) as driver:
            driver.select_port(1)
            driver.channel(2442)
            if losses:
                driver.set_path_loss(losses)
            with pytest.raises(tester.ImplausiblePower, match=text):
                driver.measure(wanted_dbm=15)


GOOD = {"*OPC?": "1", "SYST:ERR?": '0,"No error"', "FETC:STAT?": "OK", "FETC:POW?": "12.5", "FETC:EVM?": "-30", "FETC:FERR?": "1.5",
        "FETC:MASK?": "4", "SOUR:BURS:SENT?": "20", "FETC:WLAN:MOD?": "0,12.5,10,2442,-4", "SOUR:GPRF:STAT?": "RDY,20"}


@contextlib.contextmanager
def instrument(dialect, used=None, **changed):
    """A driver with an instrument that gives these answers, and the lines that it got. _ stands for : in a query's name."""
    answers = GOOD | {"*IDN?": f"ORVA,RF-TESTER-{dialect.upper()},1,2"}
    answers |= {query.replace("_", ":") + "?": answer for query, answer in changed.items()}
    got = []

    def answer_to(line):
        given = answers.get(line)
        return None if given is None else f"{given}\n".encode() if given else b""

    with tester.Tester(scripted_server(answer_to, got), used or profile(dialect), timeout_s=5) as driver:
        got.clear()
        yield driver, got
    until = time.monotonic() + 20
    while got[-1:] != [None]:
        assert time.monotonic() < until, "the driver keeps its connection"
        time.sleep(0.001)


# Each action, and what the instrument gets for it in each dialect.
ACTIONS = [
    (lambda d: d.select_port(3), ["ROUT:PORT 3"], ["CONF:LINK (@3)"]),
    (lambda d: d.set_path_loss({2472: 1.5, 2412: 2.0}), ["SENS:CORR:PORT3:LOSS 2412MHZ,2DB,2472MHZ,1.5DB"],
     ["CONF:LINK:GAIN (@3),2412,-2,2472,-1.5"]),
    (lambda d: d.set_path_loss({2442: 0}), ["SENS:CORR:PORT3:LOSS 2442MHZ,0DB"], ["CONF:LINK:GAIN (@3),2442,0"]),
    (lambda d: d.channel(2442), ["SENS:FREQ 2442MHZ", "SENS:BAND 20MHZ", "SOUR:FREQ 2442MHZ"], ["CONF:WLAN:CHAN G2,7,BW20"]),
    (lambda d: d.channel(2472.0, 40), ["SENS:FREQ 2472MHZ", "SENS:BAND 40MHZ", "SOUR:FREQ 2472MHZ"], ["CONF:WLAN:CHAN G2,13,BW40"]),
    (lambda d: d.channel(5955, 80), ["SENS:FREQ 5955MHZ", "SENS:BAND 80MHZ", "SOUR:FREQ 5955MHZ"], ["CONF:WLAN:CHAN G6,1,BW80"]),
    (lambda d: d.expect_power(-7.5), ["SENS:POW:EXP -7.5DBM"], ["CONF:WLAN:RLEV -7.5"]),
    (lambda d: d.trigger_timeout(0.25), ["TRIG:TIM 250MS"], ["CONF:WLAN:TOUT 250"]),
    (lambda d: d.average(12), ["SENS:AVER:COUN 12"], ["CONF:WLAN:SCO 12"]),
    (lambda d: d.load_waveform("vht", "mcs9"), ['SOUR:WAV "vht20_mcs9"'], ['SOUR:GPRF:ARB:FILE "VHT_MCS9_BW20.WV"']),
    (lambda d: d.load_waveform("ht", "mcs7", 40), ['SOUR:WAV "ht40_mcs7"'], ['SOUR:GPRF:ARB:FILE "HT_MCS7_BW40.WV"']),
    (lambda d: d.generator_level(-62.0), ["SOUR:POW -62DBM"], ["SOUR:GPRF:LEV -62"]),
    (lambda d: d.send(20), ["SOUR:BURS:COUN 20", "SOUR:BURS:STAR", "*OPC?", "SOUR:BURS:SENT?"],
     ["SOUR:GPRF:ARB:CYCL 20", "SOUR:GPRF:STAT ON", "*OPC?", "SOUR:GPRF:STAT?"]),
    (lambda d: d.measure(), ["INIT", "*OPC?", "FETC:STAT?", "FETC:POW?", "FETC:EVM?", "FETC:FERR?", "FETC:MASK?"],
     ["INIT:WLAN", "*OPC?", "FETC:WLAN:MOD?"]),
    (lambda d: d.reset(), ["*RST", "*CLS"], ["*RST", "*CLS"]),
]


def test_each_action_is_written_in_the_dialect(dialect):
    with instrument(dialect) as (driver, got):
        for act, *expected in ACTIONS:
            act(driver)
            assert [line for line in got if line != "SYST:ERR?"] == expected[DIALECTS.index(dialect)]
            got.clear()
        with pytest.raises(tester.TesterError, match="the path loss belongs to a port: call select_port first"):
            driver.set_path_loss({2442: 1})
        with pytest.raises(tester.TesterError, match="a measurement belongs to a channel: call channel first"):
            driver.measure()
        driver.channel(2442)
        reading = driver.measure()
    evm, drift = (-30, 1.5) if dialect == "a" else (-20, 1)
    assert vars(reading) == pytest.approx({"power_dbm": 12.5, "evm_db": evm, "frequency_error_ppm": drift, "mask_margin_db": 4})


def test_frequencies_and_times_in_base_units():
    right = instrument_profile.load(profile("a"))
    actions = {**right.actions, "channel": ["CHAN {hz},{bandwidth_hz}"], "trigger_timeout": ["TIM {s}"]}
    used = instrument_profile.Profile(**vars(right) | {"actions": actions, "point": "{hz}:{db}", "separator": ";"})
    with instrument("a", used) as (driver, got):
        driver.select_port(2)
        driver.set_path_loss({2412.5: 1, 5180: 2})
        driver.channel(2442, 40)
        driver.trigger_timeout(1.5)
    assert [line for line in got if line != "SYST:ERR?"] == [
        "ROUT:PORT 2", "SENS:CORR:PORT2:LOSS 2412500000:1;5180000000:2", "CHAN 2442000000,40000000", "TIM 1.5", None]


def test_a_measurement_may_take_the_trigger_timeout_longer():
    with instrument("a", **{"*OPC": None}) as (driver, _):
        driver._timeout_ms = 100
        driver.channel(2442)
        driver.trigger_timeout(0.25)
        with pytest.raises(tester.NoAnswer, match=r": no answer to \*OPC\? within 0.35 s"):
            driver.measure()


# An answer that is not as it should be: the dialect, what is done, the error and its text.
ANSWERS = [
    ("a", {"SYST_ERR": "ok"}, "measure", "NoAnswer", r"ADDRESS: SYST:ERR\? answered 'ok', which is no error"),
    ("a", {"FETC_STAT": "WHAT"}, "measure", "NoAnswer", "ADDRESS: 'WHAT' is no outcome that .*/orva-a.toml lists"),
    ("a", {"FETC_STAT": "TIM"}, "measure", "NothingReceived", "the port: no burst at 2442 MHz .* cable is not connected to the port, .*"),
    ("a", {"FETC_STAT": "SYNC"}, "measure", "NotDemodulated", "the port: the burst at 2442 MHz cannot be demodulated: it is wider than the 20 MHz "
     r"that channel\(\) set, or of a format that the test set does not know"),
    ("a", {"FETC_POW": "9.91e37"}, "measure", "NoAnswer", r"ADDRESS: the measurement succeeded, but FETC:POW\? gave no power"),
    ("a", {"FETC_FERR": "low"}, "measure", "NoAnswer", r"ADDRESS: FETC:FERR\? answered 'low' for the frequency error"),
    ("b", {"FETC_WLAN_MOD": "0,12.5,10"}, "measure", "NoAnswer", r"ADDRESS: FETC:WLAN:MOD\? answered '0,12.5,10', which has no field 3"),
    ("a", {"SOUR_BURS_SENT": "9.9e37"}, "send", "NoAnswer", "ADDRESS: the test set does not say how many packets it sent"),
    ("b", {"SOUR_GPRF_STAT": "BUSY,1"}, "send", "NoAnswer", r"ADDRESS: SOUR:GPRF:STAT\? answered 'BUSY,1', which does not match \^RDY,.*"),
    ("a", {"SOUR_BURS_SENT": ""}, "send", "NoAnswer", r"ADDRESS: the connection failed at SOUR:BURS:SENT\?: .*reset.*"),
]


@pytest.mark.parametrize("spoken, changed, act, error, text", ANSWERS, ids=range(len(ANSWERS)))
def test_an_answer_that_is_wrong_is_named(spoken, changed, act, error, text):
    with raised(error, text), instrument(spoken, **changed) as (driver, _):
        driver.channel(2442)
        driver.measure() if act == "measure" else driver.send(20)


def test_a_value_may_be_missing_and_an_error_queue_endless():
    with instrument("a", FETC_EVM="9.9E37", FETC_FERR="-9.91e37", FETC_MASK="9.8e37") as (driver, _):
        driver.channel(2442)
        assert list(vars(driver.measure()).values()) == [12.5, None, None, 9.8e37]
    with instrument("a", SYST_ERR='-222,"Data out of range"') as (driver, got):
        assert driver.errors() == ["-222 Data out of range"] * tester.MOST_ERRORS == ["-222 Data out of range"] * len(got)


# Path losses, measured and wanted power, and the cause that is named.
CAUSES = [
    ({2412: 1.5, 2442: 4.0, 2472: 5.0}, 5.0, 15, "port 3: 5.0 dBm where 15.0 dBm were wanted at 2450 MHz, -10.0 dB: check .* path loss of 4 dB"),
    ({2412: 1.5, 2442: 4.0}, 7.9, 15, "-7.1 dB: twice the path loss of 4 dB, so its sign is likely wrong"),
    ({2442: 4.0}, 8.1, 15, "-6.9 dB: check the cable"),
    ({2442: 1.0}, 13.0, 15, "path loss of 1 dB, and the phone's power setting"),
    ({}, 11.9, 15, "-3.1 dB: no path loss is entered for this port"),
    ({}, 18.5, 15, r"\+3.5 dB: check the cable, the path loss of 0 dB"),
]


@pytest.mark.parametrize("losses, power, wanted, text", CAUSES, ids=range(len(CAUSES)))
def test_the_cause_of_an_implausible_power(losses, power, wanted, text):
    with instrument("a", FETC_POW=power) as (driver, _):
        driver.select_port(4)
        driver.set_path_loss({2442: 20})
        driver.select_port(3)
        if losses:
            driver.set_path_loss(losses)
        driver.channel(2450)
        with pytest.raises(tester.ImplausiblePower, match=text):
            driver.measure(wanted_dbm=wanted, within_db=1)
        assert driver.measure(power + 3).power_dbm == driver.measure(wanted, within_db=10).power_dbm == power
        driver.reset()
        driver.select_port(3)
        driver.channel(2450)
        with pytest.raises(tester.ImplausiblePower, match="-4.0 dB: no path loss is entered"):
            driver.measure(power + 4)


# A value's unit and scale, the text of an answer, the carrier in MHz, and the value in the driver's unit.
UNITS = [("W", 1, "0.02", 0, 13.0103), ("percent", 1, "2", 0, -33.9794), ("Hz", 1, "-4884", 2442, -2), ("dB", -1, " 3.5", 0, -3.5),
         ("Hz", 1000, "5.18", 5180, 1), ("packets", 1, "1e3", 0, 1000)]


@pytest.mark.parametrize("unit, scale, text, mhz, number", UNITS)
def test_values_come_in_the_drivers_units(unit, scale, text, mhz, number):
    answer = instrument_profile.Answer("V?", pattern=re.compile(r"[^;]+$"))
    assert instrument_profile.Value(answer, unit, scale).number(answer.part_of(f"0;{text}"), mhz) == pytest.approx(number, abs=1e-4)


# A change of a good profile, and what is said about it.
BAD_PROFILES = [
    ('name = "ORVA', '= "ORVA', "Invalid statement .at line 3, column 1."),
    ('[done]\nask = "*OPC?"', "[done]", "done.ask: is missing"),
    ('{mhz}MHZ,{db}DB', "{mhz}MHZ,{watts}", "path_loss.point: '.*' names watts; it may name db, hz, mhz"),
    ('reset = ["*RST", "*CLS"]\n', "", "actions.reset: is missing"),
    ('reset = ["*RST", "*CLS"]', 'reset = "*RST"', r"actions.reset: '\*RST' is no list"),
    ('reset = ["*RST", "*CLS"]', "reset = [1]", "actions.reset: 1 is no text"),
    ('reset = ["*RST", "*CLS"]', 'reset = ["{b} {a}"]', "actions.reset: '{b} {a}' names a, b; it may name nothing"),
    ('"ROUT:PORT {port}"', '"ROUT:PORT {port"', "actions.select_port: 'ROUT:PORT {port': expected '}' before end of string"),
    ('"ROUT:PORT {port}"', '"ROUT:PORT {chain}"', "actions.select_port: 'ROUT:PORT {chain}' names chain; it may name port"),
    ("timeout_ms = 5000", 'timeout_ms = "long"', "connection.timeout_ms: 'long' is no int"),
    ("timeout_ms = 5000", "timeout_ms = true", "connection.timeout_ms: True is no int"),
    ("evm_db = 0.3", 'evm_db = "0.3"', "uncertainty.evm_db: '0.3' is no float"),
    ("sign = 1", "sign = 2", "path_loss.sign: 2: give 1 where a loss is positive, -1 where it is a gain"),
    ('unit = "ppm"', 'unit = "mHz"', "values.frequency_error.unit: 'mHz': give Hz or ppm"),
    ('unit = "ppm"', 'unit = "ppm"\nfield = -1', "values.frequency_error.field: give a field from 0, or a pattern, not both"),
    ('unit = "ppm"', 'unit = "ppm"\nfield = 0\npattern = "x"', "values.frequency_error.field: give a field from 0, or a pattern, not both"),
    ("'^(-?\\d+),\"(.*)\"$'", "'('", "error.pattern: '.' is no regular expression: missing .*"),
    ("'^(-?\\d+),\"(.*)\"$'", "'x'", "error.pattern: is due with two groups, the number and the text of an error"),
    ('[done]\nask = "*OPC?"', "[[bands]]\nname = 7\nzero_mhz = 1\nfrom_mhz = 2\nto_mhz = 3\n[done]", "bands.name: 7 is no str"),
    ('name = "ORVA', 'bands = [1]\nname = "ORVA', "bands is due as a table"),
    ('good = ["OK"]\n', "", "outcome.good: is missing"),
]


@pytest.mark.parametrize("good, bad, message", BAD_PROFILES, ids=range(len(BAD_PROFILES)))
def test_a_bad_profile_is_refused_with_its_key(tmp_path, good, bad, message):
    text = profile("a").read_text()
    assert good in text
    path = tmp_path / "orva.toml"
    path.write_text(text.replace(good, bad))
    with pytest.raises(instrument_profile.ProfileError, match=f"^{path}: {message}$"):
        instrument_profile.load(path)


def test_a_key_that_no_profile_has_is_refused_in_each_table(tmp_path):
    text, path = profile("b").read_text(), tmp_path / "orva.toml"
    tables = re.findall(r"(?m)^\[+([\w.]+)\]+$", text)
    assert len(tables) == 16
    for table in ["", *tables]:
        head = re.search(rf"(?m)^\[+{table}\]+$", text).end() if table else 0
        path.write_text(f"{text[:head]}\nsurplus = 1\n{text[head:]}")
        with pytest.raises(instrument_profile.ProfileError, match=rf"^{path}: {table + '.' if table else ''}surplus: is no key of a profile$"):
            instrument_profile.load(path)


def test_the_profiles_state_the_simulated_uncertainty(running, dialect):
    with tester.Tester(running.address, profile(dialect)) as driver:
        asked = [float(driver._ask(f"SYST:UNC? {name}")) for name in ("POW", "EVM", "FREQ", "MASK")]
        assert list(driver.profile.uncertainty.values()) == asked
