# SPDX-License-Identifier: Apache-2.0
"""The parts of the plans by themselves: what a station asks of phone and test set, how it judges, and what is diagnosed."""

import math
from types import SimpleNamespace

import pytest

from orva.library import CalibrationText, RxRssi
from orva.limits import Limit, Limits, Signal
from orva.plans import calibration, coverage, diagnosis
from orva.plans.coverage import Reception, Target, Transmission
from orva.plans.sensitivity import level_at
from orva.plans.station import Measurement, PlanError, Station, wilson
from orva.tester import OverRange, Reading, UnderRange

HT40, HT5 = Signal("ht", "mcs7", 2462, 40), Signal("ht", "mcs7", 5180, 20)
#: Each quantity's limits, and the uncertainty that narrows them.
LIMITS = {"power_error": (-2, 2), "evm": (None, -27), "frequency_error": (-20, 20), "mask_margin": (0, None), "rssi_error": (-5, 5),
          "sensitivity": (None, -64), "packet_error_rate": (None, 10)}
UNCERTAINTY = {"power_db": 0.3, "evm_db": 0.5, "frequency_ppm": 0.05, "mask_db": 0.7}


class Bench:
    """Stands in for a library and a test set, and keeps what is asked of them. answers: of methods; an exception is raised."""

    def __init__(self, **answers):
        self.asked, self.answers = [], {name: list(values) for name, values in answers.items()}
        self.profile = SimpleNamespace(uncertainty=UNCERTAINTY)

    def __getattr__(self, name):
        def call(*arguments):
            self.asked.append((name, *arguments))
            answer = self.answers[name].pop(0) if self.answers.get(name) else True
            if isinstance(answer, Exception):
                raise answer
            return answer

        return call


def station(chip="vq2050", limits=LIMITS, **answers):
    bench = Bench(**answers)
    table = SimpleNamespace(path="limits.csv", find=lambda quantity, signal: Limit(quantity, *limits[quantity], "u", "s") if quantity in limits else None)
    return Station(bench, bench, coverage.CHIPS[chip], table), bench


TUNED = [("wifi_set_mode", 4), ("wifi_set_band", 1), ("wifi_set_channel", 2462), ("wifi_set_rate", 13500)]


@pytest.mark.parametrize("chip, power, chain, beyond, moved", [("vq2050", 80, [("wifi_setmimo_channel", 2)], UnderRange, -4),
                                                               ("vq2040", 800, [], OverRange, 20)])
def test_a_transmission_is_set_and_measured_in_order(chip, power, chain, beyond, moved):
    on, bench = station(chip, measure=[beyond("range"), Reading(7, -30.5, 1, 3), Reading(9, None, -2, None)])
    sent = Transmission(HT40, 1, 8)
    assert on.power_error(sent) == -1
    begin = [*TUNED, *chain]
    assert bench.asked == [*begin, ("channel", 2462, 40), ("wifi_set_power", power), ("wifi_start_tx",), ("expect_power", 8), ("measure",),
                           ("expect_power", moved), ("measure",)]
    bench.asked.clear()
    measured = on.transmitter(sent)
    assert bench.asked == [*begin, ("wifi_set_power", power), ("wifi_start_tx",), ("expect_power", 8), ("measure",)]
    assert [each.quantity for each in measured] == ["power_error", "evm", "mask_margin", "frequency_error"]
    assert [each.value for each in measured] == pytest.approx([1, math.nan, math.nan, -2], nan_ok=True)
    assert [each.held for each in measured] == [True, False, False, True]
    assert [(each.limit.low, each.limit.high) for each in measured] == [(-1.7, 1.7), (None, -27.5), (0.7, None), (-19.95, 19.95)]
    assert measured[0].condition == {"mhz": 2462, "bandwidth_mhz": 40, "format": "ht", "rate": "mcs7", "chain": 1, "power_dbm": 8}
    assert str(measured[0]) == ("power_error 1.00 at mhz 2462 bandwidth_mhz 40 format ht rate mcs7 chain 1 power_dbm 8, allowed: -1.7 to 1.7 u")
    assert str(Measurement("evm", HT5, 0, -3.456, None)) == "evm -3.46 at mhz 5180 bandwidth_mhz 20 format ht rate mcs7 chain 0"


