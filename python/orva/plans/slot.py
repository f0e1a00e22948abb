# SPDX-License-Identifier: Apache-2.0
"""Verifies one unit as a console of `orva-station line` does: JSON lines, a record, the console's exit status.

In a line's plan, with the plant's own limits as the session:

    console = ["python3", "-m", "orva.plans.slot"]
    sessions = ["factory-limits.csv"]
    parameters = { address = "127.0.0.1:5025", profile = "orva-a.toml", loss = "2442:1.2,5500:2.1", cable = "127.0.0.1:5026" }

loss is that of the path from the phone to the test set, as MHZ:DB,...; "2442:0" is a path without loss. It has no default:
with a loss that is too high, units that are too weak would pass.
"""

from __future__ import annotations

import argparse
import contextlib
import json
import math
import signal
import sys
from pathlib import Path
from types import FrameType
from typing import Iterator, Mapping, NoReturn, Optional, Sequence

from orva import Bench, PhoneDied, PhoneError, files, limits
from orva.instrument_profile import ProfileError
from orva.plans import coverage, diagnosis, simulation
from orva.plans.station import Measurement, PlanError, Station
from orva.tester import Tester, TesterError
from orva_records import RecordsError
from orva_records.record import Header, RecordWriter

STATUSES = {"PASS": 0, "FAIL": 1, "BROKEN": 2, "NO VERDICT": 3}
#: Parameters with their defaults; None for those that must be given. cable plugs a virtual phone in.
PARAMETERS = {"address": None, "profile": None, "loss": None, "cable": "", "port": "1"}
#: Why a run could not come to its end.
FAULTS = (OSError, PhoneDied, PhoneError, PlanError, ProfileError, RecordsError, TesterError, limits.LimitsError)


class Ended(Exception):
    """A signal ends the run."""


def say(kind: str, **members: object) -> None:
    """Prints a line as orva-station --json does."""
    print(json.dumps({"type": kind, **members}), flush=True)


class Interruption:
    """The signal that is to end the run.

    It is heard between two measurements: an exception from the handler would cut a row of the record, or an exchange with
    the phone. A second signal of the kind ends the program.
    """

    def __init__(self) -> None:
        self._name = ""
        for number in (signal.SIGINT, signal.SIGTERM, signal.SIGHUP):
            signal.signal(number, self._hear)

    def _hear(self, number: int, _: Optional[FrameType]) -> None:
        self._name = signal.Signals(number).name
        signal.signal(number, signal.SIG_DFL)

    def check(self) -> None:
        """Raises Ended if a signal came."""
        if self._name:
            raise Ended(self._name)


@contextlib.contextmanager
def station_of(given: argparse.Namespace, parameters: dict[str, str]) -> Iterator[Station]:
    """The phone in test mode on the port of its test set. Leaves test mode whatever happens."""
    table = limits.load(files.rf_tester_folder() / "limits.csv", own=given.session)
    port, loss = int(parameters["port"]), simulation.losses_of(parameters["loss"])
    with Bench(given.chip, given.phone or None) as bench, Tester(parameters["address"], Path(parameters["profile"])) as tester:
        if parameters["cable"]:
            bench.phone.set("cable", f"{parameters['cable']}/{port}")
        tester.reset()
        tester.select_port(port)
        tester.set_path_loss(loss)
        station = Station(bench.library, tester, coverage.CHIPS[given.chip], table)
        with station.test_mode():
            yield station


def recorded(record: RecordWriter, found: Measurement) -> None:
    """Adds a measurement to the record. One without a value fails."""
    limit = found.limit
    low, high, unit = (limit.low, limit.high, limit.unit) if limit else (None, None, limits.QUANTITIES[found.quantity])
    value = None if math.isnan(found.value) else round(found.value, 4)
    record.measure(found.quantity, value, unit=unit, low=low, high=high, condition=found.condition)


def verify(station: Station, record: RecordWriter, interruption: Interruption) -> list[Measurement]:
    """Measures everything and returns it."""
    record.step("Verification")
    say("step", title="Verification")
    chip, found = station.chip, []
    total = 4 * len(coverage.transmissions(chip)) + len(coverage.receptions(chip)) + len(coverage.levels(chip))
    for each in station.verify():
        recorded(record, each)
        found.append(each)
        say("progress", done=len(found), total=total, text=each.quantity)
        interruption.check()
    return found


