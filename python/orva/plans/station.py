# SPDX-License-Identifier: Apache-2.0
"""A phone on a port of an RF test set: sets the phone through the library, measures, and judges by the limits."""

from __future__ import annotations

import bisect
import contextlib
import math
from collections.abc import Iterator
from dataclasses import dataclass, field, replace
from typing import Mapping, Optional

from orva.library import Library
from orva.limits import Limit, Limits, Signal
from orva.plans import coverage
from orva.plans.coverage import Chip, Reception, Transmission
from orva.tester import OverRange, Reading, Tester, UnderRange

#: The uncertainty of the test set that counts for a quantity.
UNCERTAINTIES = {"power_error": "power_db", "evm": "evm_db", "frequency_error": "frequency_ppm", "mask_margin": "mask_db",
                 "rssi_error": "power_db"}
PACKETS = 500
#: A level at which a good phone loses nothing, and packets for a reported level.
STRONG_DBM, STRONG_PACKETS = -50.0, 50
#: By how much the analyzer's range is moved for a phone whose power is far from its fault-free one.
MOVED_DB = 12
#: Quantile of the normal distribution for 95 % confidence.
_Z = 1.96


class PlanError(RuntimeError):
    """The plan cannot go on; the message names the cause."""


@dataclass(frozen=True)
class Measurement:
    """A value with the limit that it was judged by, which has the guard band in it."""

    quantity: str
    signal: Signal
    chain: int
    value: float
    limit: Optional[Limit]
    more: Mapping[str, float] = field(default_factory=dict)

    @property
    def held(self) -> bool:
        """True also where there is no limit."""
        return self.limit is None or self.limit.holds(self.value)

    @property
    def condition(self) -> dict[str, float | str]:
        """Under which the value was measured, for a record."""
        at = self.signal
        return {"mhz": at.mhz, "bandwidth_mhz": at.bandwidth_mhz, "format": at.format, "rate": at.rate,
                "chain": self.chain, **self.more}

    def __str__(self) -> str:
        shown = " ".join(f"{name} {value}" for name, value in self.condition.items())
        return f"{self.quantity} {self.value:.2f} at {shown}" + (f", allowed: {self.limit}" if self.limit else "")


def wilson(lost: int, sent: int) -> tuple[float, float]:
    """The 95 % confidence interval of a packet error rate, in percent."""
    if not 0 <= lost <= sent or sent == 0:
        raise PlanError(f"{lost} of {sent} packets lost: expected at least one sent, and no more lost than sent")
    rate, square = lost / sent, _Z * _Z
    middle = rate + square / (2 * sent)
    half = _Z * math.sqrt(rate * (1 - rate) / sent + square / (4 * sent * sent))
    return 100 * (middle - half) / (1 + square / sent), 100 * (middle + half) / (1 + square / sent)


def most_lost(high: float, sent: int) -> int:
    """The greatest number of lost packets whose confidence interval stays within high percent; -1 if there is none."""
    return bisect.bisect_right(range(sent + 1), high, key=lambda lost: wilson(lost, sent)[1]) - 1


def _call(library: Library, chip: Chip, function: str, *arguments: object) -> None:
    if not getattr(library, function)(*arguments):
        shown = ", ".join(map(str, arguments))
        raise PlanError(f"{function}({shown}) failed on the {chip.name}: the phone's log gives the reason")


def leave_test_mode(library: Library, chip: Chip) -> None:
    """Stops transmitting and leaves test mode, also where the phone refuses to stop transmitting."""
    try:
        _call(library, chip, "wifi_stop_tx")
    finally:
        _call(library, chip, "wifi_stop_testmode")