def test_a_reception_is_judged_with_its_whole_interval():
    on, bench = station(wifi_get_rx_pckg=[100, 560, 600, 600, 1000, 1500], send=[500, 500, 500])
    (rate,) = on.receiver(Reception(HT40, 0))
    assert bench.asked == [("wifi_stop_tx",), *TUNED, ("wifi_setmimo_channel", 1), ("channel", 2462, 40), ("load_waveform", "ht", "mcs7", 40), ("generator_level", -64.3),
                           ("wifi_start_rx",), ("wifi_get_rx_pckg",), ("send", 500), ("wifi_get_rx_pckg",), ("wifi_stop_rx",)]
    assert (rate.quantity, rate.value, rate.limit.high) == ("packet_error_rate", 8, 7.2) and not rate.held
    assert rate.more == {"level_dbm": -64.3, "packets": 500}
    others = [on.receiver(Reception(HT40, 0))[0] for _ in range(2)]
    assert [(each.value, each.limit.high, each.held) for each in others] == [(100, 7.2, False), (0, 7.2, True)]
    with pytest.raises(PlanError, match="^limits.csv: no sensitivity for ht mcs7$"):
        station(limits={})[0].receiver(Reception(HT40, 0))


@pytest.mark.parametrize("limits, message", [
    ({}, "limits.csv: no packet error rate for ht mcs7"),
    (LIMITS, "ht mcs7 at 2462 MHz: the sensitivity is not between -105 and -40 dBm"),
])
def test_a_sensitivity_that_cannot_be_found_is_named(limits, message):
    with pytest.raises(PlanError, match=f"^{message}$"):
        level_at(station(limits=limits, wifi_get_rx_pckg=[0, 10_000], send=[10_000])[0], Reception(HT40, 0))


@pytest.mark.parametrize("high", [8.0, 10.0])
@pytest.mark.parametrize("sent", [20, 300, 500, 1000])
def test_every_count_of_lost_packets_is_judged_by_its_interval(high, sent):
    found = [station(limits={**LIMITS, "packet_error_rate": (None, high)}, wifi_get_rx_pckg=[0, sent - lost], send=[sent])[0]
             .receiver(Reception(HT40, 0))[0] for lost in range(sent + 1)]
    assert [each.held for each in found] == [wilson(lost, sent)[1] <= high for lost in range(sent + 1)]
    assert len({each.limit.high for each in found}) == 1


@pytest.mark.parametrize("counts, message", [
    ([0, 501], "the phone counted 501 packets of 500 sent: something else transmits on 2462 MHz"),
    ([5, 4], "the phone counted -1 packets of 500 sent: something else transmits on 2462 MHz"),
    ([None], "wifi_get_rx_pckg failed on the vq2050: the driver refused"),
])
def test_an_impossible_count_is_named(counts, message):
    with pytest.raises(PlanError, match=f"^{message}$"):
        station(wifi_get_rx_pckg=counts, send=[500])[0].receiver(Reception(HT40, 0))


def test_a_reported_level_is_compared_with_the_true_one():
    on, bench = station(wifi_get_rx_pckg=[0, 50] * 3, send=[50] * 3, wifi_get_rx_rssi=[RxRssi(True, -47), RxRssi(False, -50), RxRssi(True, None)])
    levels = [on.level(Reception(HT5, 1))[0] for _ in range(3)]
    assert [level.value for level in levels] == pytest.approx([3, math.nan, math.nan], nan_ok=True)
    assert (levels[0].quantity, levels[0].limit.high, levels[0].more) == ("rssi_error", 4.7, {"level_dbm": -50.0})
    assert [asked[1:] for asked in bench.asked if asked[0] in ("generator_level", "send")] == [(-50.0,), (50,)] * 3
    assert bench.asked[-1] == ("wifi_stop_rx",) and bench.asked.count(("channel", 5180, 20)) == 1


