# SPDX-License-Identifier: Apache-2.0
"""Reads a record and checks all of it: each line, the count, the checksum, and that the verdict follows from the rows."""

from __future__ import annotations

import hashlib
import json
from dataclasses import dataclass
from typing import Any, NoReturn

from orva_records import RecordsError, rules
from orva_records.record import verdict_of


class DamagedRecord(RecordsError):
    """A record that cannot be stored. The text says which line and why."""


@dataclass(frozen=True)
class Record:
    """A whole record. sha256: of the file. events: steps, notes and causes, with their positions."""

    header: dict[str, Any]
    measurements: list[tuple[int, dict[str, Any]]]
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


def _parsed(number: int, line: bytes) -> dict[str, Any]:
    try:
        value = _DECODER.decode(line.decode())
    except (ValueError, RecursionError) as error:
        raise DamagedRecord(f"line {number}: not JSON: {error}") from error
    if fault := rules.line(value):
        raise DamagedRecord(f"line {number}: expected {fault}")
    if value["type"] == "measurement" and (fault := rules.contradiction(value)):
        raise DamagedRecord(f"line {number}: {fault}")
    return dict(value)


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
    lines = [_parsed(number, line) for number, line in enumerate(raw, start=1)]
    _check_order(lines)
    numbered = list(enumerate(lines, start=1))
    measurements = [(number, line) for number, line in numbered if line["type"] == "measurement"]
    events = [(number, line) for number, line in numbered if line["type"] in ("step", "note", "cause")]
    before = content[: len(content) - len(raw[-1]) - 1]
    _check_end(lines[-1], before, {line["verdict"] for _, line in measurements})
    return Record(lines[0], measurements, events, lines[-1], hashlib.sha256(content).hexdigest())
