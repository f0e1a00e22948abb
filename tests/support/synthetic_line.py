# SPDX-License-Identifier: Apache-2.0
"""A line of stations whose truth is known: who fails where, and which station drifts."""
import random
from dataclasses import dataclass, field
from datetime import datetime, timedelta, timezone

from orva_records.record import Header, RecordWriter
from support.tree import CHIPS

CHANNELS = (2412, 2437, 2472, 5180, 5500, 5825)
RATES = ("ofdm6", "ofdm54", "mcs0", "mcs7")
BEGIN = datetime(2026, 3, 2, 6, 0, tzinfo=timezone(timedelta(hours=1)))
DRIFTING, DIFFERING = "line-3", "line-5"
#: dB in the whole time and dB always, in a spread of 0.4 dB.
DRIFT_DB, OFFSET_DB, SPREAD_DB = 1.2, 0.8, 0.4


@dataclass
class Truth:
    """What the queries have to find."""

    units: int = 0
    first_pass: int = 0
    final: int = 0
    runs: int = 0
    broken: int = 0
    measurements: int = 0
    failed_runs: dict = field(default_factory=dict)  # by the name of the measurement
    last: str = ""
    values: dict = field(default_factory=dict)  # by name and condition


def write_line(folder, units, *, days=10, stations=6, rows=48, seed=1, keep_values=False):
    """Writes the runs of so many units into a folder and returns the Truth. A unit that fails is tested once more."""
    dice, truth = random.Random(seed), Truth(units=units)
    for unit in range(units):
        verdict = ""
        for attempt in range(1, 3):
            broken = dice.random() < 0.01
            _write_run(folder, dice, truth, unit, attempt, broken, units, days, stations, rows, keep_values)
            if not broken:
                first = not verdict
                verdict = truth.last
                truth.first_pass += first and verdict == "PASS"
            if verdict == "PASS":
                break
        truth.units -= not verdict
        truth.final += verdict == "PASS"
    return truth


def _write_run(folder, dice, truth, unit, attempt, broken, units, days, stations, rows, keep_values):
    progress = unit / units
    started = BEGIN + timedelta(days=int(progress * days), seconds=unit % 50_000, minutes=attempt)
    station = f"line-{unit % stations + 1}"
    header = Header(serial=f"R{unit:07d}", station=station, plan="rf", plan_version="3", chip=CHIPS[unit // stations % len(CHIPS)],
                    started=started.isoformat(), attempt=attempt, run=_uuid(dice))
    record = RecordWriter(folder, header)
    failed = set()
    for place in range(rows):
        name, condition, low, high = _characteristic(place)
        value = dice.gauss(15.0 if name == "power" else -28.0, SPREAD_DB)
        if name == "power":
            value += DRIFT_DB * progress * (station == DRIFTING) + OFFSET_DB * (station == DIFFERING)
        value = round(value, 3)
        if dice.random() < (0.001 if name == "power" else 0.0003):
            value += 20.0
        if not record.measure(name, value, unit="dB", low=low, high=high, condition=condition):
            failed.add(name)
        if keep_values:
            truth.values.setdefault((name, tuple(condition.items())), []).append(value)
    truth.runs += 1
    truth.broken += broken
    truth.measurements += rows
    for name in failed:
        truth.failed_runs[name] = truth.failed_runs.get(name, 0) + 1
    record.spend(total_s=20 + dice.random())
    record.broken("the bench lost its power") if broken else record.finish()
    truth.last = "FAIL" if failed else "PASS"


def _characteristic(place):
    condition = {"channel": CHANNELS[place // 2 % len(CHANNELS)], "rate": RATES[place // 12 % len(RATES)], "set": place // 48}
    return ("power", condition, 12.0, 18.5) if place % 2 == 0 else ("evm", condition, None, -25.0)


def _uuid(dice):
    digits = f"{dice.getrandbits(128):032x}"
    return "-".join((digits[:8], digits[8:12], digits[12:16], digits[16:20], digits[20:]))
