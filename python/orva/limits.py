# SPDX-License-Identifier: Apache-2.0
"""Limits of RF measurements: the standard's, tightened by a plant's own and by the test set's uncertainty.

A file of limits is CSV with the columns quantity, format, rate, band, bandwidth_mhz, low, high, unit, source. An empty
cell of the first five stands for any, an empty low or high for no limit. The first row that matches counts.

    limits = load("rf_tester/limits.csv", own="factory.csv")
    limit = limits.find("evm", Signal("ht", "mcs7", 2442, 20))
    limit.guarded(profile.uncertainty["evm_db"]).holds(-31.5)
"""

from __future__ import annotations

import csv
import itertools
import math
import os
from dataclasses import dataclass, replace
from typing import Mapping, Optional, Sequence

COLUMNS = ("quantity", "format", "rate", "band", "bandwidth_mhz", "low", "high", "unit", "source")
#: Each quantity with its unit.
QUANTITIES = {
    "evm": "dB",
    "frequency_error": "ppm",
    "mask_margin": "dB",
    "leakage": "dBc",
    "power_error": "dB",
    "rssi_error": "dB",
    "sensitivity": "dBm",
    "packet_error_rate": "%",
    "maximum_input": "dBm",
}
#: Formats and rates as in docs/reference/cable.md.
RATES: Mapping[str, Sequence[str]] = {
    "dsss": ("1", "2", "5.5", "11"),
    "ofdm": ("6", "9", "12", "18", "24", "36", "48", "54"),
    "ht": tuple(f"mcs{i}" for i in range(8)),
    "vht": tuple(f"mcs{i}" for i in range(10)),
    "he": tuple(f"mcs{i}" for i in range(12)),
}
BANDWIDTHS = {"dsss": (20,), "ofdm": (20,), "ht": (20, 40), "vht": (20, 40, 80, 160), "he": (20, 40, 80, 160)}
#: In GHz, with a frequency of each in MHz.
BANDS = {"2.4": 2442.0, "5": 5500.0}
_BAND_BORDER_MHZ = 4000


class LimitsError(ValueError):
    """A file of limits is not as it has to be; the message names the file, the line and what would be right."""


@dataclass(frozen=True)
class Signal:
    """What is transmitted or received: format and rate as in docs/reference/cable.md."""

    format: str
    rate: str
    mhz: float
    bandwidth_mhz: int

    @property
    def band(self) -> str:
        """In GHz, as in the table of limits."""
        return "2.4" if self.mhz < _BAND_BORDER_MHZ else "5"


@dataclass(frozen=True)
class Limit:
    """The allowed values of a quantity; None leaves a side open."""

    quantity: str
    low: Optional[float]
    high: Optional[float]
    unit: str
    source: str

    def guarded(self, uncertainty: float) -> Limit:
        """The limit for readings that err by at most uncertainty: who holds it holds the limit itself."""
        return replace(self, low=None if self.low is None else self.low + uncertainty,
                       high=None if self.high is None else self.high - uncertainty)

    def holds(self, value: float) -> bool:
        """Whether a value is allowed; NaN is not."""
        return (self.low is None or value >= self.low) and (self.high is None or value <= self.high) and not math.isnan(value)

    def looser_than(self, other: Limit) -> bool:
        """Whether this one allows a value that the other does not."""
        low = other.low is not None and (self.low is None or self.low < other.low)
        return low or (other.high is not None and (self.high is None or self.high > other.high))

    def __str__(self) -> str:
        if self.low is None or self.high is None:
            return f"at least {self.low:g} {self.unit}" if self.low is not None else f"at most {self.high:g} {self.unit}"
        return f"{self.low:g} to {self.high:g} {self.unit}"


@dataclass(frozen=True)
class _Row:
    line: int
    format: str
    rate: str
    band: str
    bandwidth: str
    limit: Limit

    def matches(self, quantity: str, signal: Signal) -> bool:
        wanted = (signal.format, signal.rate, signal.band, str(signal.bandwidth_mhz))
        cells = (self.format, self.rate, self.band, self.bandwidth)
        return self.limit.quantity == quantity and all(cell in ("", value) for cell, value in zip(cells, wanted))