def test_the_order_of_verification_and_of_a_reload():
    on, bench = station("vq2040a", measure=[Reading(10, -40, 0, 5)] * 100, wifi_get_rx_pckg=[0] * 100, send=[0] * 100, wifi_start_rx=[False])
    chip = coverage.CHIPS["vq2040a"]
    with pytest.raises(PlanError, match=r"^wifi_start_rx\(\) failed on the vq2040a: the phone's log gives the reason$"):
        list(on.verify())
    assert bench.asked.count(("measure",)) == len(coverage.transmissions(chip))
    assert bench.asked.index(("wifi_stop_tx",)) < bench.asked.index(("wifi_start_rx",))
    bench.asked.clear()
    on.reload()
    assert bench.asked == [("wifi_stop_tx",), ("wifi_stop_testmode",), ("wifi_start_testmode",)]


LEFT = [("wifi_start_testmode",), ("wifi_stop_tx",), ("wifi_stop_testmode",)]


@pytest.mark.parametrize("answers, inside, error", [
    ({"wifi_stop_tx": [False]}, None, r"wifi_stop_tx\(\) failed on the vq2050"),
    ({"wifi_stop_testmode": [False]}, None, r"wifi_stop_testmode\(\) failed on the vq2050"),
    ({}, ValueError("inside"), "inside"),
    ({"wifi_stop_tx": [ConnectionError("stop")], "wifi_stop_testmode": [False]}, ValueError("inside"), "inside"),
])
def test_test_mode_is_left_whatever_happens(answers, inside, error):
    on, bench = station(**answers)
    with pytest.raises((PlanError, ValueError), match=f"^{error}"), on.test_mode():
        if inside:
            raise inside
    assert bench.asked == LEFT


@pytest.mark.parametrize("chip, stored, requests, copied", [
    ("vq2050", "", [(0, 1, 2, 0, 1, 2462, "-13.00"), (0, 1, 2, 0, 1, 2462, "5.00")], 0),
    ("vq2040", "0000", [(0, 1, 2, 0, 1, 2462, "1.300"), (0, 1, 2, 0, 1, 2462, "-0.500")], 1),
    ("vq2040", "0A00", [(0, 1, 2, 0, 1, 2462, "1.300"), (0, 1, 2, 0, 1, 2462, "-0.500")], 0),
])
@pytest.mark.parametrize("adds_up", [True, False])
def test_corrections_go_on_until_they_are_good(monkeypatch, chip, stored, requests, copied, adds_up):
    targets = [Target(Transmission(HT40, 1, 15), 2, adds_up), Target(Transmission(HT5, 0, 15), 0, True)]
    monkeypatch.setattr(coverage, "curves", lambda chip: targets)
    monkeypatch.setattr(coverage, "offsets", lambda chip: [])
    on, bench = station(chip, wifi_nvram_calibrate_get=[CalibrationText(True, stored)])
    errors = {2462: [-1.3, 0.5, 0.3], 5180: [0.1]}
    monkeypatch.setattr(on, "power_error", lambda sent: errors[sent.signal.mhz].pop(0))
    one, other = calibration.calibrate(on)
    assert (one.before_db, one.after_db, one.corrections) == (-1.3, 0.3, 2) and (other.before_db, other.after_db, other.corrections) == (0.1, 0.1, 0)
    made = [asked[1:] for asked in bench.asked if asked[0] == "wifi_nvram_calibrate_set"]
    second = requests[1] if adds_up else (*requests[1][:-1], "0.800" if chip == "vq2040" else "-8.00")
    assert made == [requests[0], second]
    assert bench.asked.count(("wifi_nvram_set",)) == copied and bench.asked.count(("wifi_start_testmode",)) == 2


