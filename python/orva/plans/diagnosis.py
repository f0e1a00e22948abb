# SPDX-License-Identifier: Apache-2.0
"""Names the likely cause of what verification found."""

from __future__ import annotations

from collections.abc import Sequence
from dataclasses import dataclass
from statistics import median
from typing import Optional

from orva.plans.station import Measurement

#: Losses in dB that calibration must not make up for. Errors of single curves stay well below in the median of all.
FAULTY_DB, JOINT_DB, OPEN_DB = 2.5, 4.0, 15.0


@dataclass(frozen=True)
class Cause:
    """Why a unit is rejected: what is wrong, what shows it, and what to do."""

    name: str
    found: str
    cure: str

    def __str__(self) -> str:
        return f"{self.name}: {self.found}; {self.cure}"


def _failed(measurements: Sequence[Measurement], quantity: str) -> list[Measurement]:
    return [each for each in measurements if each.quantity == quantity and not each.held]


def _median(measurements: Sequence[Measurement], quantity: str, chain: int) -> float:
    values = [each.value for each in measurements if each.quantity == quantity and each.chain == chain]
    return median(values) if values else 0.0


def _weak_chain(measurements: Sequence[Measurement], chain: int) -> Optional[Cause]:
    """A joint or an antenna loses both ways, a front-end module of another type transmits less than it reports."""
    sent, heard = -_median(measurements, "power_error", chain), -_median(measurements, "rssi_error", chain)
    if sent < FAULTY_DB:
        return None
    found = f"chain {chain} transmits {sent:.1f} dB too little and receives {heard:.1f} dB too little"
    if min(sent, heard) > OPEN_DB:
        return Cause("open antenna", found, "check the antenna's connector and the cable")
    if heard > JOINT_DB:
        return Cause("cold joint", found, f"resolder the path of chain {chain}")
    return Cause("wrong front-end module", found, "compare the module with the bill of materials")


def board_fault(measurements: Sequence[Measurement]) -> Optional[Cause]:
    """A fault that calibration cannot cure. Power and EVM of a good unit may be beyond their limits before it.

    A loss counts even where it holds wide limits: calibration must not hide it.
    """
    if wrong := _failed(measurements, "frequency_error"):
        return Cause("bad crystal", str(wrong[0]), "replace the crystal")
    for chain in sorted({each.chain for each in measurements}):
        if weak := _weak_chain(measurements, chain):
            return weak
    if wrong := _failed(measurements, "mask_margin"):
        return Cause("weak amplifier", str(wrong[0]), "replace the front-end module, or check its supply")
    if wrong := _failed(measurements, "packet_error_rate"):
        return Cause("deaf receiver", str(wrong[0]), "check the receive path of the front-end module")
    if wrong := _failed(measurements, "rssi_error"):
        return Cause("wrong reported level", str(wrong[0]), "check the receive path and the path loss")
    return None


def cause(measurements: Sequence[Measurement]) -> Optional[Cause]:
    """Why a calibrated unit fails; None if everything holds."""
    failed = [each for each in measurements if not each.held]
    if not failed:
        return None
    if fault := board_fault(measurements):
        return fault
    return Cause(f"{failed[0].quantity.replace('_', ' ')} out of limits", str(failed[0]), "calibrate the unit again")
