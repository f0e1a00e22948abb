# SPDX-License-Identifier: Apache-2.0
"""Reads a record and checks all of it: each line, the count, the checksum, and that the verdict follows from the rows."""

from __future__ import annotations

import hashlib
import json
from dataclasses import dataclass
from typing import Any, NamedTuple, NoReturn, Optional

from orva_records import RecordsError, rules
from orva_records.record import verdict_of


class DamagedRecord(RecordsError):
    """A record that cannot be stored. The text says which line and why."""


class Characteristic(NamedTuple):
    """What is measured: a name under a condition, with its limits. key: a checksum, which tells it from any other."""

    key: str
    name: str
    condition: str  # JSON with sorted members
    unit: str
    low: Optional[float]
    high: Optional[float]
    expected: Optional[str]


class Measurement(NamedTuple):
    """A measurement line, with its position."""

    position: int
    what: Characteristic
    value: float | str | None
    verdict: Optional[str]


@dataclass(frozen=True)
class Record:
    """A whole record. sha256: of the file. events: steps, notes and causes, with their positions."""

    header: dict[str, Any]
    measurements: list[Measurement]
    events: list[tuple[int, dict[str, Any]]]
    end: dict[str, Any]
    sha256: str


def _refuse(constant: str) -> NoReturn:
    raise ValueError(f"{constant} is not a finite number")


def _unique(pairs: list[tuple[str, Any]]) -> dict[str, Any]:
    members = dict(pairs)
    if len(members) != len(pairs):
        raise ValueError("a member comes twice")
    return members


_DECODER = json.JSONDecoder(parse_constant=_refuse, object_pairs_hook=_unique)
#: The characteristics seen, by what their lines hold besides value and verdict. They are few, and their check takes most
#: of the time that a line's would.
_seen: dict[str, Characteristic] = {}
SEEN = 100_000


def _sorted(value: Any) -> str:
    return json.dumps(value, sort_keys=True, ensure_ascii=False)


def _characteristic(line: dict[str, Any]) -> Characteristic:
    name, condition, unit, low, high = (line[member] for member in ("name", "condition", "unit", "low", "high"))
    expected = line.get("expected")
    key = hashlib.sha256(_sorted([name, condition, unit, low, high, expected]).encode()).hexdigest()
    return Characteristic(key, name, _sorted(condition), unit, low, high, expected)


def _measurement(number: int, line: dict[str, Any]) -> Measurement:
    without = {**line, "value": None, "verdict": None}
    rest = repr(without)  # which tells 1 from 1.0 and True, unlike a key of the values
    known = _seen.get(rest) if len(without) == len(line) else None
    fault = rules.value(line["value"]) or rules.verdict(line["verdict"]) if known else rules.line(line)
    if fault:
        raise DamagedRecord(f"line {number}: expected {fault}")
    if fault := rules.contradiction(line):
        raise DamagedRecord(f"line {number}: {fault}")
    if not known:
        if len(_seen) >= SEEN:
            _seen.clear()
        known = _seen[rest] = _characteristic(line)
    return Measurement(number, known, line["value"], line["verdict"])


def _decoded(number: int, line: bytes) -> Any:
    try:
        return _DECODER.decode(line.decode())
    except (ValueError, RecursionError) as error:
        raise DamagedRecord(f"line {number}: not JSON: {error}") from error


def _checked(number: int, line: Any) -> Optional[Measurement]:
    """The measurement, if it is one."""
    if isinstance(line, dict) and line.get("type") == "measurement":
        return _measurement(number, line)
    if fault := rules.line(line):
        raise DamagedRecord(f"line {number}: expected {fault}")
    return None


def _check_order(lines: list[dict[str, Any]]) -> None:
    if not lines or lines[0]["type"] != "begin":
        raise DamagedRecord("line 1: expected the header, whose type is begin")
    for number, line in enumerate(lines[1:-1], start=2):
        if place := {"begin": "first", "end": "last"}.get(line["type"]):
            raise DamagedRecord(f"line {number}: {line['type']} is only the {place} line")
    if lines[-1]["type"] != "end":
        raise DamagedRecord(f"line {len(lines)}: expected the end line, whose type is end")


def _check_end(end: dict[str, Any], before: bytes, verdicts: set[Any]) -> None:
    lines = before.count(b"\n")
    if end["lines"] != lines:
        raise DamagedRecord(f"the end line counts {end['lines']} lines before it, there are {lines}")
    if end["sha256"] != hashlib.sha256(before).hexdigest():
        raise DamagedRecord("the checksum of the end line is not that of the lines before it")
    if end["verdict"] == "BROKEN":
        if not end.get("reason"):
            raise DamagedRecord("the verdict is BROKEN without a reason")
    elif end["verdict"] != verdict_of(verdicts):
        raise DamagedRecord(f"the verdict {end['verdict']} does not follow from the rows, {verdict_of(verdicts)} does")


def read(content: bytes) -> Record:
    """The record with this content. Raises DamagedRecord."""
    if not content.endswith(b"\n"):
        raise DamagedRecord("the file is empty" if not content else "the last line is cut")
    raw = content[:-1].split(b"\n")
    numbered = [(number, _decoded(number, line)) for number, line in enumerate(raw, start=1)]
    measurements = [found for number, line in numbered if (found := _checked(number, line))]
    lines = [line for _, line in numbered]
    _check_order(lines)
    events = [(number, line) for number, line in numbered if line["type"] in ("step", "note", "cause")]
    before = content[: len(content) - len(raw[-1]) - 1]
    _check_end(lines[-1], before, {each.verdict for each in measurements})
    return Record(lines[0], measurements, events, lines[-1], hashlib.sha256(content).hexdigest())
