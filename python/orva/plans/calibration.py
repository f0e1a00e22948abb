# SPDX-License-Identifier: Apache-2.0
"""Corrects a unit's power: measures, corrects through the library, and measures what the driver makes of it."""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass

from orva.plans import coverage
from orva.plans.coverage import Target
from orva.plans.station import PlanError, Station

#: An error below this is left alone at first, and one below that after a correction. In dB.
WORTH_DB, GOOD_DB = 0.1, 0.3
MOST_CORRECTIONS = 2


@dataclass(frozen=True)
class Corrected:
    """A value of the calibration: its error before, its error after, and how often it was corrected."""

    target: Target
    before_db: float
    after_db: float
    corrections: int


def calibrate(station: Station) -> list[Corrected]:
    """Calibrates a unit in test mode. Raises PlanError if the library refuses a correction.

    Curves come first: offsets refer to the curve as corrected.
    """
    if station.chip.has_block:
        _fetch_block(station)
    return [*_correct_all(station, coverage.curves(station.chip)), *_correct_all(station, coverage.offsets(station.chip))]


def _fetch_block(station: Station) -> None:
    """A block in NV stays; without one there is nothing that a gain could be applied to."""
    stored = station.library.wifi_nvram_calibrate_get()
    if not stored.text.strip("0") and not station.library.wifi_nvram_set():
        raise PlanError("wifi_nvram_set failed: the driver's calibration block cannot be copied to NV")


def _correct_all(station: Station, targets: Sequence[Target]) -> list[Corrected]:
    before = {target: station.power_error(target.shown_by) for target in targets}
    after, applied = dict(before), dict.fromkeys(targets, 0.0)
    counts = dict.fromkeys(targets, 0)
    for most in (WORTH_DB, *[GOOD_DB] * (MOST_CORRECTIONS - 1)):
        wrong = [target for target in targets if abs(after[target]) > most]
        if not wrong:
            break
        for target in wrong:
            applied[target] = after[target] + (0.0 if target.adds_up else applied[target])
            _request(station, target, applied[target])
            counts[target] += 1
        station.reload()
        after |= {target: station.power_error(target.shown_by) for target in wrong}
    return [Corrected(target, before[target], after[target], counts[target]) for target in targets]


def _request(station: Station, target: Target, error_db: float) -> None:
    signal, chain = target.shown_by.signal, target.shown_by.chain
    band, width = int(signal.band == "5"), coverage.BANDWIDTH_CODES[signal.bandwidth_mhz]
    text = f"{-error_db:.3f}" if station.chip.has_block else f"{10 * error_db:.2f}"
    if not station.library.wifi_nvram_calibrate_set(0, chain, target.mode, band, width, int(signal.mhz), text):
        raise PlanError(f"the library refused to correct {error_db:+.2f} dB at {signal.mhz:g} MHz, {signal.bandwidth_mhz} MHz "
                        f"wide, chain {chain}: the phone's log gives the reason")
