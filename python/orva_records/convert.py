# SPDX-License-Identifier: Apache-2.0
"""Makes records of what `orva-station --json` prints, one for each session.

An expectation becomes a measurement; the call's arguments and the point of a sweep become its condition. A session
without its end line becomes a BROKEN record. A session that names its identity keeps its run id, which its own record
has too. Else the run id follows from the input and the identity given, not from the file's time. So converting again
gives the same run, which is stored once.
"""

from __future__ import annotations

import hashlib
import json
import re
import uuid
from dataclasses import replace
from datetime import datetime, timedelta
from pathlib import Path
from typing import Any, Optional, Sequence

from orva_records import RecordsError, rules
from orva_records.record import SUFFIX, Header, RecordWriter

_CAUSE = ("what", "found", "cause", "cure")
_WHOLE = re.compile(r"-?(0[xX][0-9a-fA-F]+|[0-9]+)")
_FRACTION = re.compile(r"-?([0-9]+\.?[0-9]*|\.[0-9]+)")
#: Digits that a number would not give back: an identifier, as 0117.
_CODE = re.compile(r"-?(0[0-9].*|[0-9]{16,})", re.DOTALL)
ONE_SHOT = "one-shot call"
#: From one session of a file to the next. Their wall-clock times are unknown, their order is not; this little does not
#: reach into the next file.
APART = timedelta(milliseconds=1)


def sessions_of(path: Path) -> list[list[dict[str, Any]]]:
    """The lines of each session. Raises RecordsError for what the console did not print."""
    sessions: list[list[dict[str, Any]]] = []
    for number, line in enumerate(_lines(path), start=1):
        try:
            value = json.loads(line)
            kind = value["type"]
        except (ValueError, KeyError, TypeError) as error:
            raise RecordsError(f"{path}:{number}: expected a line of orva-station --json: {error!r}") from error
        if kind == "begin":
            if value.get("version") != 1:
                raise RecordsError(f"{path}:{number}: version {value.get('version')} of the format, expected 1")
            sessions.append([])
        if kind != "summary":
            if not sessions:
                raise RecordsError(f"{path}:{number}: expected a session's begin line, got {kind!r}")
            sessions[-1].append(value)
    if not sessions:
        raise RecordsError(f"{path}: expected a session of orva-station --json, found none")
    return sessions


def _lines(path: Path) -> list[str]:
    try:
        with path.open(encoding="utf-8") as file:
            return list(file)  # not splitlines(), which also splits at U+2028 and others that JSON leaves bare
    except OSError as error:
        raise RecordsError(f"{path}: {error.strerror}") from error
    except UnicodeDecodeError as error:
        raise RecordsError(f"{path}: expected UTF-8: {error}") from error


def convert(path: Path, folder: Path, header: Header) -> list[Path]:
    """Writes one record for each session into folder and returns their paths.

    header: as for RecordWriter; run, plan and chip come from the sessions. Of a session that names its identity, header
    gives only what is empty there. An empty started stands for the time at which the file was written. A record that is
    there already stays.
    """
    paths = []
    first = header.started or _written(path)
    for number, lines in enumerate(sessions_of(path)):
        begin = lines[0]
        try:
            if "identity" in begin:
                known = _identity(header, begin)
            else:
                plan = begin["session"].rpartition("/")[2] or ONE_SHOT
                known = replace(header, plan=plan, chip=begin["chip"], run="")
                known = replace(known, run=_derived(known, number, lines), started=_started(first, number))
            if not (known.serial and known.station):
                raise RecordsError(f"{path}: session {number + 1} names no serial and station; give --serial and --station")
            paths.append(_write(folder, known, lines))
        except (KeyError, TypeError, AttributeError) as error:
            raise RecordsError(f"{path}: session {number + 1} lacks what orva-station --json prints: {error!r}") from error
    return paths


def _derived(header: Header, number: int, lines: Sequence[dict[str, Any]]) -> str:
    content = json.dumps([header.line(), number, lines], sort_keys=True)
    return str(uuid.uuid5(uuid.NAMESPACE_OID, hashlib.sha256(content.encode()).hexdigest()))


def _identity(header: Header, begin: dict[str, Any]) -> Header:
    """What the console knew of the session; header fills what it did not."""
    known = begin["identity"]
    texts = {name: known[name] or getattr(header, name) for name in ("serial", "station", "slot", "operator")}
    return Header(
        **texts,
        plan=known["plan"]["name"],
        plan_version=known["plan"]["version"],
        chip=begin["chip"],
        console=known["versions"]["console"],
        library=known["versions"]["library"],
        attempt=known["attempt"],
        started=known["started"],
        run=known["run"],
    )


