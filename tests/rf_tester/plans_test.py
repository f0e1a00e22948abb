# SPDX-License-Identifier: Apache-2.0
"""The plans: what they measure, that they find each fault on each chip, and what they say when the bench is wrong."""

import importlib.util
import json
import os
import re
import subprocess
import sys
from importlib.machinery import SourceFileLoader
from types import SimpleNamespace

import pytest

from orva import CHIPS, Bench, limits
from orva.limits import Signal
from orva.plans import calibration, coverage, simulation
from orva.plans.station import PlanError, Station, wilson
from orva.tester import Tester
from orva_records import reader

from support.rf_tester import PROFILES, RunningTester
from support.tree import ROOT

TABLES = ROOT / "rf_tester"


def script(name):
    """A script as a module."""
    loader = SourceFileLoader(f"{name}_script", str(ROOT / "script" / name))
    sys.path.insert(0, str(ROOT / "script"))
    module = importlib.util.module_from_spec(importlib.util.spec_from_loader(loader.name, loader))
    sys.modules[loader.name] = module  # its units travel between processes by this name
    loader.exec_module(module)
    return module


calibrate = script("calibrate")


def test_every_chip_is_covered():
    assert list(coverage.CHIPS) == list(CHIPS)
    table = limits.load(TABLES / "limits.csv")
    for chip in coverage.CHIPS.values():
        for sent in coverage.transmissions(chip):
            assert all(table.find(quantity, sent.signal) for quantity in ("power_error", "evm", "mask_margin", "frequency_error"))
        assert all(table.find("sensitivity", at.signal) for at in coverage.receptions(chip))
        chains = {sent.chain for sent in coverage.transmissions(chip)}
        assert chains == {target.shown_by.chain for target in coverage.curves(chip)} == set(range(chip.chains))


# Rates of the standard in Mb/s, with the fraction cut off.
RATES = [("dsss", "5.5", 20, 5.5), ("ofdm", "54", 20, 54), ("ht", "mcs7", 20, 65), ("ht", "mcs7", 40, 135), ("vht", "mcs9", 40, 180),
         ("vht", "mcs9", 80, 390), ("vht", "mcs9", 160, 780), ("he", "mcs0", 20, 8), ("he", "mcs11", 20, 143), ("he", "mcs11", 160, 1200)]


@pytest.mark.parametrize("form, rate, width, mbps", RATES)
def test_rates_are_those_of_the_standard(form, rate, width, mbps):
    assert coverage.rate_code(Signal(form, rate, 5500, width)) == 100 * mbps


@pytest.mark.parametrize("lost, sent, low, high", [(0, 500, 0, 0.76), (50, 500, 7.67, 12.94), (500, 500, 99.24, 100), (100, 1000, 8.29, 12.01)])
def test_the_confidence_interval(lost, sent, low, high):
    assert wilson(lost, sent) == pytest.approx((low, high), abs=0.01)
    with pytest.raises(PlanError, match=f"{sent + 1} of {sent} packets lost"):
        wilson(sent + 1, sent)


@pytest.mark.parametrize("dialect", ["a", "b"])
def test_each_fault_is_named_on_each_chip(dialect):
    chips = CHIPS if dialect == "a" else CHIPS[-1:]
    units = [calibrate.Unit(chip, 7, defect) for chip in chips for defect in [None, *simulation.DEFECTS]]
    results = calibrate.run(units, 2, 1, dialect)
    assert [(each.unit.chip, each.cause) for each in results] == [(unit.chip, unit.defect or "passed") for unit in units]
    for result in results:
        if result.unit.defect is None:
            assert max(map(abs, result.after)) < min(0.7, max(map(abs, result.before)))


def test_a_wrong_verdict_is_reported(monkeypatch, capsys):
    monkeypatch.setattr(calibrate, "DEFECTIVE", 1)
    monkeypatch.setattr(simulation, "DEFECTS", {"bad crystal": {"rf.fault": "cold_joint"}, "deaf receiver": {"rf.crystal": "3"}})
    monkeypatch.setattr(sys, "argv", ["calibrate", "--chip", "vq2040", "--units", "8", "--json"])
    assert calibrate.main() == 1
    (chip,) = json.loads(capsys.readouterr().out)["chips"]
    named = {(wrong["defect"], wrong["named"]) for wrong in chip["wrong"]}
    assert named == {("bad crystal", "cold joint"), ("deaf receiver", "passed")}


