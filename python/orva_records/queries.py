# SPDX-License-Identifier: Apache-2.0
"""Answers about a line, each a list of rows: dictionaries with the same keys in the same order."""

from __future__ import annotations

import difflib
import json
from dataclasses import dataclass
from typing import Any, Iterator, Optional

import sqlalchemy as sa

from orva_records import RecordsError
from orva_records.statistics import Moments, cpk_of, drift_of
from orva_records.store import characteristics, daily, damaged, events, measurements, runs

Row = dict[str, Any]
#: What yield can be grouped by.
GROUPS = ("chip", "station", "day", "plan", "slot", "operator")
#: A run with one of these says something about the unit. BROKEN and NO VERDICT do not.
JUDGED = ("PASS", "FAIL")

c, d, m, r = characteristics.c, daily.c, measurements.c, runs.c


@dataclass(frozen=True)
class Filter:
    """Which runs count; empty members do not restrict. since and until are days at the station, both included."""

    chip: str = ""
    station: str = ""
    plan: str = ""
    since: str = ""
    until: str = ""

    def __bool__(self) -> bool:
        return any(vars(self).values())

    def conditions(self, columns: Any = r) -> list[Any]:
        """For WHERE, on runs or on a query with its columns."""
        same = [columns[name] == value for name in ("chip", "station", "plan") if (value := getattr(self, name))]
        since = [columns.day >= self.since] if self.since else []
        return same + since + ([columns.day <= self.until] if self.until else [])


def _rows(connection: sa.engine.Connection, query: Any) -> list[Row]:
    return [dict(row) for row in connection.execute(query).mappings()]


def _share(part: float, whole: float) -> Optional[float]:
    return part / whole if whole else None


# A unit is a serial number and a plan. Its first judged run makes the first-pass yield, its last one the final yield;
# both count for the group of the first run.
def _units() -> Any:
    unit = (r.serial, r.plan)
    place = sa.func.row_number().over(partition_by=unit, order_by=(r.started_s, r.run))
    last = sa.func.first_value(r.verdict).over(partition_by=unit, order_by=(r.started_s.desc(), r.run.desc()))
    columns = [r[name] for name in GROUPS]
    query = sa.select(*columns, r.verdict.label("first"), last.label("last"), place.label("place"))
    return query.where(r.verdict.in_(JUDGED)).subquery()


def _count(condition: Any) -> Any:
    return sa.func.sum(sa.case((condition, 1), else_=0))


def yields(connection: sa.engine.Connection, where: Filter, by: str = "") -> list[Row]:
    """First-pass and final yield, as shares of the units tested. by: one of GROUPS, or "" for the whole."""
    unit = _units()
    group = [unit.c[by]] if by else []
    first, last = _count(unit.c.first == "PASS"), _count(unit.c.last == "PASS")
    query = sa.select(*group, sa.func.count().label("units"), first.label("first"), last.label("last"))
    found = _rows(connection, query.where(unit.c.place == 1, *where.conditions(unit.c)).group_by(*group))
    units = {row.get(by, ""): row for row in found}
    total = _run_counts(connection, where, by)
    rows = [_yield_row(by, key, units.get(key, {}), total.get(key, {})) for key in sorted(units.keys() | total.keys())]
    return [row for row in rows if row["runs"]]


def _run_counts(connection: sa.engine.Connection, where: Filter, by: str) -> dict[str, Row]:
    group = [r[by]] if by else []
    counts = {"runs": sa.func.count(), "broken": _count(r.verdict == "BROKEN"), "no verdict": _count(r.verdict == "NO VERDICT")}
    columns = [column.label(name) for name, column in counts.items()] + [sa.func.avg(sa.case((r.verdict != "BROKEN", r.total_s))).label("seconds")]
    query = sa.select(*group, *columns).where(*where.conditions()).group_by(*group)
    return {row.get(by, ""): row for row in _rows(connection, query)}


def _yield_row(by: str, key: str, units: Row, total: Row) -> Row:
    count, first, last = (int(units.get(name) or 0) for name in ("units", "first", "last"))
    return {
        **({by: key} if by else {}),
        "units": count,
        "first pass": _share(first, count),
        "final": _share(last, count),
        "failed units": count - last,
        **{name: int(total.get(name) or 0) for name in ("runs", "broken", "no verdict")},
        "seconds": total.get("seconds"),
    }