def explain(record: RecordWriter, found: Sequence[Measurement]) -> list[dict[str, str]]:
    """The failures for the end line, the cause first."""
    cause = diagnosis.cause(found)
    if cause is None:
        return []
    record.cause("verification", cause.found, cause.name, cause.cure)
    return [{"what": f"{cause.name}: {cause.found}", "where": "verification"}]


def test(given: argparse.Namespace, parameters: dict[str, str], record: RecordWriter, interruption: Interruption) -> str:
    """Tests the unit and ends its record. Returns the verdict."""
    failures: list[dict[str, str]] = []
    try:
        interruption.check()
        with station_of(given, parameters) as station:
            failures = explain(record, verify(station, record, interruption))
        verdict = record.verdict
        record.finish()
    except (Ended, *FAULTS) as error:
        verdict = "BROKEN"
        say("error", text=str(error))
        record.broken(str(error))
    say("end", verdict=verdict, failures=failures)
    return verdict


def refuse(text: str) -> NoReturn:
    """Ends the program as BROKEN."""
    print(f"orva.plans.slot: {text}", file=sys.stderr)
    sys.exit(STATUSES["BROKEN"])


def wrong_in(unknown: Sequence[str], values: Mapping[str, Optional[str]]) -> str:
    """What is wrong with the parameters, or ""."""
    missing = [name for name, value in values.items() if value is None]
    if unknown or missing:
        return f"{', '.join(unknown or missing)} {'is unknown' if unknown else 'is missing'}"
    if not str(values["port"]).isdecimal():
        return f"port {values['port']} is no number"
    try:
        simulation.losses_of(str(values["loss"]))
    except ValueError:
        return f"loss {values['loss']} is not MHZ:DB once for each point, separated by commas"
    return ""


def parameters_of(words: Sequence[str]) -> dict[str, str]:
    """NAME=VALUE as given, with the defaults of the others. Ends the program if one is wrong or missing."""
    given = dict(word.partition("=")[::2] for word in words)
    values = {name: given.pop(name, default) for name, default in PARAMETERS.items()}
    if wrong := wrong_in(list(given), values):
        refuse(f"parameters: {wrong}; give address, profile and loss, and if wanted cable and port")
    return {name: str(value) for name, value in values.items()}


def _parsed() -> argparse.Namespace:
    parser = argparse.ArgumentParser(prog="orva.plans.slot", description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--json", action="store_true", help="as it always prints")
    for name in ("chip", "serial", "station", "plan-version", "record"):
        parser.add_argument(f"--{name}", required=True)
    for name in ("slot", "operator", "plan", "phone"):
        parser.add_argument(f"--{name}", default="")
    parser.add_argument("--attempt", type=int, default=1)
    parser.add_argument("command", choices=["run"])
    parser.add_argument("session", help="own limits, CSV")
    parser.add_argument("parameters", nargs="*", metavar="NAME=VALUE")
    given = parser.parse_args()
    if given.chip not in coverage.CHIPS:
        parser.error(f"--chip {given.chip}: give one of {', '.join(coverage.CHIPS)}")
    if Path(given.record).name != "%run.jsonl":
        parser.error(f"--record {given.record}: give FOLDER/%run.jsonl")
    return given


def main() -> int:
    """Tests the unit that the command line names."""
    given = _parsed()
    parameters = parameters_of(given.parameters)
    interruption = Interruption()
    header = Header(given.serial, given.station, given.plan or "verify", given.plan_version, given.chip, given.slot, given.operator,
                    attempt=given.attempt)
    try:
        say("begin", version=1, session="verify", chip=given.chip, clock="virtual")
        with RecordWriter(Path(given.record).parent, header) as record:
            verdict = test(given, parameters, record, interruption)
    except (OSError, RecordsError) as error:
        refuse(str(error))
    say("summary", sessions=1, verdict=verdict, passed=verdict == "PASS")
    return STATUSES[verdict]


if __name__ == "__main__":
    sys.exit(main())
