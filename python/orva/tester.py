# SPDX-License-Identifier: Apache-2.0
"""Drives an RF test set through an instrument profile.

    from orva.tester import Tester

    with Tester("127.0.0.1:5025", "rf_tester/profiles/orva-a.toml") as tester:
        tester.select_port(1)
        tester.set_path_loss({2412: 1.2, 5180: 2.1})
        tester.channel(2442, bandwidth_mhz=20)
        tester.expect_power(15)
        print(tester.measure().power_dbm)

Needs PyVISA and a VISA library; PyVISA-py is one (Debian: python3-pyvisa, python3-pyvisa-py).
"""

from __future__ import annotations

import contextlib
import math
import os
from dataclasses import dataclass
from typing import Any, Mapping, Optional, Sequence

try:
    import pyvisa
    from pyvisa.constants import StatusCode
except ImportError as missing:
    raise ImportError("orva.tester needs PyVISA and a VISA library: install Debian's python3-pyvisa and python3-pyvisa-py, or "
                      f"the wheel with its extra [tester] ({missing})", name=missing.name) from missing

from orva import instrument_profile
from orva.instrument_profile import Answer, Profile, fill

#: Errors read from a queue before it is taken for endless.
MOST_ERRORS = 100
CHANNEL_STEP_MHZ = 5
#: What SCPI has for infinite; not a number is more.
NO_NUMBER = 9.9e37
#: How near an error of the power has to be to a cause, in dB, for the cause to be named.
LIKELY_DB = 1.0


class TesterError(RuntimeError):
    """Something is wrong with the test set or its set-up; the message names the cause."""


class Unreachable(TesterError):
    """Nobody answers at the address."""


class InUse(TesterError):
    """Another client has the test set."""


class WrongInstrument(TesterError):
    """The profile is that of another instrument."""


class NoAnswer(TesterError):
    """The test set did not answer in time, or with something that the profile does not describe."""


class Refused(TesterError):
    """The test set reported errors."""


class NothingReceived(TesterError):
    """No burst came before the trigger timeout."""


class OutOfRange(TesterError):
    """The power is beyond what the analyzer was set up for."""


class OverRange(OutOfRange):
    """The power is over the analyzer's range."""


class UnderRange(OutOfRange):
    """The power is under the analyzer's range."""


class NotDemodulated(TesterError):
    """A burst came, but the analyzer could not read it."""


class ImplausiblePower(TesterError):
    """The power is so far from what was wanted that the set-up is likely wrong."""


@dataclass(frozen=True)
class Reading:
    """One measurement. None: the test set has no such value."""

    power_dbm: float
    evm_db: Optional[float]
    frequency_error_ppm: Optional[float]
    mask_margin_db: Optional[float]


def _checked(name: str, value: object) -> float:
    if isinstance(value, bool) or not isinstance(value, (int, float)) or not math.isfinite(value):
        raise TesterError(f"{name}: {value!r} is no number")
    return value


def resource_name(address: str) -> str:
    """The VISA resource of "HOST:PORT"; a resource name stays as it is."""
    if not isinstance(address, str):
        raise Unreachable(f"{address!r}: give HOST:PORT or a VISA resource as a text")
    if "::" in address:
        return address
    host, colon, port = address.rpartition(":")
    if not colon or not host or not port.isdigit() or not 0 < int(port) < 65536:
        raise Unreachable(f"{address}: give HOST:PORT or a VISA resource, as in 127.0.0.1:5025")
    return f"TCPIP::{host}::{port}::SOCKET"