def test_a_unit_near_a_limit_may_be_rejected():
    """Only by the uncertainty: one that is beyond the limit is wrong, whatever the test set says."""
    station = calibrate.TrueStation.__new__(calibrate.TrueStation)
    station.tester = SimpleNamespace(profile=SimpleNamespace(uncertainty={"evm_db": 0.3}))
    limit = limits.load(TABLES / "limits.csv").find("evm", Signal("ht", "mcs7", 2442, 20)).guarded(0.3)
    measured = SimpleNamespace(quantity="evm", limit=limit)
    assert [station._near(measured, true) for true in (-27.7, -27.5, -27.1, -26.9)] == [False, True, True, False]


def test_a_stale_sensitivity_is_noticed(tmp_path, monkeypatch):
    results = script("rf-results")
    page = tmp_path / "rf-results.md"
    lines = results.PAGE.read_text().splitlines()
    (wrong,) = (line for line in lines if line.startswith("| ofdm | 54 | 2.4 GHz"))
    (missing,) = (line for line in lines if line.startswith("| dsss | 11 "))
    cells = wrong.split("|")
    cells[5] = f" {float(cells[5]) + 0.3:.1f} "
    page.write_text("\n".join("|".join(cells) if line == wrong else line for line in lines if line != missing))
    monkeypatch.setattr(results, "PAGE", page)
    monkeypatch.setattr(results, "CHECKED", [("ofdm", "54"), ("dsss", "11")])
    said = list(results.stale())
    assert len(said) == 2 and "dsss 11 2.4 GHz 20 MHz" in said[0] and "the page says None" in said[0]
    assert "ofdm 54 2.4 GHz 20 MHz" in said[1]


@pytest.fixture
def bench():
    with Bench() as bench:
        yield bench


@pytest.fixture
def station(bench):
    with simulation.SimulatedTester() as simulated, Tester(simulated.address, PROFILES / "orva-a.toml") as tester:
        simulation.fit(bench, "vq2050", 3, f"{simulated.cables}/1", {})
        tester.reset()
        tester.select_port(1)
        tester.set_path_loss(simulation.CABLE_DB)
        tester.trigger_timeout(0.05)
        yield Station(bench.library, tester, coverage.CHIPS["vq2050"], limits.load(TABLES / "limits.csv"))


def test_curves_add_up_and_offsets_are_set(station, monkeypatch):
    """A first reading that is wrong by 0.8 dB needs a second correction, after which all is good."""
    measured, read = set(), station.power_error

    def wrong_at_first(sent):
        error = read(sent) + (0 if sent in measured else 0.8)
        measured.add(sent)
        return error

    monkeypatch.setattr(station, "power_error", wrong_at_first)
    station.start()
    corrected = calibration.calibrate(station)
    twice = [each.target for each in corrected if each.corrections == 2]
    assert {target.adds_up for target in twice} == {True, False} and max(each.corrections for each in corrected) == 2
    again = [station.power_error(target.shown_by) for target in twice]
    assert max(map(abs, again)) <= 0.4


# What is done to the bench, and what the plan says.
TROUBLES = [
    ({"cable": ""}, r"port 1: no burst at 2412 MHz.*its cable is not connected to port 1"),
    ({"chip": "vq2040a"}, r"wifi_setmimo_channel\(1\) failed on the vq2050"),
]


@pytest.mark.parametrize("keys, message", TROUBLES)
def test_trouble_with_the_bench_is_named(bench, station, keys, message):
    for key, value in keys.items():
        bench.phone.set(key, value)
    station.start()
    with pytest.raises(Exception, match=message):
        list(station.verify())


