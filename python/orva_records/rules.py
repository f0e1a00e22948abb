# SPDX-License-Identifier: Apache-2.0
"""What each line of a record may hold. The same contract as docs/reference/record.schema.json, quick enough for a million lines.

A check takes a value and returns what would be right, or "" if the value is right.
"""

from __future__ import annotations

import math
import re
import uuid
from datetime import datetime
from typing import Callable, Mapping, Union

Check = Callable[[object], str]
Scalar = Union[int, float, str, bool]

#: Of this format. A reader refuses any other.
SCHEMA = 1
NAME_LENGTH = 200
TEXT_LENGTH = 10_000
CONDITIONS = 32
ATTEMPTS = 1000
#: Greatest magnitude of a number; a double holds it.
GREATEST = 1e300

VERDICTS = ("PASS", "FAIL", "NO VERDICT", "BROKEN")
DURATIONS = ("total_s", "pauses_s", "driver_s", "shell_s", "library_s")
_CONTROL = re.compile("[\x00-\x1f\x7f-\x9f\u2028\u2029\ud800-\udfff]")
# PostgreSQL stores no NUL, and UTF-8 has no surrogates.
_UNSTORABLE = re.compile("[\x00\ud800-\udfff]")
_START = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(\.\d{1,6})?(Z|[+-]\d\d:\d\d)", re.ASCII)
_SHA256 = re.compile(r"[0-9a-f]{64}")


def name(value: object) -> str:
    """A serial number, a station, a measurement: one line that a person reads."""
    if isinstance(value, str) and 1 <= len(value) <= NAME_LENGTH and not _CONTROL.search(value):
        return ""
    return f"a text of 1 to {NAME_LENGTH} characters without control characters"


def optional_name(value: object) -> str:
    """A name that may be empty: a slot, an operator, a unit."""
    return "" if value == "" else name(value).replace("1 to", "0 to")


def text(value: object) -> str:
    """A note: several lines, but nothing that a database cannot hold."""
    if isinstance(value, str) and len(value) <= TEXT_LENGTH and not _UNSTORABLE.search(value):
        return ""
    return f"a text of at most {TEXT_LENGTH} characters without NUL"


def number(value: object) -> str:
    """A finite number."""
    if type(value) in (int, float) and abs(value) <= GREATEST and not math.isnan(value):  # type: ignore[arg-type]
        return ""
    return f"a finite number, at most {GREATEST:g}"


def limit(value: object) -> str:
    """A limit, or null where that side is open."""
    return "" if value is None else number(value) and number(value) + ", or null"


def value(value: object) -> str:
    """What was measured."""
    if value is None or not number(value) or not text(value):
        return ""
    return "a finite number, a text or null"


def _seconds(value: object) -> str:
    if not number(value) and value >= 0:  # type: ignore[operator]
        return ""
    return "a number of seconds from 0"


def _whole(low: int, high: float) -> Check:
    def check(value: object) -> str:
        right = type(value) is int and low <= value <= high
        return "" if right else f"a whole number from {low}" + ("" if math.isinf(high) else f" to {high:.0f}")

    return check


def one_of(*allowed: object) -> Check:
    """A check for one of these values, and of the same type."""

    types = {type(each) for each in allowed}

    def check(value: object) -> str:
        right = value in allowed and type(value) in types
        return "" if right else " or ".join("null" if each is None else str(each) for each in allowed)

    return check


def _run(value: object) -> str:
    try:
        if isinstance(value, str) and str(uuid.UUID(value)) == value:
            return ""
    except ValueError:
        pass
    return "a UUID in lower case with hyphens"


def started(value: object) -> str:
    """A wall-clock time with its zone."""
    if isinstance(value, str) and _START.fullmatch(value):
        try:
            datetime.fromisoformat(value).timestamp()
            return ""
        except (ValueError, OverflowError):
            pass
    return "a date and time with its zone, such as 2026-01-31T08:15:00.250+01:00"


