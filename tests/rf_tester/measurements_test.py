# SPDX-License-Identifier: Apache-2.0
"""What the RF test set measures of a phone on its cable, and what it sends to it."""

import math
import time

import pytest

from support.rf_tester import Lines, Phone, RunningTester

READY = "ROUT:PORT 3;:POW:EXP 15;:TRIG:TIM 20MS;:SENS:BAND 20MHZ;:FREQ 2442MHZ"


@pytest.fixture
def bench():
    """Starts a test set, with a phone on port 3 and a client."""
    running = []

    def start(*arguments, setup=READY):
        tester = RunningTester(*arguments)
        running.append(tester)
        phone, client = Phone(tester.cable_address), Lines(tester.address)
        running[:0] = [phone, client]
        assert phone.plug(3) == {"ok": True}
        client.send(setup)
        return phone, client

    yield start
    for part in running:
        part.__exit__(None, None, None)


# Options of the cable and the entered loss, and by how much the reading is off.
LOSSES = [
    ([], "", 0),
    (["--cable-loss", "1.5"], "", -1.5),
    (["--cable-loss", "1.5"], "SENS:CORR:PORT3 2442MHZ,1.5", 0),
    (["--cable-loss", "1.5"], "SENS:CORR:PORT3 2442MHZ,-1.5", -3),
    (["--cable-loss", "3=2.5"], "SENS:CORR:PORT2 2442MHZ,2.5", -2.5),
    (["--cable-loss", "2=2.5"], "", 0),
    (["--cable-loss", "9", "--cable-loss", "3=2400:1,2500:2"], "", -1.42),
    (["--cable-loss", "3=2450:1,5180:2"], "SENS:CORR:PORT3 5180MHZ,1,5500MHZ,2", 0),
]


@pytest.mark.parametrize("options, entered, error", LOSSES)
def test_the_power_has_the_true_loss_taken_off_and_the_entered_one_added(bench, options, entered, error):
    phone, client = bench("--uncertainty", 0, *options)
    client.send(entered)
    phone.emit(15)
    assert float(client.ask("MEAS:POW?")) == pytest.approx(15 + error, abs=0.001)
    client.send('SOUR:FREQ 2442MHZ;WAV "ht20_mcs7";POW -65;:SOUR:BURS:COUN 10;STAR')
    assert client.ask("*OPC?") == "1"
    # The same path in the other direction.
    assert phone.receive()[0]["level_dbm"] == pytest.approx(-65 + error, abs=0.001)


QUANTITIES = {"POW": ("power", 15, 0.3), "EVM": ("evm", -31, 0.3), "FERR": ("frequency", 1.25, 0.05),
              "MASK": ("mask", 4, 0.5), "LEAK": ("leakage", -31, 0.5)}


@pytest.mark.parametrize("query", QUANTITIES)
def test_readings_err_within_the_stated_uncertainty_and_the_same_with_the_same_seed(bench, query):
    name, true, bound = QUANTITIES[query]
    queries = {"power": "POW", "evm": "EVM", "frequency": "FREQ", "mask": "MASK", "leakage": "LEAK"}

    def series(*arguments):
        phone, client = bench(*arguments)
        phone.emit(15)
        return client, [float(client.ask(f"MEAS:{query}?")) for _ in range(30)]

    client, readings = series("--seed", 5)
    assert float(client.ask(f"SYST:UNC? {queries[name]}")) == bound
    # The analyzer's own EVM adds a few hundredths.
    assert all(abs(r - true) <= bound + 0.1 for r in readings)
    assert max(readings) - min(readings) > 0.05 * bound, "the readings scatter"
    assert series("--seed", 5)[1] == readings
    assert all(series("--seed", seed)[1] != readings for seed in (6, 5 + 2**32))
    wide = series("--seed", 5, "--uncertainty", f"{name}={10 * bound}")[1]
    assert max(wide) - min(wide) > 5 * (max(readings) - min(readings))
    client.send("AVER:COUN 1000")
    averaged = [float(client.ask(f"MEAS:{query}?")) for _ in range(10)]
    assert max(averaged) - min(averaged) < 0.3 * (max(readings) - min(readings))