def _written(path: Path) -> str:
    try:
        return datetime.fromtimestamp(path.stat().st_mtime).astimezone().isoformat(timespec="milliseconds")
    except OSError as error:
        raise RecordsError(f"{path}: {error.strerror}") from error


def _started(first: str, number: int) -> str:
    return (datetime.fromisoformat(first) + number * APART).isoformat() if number else first


def _write(folder: Path, header: Header, lines: Sequence[dict[str, Any]]) -> Path:
    written = folder / (header.run + SUFFIX)
    if written.exists():
        return written
    record = RecordWriter(folder, header)
    try:
        return _fill(record, lines)
    except BaseException:
        record.abandon()
        raise


def _fill(record: RecordWriter, lines: Sequence[dict[str, Any]]) -> Path:
    end = lines[-1] if lines[-1]["type"] == "end" else None
    for line in lines:
        _write_line(record, line, one_shot=not lines[0]["session"])
    if end:
        record.spend(total_s=end["phone_us"] / 1e6)
        record.spend(**{kind: end["time"][f"{kind[:-2]}_us"] / 1e6 for kind in rules.DURATIONS[1:]})
    if not end or end["verdict"] == "BROKEN":
        errors = [line["text"] for line in lines if line["type"] == "error"]
        return record.broken("; ".join(errors) or "the session has no end line: the console ended before it")
    if record.verdict != end["verdict"]:
        raise RecordsError(f"{lines[0]['session']}: its rows give {record.verdict}, its end line {end['verdict']}")
    return record.finish()


def _write_line(record: RecordWriter, line: dict[str, Any], one_shot: bool) -> None:
    kind = line["type"]
    if kind == "step":
        record.step(line["title"])
    elif kind == "note":
        record.note(line["text"])
    elif kind == "expectation":
        _measure(record, line["what"], line, {}, _point(line))
    elif kind == "call":
        _write_call(record, line, one_shot)


def _write_call(record: RecordWriter, call: dict[str, Any], one_shot: bool) -> None:
    for expectation in call["expectations"]:
        known = {"result": call["result"], **call["outputs"]}.get(expectation["what"])
        _measure(record, f"{call['function']} {expectation['what']}", expectation, call["arguments"], _point(call),
                 text=isinstance(known, str))
    if one_shot and not call["expectations"]:
        good = call["outcome"] != "bad"
        record.expect(f"{call['function']} result", call["result"], "success", good, condition=call["arguments"])
    for cause in call["causes"]:
        record.cause(*(cause[member] for member in _CAUSE))


def _point(line: dict[str, Any]) -> dict[str, rules.Scalar]:
    """The point of a sweep, "mhz 5500 power 500", as a condition."""
    words = line.get("point", "").split()
    if len(words) % 2 or "{" in line.get("point", ""):
        return {"point": line["point"]}
    return {name: _plain(value) for name, value in zip(words[::2], words[1::2])}


def _number(text: str, otherwise: Any) -> Any:
    """The number that the console takes the text for: a whole one of 64 bits, or a decimal fraction."""
    if _WHOLE.fullmatch(text) and abs(whole := int(text, 16 if "x" in text.lower() else 10)) < 2**63:
        return whole
    if _FRACTION.fullmatch(text) and not rules.number(fraction := float(text)):
        return fraction
    return otherwise


def _plain(text: str) -> rules.Scalar:
    return text if _CODE.fullmatch(text) else _number(text, text)


def limits_of(text: str) -> Optional[tuple[Optional[float], Optional[float]]]:
    """The two limits of "5", "-70..-40", "10.." or "..0"; None for any other expectation."""
    low, dots, high = text.partition("..")
    ends = (low, high) if dots else (low, low)
    numbers = [_number(end, None) for end in ends]
    wrong = any(end and number is None for end, number in zip(ends, numbers))
    return None if wrong or numbers == [None, None] else (numbers[0], numbers[1])


def _measure(
    record: RecordWriter, name: str, expectation: dict[str, Any], arguments: dict[str, Any], point: dict[str, Any],
    text: bool = False,
) -> None:
    wanted, got = expectation["limits"], expectation["got"]
    own = {key: _plain(each) for key, each in expectation.get("condition", {}).items()}
    unit, condition = expectation.get("unit", ""), {**arguments, **own, **point}
    value, limits = got if text else _plain(got), limits_of(wanted)
    # A refused call's 4294967295 is no value: the console does not let a range allow it.
    if limits and not isinstance(value, str) and rules.within(value, *limits) == expectation["held"]:
        record.measure(name, value, unit=unit, low=limits[0], high=limits[1], condition=condition)
    else:
        record.expect(name, value, wanted, expectation["held"], unit=unit, condition=condition)
