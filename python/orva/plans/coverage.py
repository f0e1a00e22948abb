# SPDX-License-Identifier: Apache-2.0
"""What the plans measure on each chip, what calibration corrects, and how the library is told."""

from __future__ import annotations

from dataclasses import dataclass
from typing import Mapping

from orva.limits import Signal

#: Values of wifi_set_band and of the requests of calibration.
BANDWIDTH_CODES = {20: 0, 40: 1, 80: 2, 160: 3}
#: Values of wifi_set_mode; legacy OFDM has one for each band.
_AT_MODES = {"dsss": 2, "ht": 4, "vht": 5, "he": 6}
_AT_MODE_OFDM = {"2.4": 3, "5": 1}

_MCS_BITS = (0.5, 1, 1.5, 2, 3, 4, 4.5, 5, 6, 20 / 3, 7.5, 25 / 3)  # that carry data, for each subcarrier and symbol
_HT_CARRIERS = {20: 52, 40: 108, 80: 234, 160: 468}
_HE_CARRIERS = {20: 234, 40: 468, 80: 980, 160: 1960}
_HT_SYMBOL_US, _HE_SYMBOL_US = 4.0, 13.6

#: Where the power curves in 2.4 GHz are corrected; the offsets of the other channels refer to it.
REFERENCE_MHZ = 2442
#: A power at which the amplifier is driven hard, one for the highest rates, and one of the low-power path.
FULL_DBM, HIGH_RATE_DBM, HE_DBM, LOW_DBM = 15, 10, 8, 5


@dataclass(frozen=True)
class Transmission:
    """What the phone is set to transmit."""

    signal: Signal
    chain: int
    dbm: int


@dataclass(frozen=True)
class Reception:
    """What the phone is set to receive."""

    signal: Signal
    chain: int


@dataclass(frozen=True)
class Target:
    """A value that calibration corrects: a transmission that shows its error, and the mode of the request.

    adds_up: a further correction is added to those before. Otherwise it replaces them.
    """

    shown_by: Transmission
    mode: int
    adds_up: bool


@dataclass(frozen=True)
class Chip:
    """What the plans have to know of a chip. power_units: of wifi_set_power in a dB. The block chip keeps amplitudes
    in a block and takes gains in dB; the others keep curves and offsets and take errors in tenths of a dB."""

    name: str
    power_units: int = 10
    chains: int = 1
    has_he: bool = False
    has_160_mhz: bool = False
    has_block: bool = False


_CHIPS = (
    Chip("vq2040", power_units=100, has_block=True),
    Chip("vq2050", chains=2, has_160_mhz=True),
    Chip("vq2040a"),
    Chip("vq2070", chains=2, has_he=True, has_160_mhz=True),
)
CHIPS: Mapping[str, Chip] = {chip.name: chip for chip in _CHIPS}


def at_mode(signal: Signal) -> int:
    """The value of wifi_set_mode."""
    return _AT_MODE_OFDM[signal.band] if signal.format == "ofdm" else _AT_MODES[signal.format]


def rate_code(signal: Signal) -> int:
    """The value of wifi_set_rate: 10 kb/s."""
    if not signal.rate.startswith("mcs"):
        return round(float(signal.rate) * 100)
    bits, width = _MCS_BITS[int(signal.rate[3:])], signal.bandwidth_mhz
    if signal.format == "he":
        return int(_HE_CARRIERS[width] * bits / _HE_SYMBOL_US) * 100
    return int(_HT_CARRIERS[width] * bits / _HT_SYMBOL_US) * 100


def _dsss(mhz: int) -> Signal:
    return Signal("dsss", "11", mhz, 20)


def _ofdm(mhz: int) -> Signal:
    return Signal("ofdm", "54", mhz, 20)


def _ht(mhz: int, width: int = 20) -> Signal:
    return Signal("ht", "mcs7", mhz, width)


def _vht(mhz: int, width: int) -> Signal:
    return Signal("vht", "mcs9", mhz, width)


_HE = Signal("he", "mcs11", REFERENCE_MHZ, 20)
_SUB_BANDS = (5180, 5600, 5700, 5825)
_CENTRES_160 = (5250, 5570)


def transmissions(chip: Chip) -> list[Transmission]:
    """What verification measures: the ends and the middle of 2.4 GHz, each sub-band of 5 GHz, each width and format."""
    signals = [(signal, FULL_DBM) for signal in (
        *map(_dsss, (2412, 2442, 2472)), _ofdm(2442), *map(_ht, (2412, 2442, 2472)),
        *(_ht(mhz, 40) for mhz in (2422, 2442, 2462)), _ofdm(5180), *map(_ht, _SUB_BANDS))]
    signals += [(_vht(5190, 40), HIGH_RATE_DBM), (_vht(5210, 80), HIGH_RATE_DBM), (_ht(5180), LOW_DBM)]
    if chip.has_160_mhz:
        signals += [(_vht(mhz, 160), HIGH_RATE_DBM) for mhz in _CENTRES_160]
    if chip.has_he:
        signals.append((_HE, HE_DBM))
    return [Transmission(signal, chain, dbm) for chain in range(chip.chains) for signal, dbm in signals]


def receptions(chip: Chip) -> list[Reception]:
    """What verification sends to the phone."""
    signals = [_dsss(2442), _ofdm(2442), _ht(2442), _ht(2442, 40), _ofdm(5180), _ht(5825), _vht(5210, 80)]
    if chip.has_160_mhz:
        signals.append(_vht(5570, 160))
    if chip.has_he:
        signals.append(_HE)
    return [Reception(signal, chain) for chain in range(chip.chains) for signal in signals]


def levels(chip: Chip) -> list[Reception]:
    """Where verification compares the reported level with the true one."""
    return [Reception(signal, chain) for chain in range(chip.chains) for signal in (_ht(2442), _ht(5180))]


_BLOCK = ((2, _dsss(2442)), (3, _ofdm(2442)), (4, _ht(2442)), (4, _ht(2442, 40)), (1, _ofdm(5180)), (4, _ht(5180)),
          (5, _vht(5190, 40)), (5, _vht(5210, 80)))


def curves(chip: Chip) -> list[Target]:
    """What calibration corrects first: power curves, or the modes of the block."""
    if chip.has_block:
        return [Target(Transmission(signal, 0, FULL_DBM), mode, True) for mode, signal in _BLOCK]
    signals = [_dsss(REFERENCE_MHZ), _ht(REFERENCE_MHZ), _ht(REFERENCE_MHZ, 40), *map(_ht, _SUB_BANDS)]
    return [_target(signal, chain, True) for chain in range(chip.chains) for signal in signals]


def offsets(chip: Chip) -> list[Target]:
    """What calibration corrects next: offsets of channels, and of 160 MHz. A 40 MHz channel does not fit at the ends."""
    if chip.has_block:
        return []
    others = [mhz for mhz in range(2412, 2473, 5) if mhz != REFERENCE_MHZ]
    signals = [*map(_dsss, others), *map(_ht, others), *(_ht(mhz, 40) for mhz in others if 2422 <= mhz <= 2462)]
    if chip.has_160_mhz:
        signals += [_vht(mhz, 160) for mhz in _CENTRES_160]
    return [_target(signal, chain, False) for chain in range(chip.chains) for signal in signals]


def _target(signal: Signal, chain: int, adds_up: bool) -> Target:
    return Target(Transmission(signal, chain, FULL_DBM), 2 if signal.format == "dsss" else 0, adds_up)
