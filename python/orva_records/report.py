# SPDX-License-Identifier: Apache-2.0
"""The page about a line: one file with its data, its plots and the library that draws them."""

from __future__ import annotations

import json
import math
from pathlib import Path
from typing import Any, Optional
from urllib.parse import quote, urlsplit

import jinja2
import sqlalchemy as sa

from orva_records import RecordsError, queries, table
from orva_records.queries import Filter, Row
from orva_records.record import now

PAGE = Path(__file__).parent / "page"
#: From Debian's package libjs-chart.js.
PLOTS = Path("/usr/share/javascript/chart.js/chart.min.js")
HISTOGRAMS = 12
BARS = 40
#: Rows of each table, and plots of drift.
TOP = 25
DRIFTS = 6


def gather(connection: sa.engine.Connection, where: Filter, reports: str = "") -> dict[str, Any]:
    """What the page shows. reports: folder or URL of the runs' own pages, named RUN.html; "" for no links."""
    capability = queries.cpk(connection, where)
    stations = queries.compare(connection, where)
    return {
        "made": now(),
        "filter": {name: value for name, value in vars(where).items() if value},
        "total": next(iter(queries.yields(connection, where)), None),
        "days": queries.yields(connection, where, "day"),
        "groups": {by: queries.yields(connection, where, by) for by in ("station", "chip", "plan")},
        "pareto": queries.pareto(connection, where, "name", TOP),
        "capability": capability[:TOP],
        "characteristics": len(capability),
        "histograms": _histograms(connection, where, capability),
        "findings": [row for row in stations if row["finding"]][:TOP],
        "findings_count": sum(bool(row["finding"]) for row in stations),
        "compared": len({row["station"] for row in stations}),
        "drifts": _drifts(connection, where, stations),
        "units": [_with_history(connection, row, reports) for row in queries.failing_units(connection, where, TOP)],
        "damaged": len(queries.damages(connection)),
    }


def _histograms(connection: sa.engine.Connection, where: Filter, capability: list[Row]) -> list[Row]:
    worst = [row for row in capability if row["cpk"] is not None][:HISTOGRAMS]
    numbers = queries.numbers(connection)
    found = []
    for row in worst:
        values = queries.values(connection, where, numbers[queries.identity(row)])
        found.append({**row, "title": _title(row), "bars": bars_of(values, row["low"], row["high"])})
    return found


def _title(row: Row) -> str:
    return f"{row['name']}{queries.condition_text(row['condition'])}"


def bars_of(values: list[float], low: Optional[float], high: Optional[float]) -> list[tuple[float, int]]:
    """A histogram as middles and counts. It spans the values and the limits; far outliers go into the outer bars."""
    ordered = sorted(values)
    quarter, rest = ordered[len(ordered) // 4], ordered[(3 * len(ordered)) // 4]
    reach = 6 * (rest - quarter) or (ordered[-1] - ordered[0]) or 1.0
    begin = min([max(ordered[0], quarter - reach)] + ([low] if low is not None else []))
    end = max([min(ordered[-1], rest + reach)] + ([high] if high is not None else []))
    width = (end - begin) / BARS or 1.0
    counts = [0] * BARS
    for value in ordered:
        counts[max(0, min(BARS - 1, math.floor((value - begin) / width)))] += 1
    return [(begin + (place + 0.5) * width, count) for place, count in enumerate(counts)]


def _drifts(connection: sa.engine.Connection, where: Filter, stations: list[Row]) -> list[Row]:
    """The daily means by station of the characteristics in which a station stands out, each station and kind first."""
    told: set[tuple[str, ...]] = set()
    rows: list[Row] = []
    for row in sorted(stations, key=lambda row: bool(not row["finding"].endswith("drifts"))):
        what = (row["station"], row["finding"], row["name"])
        if row["finding"] and what not in told and len(rows) < DRIFTS:
            told.add(what)
            rows.append({**row, "title": _title(row), "stations": _daily(connection, where, row)})
    return rows


def _daily(connection: sa.engine.Connection, where: Filter, row: Row) -> dict[str, list[tuple[str, float]]]:
    wanted = queries.numbers(connection, row["name"])[queries.identity(row)]
    series: dict[str, list[tuple[str, float]]] = {}
    for (number, station, day), found in queries.moments(connection, where, row["name"], ("station", "day"), failed=False).items():
        if number == wanted:
            series.setdefault(station, []).append((day, found.mean))
    return {station: sorted(days) for station, days in sorted(series.items())}


def _with_history(connection: sa.engine.Connection, row: Row, reports: str) -> Row:
    history = queries.unit(connection, row["serial"])
    for run in history:
        run["link"] = link(reports, run["run"])
    return {**row, "history": history}


def link(reports: str, run: str) -> str:
    """Where a run's own page is; "" if reports is. Raises RecordsError for a base that is no folder and no URL."""
    if not reports:
        return ""
    scheme = urlsplit(reports).scheme
    if scheme not in ("", "http", "https", "file"):
        raise RecordsError(f"{reports!r}: expected a folder, or a URL of http, https or file")
    base = reports if scheme else quote(reports)
    return f"{base.rstrip('/')}/{run}.html"


def _embedded(value: Any) -> str:
    """JSON that cannot end the script element it stands in."""
    return json.dumps(value, ensure_ascii=True).replace("<", "\\u003c").replace("&", "\\u0026")


def _library() -> str:
    try:
        return PLOTS.read_text(encoding="utf-8")
    except OSError as error:
        raise RecordsError(f"{PLOTS}: {error.strerror}; the package libjs-chart.js has it") from error


def page(data: dict[str, Any]) -> str:
    """The page as HTML."""
    loader = jinja2.FileSystemLoader(PAGE)
    environment = jinja2.Environment(loader=loader, autoescape=True, undefined=jinja2.StrictUndefined, trim_blocks=True)
    environment.filters["shown"] = lambda row, column: table.cell(column, row[column])
    environment.filters["where"] = lambda row: queries.condition_text(row["condition"]).strip()
    plotted = {name: data[name] for name in ("days", "pareto", "histograms", "drifts")}
    parts = {"plots": _library(), "script": (PAGE / "page.js").read_text(), "style": (PAGE / "page.css").read_text()}
    return environment.get_template("page.html").render(data, **parts, embedded=_embedded(plotted))