# What the phone does, the setting of the analyzer, and the outcome with which values there are.
OUTCOMES = [
    ([15], {}, "", "OK", True, True),
    ([22], {}, "", "OVER", False, False),
    ([20.9], {}, "", "OK", True, True),
    ([-11], {}, "", "UND", True, True),
    ([-31], {}, "", "TIM", False, False),
    ([15], {}, "POW:EXP 30", "OK", True, True),
    ([15], {}, "SENS:CORR:PORT3 2442MHZ,20", "OVER", False, False),
    ([15], {"mhz": 2447}, "", "TIM", False, False),
    ([15], {"mhz": 5190, "bandwidth_mhz": 40}, "FREQ 5190MHZ;BAND 20MHZ", "SYNC", True, False),
    ([15], {"mhz": 5190, "bandwidth_mhz": 40}, "FREQ 5190MHZ;:BAND 40MHZ", "OK", True, True),
    ([15], {}, "ROUT:PORT 4", "TIM", False, False),
]


@pytest.mark.parametrize("powers, changed, setting, outcome, has_power, has_figures", OUTCOMES)
def test_outcomes(bench, powers, changed, setting, outcome, has_power, has_figures):
    phone, client = bench()
    phone.emit(*powers, **changed)
    client.send(setting)
    assert client.ask("MEAS:STAT?") == outcome
    for values, there in (("POW?", has_power), ("EVM?;FERR?;MASK?;LEAK?", has_figures)):
        answers = client.ask(f"FETC:{values}").split(";")
        assert [answer != "9.91E37" for answer in answers] == [there] * len(answers)
    questions = {"OK": 0, "SYNC": 0, "OVER": 8, "UND": 8, "TIM": 512}
    assert client.ask("STAT:QUES:COND?") == str(questions[outcome])
    assert client.ask("SYST:ERR?") == '0,"No error"'


def test_chains_are_added_and_told_apart(bench):
    phone, client = bench("--uncertainty", 0)
    phone.emit((12, -25), (12, -35))
    assert client.ask("MEAS:POW?;:FETC:POW? 0;POW? 1;POW? 2") == "15.010;12.000;12.000;9.91E37"
    total, first, second = map(float, client.ask("FETC:EVM?;EVM? 0;EVM? 1").split(";"))
    assert (first, second) == (pytest.approx(-25, abs=0.1), pytest.approx(-34.8, abs=0.1))
    assert total == pytest.approx(10 * math.log10((10**(first / 10) + 10**(second / 10)) / 2), abs=0.01)


def test_evm_is_read_worse_far_below_the_expected_power(bench):
    phone, client = bench("--uncertainty", 0)
    phone.emit((15, -45))
    at = {expected: float(client.ask(f"POW:EXP {expected};:MEAS:EVM?")) for expected in (15, 25, 35)}
    assert -45 < at[15] < -43 < at[25] < -37 < at[35] < -27


def test_a_measurement_waits_for_a_burst_that_comes_in_time(bench):
    phone, client = bench()
    assert client.ask("TRIG:TIM 30;:INIT;:STAT:OPER:COND?") == "16"
    client.send("FETC:STAT?")
    time.sleep(0.1)  # it waits now, or it finds the burst at once; both are right
    phone.emit(15)  # without it the answer would come after 30 s, too late for the client
    assert client.read() == "OK"


def test_bursts_reach_the_phone_once_and_only_the_selected_one(bench):
    phone, client = bench()
    client.send('SOUR:WAV "he80_mcs11";FREQ 5210MHZ;POW -50.5;BURS:COUN 2;STAR;:SOUR:BURS:COUN 3;STAR;SENT?')
    assert client.read() == "3"
    burst = {"mhz": 5210, "bandwidth_mhz": 80, "format": "he", "rate": "mcs11", "level_dbm": -50.5}
    assert phone.receive() == [{**burst, "packets": 2}, {**burst, "packets": 3}]
    assert phone.receive() == []
    assert client.ask("ROUT:PORT 4;:SOUR:BURS:STAR;SENT?") == "3"
    assert phone.receive() == []


def test_a_level_that_the_output_cannot_give_is_refused(bench):
    phone, client = bench()
    client.send('SOUR:WAV "ht20_mcs7";POW 5;:SENS:CORR:PORT3 2442MHZ,11;:SOUR:BURS:STAR')
    assert client.ask("SYST:ERR?").startswith('-221,"Settings conflict;the level with the path loss needs 16.0 dBm')
    assert client.ask("SOUR:BURS:SENT?") == "0"
    assert phone.receive() == []