def test_what_calibration_is_refused_is_named():
    on, _ = station("vq2040", wifi_nvram_calibrate_get=[CalibrationText(True, "0")], wifi_nvram_set=[False])
    with pytest.raises(PlanError, match="^wifi_nvram_set failed: the driver's calibration block cannot be copied to NV$"):
        calibration.calibrate(on)
    on, _ = station(measure=[Reading(15.5, 0, 0, 0)] * 100, wifi_nvram_calibrate_set=[False])
    with pytest.raises(PlanError, match=r"^the library refused to correct \+0.50 dB at 2442 MHz, 20 MHz wide, chain 0: the phone's log"):
        calibration.calibrate(on)


def measured(quantity, value, high=1.0, chain=0, signal=HT40):
    return Measurement(quantity, signal, chain, value, Limit(quantity, -high, high, "u", "s"))


def of_chains(power, rssi, chain=1):
    """A chain with these errors in the median, beside one that is good."""
    return [*(measured("power_error", value, chain=chain) for value in (power, power + 9, power - 1)), measured("rssi_error", rssi, chain=chain),
            measured("power_error", 0), measured("rssi_error", 0)]


# What was measured, then the cause's name, what shows it and what to do.
CAUSES = [
    (of_chains(-2.5, 0), "wrong front-end module", "chain 1 transmits 2.5 dB too little and receives 0.0 dB too little",
     "compare the module with the bill of materials"),
    (of_chains(-20, -4), "wrong front-end module", "chain 1 transmits 20.0 dB too little and receives 4.0 dB too little",
     "compare the module with the bill of materials"),
    (of_chains(-6, -4.1), "cold joint", "chain 1 transmits 6.0 dB too little and receives 4.1 dB too little", "resolder the path of chain 1"),
    (of_chains(-15, -20), "cold joint", "chain 1 transmits 15.0 dB too little and receives 20.0 dB too little", "resolder the path of chain 1"),
    (of_chains(-15.1, -15.2), "open antenna", "chain 1 transmits 15.1 dB too little and receives 15.2 dB too little",
     "check the antenna's connector and the cable"),
    ([*of_chains(-9, -9), measured("frequency_error", 3)], "bad crystal", None, "replace the crystal"),
    ([measured("rssi_error", 9), measured("packet_error_rate", 9), measured("mask_margin", -9), measured("evm", 9)], "weak amplifier", None,
     "replace the front-end module, or check its supply"),
    ([measured("rssi_error", 9), measured("packet_error_rate", 9), measured("evm", 9)], "deaf receiver", None,
     "check the receive path of the front-end module"),
    ([measured("evm", 9), measured("rssi_error", 9)], "wrong reported level", None, "check the receive path and the path loss"),
    ([measured("evm", 0), measured("frequency_error", 0.5), measured("power_error", 1.5)], "power error out of limits", None, "calibrate the unit again"),
    ([*of_chains(-2.4, -9), measured("rssi_error", 9)], "wrong reported level", None, "check the receive path and the path loss"),
]


@pytest.mark.parametrize("found, name, shown, cure", CAUSES, ids=[case[1] for case in CAUSES])
def test_a_cause_follows_from_what_was_measured(found, name, shown, cure):
    cause = diagnosis.cause(found)
    assert (cause.name, cause.cure) == (name, cure)
    if shown is None:
        shown = {str(each) for each in found if not each.held and each.quantity.split("_")[0] in
                 {"bad crystal": "frequency", "weak amplifier": "mask", "deaf receiver": "packet", "wrong reported level": "rssi"}.get(name, "power")}
    assert cause.found == shown or cause.found in shown
    assert (diagnosis.board_fault(found) is None) == name.endswith("out of limits")


def test_nothing_is_wrong_with_a_good_unit():
    assert diagnosis.cause([]) is None and diagnosis.cause([measured("evm", 0), measured("power_error", 0)]) is None
    weak = [measured("power_error", -3, high=9), measured("rssi_error", 0)]
    assert diagnosis.cause(weak) is None and diagnosis.board_fault(weak).name == "wrong front-end module"
