# SPDX-License-Identifier: Apache-2.0
"""The command orva-records."""

from __future__ import annotations

import argparse
import csv
import gc
import json
import os
import sys
from contextlib import nullcontext
from datetime import datetime
from pathlib import Path
from typing import IO, Any, Callable, ContextManager, Iterable, Optional, Sequence

from orva_records import RecordsError, queries, report, rules
from orva_records.collect import BATCH, DAMAGED, collect
from orva_records.convert import convert
from orva_records.output import check_output, replaced
from orva_records.queries import Filter, Row
from orva_records.record import Header
from orva_records.store import DEFAULT, Store
from orva_records.table import table

#: Exit statuses.
GOOD, SET_ASIDE, ERROR = 0, 1, 2


def _day(text: str) -> str:
    try:
        return datetime.strptime(text, "%Y-%m-%d").date().isoformat()
    except ValueError as error:
        raise argparse.ArgumentTypeError(f"{text!r} is no day; expected one such as 2026-01-31") from error


def _positive(text: str) -> int:
    if text.isascii() and text.isdigit() and 0 < int(text[:9]) == int(text):
        return int(text)
    raise argparse.ArgumentTypeError(f"{text!r}: expected a whole number from 1")


def _given(text: str) -> str:
    if fault := rules.name(text):
        raise argparse.ArgumentTypeError(f"{text[:40]!r}: expected {fault}")
    return text


def _started(text: str) -> str:
    if fault := rules.started(text):
        raise argparse.ArgumentTypeError(f"{text!r}: expected {fault}")
    return text


def _filter(arguments: argparse.Namespace) -> Filter:
    return Filter(**{name: getattr(arguments, name, None) or "" for name in Filter.__dataclass_fields__})


def _print(arguments: argparse.Namespace, rows: Sequence[Row]) -> int:
    if arguments.json:
        print(json.dumps(rows, ensure_ascii=False, indent=1))
    else:
        print(table([_shown(row) for row in rows]), end="")
    return GOOD


def _shown(row: Row) -> Row:
    """A condition as the person wrote it, not as JSON."""
    return {**row, "condition": queries.condition_text(row["condition"]).strip()} if "condition" in row else row


def _convert(arguments: argparse.Namespace) -> int:
    header = Header(
        serial=arguments.serial or "",
        station=arguments.station or "",
        slot=arguments.slot or "",
        operator=arguments.operator or "",
        plan="of the session",
        plan_version=arguments.plan_version,
        chip="of the session",
        console=arguments.console,
        library=arguments.library,
        attempt=arguments.attempt,
        started=arguments.started or "",
    )
    for path in convert(arguments.session, arguments.output, header):
        print(path)
    return GOOD


def _collect(arguments: argparse.Namespace) -> int:
    # A batch is very many small objects, which hold no cycles. To look for some takes a third of the time.
    gc.set_threshold(1_000_000)
    tally = collect(arguments.folder, Store(arguments.database), arguments.batch)
    counts = f"{tally.stored} stored, {tally.known} known already, {tally.running} still running"
    print(f"{arguments.folder}: {counts}, {tally.recovered} of killed runs, {tally.damaged} damaged")
    for problem in tally.problems:
        _complain(problem)
    if tally.damaged:
        _complain(f"{tally.damaged} set aside in {arguments.folder / DAMAGED}; the command damaged says why")
    return ERROR if tally.problems else SET_ASIDE if tally.damaged else GOOD


def _complain(text: str) -> None:
    print(f"orva-records: {text}".encode(errors="backslashreplace").decode(), file=sys.stderr)


def _migrate(arguments: argparse.Namespace) -> int:
    Store(arguments.database).migrate()
    return GOOD


Query = Callable[[Any, Filter, argparse.Namespace], list[Row]]


def _query(query: Query) -> Callable[[argparse.Namespace], int]:
    def run(arguments: argparse.Namespace) -> int:
        with Store(arguments.database).reading() as connection:
            rows = query(connection, _filter(arguments), arguments)
        return _print(arguments, rows)

    return run


def _export(arguments: argparse.Namespace) -> int:
    out: ContextManager[IO[str]] = nullcontext(sys.stdout)
    if arguments.output:
        check_output(arguments.output, arguments.database, (".csv", ".json"))
        out = replaced(arguments.output)
    with Store(arguments.database).reading() as connection, out as file:
        (_write_json if arguments.json else _write_csv)(file, queries.export(connection, _filter(arguments)))
    return GOOD


def _write_csv(file: IO[str], rows: Iterable[tuple[Any, ...]]) -> None:
    writer = csv.writer(file)
    writer.writerow(queries.EXPORTED)
    writer.writerows(rows)


def _write_json(file: IO[str], rows: Iterable[tuple[Any, ...]]) -> None:
    for row in rows:
        file.write(json.dumps(dict(zip(queries.EXPORTED, row)), ensure_ascii=False) + "\n")


def _report(arguments: argparse.Namespace) -> int:
    check_output(arguments.output, arguments.database, (".html",))
    with Store(arguments.database).reading() as connection:
        data = report.gather(connection, _filter(arguments), arguments.reports)
    with replaced(arguments.output) as file:
        file.write(report.page(data))
    return GOOD


