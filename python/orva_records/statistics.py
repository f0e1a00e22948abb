# SPDX-License-Identifier: Apache-2.0
"""Statistics of production: capability, and which station differs from the others."""

from __future__ import annotations

import math
from dataclasses import dataclass
from datetime import date
from statistics import median
from typing import Any, Mapping, Optional, Sequence

#: A station stands out if it is off by this part of the spread, and by this many standard errors. With some hundred
#: characteristics and ten stations, chance gives five standard errors once in a thousand reports.
EFFECT = 0.5
ERRORS = 5.0
#: A drift takes this many days to tell.
DRIFT_DAYS = 3
# A median varies more than a mean: pi / 2.
_MEDIAN = math.pi / 2


@dataclass(frozen=True)
class Moments:
    """What is kept of a group's values. scatter: the sum of the squares about their mean."""

    count: int
    mean: float
    scatter: float
    low: float
    high: float

    @classmethod
    def of(cls, values: Sequence[float]) -> Moments:
        """Of at least one value."""
        mean = math.fsum(values) / len(values)
        return cls(len(values), mean, math.fsum((value - mean) ** 2 for value in values), min(values), max(values))

    def __add__(self, other: Moments) -> Moments:
        """Of both groups together, without the loss of digits that plain sums of squares have."""
        count = self.count + other.count
        away = other.mean - self.mean
        mean = self.mean + away * other.count / count
        scatter = self.scatter + other.scatter + away * away * self.count * other.count / count
        return Moments(count, mean, scatter, min(self.low, other.low), max(self.high, other.high))

    @property
    def deviation(self) -> Optional[float]:
        """The sample standard deviation; None of a single value."""
        return math.sqrt(self.scatter / (self.count - 1)) if self.count > 1 else None

    def row(self) -> dict[str, Any]:
        """For a table."""
        return {"count": self.count, "mean": self.mean, "deviation": self.deviation, "min": self.low, "max": self.high}


def cpk_of(found: Moments, low: Optional[float], high: Optional[float]) -> Optional[float]:
    """The distance from the mean to the nearer limit in three standard deviations; None without limits or spread."""
    deviation = found.deviation
    # Rounding leaves a spread of some last digits in values that are all the same.
    if not deviation or found.low == found.high or (low is None and high is None):
        return None
    distances = [found.mean - low] if low is not None else []
    distances += [high - found.mean] if high is not None else []
    return min(distances) / (3 * deviation)


@dataclass(frozen=True)
class _Offset:
    """How far a station was from the others on one day; variance in squares of the spread."""

    day: int
    value: float
    weight: float


def drift_of(stations: Mapping[str, Mapping[str, Moments]]) -> dict[str, dict[str, Any]]:
    """Each station's offset and drift in units of the spread, from its moments by day; empty without two stations."""
    cells = [cell for days in stations.values() for cell in days.values()]
    freedom = sum(cell.count - 1 for cell in cells)
    spread = math.sqrt(sum(cell.scatter for cell in cells) / freedom) if freedom else 0.0
    if len(stations) < 2 or not spread or min(cell.low for cell in cells) == max(cell.high for cell in cells):
        return {}
    found = {}
    for station in stations:
        offsets = _offsets(station, stations, spread)
        if offsets:
            count = sum(cell.count for cell in stations[station].values())
            judged = _judged(offsets)
            if judged["finding"] and (others := _only_other(station, stations)):
                judged["finding"] = f"this or {' or '.join(others)} {judged['finding']}"
            found[station] = {"count": count, **judged}
    return found


def _only_other(station: str, stations: Mapping[str, Mapping[str, Moments]]) -> list[str]:
    """The stations with which this one was alone each day; none if there was a third. Of two, either may be the wrong one."""
    found = set()
    for day in stations[station]:
        others = [name for name, days in stations.items() if name != station and day in days]
        if len(others) > 1:
            return []
        found.update(others)
    return sorted(found)


def _offsets(station: str, stations: Mapping[str, Mapping[str, Moments]], spread: float) -> list[_Offset]:
    offsets = []
    for day, own in sorted(stations[station].items()):
        others = [days[day] for name, days in stations.items() if name != station and day in days]
        if others:
            # The median of all, so that one of three stations that drifts does not make the others look as if they did.
            value = (own.mean - median([own.mean, *(other.mean for other in others)])) / spread
            variance = 1 / own.count + _MEDIAN / sum(other.count for other in others)
            offsets.append(_Offset(date.fromisoformat(day).toordinal(), value, 1 / variance))
    return offsets


def _judged(offsets: list[_Offset]) -> dict[str, Any]:
    weight = sum(each.weight for each in offsets)
    offset = sum(each.value * each.weight for each in offsets) / weight
    drift, error = _drift(offsets, weight, offset)
    finding = ""
    if drift is not None and abs(drift) >= max(EFFECT, ERRORS * error):
        finding = "drifts"
    elif abs(offset) >= max(EFFECT, ERRORS / math.sqrt(weight)):
        finding = "differs"
    return {"offset": offset, "drift": drift, "finding": finding}


def _drift(offsets: list[_Offset], weight: float, offset: float) -> tuple[Optional[float], float]:
    """The change from the first day to the last by a straight line, and its standard error."""
    if len(offsets) < DRIFT_DAYS:
        return None, 0.0
    middle = sum(each.day * each.weight for each in offsets) / weight
    lever = sum(each.weight * (each.day - middle) ** 2 for each in offsets)
    slope = sum(each.weight * (each.day - middle) * (each.value - offset) for each in offsets) / lever
    days = offsets[-1].day - offsets[0].day
    return slope * days, days / math.sqrt(lever)