class Limits:
    """A table of limits."""

    def __init__(self, path: str, rows: Sequence[_Row]) -> None:
        self.path = path
        self._rows = rows

    def find(self, quantity: str, signal: Signal) -> Optional[Limit]:
        """The limit of a quantity for a signal; None if there is none."""
        return next((row.limit for row in self._rows if row.matches(quantity, signal)), None)

    def tightened(self, own: Limits) -> Limits:
        """These limits with those of another table where that has any. Raises LimitsError for one that is looser."""
        for row in own._rows:
            own._check(row, self)
        return Limits(f"{own.path} over {self.path}", [*own._rows, *self._rows])

    def _check(self, row: _Row, standard: Limits) -> None:
        matched = [signal for signal in _signals() if row.matches(row.limit.quantity, signal)]
        for signal in matched:
            limit = standard.find(row.limit.quantity, signal)
            if limit is not None and row.limit.looser_than(limit):
                raise LimitsError(
                    f"{self.path}:{row.line}: {row.limit.quantity} of {row.limit} is looser than {limit} for "
                    f"{signal.format} {signal.rate} in {signal.band} GHz ({limit.source}): limits may only be tightened")


def _signals() -> list[Signal]:
    """One signal for each row that a table could have."""
    return [Signal(form, rate, mhz, width) for form, rates in RATES.items()
            for rate, mhz, width in itertools.product(rates, BANDS.values(), BANDWIDTHS[form])
            if form != "dsss" or mhz < _BAND_BORDER_MHZ]


def _choice(where: str, column: str, text: str, allowed: Sequence[str]) -> str:
    if text and text not in allowed:
        raise LimitsError(f"{where}: {column} '{text}': give {', '.join(allowed)}, or nothing for any")
    return text


def _number(where: str, column: str, text: str) -> Optional[float]:
    try:
        value = float(text) if text else None
    except ValueError:
        value = math.nan
    if value is not None and not math.isfinite(value):
        raise LimitsError(f"{where}: {column} '{text}': give a number, or nothing for no limit")
    return value


def _limit(where: str, cells: Mapping[str, str]) -> Limit:
    quantity, unit = cells["quantity"], cells["unit"]
    if quantity not in QUANTITIES:
        raise LimitsError(f"{where}: quantity '{quantity}': give {', '.join(QUANTITIES)}")
    if unit != QUANTITIES[quantity]:
        raise LimitsError(f"{where}: unit '{unit}': {quantity} is in {QUANTITIES[quantity]}")
    low, high = (_number(where, column, cells[column]) for column in ("low", "high"))
    if low is None and high is None:
        raise LimitsError(f"{where}: give low, high or both")
    if low is not None and high is not None and low > high:
        raise LimitsError(f"{where}: low {low:g} is above high {high:g}")
    return Limit(quantity, low, high, unit, cells["source"])


def _row(path: str, line: int, values: Sequence[str]) -> _Row:
    where = f"{path}:{line}"
    if len(values) != len(COLUMNS):
        raise LimitsError(f"{where}: {len(values)} cells, expected {len(COLUMNS)}: {','.join(COLUMNS)}")
    cells = dict(zip(COLUMNS, (value.strip() for value in values)))
    form = _choice(where, "format", cells["format"], list(RATES))
    rates = RATES[form] if form else list(dict.fromkeys(itertools.chain(*RATES.values())))
    widths = BANDWIDTHS[form] if form else BANDWIDTHS["he"]
    return _Row(line, form, _choice(where, "rate", cells["rate"], rates), _choice(where, "band", cells["band"], list(BANDS)),
                _choice(where, "bandwidth_mhz", cells["bandwidth_mhz"], list(map(str, widths))), _limit(where, cells))


def read(path: str | os.PathLike[str]) -> Limits:
    """Reads one file. Raises LimitsError, also if the file cannot be read."""
    name = os.fspath(path)
    try:
        with open(name, encoding="utf-8", newline="") as file:
            lines = csv.reader(file, strict=True)
            rows = [(lines.line_num, values) for values in lines if values]
    except (OSError, UnicodeDecodeError, csv.Error) as error:
        raise LimitsError(f"{name}: no table of limits can be read: {error}") from None
    if not rows or tuple(rows[0][1]) != COLUMNS:
        raise LimitsError(f"{name}:1: the first line is due to be {','.join(COLUMNS)}")
    return Limits(name, [_row(name, line, values) for line, values in rows[1:]])


def load(path: str | os.PathLike[str], own: str | os.PathLike[str] | None = None) -> Limits:
    """Reads the standard's limits, and tightens them by a plant's own.

    Raises LimitsError for a file that is not right and for an own limit that is looser than the standard's.
    """
    standard = read(path)
    return standard if own is None else standard.tightened(read(own))
