# SPDX-License-Identifier: Apache-2.0
"""What the plans need of pytest: options, and fixtures for the unit under test, its test set and its record.

Load it with `-p orva.plans.plugin`. Each unit is a parameter of every test. With pytest-xdist and `--dist loadgroup` a
unit's tests stay in one worker, and each worker has a port: the first worker --orva-port, the second the next one. A
plant that tests real phones overrides the fixture `unit_library` in its conftest.py.
"""

from __future__ import annotations

import contextlib
import fcntl
import hashlib
import os
import tempfile
from collections.abc import Iterator
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any, Optional

import pytest

from orva import files, limits
from orva.bench import Bench, PhoneDied
from orva.instrument_profile import ProfileError
from orva.library import Library
from orva.limits import LimitsError
from orva.phone import PhoneError
from orva.plans import coverage, diagnosis, simulation
from orva.plans.diagnosis import Cause
from orva.plans.station import Measurement, PlanError, Station, leave_test_mode
from orva.tester import Tester, TesterError
from orva_records import RecordsError, rules
from orva_records.record import Header, RecordWriter

pytest_plugins = ["orva.pytest_plugin"]

PORTS = 8
#: Errors whose message says all.
_PLAIN = (TesterError, ProfileError, PlanError, PhoneError, PhoneDied, RecordsError, FileNotFoundError)
MOST_UNITS = 100_000


@dataclass
class Unit:
    """A unit under test. seed: of a virtual phone's hardware; "none" for a typical one. fault: what calibration cannot
    cure. done: tests that came to their end. broken: why it could not be tested to the end."""

    serial: str
    seed: int | str
    measured: list[Measurement] = field(default_factory=list)
    fault: Optional[Cause] = None
    done: int = 0
    broken: str = ""


def pytest_addoption(parser: pytest.Parser) -> None:
    group = parser.getgroup("orva plans", "test plans with an RF test set")
    group.addoption("--orva-tester", metavar="HOST:PORT", help="the RF test set (default: a simulated one for each worker)")
    group.addoption("--orva-profile", metavar="FILE", help="its instrument profile (default: the simulated test set's)")
    group.addoption("--orva-cable", metavar="HOST:PORT", help="where a simulated test set takes the cables of virtual phones")
    group.addoption("--orva-port", metavar="N", default="1", help="port of the first worker, 1 to 8 (default: 1)")
    group.addoption("--orva-path-loss", metavar="MHZ:DB,…", help="of every port (default: that of the simulated cables)")
    group.addoption("--orva-limits", metavar="FILE", help="limits tighter than the standard's (default: factory-limits.csv)")
    group.addoption("--orva-unit", metavar="SEEDS", default="none", help="virtual units, as in 1-20,35 (default: a typical one)")
    group.addoption("--orva-key", metavar="KEY=VALUE", action="append", default=[], help="of the virtual phone's description")
    group.addoption("--orva-records", metavar="FOLDER", help="writes a record of each unit there")
    group.addoption("--orva-serial", metavar="TEXT", help="the unit's serial number (default: unit-SEED)")
    group.addoption("--orva-attempt", metavar="N", default="1", help="counts the unit's runs of this plan (default: 1)")
    for name, usual in (("station", "simulation"), ("slot", ""), ("operator", ""), ("plan-version", "1")):
        group.addoption(f"--orva-{name}", metavar="TEXT", default=usual, help=f"for the record (default: {usual or 'empty'})")


def _usage(option: str, value: object, right: str) -> pytest.UsageError:
    return pytest.UsageError(f"--orva-{option} {value}: {right}")


def _seeds(text: str) -> list[int | str]:
    if text == "none":
        return ["none"]
    found: list[int | str] = []
    for part in text.split(","):
        first, dash, last = part.partition("-")
        ends = [first, last] if dash else [first, first]
        if not all(end.isdecimal() and int(end) < 2**32 for end in ends) or int(ends[0]) > int(ends[1]):
            raise _usage("unit", text, "give seeds from 0 to 4294967295 and ranges of them, as in 1-20,35, or none")
        if int(ends[1]) - int(ends[0]) >= MOST_UNITS:
            raise _usage("unit", text, f"a range has at most {MOST_UNITS} units")
        found += range(int(ends[0]), int(ends[1]) + 1)
    if len(set(found)) != len(found):
        raise _usage("unit", text, "a unit is named twice")
    return found