def pareto(connection: sa.engine.Connection, where: Filter, by: str = "name", top: int = 20) -> list[Row]:
    """What fails most, by the name of the measurement, or by "characteristic": name and condition."""
    keys = [c.name] if by == "name" else [c.name, c.condition]
    count = sa.func.count(sa.distinct(m.run_id))
    source = measurements.join(characteristics).join(runs)
    query = sa.select(*keys, count.label("runs"), sa.func.count().label("failures")).select_from(source)
    query = query.where(sa.not_(m.held), *where.conditions()).group_by(*keys)
    found = _rows(connection, query.order_by(count.desc(), sa.func.count().desc(), *keys))
    whole, before, rows = sum(row["failures"] for row in found), 0, []
    for row in found[:top]:
        before += row["failures"]
        rows.append({**row, "share": _share(row["failures"], whole), "cumulative": _share(before, whole)})
    return rows


def moments(
    connection: sa.engine.Connection, where: Filter, name: str = "", by: tuple[str, ...] = (), failed: bool = True
) -> dict[tuple[Any, ...], Moments]:
    """Count, mean and deviation of the values by characteristic id and then the columns of daily named in by.

    failed: with the values that failed.
    """
    columns = [d.characteristic_id, *(d[column] for column in by), d.count, d.mean, d.scatter, d.low, d.high]
    query = sa.select(*columns).where(*where.conditions(d))
    if not failed:
        query = query.where(sa.not_(d.failed))
    if name:
        query = query.where(d.characteristic_id.in_(sa.select(c.id).where(c.name == name)))
    found: dict[tuple[Any, ...], Moments] = {}
    for row in connection.execute(query):
        key, each = tuple(row[: 1 + len(by)]), Moments(*row[1 + len(by) :])
        found[key] = found[key] + each if key in found else each
    return found


def _described(connection: sa.engine.Connection, name: str = "") -> dict[int, Row]:
    query = sa.select(c.id, c.name, c.condition, c.unit, c.low, c.high)
    found = _rows(connection, query.where(c.name == name) if name else query)
    if name and not found:
        names = list(connection.scalars(sa.select(c.name).distinct()))
        close = difflib.get_close_matches(name, names, 3)
        raise RecordsError(f"no measurement is named {name!r}" + (f"; did you mean {' or '.join(close)}?" if close else ""))
    return {row.pop("id"): row for row in found}


def _failures(connection: sa.engine.Connection, where: Filter) -> dict[int, int]:
    source = measurements.join(runs) if where else measurements
    query = sa.select(m.characteristic_id, sa.func.count()).select_from(source)
    query = query.where(sa.not_(m.held), *where.conditions()).group_by(m.characteristic_id)
    return {number: count for number, count in connection.execute(query)}


def cpk(connection: sa.engine.Connection, where: Filter, name: str = "") -> list[Row]:
    """Process capability of each characteristic with limits, the worst first. Constant values have none."""
    described = _described(connection, name)
    failed = _failures(connection, where)
    rows = []
    for (number,), found in moments(connection, where, name).items():
        what = described[number]
        value = cpk_of(found, what["low"], what["high"])
        if name or value is not None:
            rows.append({**what, **found.row(), "failed": failed.get(number, 0), "cpk": value})
    return sorted(rows, key=lambda row: (row["cpk"] is None, row["cpk"], row["name"], row["condition"]))


def trend(connection: sa.engine.Connection, where: Filter, name: str) -> list[Row]:
    """A measurement day by day."""
    described = _described(connection, name)
    found = moments(connection, where, name, ("day",))
    rows = [{"day": day, **described[number], **each.row()} for (number, day), each in found.items()]
    return sorted(rows, key=lambda row: (row["condition"], str(row["low"]), row["day"]))


def compare(connection: sa.engine.Connection, where: Filter, name: str = "") -> list[Row]:
    """Stations against each other: each one's offset from the others and its drift, in units of the spread.

    The worst first. The column finding says which exceed what chance explains; "this or B drifts" where nobody can tell
    which of two stations it is. Values that failed are left out: a
    defective unit, whose values are far off, says nothing of the station.
    """
    described = _described(connection, name)
    cells: dict[int, dict[str, dict[str, Moments]]] = {}
    for (number, station, day), found in moments(connection, where, name, ("station", "day"), failed=False).items():
        cells.setdefault(number, {}).setdefault(station, {})[day] = found
    rows = []
    for number, stations in cells.items():
        what = described[number]
        rows += [{"station": station, **what, **each} for station, each in drift_of(stations).items()]
    return sorted(rows, key=lambda row: (not row["finding"], -max(abs(row["offset"]), abs(row["drift"] or 0))))