class Station:
    """One phone on one port. The tester has its port and path loss already."""

    def __init__(self, library: Library, tester: Tester, chip: Chip, limits: Limits) -> None:
        self.library, self.tester, self.chip, self.limits = library, tester, chip, limits
        self._tuned: Optional[tuple[float, int]] = None
        self._expected: Optional[float] = None

    def _do(self, function: str, *arguments: object) -> None:
        _call(self.library, self.chip, function, *arguments)

    def start(self) -> None:
        """Enters test mode; the driver reads its calibration anew."""
        self._do("wifi_start_testmode")

    def stop(self) -> None:
        """Stops transmitting and leaves test mode."""
        leave_test_mode(self.library, self.chip)

    @contextlib.contextmanager
    def test_mode(self) -> Iterator[None]:
        """Test mode for the block. It is left whatever happens there, and an error of the block is the one that counts."""
        self.start()
        try:
            yield
        except BaseException:
            with contextlib.suppress(Exception):
                self.stop()
            raise
        self.stop()

    def reload(self) -> None:
        """Makes the driver read NV."""
        self.stop()
        self.start()

    def _tune(self, signal: Signal, chain: int) -> None:
        self._do("wifi_set_mode", coverage.at_mode(signal))
        self._do("wifi_set_band", coverage.BANDWIDTH_CODES[signal.bandwidth_mhz])
        self._do("wifi_set_channel", int(signal.mhz))
        self._do("wifi_set_rate", coverage.rate_code(signal))
        if self.chip.chains > 1:
            self._do("wifi_setmimo_channel", chain + 1)
        if self._tuned != (signal.mhz, signal.bandwidth_mhz):
            self.tester.channel(signal.mhz, signal.bandwidth_mhz)
            self._tuned = (signal.mhz, signal.bandwidth_mhz)

    def _expect(self, dbm: float) -> None:
        if self._expected != dbm:
            self.tester.expect_power(dbm)
            self._expected = dbm

    def read(self, sent: Transmission) -> Reading:
        """Transmits and measures. A phone that is far too weak or too strong is measured in another range."""
        self._tune(sent.signal, sent.chain)
        self._do("wifi_set_power", sent.dbm * self.chip.power_units)
        self._do("wifi_start_tx")
        self._expect(sent.dbm)
        try:
            return self.tester.measure()
        except UnderRange:
            self._expect(sent.dbm - MOVED_DB)
        except OverRange:
            self._expect(sent.dbm + MOVED_DB)
        return self.tester.measure()

    def power_error(self, sent: Transmission) -> float:
        """Measured less wanted power in dB."""
        return self.read(sent).power_dbm - sent.dbm

    def _judged(self, quantity: str, at: Transmission | Reception, value: float, guard: float, **more: float) -> Measurement:
        limit = self.limits.find(quantity, at.signal)
        return Measurement(quantity, at.signal, at.chain, value, limit and limit.guarded(guard), more)

    def transmitter(self, sent: Transmission) -> list[Measurement]:
        """Power, EVM, mask and frequency of one transmission. A value that the test set does not give fails."""
        reading = self.read(sent)
        values = {"power_error": reading.power_dbm - sent.dbm, "evm": reading.evm_db, "mask_margin": reading.mask_margin_db,
                  "frequency_error": reading.frequency_error_ppm}
        return [self._judged(quantity, sent, math.nan if value is None else value,
                             self.tester.profile.uncertainty[UNCERTAINTIES[quantity]], power_dbm=sent.dbm)
                for quantity, value in values.items()]

    def send(self, at: Reception, level_dbm: float, packets: int) -> tuple[int, int]:
        """Sends packets to the phone, which receives on; returns how many were sent and how many it lost.

        The phone stops transmitting before.
        """
        self._do("wifi_stop_tx")
        self._tune(at.signal, at.chain)
        self.tester.load_waveform(at.signal.format, at.signal.rate, at.signal.bandwidth_mhz)
        self.tester.generator_level(level_dbm)
        self._do("wifi_start_rx")
        before = self._counter()
        sent = self.tester.send(packets)
        lost = sent - (self._counter() - before)
        if not 0 <= lost <= sent:
            raise PlanError(f"the phone counted {sent - lost} packets of {sent} sent: something else transmits on {at.signal.mhz:g} MHz")
        return sent, lost

    def _counter(self) -> int:
        count = self.library.wifi_get_rx_pckg()
        if count is None:
            raise PlanError(f"wifi_get_rx_pckg failed on the {self.chip.name}: the driver refused")
        return count

    def receiver(self, at: Reception) -> list[Measurement]:
        """The packet error rate at the standard's minimum sensitivity, less the uncertainty of the level.

        It holds if the whole confidence interval does. The limit is the greatest rate of which that is true: it depends on
        the number of packets alone, so that all units are judged by the same one.
        """
        minimum = self.limits.find("sensitivity", at.signal)
        if minimum is None or minimum.high is None:
            raise PlanError(f"{self.limits.path}: no sensitivity for {at.signal.format} {at.signal.rate}")
        level = minimum.high - self.tester.profile.uncertainty["power_db"]
        sent, lost = self.send(at, level, PACKETS)
        self._do("wifi_stop_rx")
        limit = self.limits.find("packet_error_rate", at.signal)
        if limit is not None and limit.high is not None:
            limit = replace(limit, high=100 * most_lost(limit.high, sent) / sent)
        more = {"level_dbm": level, "packets": sent}
        return [Measurement("packet_error_rate", at.signal, at.chain, 100 * lost / sent, limit, more)]

    def level(self, at: Reception) -> list[Measurement]:
        """The reported level less the true one."""
        self.send(at, STRONG_DBM, STRONG_PACKETS)
        rssi = self.library.wifi_get_rx_rssi()
        self._do("wifi_stop_rx")
        value = math.nan if rssi.dbm is None or not rssi.ok else rssi.dbm - STRONG_DBM
        guard = self.tester.profile.uncertainty[UNCERTAINTIES["rssi_error"]]
        return [self._judged("rssi_error", at, value, guard, level_dbm=STRONG_DBM)]

    def verify(self) -> Iterator[Measurement]:
        """Everything that verification measures. Test mode must be on."""
        for sent in coverage.transmissions(self.chip):
            yield from self.transmitter(sent)
        for at in coverage.receptions(self.chip):
            yield from self.receiver(at)
        for at in coverage.levels(self.chip):
            yield from self.level(at)