def _losses(text: Optional[str]) -> dict[float, float]:
    if text is None:
        return dict(simulation.CABLE_DB)
    try:
        return simulation.losses_of(text)
    except ValueError:
        raise _usage("path-loss", text, "give MHZ:DB once for each point, separated by commas") from None


_UNITS = pytest.StashKey[list[Unit]]()


def _units(config: pytest.Config) -> list[Unit]:
    """Made once: a fixture is shared by tests whose parameter is the same object."""
    if _UNITS not in config.stash:
        config.stash[_UNITS] = _named_units(config)
    return config.stash[_UNITS]


def _named_units(config: pytest.Config) -> list[Unit]:
    seeds, serial = _seeds(config.getoption("orva_unit")), config.getoption("orva_serial")
    if serial is not None and len(seeds) > 1:
        raise _usage("serial", serial, f"is for one unit, and --orva-unit names {len(seeds)}")
    return [Unit(serial or f"unit-{seed}", seed) for seed in seeds]


def _port(config: pytest.Config) -> int:
    """The port of this worker."""
    first: str = config.getoption("orva_port")
    port = int(first) + _worker() if first.isdecimal() else 0
    if not 1 <= port <= PORTS:
        raise _usage("port", first, f"worker {_worker() + 1} needs a port from 1 to {PORTS}: give a lower port or fewer workers")
    return port


def _attempt(config: pytest.Config) -> int:
    text: str = config.getoption("orva_attempt")
    if not text.isdecimal() or not 1 <= int(text) <= rules.ATTEMPTS:
        raise _usage("attempt", text, f"give a whole number from 1 to {rules.ATTEMPTS}")
    return int(text)


def _limits(config: pytest.Config) -> limits.Limits:
    folder = files.rf_tester_folder()
    try:
        return limits.load(folder / "limits.csv", config.getoption("orva_limits") or folder / "factory-limits.csv")
    except LimitsError as error:
        raise pytest.UsageError(str(error)) from None


def _worker() -> int:
    """The number of this worker of pytest-xdist, from 0."""
    return int(os.environ.get("PYTEST_XDIST_WORKER", "gw0").removeprefix("gw"))


def _check_distribution(config: pytest.Config) -> None:
    """Only loadgroup keeps a unit's tests together. A worker's own options say that it distributes nothing."""
    dist = config.getoption("dist", "no")
    if config.getoption("tx", None) and dist not in ("no", "loadgroup"):
        raise pytest.UsageError(f"--dist {dist} (what -n alone means is load) would split a unit between workers, each with a record "
                                f"of its own: give --dist loadgroup")


def pytest_configure(config: pytest.Config) -> None:
    """Refuses wrong options before anything is tested."""
    config.addinivalue_line("filterwarnings", "ignore:'xdrlib' is deprecated:DeprecationWarning")  # PyVISA-py's
    _check_distribution(config)
    _units(config)
    _port(config)
    _attempt(config)
    _losses(config.getoption("orva_path_loss"))
    _limits(config)
    for text in config.getoption("orva_key"):
        if "=" not in text:
            raise _usage("key", text, "give KEY=VALUE, as in rf.fault=cold_joint")


def _unit_of(item: Optional[pytest.Item]) -> Optional[Unit]:
    unit = getattr(item, "callspec").params.get("unit") if hasattr(item, "callspec") else None
    return unit if isinstance(unit, Unit) else None


@pytest.hookimpl(hookwrapper=True)  # type: ignore[misc]
def pytest_runtest_makereport(item: pytest.Item, call: pytest.CallInfo[None]) -> Iterator[None]:
    """An error that is no judgement on the unit breaks its run. Errors that name their cause are shown without a trace."""
    outcome: Any = yield
    error = call.excinfo.value if call.excinfo else None
    unit = _unit_of(item)
    if unit is None:
        return
    unit.done += call.when == "call" or (call.when == "setup" and error is not None)
    if not isinstance(error, Exception) or isinstance(error, pytest.skip.Exception):
        return
    unit.broken = unit.broken or f"{type(error).__name__}: {error}"
    if isinstance(error, _PLAIN):
        outcome.get_result().longrepr = str(error)


