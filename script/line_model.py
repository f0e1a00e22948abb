# SPDX-License-Identifier: Apache-2.0
"""A factory line of simulated phones, shared by line and records-bench.

A sample of the units is really tested: orva-station line runs the Python plan on virtual phones and simulated RF test
sets. The other units are drawn from what the sample says: a sampled unit of the same kind, varied by the spread of sound
units; the wear acts on what differs at the last station by more than chance.
"""
import contextlib
import hashlib
import itertools
import json
import math
import os
import random
import statistics
import subprocess
import sys
from collections import defaultdict
from dataclasses import dataclass
from datetime import datetime, timedelta

from lib import CHIPS, ROOT

sys.path.insert(0, str(ROOT / "python"))
from orva.plans import simulation  # noqa: E402
from orva.tester import TesterError  # noqa: E402
from orva_records import rules  # noqa: E402
from orva_records.record import SUFFIX, Header, encoded, verdict_of  # noqa: E402

STATION = os.environ.get("ORVA_STATION", ROOT / "build" / "release" / "console" / "orva-station")
DEFECTIVE = 0.03
SOUND = "sound"
#: What calibration leaves, of each curve of a unit. In dB.
RESIDUAL_DB = 0.15
#: Of the difference between two tests of a unit to the spread of all units.
RETEST_SPREAD, UNIT_SPREAD = 0.1, 0.4
#: A difference at the worn cable's station is real from so many standard errors on.
ERRORS = 5.0
CURVES = ("pa2gccka", "pa2ga", "pa2g40a", "pa5ga", "dpn160c")
SECONDS_OF_DAY = 16 * 3600
PATIENCE_S = 3600


@dataclass(frozen=True)
class Unit:
    serial: str
    seed: int
    kind: str  # SOUND or a defect


@dataclass
class Sampled:
    """The first run of a unit that was really tested."""

    unit: Unit
    station: str
    rows: list


@dataclass(frozen=True)
class Place:
    """A measurement of the plan: its line around the value and the verdict, its limits, and how the value varies."""

    head: str
    tail: str
    low: float
    high: float
    judged: bool
    percent: bool
    spread: float
    wear: float

    @classmethod
    def of(cls, row, spread, wear, condition):
        line = encoded({**row, "condition": row["condition"] | condition, "value": 0.0, "verdict": None}).decode()
        head, _, tail = line.partition('"value":0.0')
        low, high = row["low"], row["high"]
        return cls(f'{head}"value":', tail.removesuffix("null}\n"), -math.inf if low is None else low, math.inf if high is None else high,
                   low is not None or high is not None, row["unit"] == "%", spread, wear)

    def found(self, value, wear, dice):
        """What one test of a unit finds. wear: 0 of a good cable, 1 of the worn one."""
        if value is None:
            return None
        found = round(value + dice.gauss(0, RETEST_SPREAD * self.spread) + wear * self.wear, 4)
        return min(100.0, max(0.0, found)) if self.percent else found

    def verdict(self, found):
        if not self.judged:
            return None
        return "PASS" if found is not None and self.low <= found <= self.high else "FAIL"


class Model:
    """What the sample says about units: values by kind, the spread of sound ones, and what a worn cable does.

    passes: how often a run that is drawn measures the plan, for longer runs than the plan's.
    """

    def __init__(self, sampled, worn_station, passes=1):
        self.by_kind = defaultdict(list)
        for each in sampled:
            self.by_kind[each.unit.kind].append(each.rows)
        elsewhere, worn = ([each.rows for each in sampled if each.unit.kind == SOUND and (each.station == worn_station) == is_worn]
                           for is_worn in (False, True))
        self.bases = {SOUND: elsewhere} | {kind: rows for kind, rows in self.by_kind.items() if kind != SOUND}
        self.spread = [deviation([rows[number]["value"] for rows in elsewhere]) for number in range(len(elsewhere[0]))]
        self.wear = [self._effect(elsewhere, worn, number) for number in range(len(elsewhere[0]))]
        conditions = [{"pass": number} for number in range(1, passes + 1)] if passes > 1 else [{}]
        self.places = [Place.of(*of, condition) for condition in conditions for of in zip(elsewhere[0], self.spread, self.wear)]

    def _effect(self, elsewhere, worn, number):
        values = [[rows[number]["value"] for rows in group if rows[number]["value"] is not None] for group in (elsewhere, worn)]
        if min(map(len, values)) < 2:
            return 0.0
        away = statistics.fmean(values[1]) - statistics.fmean(values[0])
        error = self.spread[number] * math.sqrt(sum(1 / len(group) for group in values))
        return away if abs(away) > ERRORS * error > 0 else 0.0

    def unit(self, kind, dice):
        """Values of a new unit of this kind, without what the station adds."""
        base = dice.choice(self.bases[kind])
        return [row["value"] if row["value"] is None else row["value"] + dice.gauss(0, UNIT_SPREAD * spread)
                for row, spread in zip(base, self.spread)]

    def lines(self, values, wear, dice):
        """The lines of one test of a unit, and the verdict that follows."""
        lines, verdicts = [], set()
        for place, value in zip(self.places, itertools.cycle(values)):
            found = place.found(value, wear, dice)
            verdict = place.verdict(found)
            verdicts.add(verdict)
            lines.append(f"{place.head}{_json(found)}{place.tail}{_json(verdict)}}}\n")
        return "".join(lines), verdict_of(verdicts)


