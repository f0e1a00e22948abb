# SPDX-License-Identifier: Apache-2.0
"""The plan that verifies a unit: power, EVM, mask, frequency error, sensitivity and reported level."""

from __future__ import annotations

from typing import Optional

from orva.plans.coverage import Reception, Transmission
from orva.plans.plugin import Unit, judge
from orva.plans.station import Station
from orva_records.record import RecordWriter


def test_transmitter(station: Station, unit: Unit, record: Optional[RecordWriter], transmission: Transmission) -> None:
    """Power, EVM, mask and frequency error of a transmission."""
    judge(unit, record, station.transmitter(transmission))


def test_receiver(station: Station, unit: Unit, record: Optional[RecordWriter], reception: Reception) -> None:
    """Packet error rate at the minimum sensitivity."""
    judge(unit, record, station.receiver(reception))


def test_reported_level(station: Station, unit: Unit, record: Optional[RecordWriter], strong: Reception) -> None:
    """The reported level of a strong signal."""
    judge(unit, record, station.level(strong))