@pytest.hookimpl(trylast=True)  # type: ignore[misc]
def pytest_runtest_teardown(item: pytest.Item, nextitem: Optional[pytest.Item]) -> None:
    """Ends a unit with its last test. pytest itself ends it in the first test of the next unit, which would bear its errors."""
    unit, following = _unit_of(item), _unit_of(nextitem)
    if unit is None or following is None or following is unit:
        return
    request: Any = getattr(item, "_request", None)  # not public; without it the unit ends as pytest ends it
    if definition := getattr(request, "_fixture_defs", {}).get("unit"):
        definition.finish(request)


def pytest_generate_tests(metafunc: pytest.Metafunc) -> None:
    chip = coverage.CHIPS[metafunc.config.getoption("orva_chip")]
    if "unit" in metafunc.fixturenames:
        values = [pytest.param(unit, id=unit.serial, marks=_group(metafunc.config, unit)) for unit in _units(metafunc.config)]
        metafunc.parametrize("unit", values, scope="session", indirect=True)
    points: dict[str, list[Any]] = {"transmission": [*coverage.transmissions(chip)], "reception": [*coverage.receptions(chip)],
                                    "strong": [*coverage.levels(chip)]}
    for name, listed in points.items():
        if name in metafunc.fixturenames:
            metafunc.parametrize(name, listed, ids=_name)


def _group(config: pytest.Config, unit: Unit) -> list[Any]:
    return [pytest.mark.xdist_group(unit.serial)] if config.pluginmanager.hasplugin("xdist") else []


def _name(at: coverage.Transmission | coverage.Reception) -> str:
    signal = at.signal
    power = f"-{at.dbm}dBm" if isinstance(at, coverage.Transmission) else ""
    return f"{signal.format}-{signal.rate}-{signal.mhz}-{signal.bandwidth_mhz}MHz-chain{at.chain}{power}"


@dataclass
class RunningTester:
    """Where the test set is, and what the worker needs to use it."""

    address: str
    cables: Optional[str]
    profile: str
    port: int
    losses: dict[float, float]

    @contextlib.contextmanager
    def turn(self) -> Iterator[Tester]:
        """The test set for this worker alone: it serves one client at a time."""
        name = hashlib.sha256(self.address.encode()).hexdigest()[:16]
        with open(Path(tempfile.gettempdir()) / f"orva-tester-{os.getuid()}-{name}.lock", "w") as lock:
            fcntl.flock(lock, fcntl.LOCK_EX)
            with Tester(self.address, self.profile) as tester:
                tester.reset()
                tester.select_port(self.port)
                tester.set_path_loss(self.losses)
                yield tester


@pytest.fixture(scope="session")
def running_tester(pytestconfig: pytest.Config) -> Iterator[RunningTester]:
    """The test set of --orva-tester, or a simulated one."""
    option, port = pytestconfig.getoption, _port(pytestconfig)
    profile = option("orva_profile") or str(files.rf_tester_folder() / "profiles" / "orva-a.toml")
    address, losses = option("orva_tester"), _losses(option("orva_path_loss"))
    if address is not None:
        yield RunningTester(address, option("orva_cable"), profile, port, losses)
        return
    with simulation.SimulatedTester() as simulated:
        yield RunningTester(simulated.address, simulated.cables, profile, port, losses)


@pytest.fixture(scope="session")
def plan_limits(pytestconfig: pytest.Config) -> limits.Limits:
    """The standard's limits, tightened by --orva-limits."""
    return _limits(pytestconfig)


@pytest.fixture(scope="session")
def unit(request: pytest.FixtureRequest) -> Unit:
    """The unit under test."""
    found: Unit = request.param
    return found


