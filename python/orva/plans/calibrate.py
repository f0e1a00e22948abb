# SPDX-License-Identifier: Apache-2.0
"""The plan that calibrates a unit and verifies it.

A unit with a fault that calibration cannot cure is not calibrated; its verification shows what is wrong.
"""

from __future__ import annotations

from typing import Optional

from orva.plans import calibration, diagnosis
from orva.plans.plugin import Unit, reject
from orva.plans.station import Station
from orva_records.record import RecordWriter


def test_calibration(station: Station, unit: Unit, record: Optional[RecordWriter]) -> None:
    """Measures, corrects, and measures again."""
    before = list(station.verify())
    if fault := diagnosis.board_fault(before):
        reject(unit, record, before, fault)
    corrected = calibration.calibrate(station)
    if record is None:
        return
    record.step("Calibration")
    for each in corrected:
        signal = each.target.shown_by.signal
        at: dict[str, float | str] = {"mhz": signal.mhz, "bandwidth_mhz": signal.bandwidth_mhz, "format": signal.format,
                                      "chain": each.target.shown_by.chain, "corrections": each.corrections}
        record.measure("power error before calibration", each.before_db, unit="dB", condition=at)
        record.measure("power error after calibration", each.after_db, unit="dB", condition=at)


# After the calibration: tests run in the order of their definition.
from orva.plans.verify import test_receiver, test_reported_level, test_transmitter  # noqa: E402, F401