def _json(value):
    """Of a number, a word or None, quicker than json.dumps()."""
    if value is None:
        return "null"
    return f'"{value}"' if isinstance(value, str) else repr(value)


def deviation(values):
    numbers = [value for value in values if value is not None]
    return statistics.stdev(numbers) if len(numbers) > 1 else 0.0


def units_of(given):
    """All units of the shift. The sample comes first and has one of each defect; the others are random."""
    dice = random.Random(given.seed)
    kinds = list(simulation.DEFECTS)
    for number in range(given.units):
        drawn = dice.choice(kinds) if dice.random() < DEFECTIVE else SOUND
        if number < given.sample:
            drawn = kinds[number] if number < len(kinds) else SOUND
        yield Unit(f"R{given.seed}-{number:06d}", dice.getrandbits(32), drawn)


def describe(unit, path):
    """A phone as it comes from calibration."""
    dice = random.Random(unit.seed)
    keys = {f"rf.error.{curve}{chain}": f"{dice.gauss(0, RESIDUAL_DB):.3f}" for curve in CURVES for chain in (0, 1)}
    keys["rf.error.block"] = f"{dice.gauss(0, RESIDUAL_DB):.3f}"
    keys |= simulation.DEFECTS.get(unit.kind, {})
    lines = (f"{key} = {json.dumps(value) if key == 'rf.fault' else value}\n" for key, value in keys.items())
    path.write_text(f"unit = {unit.seed}\n{''.join(lines)}", encoding="utf-8")


def plan_text(given, station, testers):
    """The plan of one station: each slot has a test set of its own."""
    quoted = json.dumps
    head = {"name": f"shift-{given.seed}", "version": "1", "station": station, "spool": "spool", "chip": given.chip,
            "sessions": [str(ROOT / "rf_tester" / "factory-limits.csv")], "phone": "phones/%serial.toml", "attempts": 2,
            "console": [sys.executable, "-m", "orva.plans.slot"]}
    text = "".join(f"{key} = {quoted(value)}\n" for key, value in head.items())
    for number, tester in enumerate(testers, start=1):
        values = {"address": tester.address, "cable": tester.cables, "profile": str(ROOT / "rf_tester" / "profiles" / "orva-a.toml"),
                  "loss": simulation.points_of(simulation.CABLE_DB)}
        inner = ", ".join(f"{key} = {quoted(value)}" for key, value in values.items())
        text += f'[[slot]]\nname = "{number}"\nparameters = {{ {inner} }}\n'
    return text


def run_station(given, folder, station, units, worn):
    """Really tests the units in the station's slots."""
    folder.mkdir()
    (folder / "phones").mkdir()
    for unit in units:
        describe(unit, folder / "phones" / f"{unit.serial}.toml")
    loss = {mhz: db + worn for mhz, db in simulation.CABLE_DB.items()}
    options = ["--cable-loss", f"1={simulation.points_of(loss)}"]
    with contextlib.ExitStack() as stack:
        testers = [stack.enter_context(simulation.SimulatedTester(seed=given.seed * 100 + slot, options=options))
                   for slot in range(min(given.slots, len(units)))]
        (folder / "plan.toml").write_text(plan_text(given, station, testers), encoding="utf-8")
        done = subprocess.run([STATION, "line", folder / "plan.toml"], input="".join(f"{unit.serial}\n" for unit in units), text=True,
                              capture_output=True, timeout=PATIENCE_S, env={**os.environ, "PYTHONPATH": str(ROOT / "python")}, check=False)
    if done.returncode > 1:
        raise TesterError(f"{station} ended with {done.returncode}:\n{done.stdout}{done.stderr}")
    print(f"  {station}: {done.stdout.splitlines()[-1]}", flush=True)