@pytest.fixture(scope="session")
def unit_library(unit: Unit, running_tester: RunningTester, pytestconfig: pytest.Config) -> Iterator[Library]:
    """The library on the unit: a virtual phone plugged into this worker's port."""
    keys = dict(text.split("=", 1) for text in pytestconfig.getoption("orva_key"))
    cable = f"{running_tester.cables}/{running_tester.port}" if running_tester.cables else ""
    with Bench(description=pytestconfig.getoption("orva_phone")) as bench:
        simulation.fit(bench, pytestconfig.getoption("orva_chip"), unit.seed, cable, keys)
        yield bench.library


@pytest.fixture(scope="session")
def record(unit: Unit, request: pytest.FixtureRequest, pytestconfig: pytest.Config) -> Iterator[Optional[RecordWriter]]:
    """The unit's record, if --orva-records names a folder. The cause of failures is its last row."""
    folder = pytestconfig.getoption("orva_records")
    if folder is None:
        yield None
        return
    names = ("station", "slot", "operator", "plan_version")
    about = {name: pytestconfig.getoption(f"orva_{name}") for name in names}
    plan = Path(request.node.items[0].path).stem
    header = Header(serial=unit.serial, plan=plan, chip=pytestconfig.getoption("orva_chip"),
                    attempt=_attempt(pytestconfig), **about)
    with RecordWriter(folder, header) as writer:
        yield writer
        if cause := unit.fault or diagnosis.cause(unit.measured):
            writer.cause("verification", cause.found, cause.name, cause.cure)
        if reason := unit.broken or _cut_short(unit, request.session, writer):
            writer.broken(reason)


def _cut_short(unit: Unit, session: pytest.Session, record: RecordWriter) -> str:
    """Says so if not all of a unit's tests ran. An interruption of pytest makes no report that could.

    With -x or --maxfail a unit ends with its own failure, which is a verdict.
    """
    due = sum(_unit_of(item) is unit for item in session.items)
    if unit.done >= due or (session.shouldfail and record.verdict == "FAIL"):
        return ""
    return f"{unit.done} of {due} tests ran"


@pytest.fixture(scope="session")
def test_mode(unit: Unit, record: Optional[RecordWriter], unit_library: Library, pytestconfig: pytest.Config) -> Iterator[None]:
    """Test mode for all tests of a unit, left before its record ends. A plan's calibration leaves and enters it."""
    if not unit_library.wifi_start_testmode():
        raise PlanError("wifi_start_testmode failed: the phone's log gives the reason")
    yield
    try:
        leave_test_mode(unit_library, coverage.CHIPS[pytestconfig.getoption("orva_chip")])
    except Exception as error:
        unit.broken = unit.broken or f"{type(error).__name__}: {error}"
        raise


@pytest.fixture
def station(unit_library: Library, test_mode: None, running_tester: RunningTester, plan_limits: limits.Limits,
            pytestconfig: pytest.Config) -> Iterator[Station]:
    """The unit on its port; the test set is held while a test runs."""
    chip = coverage.CHIPS[pytestconfig.getoption("orva_chip")]
    with running_tester.turn() as tester:
        yield Station(unit_library, tester, chip, plan_limits)


def _recorded(unit: Unit, record: Optional[RecordWriter], measured: list[Measurement]) -> list[str]:
    """Records measurements and returns those that do not hold."""
    unit.measured += measured
    for each in measured:
        low, high = (each.limit.low, each.limit.high) if each.limit else (None, None)
        if record is not None:
            value = None if each.value != each.value else each.value
            unit_name = each.limit.unit if each.limit else limits.QUANTITIES[each.quantity]
            record.measure(each.quantity, value, unit=unit_name, low=low, high=high, condition=each.condition)
    return [str(each) for each in measured if not each.held]


def judge(unit: Unit, record: Optional[RecordWriter], measured: list[Measurement]) -> None:
    """Records measurements and fails the test if one does not hold."""
    if wrong := _recorded(unit, record, measured):
        pytest.fail("\n".join(wrong), pytrace=False)


def reject(unit: Unit, record: Optional[RecordWriter], measured: list[Measurement], fault: Cause) -> None:
    """Records measurements and fails the test for a fault that they show, even if all of them hold."""
    unit.fault = fault
    wrong = _recorded(unit, record, measured)
    if record is not None:
        record.expect("board fault", fault.name, "none", False)
    pytest.fail("\n".join([str(fault), *wrong]), pytrace=False)