def unit(connection: sa.engine.Connection, serial: str) -> list[Row]:
    """Every run of a unit, in order of time, with what failed and why."""
    query = sa.select(runs).where(r.serial == serial).order_by(r.started_s, r.run)
    found = _rows(connection, query)
    if not found:
        raise RecordsError(f"no run of a unit with the serial number {serial!r}")
    return [_unit_row(connection, row) for row in found]


def _unit_row(connection: sa.engine.Connection, run: Row) -> Row:
    query = sa.select(c.name, c.condition, m.value, m.text, c.low, c.high, c.expected)
    failed = sa.and_(m.run_id == run["id"], sa.not_(m.held))
    failures = _rows(connection, query.select_from(measurements.join(characteristics)).where(failed).order_by(m.position))
    told = sa.select(events.c.text).where(events.c.run_id == run["id"], events.c.kind == "cause")
    causes = list(connection.scalars(told.order_by(events.c.position)))
    shown = ("started", "station", "slot", "operator", "plan", "plan_version", "chip", "attempt", "verdict", "total_s", "run")
    return {
        **{key: run[key] for key in shown},
        "failed": [failure_text(row) for row in failures],
        "causes": causes + ([run["reason"]] if run["reason"] else []),
    }


def failure_text(row: Row) -> str:
    """A failed measurement in one line."""
    limits = row["expected"]
    if limits is None:
        low, high = ("" if end is None else f"{end:.10g}" for end in (row["low"], row["high"]))
        limits = low if low == high else f"{low}..{high}"
    value = row["text"] if row["value"] is None else f"{row['value']:.10g}"
    return f"{row['name']}{condition_text(row['condition'])} {value if value is not None else 'nothing'}, expected {limits}"


def condition_text(condition: str) -> str:
    """A characteristic's condition behind its name: " channel=2442 chain=0"."""
    return "".join(f" {key}={value}" for key, value in json.loads(condition).items())


def failing_units(connection: sa.engine.Connection, where: Filter, top: int) -> list[Row]:
    """The units with the most failed runs, the latest first among equals."""
    failed = _count(r.verdict == "FAIL")
    columns = [r.serial, failed.label("failed"), sa.func.count().label("runs"), sa.func.max(r.started_s).label("last")]
    query = sa.select(*columns).where(*where.conditions()).group_by(r.serial).having(failed > 0)
    return _rows(connection, query.order_by(failed.desc(), sa.text("last DESC"), r.serial).limit(top))


IDENTITY = ("name", "condition", "unit", "low", "high")


def identity(row: Row) -> tuple[Any, ...]:
    """What tells a characteristic's row from another's."""
    return tuple(row[column] for column in IDENTITY)


def numbers(connection: sa.engine.Connection, name: str = "") -> dict[tuple[Any, ...], int]:
    """The ids of the characteristics by their identity."""
    return {identity(row): number for number, row in _described(connection, name).items()}


def values(connection: sa.engine.Connection, where: Filter, number: int) -> list[float]:
    """All values of one characteristic."""
    query = sa.select(m.value).select_from(measurements.join(runs) if where else measurements)
    return list(connection.scalars(query.where(m.characteristic_id == number, m.value.isnot(None), *where.conditions())))


def damages(connection: sa.engine.Connection) -> list[Row]:
    """The files that were set aside, and why."""
    columns = [damaged.c[name] for name in ("file", "reason", "set_aside", "sha256")]
    return _rows(connection, sa.select(*columns).order_by(damaged.c.id))


OF_RUN = ("run", "serial", "station", "slot", "operator", "plan", "plan_version", "chip", "started", "attempt")
OF_MEASUREMENT = ("name", "condition", "value", "text", "unit", "low", "high", "expected", "verdict")
#: The columns of export().
EXPORTED = (*OF_RUN, "run_verdict", *OF_MEASUREMENT)


def export(connection: sa.engine.Connection, where: Filter) -> Iterator[tuple[Any, ...]]:
    """Every measurement with its run, in order of time: the values of EXPORTED. A run without measurements has one row."""
    columns = [r[name] for name in OF_RUN] + [r.verdict.label("run_verdict")]
    columns += [c.name, c.condition, m.value, m.text, c.unit, c.low, c.high, c.expected]
    verdict = sa.case((m.held.is_(None), None), (m.held, "PASS"), else_="FAIL")
    source = runs.outerjoin(measurements).outerjoin(characteristics)
    query = sa.select(*columns, verdict.label("verdict")).select_from(source).where(*where.conditions())
    streamed = connection.execution_options(stream_results=True, max_row_buffer=5000)
    for rows in streamed.execute(query.order_by(r.started_s, r.id, m.position)).partitions(5000):
        yield from map(tuple, rows)