@pytest.mark.parametrize("level, loss, is_given", [(-120, -10, True), (-119.9, -10.2, False), (10, 5, True), (9.9, 5.2, False)])
def test_the_output_has_ends(bench, level, loss, is_given):
    phone, client = bench()
    client.send(f'SOUR:WAV "ht20_mcs7";POW {level};:SENS:CORR:PORT3 2442MHZ,{loss};:SOUR:BURS:STAR')
    assert client.ask("SYST:ERR?").startswith('0,"No error"' if is_given else "-221,") and bool(phone.receive()) is is_given


def test_every_waveform_of_the_catalog_can_be_loaded_in_both_dialects(bench):
    for dialect, query, load in (("a", "SOUR:WAV:CAT?", "SOUR:WAV"), ("b", "SOUR:GPRF:ARB:FILE:CAT?", "SOUR:GPRF:ARB:FILE")):
        _, client = bench("--dialect", dialect, setup="*CLS")
        names = client.ask(query).split(",")
        assert len(names) == 4 + 8 + 8 * 2 + 10 * 4 + 12 * 4
        assert client.ask(";:".join(f"{load} {name};:{load}?" for name in names)).split(";") == names


# In dialect b: the channel as sent, and the frequency to which the generator is set by it.
CHANNELS = [("G2,7,BW20", 2442), ("G2,1,BW20", 2412), ("G5,38,BW40", 5190), ("g5,155,bw80", 5775), ("G6,1,BW20", 5955)]


@pytest.mark.parametrize("channel, mhz", CHANNELS)
def test_numbered_channels(bench, channel, mhz):
    phone, client = bench("--dialect", "b", setup="CONF:LINK (@3)")
    assert client.ask(f"CONF:WLAN:CHAN {channel};CHAN?") == channel.upper()
    client.send('SOUR:GPRF:ARB:FILE "HT_MCS0_BW20.WV";CYCL 1;:SOUR:GPRF:STAT ON')
    assert client.ask("SYST:ERR?") == '0,"No error"'
    assert [burst["mhz"] for burst in phone.receive()] == [mhz]


def test_a_channel_that_a_band_has_not_is_refused(bench):
    _, client = bench("--dialect", "b", setup="CONF:WLAN:CHAN G5,36,BW40")
    assert client.ask("CONF:WLAN:CHAN G2,15,BW20;CHAN?") == "G5,36,BW40"
    assert client.ask("SYST:ERR?") == '-222,"Data out of range;channel 15: G2 has 1 to 13"'
    for band, least, most in (("G2", 1, 13), ("G5", 30, 180), ("G6", 1, 233)):
        for number in {max(least - 1, 1), least, most, min(most + 1, 233)}:
            taken = client.ask(f"CONF:WLAN:CHAN {band},{number},BW20;CHAN?") == f"{band},{number},BW20"
            assert taken is (least <= number <= most), (band, number)
            assert client.ask("SYST:ERR?").startswith("0" if taken else f'-222,"Data out of range;channel {number}: {band} has {least} to')


REFUSED_LINES = [
    ("hello", "no JSON text"),
    ('{"plug":{"port":4,"name":"b"}}', "has its port already"),
    ("[]", "emission is due in an object"),
    ('{"receiving":null}', "emission is missing"),
    ('{"emission":null}', "receiving is missing"),
    ('{"emission":{"mhz":"x"},"receiving":null}', "mhz is due from"),
    ('{"emission":null,"receiving":{"mhz":2442}}', "bandwidth_mhz is missing"),
    ('{"emission":null,"receiving":null', "no JSON text"),
    ("[" * 60000, "no JSON text"),
    ("x" * 200000, "too long"),
]


@pytest.mark.parametrize("line, error", REFUSED_LINES, ids=range(len(REFUSED_LINES)))
def test_a_line_on_the_cable_that_is_not_understood_changes_nothing(bench, line, error):
    phone, client = bench("--uncertainty", 0)
    phone.emit(15)
    assert error in phone.ask(line)
    assert client.ask("MEAS:POW?") == "15.000"


@pytest.mark.parametrize("field, value", [("power_dbm", None), ("power_dbm", 1e9), ("evm_db", "x"), ("chain", 8), ("chain", 1.7)])
def test_an_emission_with_a_bad_chain_changes_nothing(bench, field, value):
    phone, client = bench("--uncertainty", 0)
    phone.emit(15)
    chain = {"chain": 0, "power_dbm": 3, "evm_db": -30, field: value}
    assert field in phone.emit(chains=[chain])["error"]
    assert client.ask("MEAS:POW?") == "15.000"


