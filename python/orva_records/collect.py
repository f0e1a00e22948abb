# SPDX-License-Identifier: Apache-2.0
"""Stores a folder's records in a database.

A record moves to collected/ once it is stored, a damaged one to damaged/ once its reason is. What cannot be stored now
stays in the folder for the next call. Nothing is deleted: a record found twice with the same content is moved once.
"""

from __future__ import annotations

import hashlib
import os
from dataclasses import dataclass, field
from datetime import datetime
from pathlib import Path
from typing import Any, Iterator, Sequence

import sqlalchemy as sa
from sqlalchemy.dialects import postgresql, sqlite

from orva_records import RecordsError
from orva_records.reader import Characteristic, DamagedRecord, Measurement, Record, read
from orva_records.record import PART, SUFFIX, derived, now, recover
from orva_records.rules import DURATIONS
from orva_records.statistics import Moments
from orva_records.store import Store, add_rows, characteristics, daily, damaged, events, measurements, runs

COLLECTED = "collected"
DAMAGED = "damaged"
BATCH = 100
#: Placeholders in one statement: SQLite's older limit.
PARAMETERS = 500


@dataclass
class Tally:
    """What one call did, in files. running: not ended by their writer. problems: what is left for the next call, and why."""

    stored: int = 0
    known: int = 0
    damaged: int = 0
    recovered: int = 0
    running: int = 0
    problems: list[str] = field(default_factory=list)


def collect(folder: Path, store: Store, batch: int = BATCH) -> Tally:
    """Stores what is in folder, batch by batch.

    Raises RecordsError if the database fails; from that batch on the spool is as it was. A file that fails alone does not
    keep the others from being stored.
    """
    tally = Tally()
    if not folder.is_dir():
        raise RecordsError(f"{folder}: expected a folder of records")
    store.migrate()
    _recover(folder, tally)
    # The runs of a day together: they share their rows of the daily moments.
    paths = sorted((path for path in _files(folder) if path.name.endswith(SUFFIX)), key=_written)
    for begin in range(0, len(paths), batch):
        _collect_batch(folder, paths[begin : begin + batch], store, tally)
    return tally


def _files(folder: Path) -> list[Path]:
    with os.scandir(folder) as entries:
        return [folder / entry.name for entry in entries if entry.is_file(follow_symlinks=False)]


def _written(path: Path) -> tuple[int, Path]:
    try:
        return path.stat().st_mtime_ns, path
    except FileNotFoundError:  # another collector moved it
        return 0, path


def _recover(folder: Path, tally: Tally) -> None:
    for part in sorted(path for path in _files(folder) if path.name.endswith(PART)):
        try:
            recovered = recover(part)
        except (OSError, RecordsError) as error:
            tally.problems.append(str(error))
            continue
        tally.recovered += recovered is not None
        tally.running += recovered is None


@dataclass(frozen=True)
class _Damage:
    path: Path
    sha256: str
    reason: str


def _collect_batch(folder: Path, paths: Sequence[Path], store: Store, tally: Tally) -> None:
    good: list[tuple[Path, Record]] = []
    bad: list[_Damage] = []
    for path, content in _contents(paths, tally):
        try:
            good.append((path, read(content)))
        except DamagedRecord as error:
            bad.append(_Damage(path, hashlib.sha256(content).hexdigest(), str(error)))
    with store.writing() as connection:
        stored, others = _store(connection, good)
        bad += others
        _store_damages(connection, bad)
    refused = {damage.path for damage in bad}
    for path, _ in good:
        if path not in refused:
            _move(path, folder / COLLECTED, tally)
    for damage in bad:
        _move(damage.path, folder / DAMAGED, tally)
    tally.stored += stored
    tally.damaged += len(bad)
    tally.known += len(good) - stored - len(others)


def _contents(paths: Sequence[Path], tally: Tally) -> Iterator[tuple[Path, bytes]]:
    for path in paths:
        try:
            yield path, path.read_bytes()
        except FileNotFoundError:  # another collector moved it
            continue
        except OSError as error:
            tally.problems.append(f"{path}: {error.strerror}; a record must be readable")


def _store(connection: sa.engine.Connection, records: Sequence[tuple[Path, Record]]) -> tuple[int, list[_Damage]]:
    """Stores the records whose run is new. Returns their number, and those of a known run with another content.

    A converted record may differ in its start alone, which is then the time of a copy of the session's file.
    """
    known = _found(connection, runs.c.run, runs.c.sha256, [record.header["run"] for _, record in records])
    fresh: dict[str, Record] = {}
    others = []
    for path, record in records:
        run = record.header["run"]
        has = known.get(run) or (fresh[run].sha256 if run in fresh else record.sha256)
        if has != record.sha256 and not derived(run):
            others.append(_Damage(path, record.sha256, f"run {run} is stored already with another content"))
        elif run not in known:
            fresh[run] = record
    if fresh:
        _insert(connection, list(fresh.values()))
    return len(fresh), others


def _found(
    connection: sa.engine.Connection, key: sa.Column[str], value: sa.Column[Any], keys: Sequence[str]
) -> dict[str, Any]:
    """The values of those of the keys that are stored."""
    found = {}
    for begin in range(0, len(keys), PARAMETERS):
        query = sa.select(key, value).where(key.in_(keys[begin : begin + PARAMETERS]))
        found.update({stored: its for stored, its in connection.execute(query)})
    return found