def sampled_in(folder, units):
    """The first runs in a station's spool."""
    for path in sorted((folder / "spool").glob("*.jsonl")):
        lines = [json.loads(line) for line in path.read_text(encoding="utf-8").splitlines()]
        if lines[0]["attempt"] == 1:
            yield Sampled(units[lines[0]["serial"]], lines[0]["station"], [line for line in lines if line["type"] == "measurement"])


def test_sample(given, units, stations, folder):
    """Runs the sample, the worn cable last. Returns what was measured."""
    by_serial, found = {unit.serial: unit for unit in units}, []
    for number, station in enumerate(stations):
        # Defects go to the first stations: the last one shows what its cable does to sound units.
        own = share_of(units, number, len(stations))
        run_station(given, folder / station, station, own, given.wear if station == stations[-1] and number else 0.0)
        found += sampled_in(folder / station, by_serial)
    return found


def share_of(units, number, stations):
    if stations == 1:
        return units
    defective, sound = ([unit for unit in units if (unit.kind == SOUND) == is_sound] for is_sound in (False, True))
    return sound[number::stations] + ([] if number == stations - 1 else defective[number::stations - 1])


def write_record(spool, header, lines, verdict, seconds):
    """Writes a whole record at once, where RecordWriter puts each line on its way to the disk. collect checks all of it."""
    before = encoded(header.line()) + lines.encode()
    end = {"type": "end", "verdict": verdict, "duration": dict.fromkeys(rules.DURATIONS, 0.0) | {"total_s": seconds},
           "lines": before.count(b"\n"), "sha256": hashlib.sha256(before).hexdigest()}
    (spool / (header.run + SUFFIX)).write_bytes(before + encoded(end))


def generate(given, model, units, stations, folder):
    """Writes the runs of units that are not tested, on the days before today. Returns how many."""
    dice, count, today = random.Random(given.seed + 1), 0, datetime.now().astimezone().replace(hour=6, minute=0, second=0, microsecond=0)
    for number, unit in enumerate(units):
        station, progress = stations[number % len(stations)], number / len(units)
        day = int(progress * given.days)
        started = today - timedelta(days=given.days - day) + timedelta(seconds=(progress * given.days - day) * SECONDS_OF_DAY)
        wear = day / given.days if station == stations[-1] and len(stations) > 1 else 0.0
        values, slot = model.unit(unit.kind, dice), number // len(stations) % given.slots + 1
        for attempt in (1, 2):
            count += 1
            begun = (started + timedelta(minutes=attempt)).isoformat(timespec="milliseconds")
            lines, verdict = model.lines(values, wear, dice)
            header = Header(serial=unit.serial, station=station, slot=str(slot), plan=f"shift-{given.seed}", plan_version="1",
                            chip=given.chip, started=begun, attempt=attempt)
            write_record(folder / station / "spool", header, lines, verdict, 20 + dice.random())
            if verdict == "PASS":
                break
    return count


def number(least, most):
    def parse(text):
        value = int(text) if text.isascii() and text.isdecimal() and len(text) < 12 else -1
        if not least <= value <= most:
            raise argparse.ArgumentTypeError(f"'{text}': give a whole number from {least} to {most}")
        return value
    return parse


def add_options(parser):
    parser.add_argument("--sample", type=number(20, 10_000), default=32, metavar="N", help="units that are really tested (default: 32)")
    parser.add_argument("--stations", type=number(1, 20), default=4, metavar="M", help="default: 4; 3 and more can be told apart")
    parser.add_argument("--slots", type=number(1, 8), default=4, metavar="K", help="of each station (default: 4)")
    parser.add_argument("--days", type=number(3, 365), default=10, metavar="D", help="of the units that are not tested (default: 10)")
    parser.add_argument("--wear", type=float, default=1.0, metavar="DB", help="what the last station's cable loses more in the end (default: 1)")
    parser.add_argument("--chip", choices=CHIPS, default="vq2050", help="default: vq2050")
    parser.add_argument("--seed", type=number(0, 2**32 - 1), default=1, metavar="S", help="of units, defects and test sets (default: 1)")


def check_options(parser, given, units):
    """units: the fewest that are asked for."""
    if given.sample > units or given.sample < 5 * given.stations:
        parser.error(f"--sample {given.sample}: give at least 5 for each station, and at most --units")
    if not 0 <= given.wear <= 10:
        parser.error(f"--wear {given.wear:g}: give a number from 0 to 10")