@pytest.mark.parametrize("line, error", [
    ("CONF:LINK (1)", '-171,"Invalid expression;a list is written (@1)"'),
    ("CONF:LINK (@1,2)", '-171,"Invalid expression;name one port, as in (@1)"'),
    ("CONF:LINK (@9)", '-222,"Data out of range;port 9: 1 to 8"'), ("CONF:LINK (@0)", '-222,"Data out of range;port 0: 1 to 8"'),
    ("SOUR:GPRF:STAT MAYBE", '-224,"Illegal parameter value;state MAYBE: ON or OFF"'),
    ("SOUR:GPRF:STAT 1V", '-138,"Suffix not allowed;V"'), ("SOUR:GPRF:STAT ON", '-221,"Settings conflict;no waveform is loaded"'),
    ("SOUR:GPRF:STAT 0.5", '-221,"Settings conflict;no waveform is loaded"'), ("SOUR:GPRF:STAT 0.4;STAT OFF", '0,"No error"'),
    ("CONF:WLAN:CHAN G4,1,BW20", '-224,"Illegal parameter value;band G4: G2|G5|G6"'),
])
def test_parameters_that_only_dialect_b_has(bench, line, error):
    _, client = bench("--dialect", "b", setup="*CLS")
    client.send(line)
    assert client.ask("SYST:ERR?") == error


ENDS = [("mhz", 1, 8000), ("bandwidth_mhz", 1, 320), ("frequency_error_ppm", -1000000, 1000000), ("leakage_dbc", -200, 200),
        ("mask_margin_db", -200, 200), ("power_dbm", -200, 200), ("evm_db", -200, 200), ("chain", 0, 7)]


@pytest.mark.parametrize("field, least, most", ENDS)
def test_the_numbers_of_an_emission_have_ends(bench, field, least, most):
    phone, _ = bench()
    chain = {"chain": 0, "power_dbm": 3, "evm_db": -30}
    for number in (least - 1, least, most, most + 1):
        changed = {"chains": [{**chain, field: number}]} if field in chain else {field: number}
        taken = {"bursts": []} if least <= number <= most else {"error": f"{field} is due from {least} to {most}"}
        assert phone.emit(3, **changed) == taken
        if "mhz" in field:
            assert phone.exchange({"emission": None, "receiving": {"mhz": 2442, "bandwidth_mhz": 20, field: number}}) == taken


def chains(*numbers):
    return [{"chain": number, "power_dbm": 3, "evm_db": -30} for number in numbers]


@pytest.mark.parametrize("changed, error", [
    ({"chains": chains(0, 1, 0)}, "chain 0 comes twice"),
    ({"chains": []}, "chains is due as an array of 1 to 8"),
    ({"format": "hte"}, "format 'hte' with rate 'mcs7' is not known"),
    ({"rate": "mcs8"}, "format 'ht' with rate 'mcs8' is not known"),
    ({"format": "dsss", "rate": "6"}, "format 'dsss' with rate '6' is not known"),
])
def test_an_emission_that_no_phone_has_changes_nothing(bench, changed, error):
    phone, client = bench("--uncertainty", 0)
    phone.emit(15)
    assert phone.emit(1, **changed) == {"error": error}
    assert client.ask("MEAS:POW?") == "15.000"


def test_plugs(bench):
    phone, client = bench()
    other = Phone(phone.socket.getpeername()[0] + f":{phone.socket.getpeername()[1]}")
    assert other.exchange({"emission": None, "receiving": None}) == {"error": "the first message is due to be a plug"}
    assert other.plug(3) == {"error": "port 3 is taken by unit"}
    for port in (0, 9, -1, 2.5):
        assert other.plug(port) == {"error": f"there is no port {port}: give 1 to 8"}
    assert other.plug(4, "x" * 65) == {"error": "name is due as a text of at most 64 octets"}
    assert other.plug(4, "other") == {"ok": True}
    assert client.ask("DIAG:CABL3?;CABL4?;CABL5?") == '"unit";"other";""'
    other.emit(10)
    assert client.ask("ROUT:PORT 4;:MEAS:STAT?") == "OK"
    other.close()
    wait_for(lambda: client.ask("DIAG:CABL4?") == '""')
    assert client.ask("MEAS:STAT?") == "TIM"


def wait_for(condition, tries=1000):
    assert any(condition() for _ in range(tries))
