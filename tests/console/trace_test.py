# SPDX-License-Identifier: Apache-2.0
"""Each field of a recording counts: a copy with another value in it is not the same recording."""
import copy
import json

import pytest

from support.console import station
from support.console_book import FOLDER

# Times may differ; names and places of scripts do not matter. The first line and the end are checked elsewhere.
UNCOMPARED = {"type", "at_us", "at", "session", "version", "calls"}
# What the library does, as against what the phone answers: replay makes it anew and compares it.
DONE_BY_THE_LIBRARY = {"command", "sent", "us", "priority", "number", "outputs", "on"}


@pytest.fixture(scope="module")
def recording(tmp_path_factory):
    path = tmp_path_factory.mktemp("recording") / "unit.trace"
    station("--quiet", "--chip", "vq2040", "--trace", path, "run", FOLDER / "everything.tcl")
    return path


def changed(value):
    if isinstance(value, int):
        return value + 1
    if isinstance(value, str):
        return ("7F" if value[:2] != "7F" else "7E") + value[2:]  # may be hexadecimal
    return {**value, "another": "1"} if isinstance(value, dict) else [*value, "7"]


def fields(lines):
    """The first line of each type and kind with each field, as (index, field)."""
    found = {}
    for i, line in enumerate(lines):
        for field in set(line) - UNCOMPARED:
            found.setdefault((line["type"], line.get("kind"), field), (i, field))
    return sorted(found.values())


def test_a_change_of_any_field_is_a_difference(recording, tmp_path):
    lines = [json.loads(line) for line in recording.read_text().splitlines()]
    places, missed = fields(lines), []
    assert len({lines[i].get("kind") for i, _ in places}) == 18, "the session has every kind of contact"
    assert [station(*words, recording).returncode for words in (["replay"], ["diff", recording])] == [0, 0]
    for i, field in places:
        other = copy.deepcopy(lines)
        other[i][field] = changed(other[i][field])
        path = tmp_path / "other.trace"
        path.write_text("".join(json.dumps(line) + "\n" for line in other))
        words = [["diff", recording, path], ["diff", path, recording]]
        words += [["replay", path]] if field in DONE_BY_THE_LIBRARY else []
        # A kind, function or chip that does not exist is an error instead.
        statuses = {2} if field in ("kind", "function") else {1}
        missed += [(word[0], lines[i], field) for word in words if station(*word).returncode not in statuses]
    assert missed == []


def test_a_line_left_out_is_a_difference_or_damage(recording, tmp_path):
    lines = recording.read_text().splitlines()
    kinds = {(json.loads(line)["type"], json.loads(line).get("kind")): i for i, line in enumerate(lines)}
    for (kind, _), i in kinds.items():
        path = tmp_path / "other.trace"
        path.write_text("\n".join(lines[:i] + lines[i + 1:]) + "\n")
        status = station("diff", recording, path).returncode
        assert (lines[i], status) == (lines[i], 1 if kind == "contact" else 2)