def test_a_refused_correction_is_named(bench, station):
    station.start()
    bench.phone.fault("nv_write:367", times=0)
    with pytest.raises(PlanError, match=r"refused to correct [-+]\d.\d\d dB at 2442 MHz, 20 MHz wide, chain 0"):
        calibration.calibrate(station)


def plan(name, *options, workers=0, path=ROOT):
    """Runs a plan. path: where -p finds a plugin."""
    spread = ["-n", str(workers), "--dist", "loadgroup"] if workers else []
    command = [sys.executable, "-m", "pytest", "-p", "orva.plans.plugin", *spread, "--pyargs", f"orva.plans.{name}", *map(str, options)]
    search = os.pathsep.join(filter(None, [os.environ.get("PYTHONPATH"), str(path)]))
    return subprocess.run(command, capture_output=True, text=True, timeout=300, cwd="/",
                          env={**os.environ, "PYTHONPATH": search, "PYTEST_ADDOPTS": "-q -p no:cacheprovider"})


def records(folder):
    return sorted((reader.read(path.read_bytes()) for path in folder.glob("*.jsonl")), key=lambda record: record.header["serial"])


def test_workers_share_a_test_set_with_a_port_each(tmp_path):
    with RunningTester() as running:
        address = ["--orva-tester", running.address, "--orva-cable", running.cable_address, "--orva-path-loss", "2442:0"]
        done = plan("calibrate", "--orva-unit", "1-4", "--orva-records", tmp_path, "--orva-station", "line-3", *address, workers=2)
    assert done.returncode == 0, done.stdout + done.stderr
    found = records(tmp_path)
    assert [(record.header["serial"], record.header["station"], record.end["verdict"]) for record in found] == \
        [(f"unit-{seed}", "line-3", "PASS") for seed in range(1, 5)]


def test_a_rejected_unit_has_its_cause_in_the_record(tmp_path):
    done = plan("verify", "--orva-serial", "R58", "--orva-key", "rf.fault=open_antenna", "--orva-attempt", 2, "--orva-records", tmp_path)
    assert done.returncode == 1
    assert "power_error -22." in done.stdout and "allowed: -1.2 to 1.2 dB" in done.stdout
    (record,) = records(tmp_path)
    assert (record.header["serial"], record.header["attempt"]) == ("R58", 2) and record.end["verdict"] == "FAIL"
    assert [event["cause"] for _, event in record.events if event["type"] == "cause"] == ["open antenna"]


def test_a_unit_with_a_fault_is_not_calibrated_though_it_holds_wide_limits(tmp_path):
    done = plan("calibrate", "--orva-chip", "vq2040", "--orva-key", "rf.antenna_loss=3.5,3.5", "--orva-limits", TABLES / "limits.csv",
                "--orva-records", tmp_path)
    assert done.returncode == 1 and re.search("wrong front-end module: chain 0 transmits 3.. dB too little.*bill of materials", done.stdout)
    (record,) = records(tmp_path)
    assert record.end["verdict"] == "FAIL"
    assert [event["cause"] for _, event in record.events if event["type"] == "cause"] == ["wrong front-end module"]
    assert [each.what.name for each in record.measurements if each.verdict == "FAIL"] == ["board fault"]


# Options, the status of pytest, what it prints and the verdict of the record.
BROKEN = [
    (["--orva-tester", "127.0.0.1:1"], 1, "Unreachable|Connection refused", "BROKEN"),
    (["--orva-key", "rf.fault=none_such"], 1, "rf.fault: .none_such. is not .*open_antenna", None),
    (["--orva-port", "9"], 4, "--orva-port 9: worker 1 needs a port from 1 to 8", None),
    (["--orva-attempt", "0"], 4, "--orva-attempt 0: give a whole number from 1 to 1000", None),
    (["--orva-unit", "5-4"], 4, "--orva-unit 5-4: give seeds", None),
    (["--orva-unit", "1,1"], 4, "a unit is named twice", None),
    (["--orva-unit", "1,2", "--orva-serial", "X"], 4, "--orva-serial X: is for one unit", None),
    (["--orva-key", "rf.fault"], 4, "--orva-key rf.fault: give KEY=VALUE", None),
    (["--orva-path-loss", "1.5"], 4, "--orva-path-loss 1.5: give MHZ:DB", None),
    (["--orva-path-loss", "2412:1,2412:2"], 4, "--orva-path-loss 2412:1,2412:2: give MHZ:DB once", None),
    (["-n", "2"], 4, "--dist load .*would split a unit between workers.*: give --dist loadgroup", None),
    (["--tx", "2*popen", "--dist", "each"], 4, "--dist each .*: give --dist loadgroup", None),
    (["--orva-limits", "/none.csv"], 4, "/none.csv: no table of limits can be read", None),
]


