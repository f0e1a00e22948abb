# SPDX-License-Identifier: Apache-2.0
"""Reads an instrument profile: which texts an RF test set understands for each action, and how it answers.

docs/how-to/instrument-profiles.md describes the file.
"""

from __future__ import annotations

import math
import os
import re
import string
import tomllib
from dataclasses import dataclass, field
from typing import Any, Mapping, Optional, Sequence

from orva import files


class ProfileError(ValueError):
    """The profile cannot be used; the message names the file and the key."""


#: The actions, each with what its texts may name.
ACTIONS: Mapping[str, frozenset[str]] = {
    "reset": frozenset(),
    "select_port": frozenset({"port"}),
    "set_path_loss": frozenset({"port", "points"}),
    "expect_power": frozenset({"dbm"}),
    "channel": frozenset({"mhz", "hz", "band", "channel", "bandwidth_mhz", "bandwidth_hz"}),
    "trigger_timeout": frozenset({"ms", "s"}),
    "average": frozenset({"count"}),
    "measure_burst": frozenset(),
    "load_waveform": frozenset({"format", "rate", "bandwidth_mhz"}),
    "generator_level": frozenset({"dbm"}),
    "send_packets": frozenset({"count"}),
}
POINT_NAMES = frozenset({"mhz", "hz", "db"})
#: The values, each with the units that its answer may have.
VALUES: Mapping[str, frozenset[str]] = {
    "power": frozenset({"dBm", "W"}),
    "evm": frozenset({"dB", "percent"}),
    "frequency_error": frozenset({"ppm", "Hz"}),
    "mask_margin": frozenset({"dB"}),
    "sent": frozenset({"packets"}),
}
OUTCOMES = ("good", "timeout", "over_range", "under_range", "no_sync")
UNCERTAINTIES = ("power_db", "evm_db", "frequency_ppm", "mask_db")


class _Texts(string.Formatter):
    """str.format with the one format that texts for instruments need beside the usual ones: {rate:upper}."""

    def format_field(self, value: Any, format_spec: str) -> str:
        if format_spec == "upper":
            return str(value).upper()
        return str(super().format_field(value, format_spec))


_TEXTS = _Texts()


def fill(text: str, values: Mapping[str, object]) -> str:
    """The text with its {names} replaced. Whole numbers are written without a fraction."""
    shown = {name: int(v) if isinstance(v, float) and v.is_integer() else v for name, v in values.items()}
    return _TEXTS.vformat(text, (), shown)


def _names(text: str) -> set[str]:
    return {name for _, name, _, _ in _TEXTS.parse(text) if name is not None}


@dataclass(frozen=True)
class Answer:
    """A query, and the part of its answer that is wanted."""

    ask: str
    field: Optional[int] = None
    pattern: Optional[re.Pattern[str]] = None

    def part_of(self, answer: str) -> str:
        """Raises ValueError if the answer has no such part."""
        if self.pattern is not None:
            found = self.pattern.search(answer)
            if not found:
                raise ValueError(f"{self.ask} answered '{answer}', which does not match {self.pattern.pattern}")
            return found[1] if self.pattern.groups else found[0]
        if self.field is None:
            return answer.strip()
        fields = answer.split(",")
        if self.field >= len(fields):
            raise ValueError(f"{self.ask} answered '{answer}', which has no field {self.field}")
        return fields[self.field].strip()


@dataclass(frozen=True)
class Value:
    """A number in an answer."""

    answer: Answer
    unit: str
    scale: float = 1.0

    def number(self, text: str, mhz: float) -> float:
        """In the unit of the Python interface: dBm, dB, ppm of the carrier at `mhz`, packets."""
        value = float(text) * self.scale
        if self.unit == "W":
            return 10 * math.log10(value * 1e3)
        if self.unit == "percent":
            return 20 * math.log10(value / 100)
        return value / mhz if self.unit == "Hz" else value


@dataclass(frozen=True)
class Band:
    """A range of frequencies in which channels are numbered: zero_mhz + 5 MHz times the number."""

    name: str
    zero_mhz: float
    from_mhz: float
    to_mhz: float


@dataclass(frozen=True)
class Profile:
    path: str
    name: str
    termination: str
    timeout_ms: int
    identify: Answer
    busy: Optional[re.Pattern[str]]
    uncertainty: Mapping[str, float]
    actions: Mapping[str, Sequence[str]]
    point: str
    separator: str
    sign: int
    bands: Sequence[Band]
    done: Answer
    error: Answer
    outcome: Answer
    outcomes: Mapping[str, str]
    values: Mapping[str, Value]
    missing: frozenset[str] = field(default_factory=frozenset)