def _parser() -> argparse.ArgumentParser:
    parser = argparse.ArgumentParser(
        prog="orva-records",
        description="Stores the records of test runs and answers questions about a line.",
        epilog="Exit status: 0 good, 1 records were set aside as damaged, 2 an error, which the message explains.",
    )
    commands = parser.add_subparsers(dest="command", required=True, metavar="COMMAND")
    _add_spool_commands(commands)
    _add_query_commands(commands)
    _add_output_commands(commands)
    return parser


def _command(commands: Any, name: str, text: str, run: Callable[[argparse.Namespace], int]) -> argparse.ArgumentParser:
    command: argparse.ArgumentParser = commands.add_parser(name, help=text, description=text[0].upper() + text[1:] + ".")
    command.set_defaults(run=run)
    return command


def _add_database(command: argparse.ArgumentParser) -> None:
    command.add_argument("--database", default=DEFAULT, metavar="URL", help="of SQLite or PostgreSQL (default: %(default)s)")


def _add_spool_commands(commands: Any) -> None:
    command = _command(commands, "convert", "make records of what orva-station --json printed", _convert)
    command.add_argument("session", type=Path, metavar="SESSION.json")
    command.add_argument("--serial", type=_given, help="of the unit; needless if the session names it")
    for name in ("station", "slot", "operator"):
        command.add_argument(f"--{name}", type=_given)
    command.add_argument("--plan-version", default="unknown", metavar="VERSION")
    command.add_argument("--console", default="unknown", metavar="VERSION", help="of orva-station")
    command.add_argument("--library", default="unknown", metavar="VERSION")
    command.add_argument("--attempt", type=_positive, default=1, help="of this unit with this plan (default: 1)")
    command.add_argument("--started", type=_started, metavar="TIME", help="with its zone (default: when SESSION.json was written)")
    command.add_argument("--output", "-o", type=Path, default=Path("."), metavar="FOLDER", help="for the records")

    command = _command(commands, "collect", "store a folder's records in a database", _collect)
    command.add_argument("folder", type=Path, metavar="FOLDER")
    command.add_argument("--batch", type=_positive, default=BATCH, help="records in a transaction (default: %(default)s)")
    _add_database(command)
    _add_database(_command(commands, "migrate", "bring a database's schema up to date", _migrate))


def _add_query_commands(commands: Any) -> None:
    def add(name: str, text: str, query: Query, restricted: bool = True) -> argparse.ArgumentParser:
        command = _command(commands, name, text, _query(query))
        command.add_argument("--json", action="store_true", help="print JSON")
        _add_database(command)
        if restricted:
            _add_filter(command)
        return command

    command = add("yield", "first-pass and final yield", lambda db, where, given: queries.yields(db, where, given.by))
    command.add_argument("--by", choices=queries.GROUPS, default="", help="group by this")
    command = add("pareto", "what fails most", lambda db, where, given: queries.pareto(db, where, given.by, given.top))
    command.add_argument("--by", choices=("name", "characteristic"), default="name")
    command.add_argument("--top", type=_positive, default=20, help="rows (default: %(default)s)")
    command = add("cpk", "process capability, the worst first", lambda db, where, given: queries.cpk(db, where, given.name))
    command.add_argument("name", nargs="?", default="", metavar="MEASUREMENT")
    command = add("trend", "a measurement day by day", lambda db, where, given: queries.trend(db, where, given.name))
    command.add_argument("name", metavar="MEASUREMENT")
    command = add("compare", "stations against each other", lambda db, where, given: queries.compare(db, where, given.name))
    command.add_argument("name", nargs="?", default="", metavar="MEASUREMENT")
    command = add("unit", "every run of a unit", lambda db, _, given: queries.unit(db, given.serial), restricted=False)
    command.add_argument("serial", metavar="SERIAL")
    add("damaged", "the files that were set aside, and why", lambda db, *_: queries.damages(db), restricted=False)


def _add_output_commands(commands: Any) -> None:
    command = _command(commands, "export", "every measurement as CSV", _export)
    kind = command.add_mutually_exclusive_group()
    kind.add_argument("--csv", action="store_true", help="CSV as in RFC 4180 (default)")
    kind.add_argument("--json", action="store_true", help="JSON, a line for each measurement")
    command.add_argument("--output", "-o", type=Path, metavar="FILE", help="ends in .csv or .json (default: standard output)")
    _add_database(command)
    _add_filter(command)
    command = _command(commands, "report", "a page about the line", _report)
    command.add_argument("--output", "-o", type=Path, required=True, metavar="FILE.html")
    command.add_argument("--reports", default="", metavar="BASE", help="folder or URL of the runs' pages, BASE/RUN.html")
    _add_database(command)
    _add_filter(command)


def _add_filter(command: argparse.ArgumentParser) -> None:
    for name in ("chip", "station", "plan"):
        command.add_argument(f"--{name}", default="", help=f"only this {name}")
    for name, side in (("since", "from"), ("until", "to")):
        command.add_argument(f"--{name}", type=_day, metavar="DAY", help=f"{side} this day at the station, included")


def main(arguments: Optional[Sequence[str]] = None) -> int:
    """Runs the command and returns its exit status."""
    parsed = _parser().parse_args(arguments)
    try:
        status = int(parsed.run(parsed))
        sys.stdout.flush()
        return status
    except RecordsError as error:
        _complain(str(error))
    except BrokenPipeError:  # the reader has seen enough
        os.dup2(os.open(os.devnull, os.O_WRONLY), sys.stdout.fileno())
    return ERROR