@pytest.mark.parametrize("options, status, text, verdict", BROKEN, ids=range(len(BROKEN)))
def test_a_plan_that_cannot_run_says_why(tmp_path, options, status, text, verdict):
    done = plan("verify", "-x", "--orva-chip", "vq2040", "--orva-records", tmp_path, *options)
    assert done.returncode == status
    assert re.search(text, done.stdout + done.stderr), done.stdout + done.stderr
    assert {record.end["verdict"] for record in records(tmp_path)} <= {verdict, "BROKEN"}


# What happens in the fifth of the selected tests of the typical unit, which is good, and the verdict and its reason.
ENDINGS = [
    ("raise KeyboardInterrupt", [], ("BROKEN", "4 of 16 tests ran")),
    ("pytest.exit('lunch')", [], ("BROKEN", "4 of 16 tests ran")),
    ("item.session.shouldstop = 'another worker failed'", [], ("BROKEN", "5 of 16 tests ran")),
    ("pytest.skip('not today')", [], ("PASS", None)),
    ("pass", ["-n", "0", "--dist", "load"], ("PASS", None)),
    ("pass", ["--maxfail", 3, "--orva-key", "rf.fault=bad_crystal"], ("FAIL", None)),
]


@pytest.mark.parametrize("happens, options, ending", ENDINGS, ids=range(len(ENDINGS)))
def test_a_unit_that_was_not_tested_to_the_end_does_not_pass(tmp_path, happens, options, ending):
    (tmp_path / "ending.py").write_text(f"""
import pytest
def pytest_runtest_call(item):
    if item is item.session.items[4]:
        {happens}
""")
    done = plan("verify", "-p", "ending", "-k", "ht-mcs7", "--orva-chip", "vq2040", "--orva-records", tmp_path, *options, path=tmp_path)
    (record,) = records(tmp_path)
    assert (record.end["verdict"], record.end.get("reason")) == ending, done.stdout + done.stderr


# A phone that checks that it does not transmit, and that refuses to leave test mode if it is the first unit.
STUBBORN = """
import pytest
class Phone:
    def __init__(self, library, stuck):
        self.library, self.stuck = library, stuck
    def __getattr__(self, name):
        return getattr(self.library, name)
    def quiet(self):
        if self.library.wifi_query_setting(9):
            raise RuntimeError("the phone transmits")
    def wifi_start_rx(self):
        self.quiet()
        return self.library.wifi_start_rx()
    def wifi_stop_testmode(self):
        self.quiet()
        return self.library.wifi_stop_testmode() and not self.stuck
@pytest.fixture(scope="session")
def unit_library(unit, unit_library):
    return Phone(unit_library, unit.seed == 1)
"""


def test_a_phone_is_quiet_when_it_receives_and_bears_its_own_refusal(tmp_path):
    (tmp_path / "stubborn.py").write_text(STUBBORN)
    done = plan("verify", "-p", "stubborn", "-k", "ofdm-54-2442", "--orva-chip", "vq2070", "--orva-unit", "1,2",
                "--orva-records", tmp_path, path=tmp_path)
    stuck, other = records(tmp_path)
    assert (stuck.end["verdict"], other.end["verdict"] != "BROKEN") == ("BROKEN", True), done.stdout + done.stderr
    assert stuck.end["reason"] == "PlanError: wifi_stop_testmode() failed on the vq2070: the phone's log gives the reason"
    assert set(re.findall(r"^ERROR .*\[(unit-\d)", done.stdout, re.MULTILINE)) == {"unit-1"}