def _insert(connection: sa.engine.Connection, records: Sequence[Record]) -> None:
    first = (connection.scalar(sa.select(sa.func.max(runs.c.id))) or 0) + 1
    numbered = list(enumerate(records, start=first))  # the writer is alone, so the ids are its own
    ids = _characteristics(connection, {each.what.key: each.what for record in records for each in record.measurements})
    connection.execute(runs.insert(), [_run_row(number, record) for number, record in numbered])
    add_rows(connection, measurements, [_measurement_row(number, each, ids) for number, record in numbered for each in record.measurements])
    _add_daily(connection, records, ids)
    texts = [_event_row(number, position, line) for number, record in numbered for position, line in record.events]
    if texts:
        connection.execute(events.insert(), texts)


Group = tuple[Any, ...]


def _add_daily(connection: sa.engine.Connection, records: Sequence[Record], ids: dict[str, int]) -> None:
    values: dict[Group, list[float]] = {}
    for record in records:
        group = _group(record)
        for each in record.measurements:
            if isinstance(each.value, (int, float)):
                values.setdefault((ids[each.what.key], *group, each.verdict == "FAIL"), []).append(float(each.value))
    keys = daily.primary_key.columns.keys()
    new = [{**dict(zip(keys, group)), **vars(Moments.of(some))} for group, some in values.items()]
    if new:
        connection.execute(_merge(connection.dialect.name), new)


def _group(record: Record) -> Group:
    header = record.header
    return header["started"][:10], header["station"], header["chip"], header["plan"]["name"]


def _merge(engine: str) -> Any:
    """Inserts moments or adds them to those that are there: Moments.__add__ in SQL."""
    insert: Any = (sqlite.insert if engine == "sqlite" else postgresql.insert)(daily)
    old, new = daily.c, insert.excluded
    count = old.count + new.count
    away, part = new.mean - old.mean, sa.cast(new.count, sa.Float(53)) / count
    lower, higher = (sa.func.min, sa.func.max) if engine == "sqlite" else (sa.func.least, sa.func.greatest)
    merged = {
        "count": count,
        "mean": old.mean + away * part,
        "scatter": old.scatter + new.scatter + away * away * old.count * part,
        "low": lower(old.low, new.low),
        "high": higher(old.high, new.high),
    }
    return insert.on_conflict_do_update(index_elements=daily.primary_key.columns, set_=merged)


def _run_row(number: int, record: Record) -> dict[str, Any]:
    header, end = record.header, record.end
    same = ("run", "serial", "station", "slot", "operator", "chip", "started", "attempt")
    return {
        "id": number,
        **{key: header[key] for key in same},
        "plan": header["plan"]["name"],
        "plan_version": header["plan"]["version"],
        "console": header["versions"]["console"],
        "library": header["versions"]["library"],
        "started_s": datetime.fromisoformat(header["started"]).timestamp(),
        "day": header["started"][:10],
        "verdict": end["verdict"],
        "reason": end.get("reason", ""),
        **{kind: end["duration"][kind] for kind in DURATIONS},
        "sha256": record.sha256,
    }


_HELD = {"PASS": True, "FAIL": False, None: None}


def _measurement_row(number: int, found: Measurement, ids: dict[str, int]) -> tuple[Any, ...]:
    """The values of the table's columns."""
    value, text = found.value, None
    if isinstance(value, str):
        value, text = None, value
    return number, found.position, ids[found.what.key], value if value is None else float(value), text, _HELD[found.verdict]


def _event_row(number: int, position: int, line: dict[str, Any]) -> dict[str, Any]:
    text = "; ".join(part for member, part in line.items() if member != "type" and part)
    return {"run_id": number, "position": position, "kind": line["type"], "text": text}


def _characteristics(connection: sa.engine.Connection, wanted: dict[str, Characteristic]) -> dict[str, int]:
    """The ids of the characteristics by their keys. New ones are stored."""
    columns = characteristics.c.key, characteristics.c.id
    ids = _found(connection, *columns, list(wanted))
    new = [what._asdict() for key, what in wanted.items() if key not in ids]
    if new:
        connection.execute(characteristics.insert(), new)
        ids.update(_found(connection, *columns, [row["key"] for row in new]))
    return ids


def _store_damages(connection: sa.engine.Connection, bad: Sequence[_Damage]) -> None:
    for damage in bad:
        name = os.fsencode(damage.path.name).decode(errors="backslashreplace")
        same = sa.and_(damaged.c.file == name, damaged.c.sha256 == damage.sha256)
        if connection.execute(sa.select(damaged.c.id).where(same)).first() is None:
            row = {"file": name, "sha256": damage.sha256, "reason": damage.reason, "set_aside": now()}
            connection.execute(damaged.insert(), row)


def _move(path: Path, folder: Path, tally: Tally) -> None:
    """Moves a file into a folder, beside what is there. The same name and content is there once."""
    try:
        folder.mkdir(exist_ok=True)
        for number in range(1000):
            target = folder / (path.name if not number else f"{path.name[:200]}.{number}")
            if _moved(path, target):
                return
    except FileNotFoundError:  # another collector moved it
        return
    except OSError as error:
        tally.problems.append(f"{path}: stored, but it cannot move to {folder}: {error.strerror}")
        return
    tally.problems.append(f"{path}: stored, but {folder} has a thousand other files of this name")


def _moved(path: Path, target: Path) -> bool:
    try:
        os.link(path, target)  # unlike a rename it never overwrites
    except FileExistsError:
        if target.read_bytes() != path.read_bytes():
            return False
    path.unlink()
    return True
