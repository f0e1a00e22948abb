# SPDX-License-Identifier: Apache-2.0
"""Rows as a text table."""

from __future__ import annotations

import re
import unicodedata
from typing import Any, Mapping, Sequence

_UNPRINTABLE = re.compile("[\x00-\x1f\x7f-\x9f\u2028-\u202e\u2066-\u2069]")
_PERCENT = ("first pass", "final", "share", "cumulative")


def cell(column: str, value: object) -> str:
    """A value as a person reads it, on one line."""
    if value is None:
        return "-"
    if isinstance(value, float):
        return f"{100 * value:.2f} %" if column in _PERCENT else f"{value:.6g}"
    if isinstance(value, (list, tuple)):
        return "; ".join(cell(column, each) for each in value)
    return _UNPRINTABLE.sub(lambda found: ascii(found[0])[1:-1], str(value))


def _width(text: str) -> int:
    wide = sum(unicodedata.east_asian_width(each) in "WF" for each in text)
    return len(text) + wide - sum(unicodedata.combining(each) > 0 for each in text)


def table(rows: Sequence[Mapping[str, Any]]) -> str:
    """The rows under their column names. Numbers are to the right."""
    if not rows:
        return "nothing found\n"
    columns = list(rows[0])
    cells = [columns, *([cell(column, row[column]) for column in columns] for row in rows)]
    widths = [max(_width(line[place]) for line in cells) for place in range(len(columns))]
    right = [all(isinstance(row[column], (int, float, type(None))) for row in rows) for column in columns]
    return "".join(_line(line, widths, right) for line in cells)


def _line(line: Sequence[str], widths: Sequence[int], right: Sequence[bool]) -> str:
    padded = []
    for text, width, to_the_right in zip(line, widths, right):
        blank = " " * (width - _width(text))
        padded.append(blank + text if to_the_right else text + blank)
    return "  ".join(padded).rstrip() + "\n"