class Tester(contextlib.AbstractContextManager["Tester"]):
    """A test set. Every method raises TesterError with the cause where it fails.

    Frequencies are in MHz, levels in dBm, losses in dB.
    """

    __test__ = False  # no class of tests, although pytest would take it for one by its name

    def __init__(
        self,
        address: str,
        profile: str | os.PathLike[str] | Profile,
        timeout_s: Optional[float] = None,
        backend: str = "@py",
    ) -> None:
        """Connects and compares the identification with the profile.

        address: HOST:PORT or a VISA resource. profile: a file, or one that is loaded already. timeout_s: instead of the
        profile's. backend: the VISA library as PyVISA names it. Raises ProfileError for a profile that cannot be used.
        """
        self.profile = profile if isinstance(profile, Profile) else instrument_profile.load(profile)
        self.address = address
        self._timeout_ms = self.profile.timeout_ms if timeout_s is None else int(_checked("timeout_s", timeout_s) * 1000)
        self._port: Optional[int] = None
        self._mhz = 0.0
        self._width_mhz = 0
        self._losses: dict[Optional[int], Mapping[float, float]] = {}
        self._manager = self._visa(backend)
        self._device = self._open()
        try:
            self.identity = self._identify()
            self.errors()  # those of an earlier client
        except Exception:
            self.close()
            raise

    def _visa(self, backend: str) -> pyvisa.ResourceManager:
        try:
            return pyvisa.ResourceManager(backend)
        except (OSError, ValueError) as error:
            raise Unreachable(f"{self.address}: no VISA library {backend!r}: {error}") from None

    def _open(self) -> Any:
        try:
            device: Any = self._manager.open_resource(resource_name(self.address), open_timeout=self._timeout_ms)
        except Unreachable:
            raise
        except Exception as error:  # PyVISA-py raises Exception itself for an unknown host
            raise Unreachable(f"{self.address}: no test set can be reached there ({error})") from None
        device.write_termination = device.read_termination = self.profile.termination
        device.timeout = self._timeout_ms
        return device

    def _identify(self) -> str:
        answer = self._ask(self.profile.identify.ask, lost=Unreachable)  # PyVISA-py connects only now
        pattern = self.profile.identify.pattern
        if self.profile.busy is not None and self.profile.busy.search(answer):
            raise InUse(f"{self.address}: the test set serves another client: {answer}")
        if pattern is not None and not pattern.search(answer):
            raise WrongInstrument(f"{self.address}: '{answer}' is not what {self.profile.path} is for ({self.profile.name})")
        return answer

    def _ask(self, text: str, lost: type[TesterError] = NoAnswer, after: Sequence[str] = ()) -> str:
        # What comes before the query is sent with it: TCP would hold a second small segment back until the first is
        # acknowledged, which takes 40 ms.
        try:
            return str(self._device.query(self.profile.termination.join([*after, text]))).strip()
        except (pyvisa.VisaIOError, OSError) as error:
            if getattr(error, "error_code", None) == StatusCode.error_timeout:
                seconds = self._device.timeout / 1000
                raise NoAnswer(f"{self.address}: no answer to {text} within {seconds:g} s") from None
            raise lost(f"{self.address}: the connection failed at {text}: {error}") from None

    def _part(self, wanted: Answer, asked: dict[str, str]) -> str:
        """Each query is sent once for all values that its answer holds."""
        if wanted.ask not in asked:
            asked[wanted.ask] = self._ask(wanted.ask)
        try:
            return wanted.part_of(asked[wanted.ask])
        except ValueError as error:
            raise NoAnswer(f"{self.address}: {error}") from None

    def _act(self, action: str, **values: object) -> None:
        errors = self.errors([fill(text, values) for text in self.profile.actions[action]])
        if errors:
            raise Refused(f"{self.address}: {action.replace('_', ' ')} was refused: {'; '.join(errors)}")

    def errors(self, after: Sequence[str] = ()) -> list[str]:
        """Empties the test set's error queue. after: texts that are sent first."""
        found: list[str] = []
        pattern = self.profile.error.pattern
        assert pattern is not None
        while len(found) < MOST_ERRORS:
            answer = self._ask(self.profile.error.ask, after=() if found else after)
            error = pattern.search(answer)
            if error is None:
                raise NoAnswer(f"{self.address}: {self.profile.error.ask} answered '{answer}', which is no error")
            if int(error[1]) == 0:
                break
            found.append(f"{error[1]} {error[2]}")
        return found

    def reset(self) -> None:
        """Brings the test set to its defaults. Port, path losses and channel are set anew after it."""
        self._losses.clear()
        self._port = None
        self._mhz, self._width_mhz = 0.0, 0
        self._act("reset")

    def select_port(self, port: int) -> None:
        """Chooses the port of analyzer and generator."""
        self._act("select_port", port=_checked("port", port))
        self._port = port

    def set_path_loss(self, losses: Mapping[float, float]) -> None:
        """Enters the loss of the selected port's path: MHz to dB, a loss is positive. Replaces what was entered."""
        port = self._selected("the path loss")
        if not losses:
            raise TesterError(f"port {port}: the table of path losses is empty")
        for mhz, db in losses.items():
            _checked("frequency of a path loss", mhz)
            if not _checked(f"path loss at {mhz:g} MHz", db) >= 0:
                raise TesterError(f"port {port}: a path loss of {db:g} dB at {mhz:g} MHz: enter a loss as a positive number")
        points = (fill(self.profile.point, {"mhz": mhz, "hz": mhz * 1e6, "db": self.profile.sign * db})
                  for mhz, db in sorted(losses.items()))
        self._act("set_path_loss", port=port, points=self.profile.separator.join(points))
        self._losses[port] = dict(losses)

    def _selected(self, what: str) -> int:
        if self._port is None:
            raise TesterError(f"{what} belongs to a port: call select_port first")
        return self._port

    def channel(self, mhz: float, bandwidth_mhz: int = 20) -> None:
        """Sets the centre frequency and the bandwidth of analyzer and generator."""
        _checked("mhz", mhz)
        values: dict[str, object] = {"mhz": mhz, "hz": mhz * 1e6, "bandwidth_mhz": bandwidth_mhz,
                                     "bandwidth_hz": bandwidth_mhz * 1e6}
        if self.profile.bands:
            values.update(self._numbered(mhz))
        self._act("channel", **values)
        self._mhz, self._width_mhz = mhz, bandwidth_mhz

    def _numbered(self, mhz: float) -> dict[str, object]:
        for band in self.profile.bands:
            number = (mhz - band.zero_mhz) / CHANNEL_STEP_MHZ
            if band.from_mhz <= mhz <= band.to_mhz and number.is_integer():
                return {"band": band.name, "channel": int(number)}
        raise TesterError(f"{mhz:g} MHz is the centre of no channel in the bands of {self.profile.path}")

    def expect_power(self, dbm: float) -> None:
        """Sets the analyzer's range for a power at the phone."""
        self._act("expect_power", dbm=_checked("dbm", dbm))

    def trigger_timeout(self, seconds: float) -> None:
        """Sets how long a measurement waits for a burst."""
        milliseconds = _checked("seconds", seconds) * 1000
        self._act("trigger_timeout", s=seconds, ms=milliseconds)
        self._device.timeout = self._timeout_ms + milliseconds

    def average(self, count: int) -> None:
        """Sets the number of bursts that a measurement averages."""
        self._act("average", count=_checked("count", count))

    def measure(self, wanted_dbm: Optional[float] = None, within_db: float = 3.0) -> Reading:
        """Measures what the phone transmits.

        wanted_dbm: what the phone was set to. A power further than within_db from it raises ImplausiblePower, whose
        message names the likely cause.
        """
        if not self._mhz:
            raise TesterError("a measurement belongs to a channel: call channel first")
        self._act("measure_burst")
        self._ask(self.profile.done.ask)
        asked: dict[str, str] = {}
        self._check_outcome(self._part(self.profile.outcome, asked))
        values = {name: self._number(name, asked) for name in ("power", "evm", "frequency_error", "mask_margin")}
        power = values["power"]
        if power is None:
            raise NoAnswer(f"{self.address}: the measurement succeeded, but {self.profile.values['power'].answer.ask} gave no power")
        if wanted_dbm is not None and abs(power - wanted_dbm) > within_db:
            raise ImplausiblePower(self._cause(power, wanted_dbm))
        return Reading(power, values["evm"], values["frequency_error"], values["mask_margin"])

    def _number(self, name: str, asked: dict[str, str]) -> Optional[float]:
        value = self.profile.values[name]
        text = self._part(value.answer, asked)
        try:
            known = text not in self.profile.missing and abs(float(text)) < NO_NUMBER
            return value.number(text, self._mhz) if known else None
        except ValueError:
            raise NoAnswer(f"{self.address}: {value.answer.ask} answered '{text}' for the {name.replace('_', ' ')}") from None

    def _check_outcome(self, text: str) -> None:
        outcome = self.profile.outcomes.get(text)
        port = f"port {self._port}" if self._port is not None else "the port"
        if outcome is None:
            raise NoAnswer(f"{self.address}: '{text}' is no outcome that {self.profile.path} lists")
        if outcome == "timeout":
            raise NothingReceived(
                f"{port}: no burst at {self._mhz:g} MHz before the trigger timeout: the phone does not transmit on this "
                f"channel, its cable is not connected to {port}, or the expected power is far too high")
        if outcome == "no_sync":
            raise NotDemodulated(
                f"{port}: the burst at {self._mhz:g} MHz cannot be demodulated: it is wider than the {self._width_mhz} MHz "
                f"that channel() set, or of a format that the test set does not know")
        if outcome == "over_range":
            raise OverRange(f"{port}: the power is over the analyzer's range: raise the expected power")
        if outcome == "under_range":
            raise UnderRange(f"{port}: the power is under the analyzer's range: lower the expected power, or a connector is loose")

    def _loss(self) -> float:
        """The loss entered at the point next to the channel."""
        points = self._losses.get(self._port, {})
        return points[min(points, key=lambda mhz: abs(mhz - self._mhz))] if points else 0.0

    def _cause(self, power: float, wanted: float) -> str:
        error, loss = power - wanted, self._loss()
        text = f"port {self._port}: {power:.1f} dBm where {wanted:.1f} dBm were wanted at {self._mhz:g} MHz, {error:+.1f} dB"
        if loss > LIKELY_DB and abs(error + 2 * loss) < LIKELY_DB:
            return f"{text}: twice the path loss of {loss:g} dB, so its sign is likely wrong"
        if loss == 0 and error < 0:
            return f"{text}: no path loss is entered for this port"
        return f"{text}: check the cable, the path loss of {loss:g} dB, and the phone's power setting"

    def load_waveform(self, format: str, rate: str, bandwidth_mhz: int = 20) -> None:
        """Loads the packets to send: format and rate as in docs/reference/cable.md, "ht" and "mcs7"."""
        self._act("load_waveform", format=format, rate=rate, bandwidth_mhz=bandwidth_mhz)

    def generator_level(self, dbm: float) -> None:
        """Sets the level at the phone."""
        self._act("generator_level", dbm=_checked("dbm", dbm))

    def send(self, count: int) -> int:
        """Sends packets and returns how many the test set says it sent."""
        self._act("send_packets", count=_checked("count", count))
        self._ask(self.profile.done.ask)
        sent = self._number("sent", {})
        if sent is None:
            raise NoAnswer(f"{self.address}: the test set does not say how many packets it sent")
        return int(sent)

    def close(self) -> None:
        """Frees the test set for others."""
        self._manager.close()  # and the device

    def __exit__(self, *_: object) -> None:
        self.close()
