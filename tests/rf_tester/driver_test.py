# SPDX-License-Identifier: Apache-2.0
"""The Python driver: the same plan with each dialect, and failures that name their cause."""

import pytest

from orva import instrument_profile, tester

from support.rf_tester import DIALECTS, Lines, Phone, RunningTester, answering_server, profile, unused_address

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


# Who is at the address, the error and its text.
CONNECTIONS = [
    (unused_address, "Unreachable", "Connection refused"),
    (lambda: "127.0.0.1", "Unreachable", "give HOST:PORT or a VISA resource"),
    (lambda: 5025, "Unreachable", "5025: give HOST:PORT or a VISA resource as a text"),
    (lambda: "host.invalid:5025", "Unreachable", "host.invalid:5025"),
    (lambda: answering_server(b""), "NoAnswer", r"no answer to \*IDN\? within 0.3 s"),
    (lambda: answering_server(b"MAKER,MODEL,1,2\n"), "WrongInstrument", "'MAKER,MODEL,1,2' is not what .*orva-[ab].toml is for"),
    (lambda: answering_server(b'-200,"in use by 10.0.0.1:5"\n'), "InUse", "serves another client.*10.0.0.1:5"),
]


@pytest.mark.parametrize("address, error, text", CONNECTIONS)
def test_a_connection_that_fails_is_explained(address, error, text, dialect):
    with pytest.raises(getattr(tester, error), match=text):
        tester.Tester(address(), profile(dialect), timeout_s=0.3 if error == "NoAnswer" else 60)


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
    (lambda d, p: p.receive(), "NothingReceived", "port 3: no burst at 2442 MHz.*cable is not connected to port 3"),
    (lambda d, p: d.select_port(4), "NothingReceived", "not connected to port 4"),
    (lambda d, p: d.expect_power(0), "OutOfRange", "over the analyzer's range: raise"),
    (lambda d, p: d.expect_power(40), "OutOfRange", "under the analyzer's range: lower"),
    (lambda d, p: d.set_path_loss({2442: -1.5}), "TesterError", "-1.5 dB at 2442 MHz: enter a loss as a positive number"),
    (lambda d, p: d.set_path_loss({}), "TesterError", "table of path losses is empty"),
    (lambda d, p: d.set_path_loss({2442: 500}), "Refused", "set path loss was refused: -222 Data out of range"),
    (lambda d, p: d.channel(9000), "TesterError", "9000"),
    (lambda d, p: d.select_port(9), "Refused", "select port was refused: -222 Data out of range"),
    (lambda d, p: d.load_waveform("ht", "mcs77"), "Refused", "load waveform was refused: -256 File name not found"),
    (lambda d, p: d.send(10), "Refused", "send packets was refused: -221 Settings conflict;no waveform is loaded"),
    (lambda d, p: p.emit(20.5), "ImplausiblePower", "20.. dBm where 15.0 dBm were wanted at 2442 MHz.*check the cable"),
]


@pytest.mark.parametrize("spoil, error, text", FAILURES)
def test_a_failure_names_its_cause(driver, phone, spoil, error, text):
    driver.channel(2442)
    driver.expect_power(15)
    phone.emit(14)
    with pytest.raises(getattr(tester, error), match=text):
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


# A change of a good profile, and what is said about it.
BAD_PROFILES = [
    ('name = "ORVA', '= "ORVA', "orva.toml: "),
    ('[done]\nask = "*OPC?"', "[done]", "done.ask: is missing"),
    ('{mhz}MHZ,{db}DB', "{mhz}MHZ,{watts}", "path_loss.point: .* names watts; it may name db, hz, mhz"),
    ('reset = ["*RST", "*CLS"]\n', "", "actions.reset: is missing"),
    ('reset = ["*RST", "*CLS"]', 'reset = "*RST"', r"actions.reset: '\*RST' is no list"),
    ('"ROUT:PORT {port}"', '"ROUT:PORT {port"', "actions.select_port: "),
    ('"ROUT:PORT {port}"', '"ROUT:PORT {chain}"', "actions.select_port: .* names chain; it may name port"),
    ("timeout_ms", "timeout", "connection.timeout: is no key of a profile"),
    ("sign = 1", "sign = 2", "path_loss.sign: 2: give 1"),
    ('unit = "ppm"', 'unit = "mHz"', "values.frequency_error.unit: 'mHz': give Hz or ppm"),
    ("'^(-?\\d+),\"(.*)\"$'", "'('", "error.pattern: .* is no regular expression"),
    ("'^(-?\\d+),\"(.*)\"$'", "'x'", "error.pattern: is due with two groups"),
    ('good = ["OK"]\n', "", "outcome.good: is missing"),
]


@pytest.mark.parametrize("good, bad, message", BAD_PROFILES, ids=range(len(BAD_PROFILES)))
def test_a_bad_profile_is_refused_with_its_key(tmp_path, good, bad, message):
    text = profile("a").read_text()
    assert good in text
    path = tmp_path / "orva.toml"
    path.write_text(text.replace(good, bad))
    with pytest.raises(instrument_profile.ProfileError, match=message):
        instrument_profile.load(path)


def test_the_profiles_state_the_simulated_uncertainty(running, dialect):
    with tester.Tester(running.address, profile(dialect)) as driver:
        asked = [float(driver._ask(f"SYST:UNC? {name}")) for name in ("POW", "EVM", "FREQ", "MASK")]
        assert list(driver.profile.uncertainty.values()) == asked