class _Reader:
    """Takes keys from a table and complains about what is missing, of the wrong type, or left over."""

    def __init__(self, path: str, where: str, table: object) -> None:
        self.path, self.where = path, where
        if not isinstance(table, dict):
            raise ProfileError(f"{path}: {where} is due as a table")
        self.table: dict[str, Any] = dict(table)

    def fail(self, key: str, what: str) -> ProfileError:
        return ProfileError(f"{self.path}: {self.where + '.' if self.where else ''}{key}: {what}")

    def take(self, key: str, kind: type | tuple[type, ...], default: Any = None) -> Any:
        value = self.table.pop(key, default)
        if value is None:
            raise self.fail(key, "is missing")
        if not isinstance(value, kind) or isinstance(value, bool):
            wanted = kind[-1] if isinstance(kind, tuple) else kind
            raise self.fail(key, f"{value!r} is no {wanted.__name__}")
        return value

    def sub(self, key: str) -> _Reader:
        return _Reader(self.path, f"{self.where}.{key}".lstrip("."), self.take(key, dict))

    def pattern(self, key: str) -> Optional[re.Pattern[str]]:
        if key not in self.table:
            return None
        text: str = self.take(key, str)
        try:
            return re.compile(text)
        except re.error as error:
            raise self.fail(key, f"'{text}' is no regular expression: {error}") from None

    def answer(self) -> Answer:
        ask = self.take("ask", str)
        number = self.take("field", int) if "field" in self.table else None
        found = Answer(ask, number, self.pattern("pattern"))
        if found.field is not None and (found.pattern is not None or found.field < 0):
            raise self.fail("field", "give a field from 0, or a pattern, not both")
        return found

    def text(self, key: str, allowed: frozenset[str], text: object) -> str:
        if not isinstance(text, str):
            raise self.fail(key, f"{text!r} is no text")
        try:
            unknown = _names(text) - allowed
        except ValueError as error:
            raise self.fail(key, f"'{text}': {error}") from None
        if unknown:
            known = ", ".join(sorted(allowed)) or "nothing"
            raise self.fail(key, f"'{text}' names {', '.join(sorted(unknown))}; it may name {known}")
        return text

    def end(self) -> None:
        for key in self.table:
            raise self.fail(key, "is no key of a profile")


def _actions(reader: _Reader) -> dict[str, list[str]]:
    found = {}
    for name, allowed in ACTIONS.items():
        found[name] = [reader.text(name, allowed, text) for text in reader.take(name, list)]
    reader.end()
    return found


def _value(reader: _Reader, units: frozenset[str]) -> Value:
    unit = reader.take("unit", str)
    if unit not in units:
        raise reader.fail("unit", f"'{unit}': give {' or '.join(sorted(units))}")
    scale = float(reader.take("scale", (int, float), 1.0))
    value = Value(reader.answer(), unit, scale)
    reader.end()
    return value


def _band(path: str, table: object) -> Band:
    reader = _Reader(path, "bands", table)
    numbers = {key: float(reader.take(key, (int, float))) for key in ("zero_mhz", "from_mhz", "to_mhz")}
    band = Band(reader.take("name", str), **numbers)
    reader.end()
    return band


def _outcomes(reader: _Reader) -> dict[str, str]:
    """What the instrument says, with the outcome that it stands for."""
    found = {}
    for outcome in OUTCOMES:
        for text in reader.take(outcome, list, []):
            found[str(text)] = outcome
    if "good" not in found.values():
        raise reader.fail("good", "is missing")
    return found


def _check(profile: Profile) -> None:
    if profile.sign not in (1, -1):
        raise ProfileError(f"{profile.path}: path_loss.sign: {profile.sign}: give 1 where a loss is positive, -1 where it is a gain")
    if profile.error.pattern is None or profile.error.pattern.groups != 2:
        raise ProfileError(f"{profile.path}: error.pattern: is due with two groups, the number and the text of an error")


def _parsed(path: str, content: dict[str, Any]) -> Profile:
    top = _Reader(path, "", content)
    connection, identify, path_loss = top.sub("connection"), top.sub("identify"), top.sub("path_loss")
    done, error, outcome, values = top.sub("done"), top.sub("error"), top.sub("outcome"), top.sub("values")
    uncertainty = top.sub("uncertainty")
    missing = frozenset(map(str, values.take("missing", list, [])))
    profile = Profile(
        path=path,
        name=top.take("name", str),
        termination=connection.take("termination", str, "\n"),
        timeout_ms=connection.take("timeout_ms", int, 5000),
        identify=identify.answer(),
        busy=identify.pattern("busy"),
        uncertainty={key: float(uncertainty.take(key, (int, float))) for key in UNCERTAINTIES},
        actions=_actions(top.sub("actions")),
        point=path_loss.text("point", POINT_NAMES, path_loss.take("point", str)),
        separator=path_loss.take("separator", str, ","),
        sign=path_loss.take("sign", int, 1),
        bands=[_band(path, table) for table in top.take("bands", list, [])],
        done=done.answer(),
        error=error.answer(),
        outcome=outcome.answer(),
        outcomes=_outcomes(outcome),
        values={name: _value(values.sub(name), units) for name, units in VALUES.items()},
        missing=missing,
    )
    for reader in (top, connection, identify, path_loss, done, error, outcome, values, uncertainty):
        reader.end()
    _check(profile)
    return profile


def load(path: str | os.PathLike[str]) -> Profile:
    """Reads a profile: a file, or by its bare name one of the package's own, "orva-a" or "orva-b".

    Raises ProfileError, also if the file cannot be read.
    """
    name = files.instrument_profile(path)
    try:
        with open(name, "rb") as file:
            content = tomllib.load(file)
    except OSError as error:
        raise ProfileError(f"{name}: the profile cannot be read: {error.strerror}") from None
    except (tomllib.TOMLDecodeError, UnicodeDecodeError) as error:
        raise ProfileError(f"{name}: {error}") from None
    return _parsed(name, content)