def condition(value: object) -> str:
    """Where a value was measured: channel, rate, chain and so on."""
    if isinstance(value, dict) and len(value) <= CONDITIONS:
        if not any(name(key) or _scalar(each) for key, each in value.items()):
            return ""
    return f"an object of at most {CONDITIONS} names with numbers, short texts, true or false"


def _scalar(value: object) -> str:
    return "" if type(value) is bool else number(value) and optional_name(value)


def _sha256(value: object) -> str:
    return "" if isinstance(value, str) and _SHA256.fullmatch(value) else "64 hexadecimal digits"


def members(fields: Mapping[str, Check], optional: frozenset[str] = frozenset()) -> Check:
    """A check for an object with exactly these members."""
    required = fields.keys() - optional

    def check(value: object) -> str:
        if not isinstance(value, dict):
            return "an object"
        wrong = value.keys() - fields.keys() or required - value.keys()
        if wrong:
            return f"{'no' if wrong <= value.keys() else 'a'} member {', '.join(sorted(map(repr, wrong)))}"
        for key, each in value.items():
            if fault := fields[key](each):
                return f"in {key!r} {fault}"
        return ""

    return check


#: The verdict of a measurement.
verdict = one_of("PASS", "FAIL", None)
_CAUSE = {"what": text, "found": text, "cause": text, "cure": text}
_HEADER: dict[str, Check] = {
    "schema": one_of(SCHEMA),
    "run": _run,
    "serial": name,
    "station": name,
    "slot": optional_name,
    "operator": optional_name,
    "plan": members({"name": name, "version": name}),
    "chip": name,
    "versions": members({"console": name, "library": name}),
    "started": started,
    "attempt": _whole(1, ATTEMPTS),
}
_MEASUREMENT: dict[str, Check] = {
    "name": name,
    "condition": condition,
    "value": value,
    "unit": optional_name,
    "low": limit,
    "high": limit,
    "expected": text,
    "verdict": verdict,
}
_END: dict[str, Check] = {
    "verdict": one_of(*VERDICTS),
    "reason": text,
    "cut": text,
    "duration": members({kind: _seconds for kind in DURATIONS}),
    "lines": _whole(1, math.inf),
    "sha256": _sha256,
}


def _line(kind: str, fields: Mapping[str, Check], *optional: str) -> Check:
    return members({"type": one_of(kind), **fields}, frozenset(optional))


#: The check of each type of line.
LINES: dict[str, Check] = {
    "begin": _line("begin", _HEADER),
    "measurement": _line("measurement", _MEASUREMENT, "expected"),
    "step": _line("step", {"title": text}),
    "note": _line("note", {"text": text}),
    "cause": _line("cause", _CAUSE),
    "end": _line("end", _END, "reason", "cut"),
}


def line(value: object) -> str:
    """The check of any line."""
    kind = value.get("type") if isinstance(value, dict) else None
    check = LINES.get(kind) if isinstance(kind, str) else None
    return check(value) if check else f"an object whose type is {', '.join(LINES)}"


def within(value: float, low: float | None, high: float | None) -> bool:
    """Whether a value keeps its limits, both of which are allowed values."""
    return (low is None or low <= value) and (high is None or value <= high)


def contradiction(measurement: Mapping[str, object]) -> str:
    """What a measurement's verdict contradicts, or "". Call it after line()."""
    value, low, high = measurement["value"], measurement["low"], measurement["high"]
    verdict = measurement["verdict"]
    limited = low is not None or high is not None
    if low is not None and high is not None and low > high:  # type: ignore[operator]
        return f"low {low} is above high {high}"
    if limited and isinstance(value, (int, float)):
        right = "PASS" if within(value, low, high) else "FAIL"  # type: ignore[arg-type]
        return "" if verdict == right else f"the verdict {verdict} of {value} within {low} to {high}, which is {right}"
    if limited:
        return "" if verdict == "FAIL" else f"the verdict {verdict} of {value!r}, which is no number within the limits"
    if verdict is not None and "expected" not in measurement:
        return f"the verdict {verdict} where nothing is expected"
    return ""
