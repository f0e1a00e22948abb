# SPDX-License-Identifier: Apache-2.0
"""The database: its tables, how to reach it, and its migrations. SQLite and PostgreSQL."""

from __future__ import annotations

import io
from contextlib import contextmanager
from pathlib import Path
from typing import Any, Iterator, Sequence

import sqlalchemy as sa
from alembic import command, config, script
from alembic.migration import MigrationContext
from alembic.util.exc import CommandError

from orva_records import RecordsError

DEFAULT = "sqlite:///orva-records.sqlite"
MIGRATIONS = Path(__file__).parent / "migrations"
#: Seconds that a collector waits for another one, and for a server.
LOCK_S = 120
CONNECT_S = 10
#: Held in PostgreSQL by the one collector that writes. Any number that no other program uses.
LOCK = 0x6F727661

metadata = sa.MetaData()

runs = sa.Table(
    "runs",
    metadata,
    sa.Column("id", sa.Integer, primary_key=True),
    sa.Column("run", sa.String(36), nullable=False, unique=True),
    sa.Column("serial", sa.Text, nullable=False),
    sa.Column("station", sa.Text, nullable=False),
    sa.Column("slot", sa.Text, nullable=False),
    sa.Column("operator", sa.Text, nullable=False),
    sa.Column("plan", sa.Text, nullable=False),
    sa.Column("plan_version", sa.Text, nullable=False),
    sa.Column("chip", sa.Text, nullable=False),
    sa.Column("console", sa.Text, nullable=False),
    sa.Column("library", sa.Text, nullable=False),
    sa.Column("started", sa.Text, nullable=False),  # as in the record
    sa.Column("started_s", sa.Float(53), nullable=False),  # since 1970, to sort by
    sa.Column("day", sa.String(10), nullable=False),  # at the station
    sa.Column("attempt", sa.Integer, nullable=False),
    sa.Column("verdict", sa.String(10), nullable=False),
    sa.Column("reason", sa.Text, nullable=False),
    sa.Column("total_s", sa.Float(53), nullable=False),
    sa.Column("pauses_s", sa.Float(53), nullable=False),
    sa.Column("driver_s", sa.Float(53), nullable=False),
    sa.Column("shell_s", sa.Float(53), nullable=False),
    sa.Column("library_s", sa.Float(53), nullable=False),
    sa.Column("sha256", sa.String(64), nullable=False),
)

#: What is measured: a name under a condition, with its limits. Each stands once.
characteristics = sa.Table(
    "characteristics",
    metadata,
    sa.Column("id", sa.Integer, primary_key=True),
    sa.Column("key", sa.String(64), nullable=False, unique=True),  # checksum of the columns below
    sa.Column("name", sa.Text, nullable=False),
    sa.Column("condition", sa.Text, nullable=False),  # JSON with sorted members
    sa.Column("unit", sa.Text, nullable=False),
    sa.Column("low", sa.Float(53)),
    sa.Column("high", sa.Float(53)),
    sa.Column("expected", sa.Text),
)

measurements = sa.Table(
    "measurements",
    metadata,
    sa.Column("run_id", sa.Integer, sa.ForeignKey("runs.id"), primary_key=True, autoincrement=False),
    sa.Column("position", sa.Integer, primary_key=True, autoincrement=False),
    sa.Column("characteristic_id", sa.Integer, sa.ForeignKey("characteristics.id"), nullable=False),
    sa.Column("value", sa.Float(53)),
    sa.Column("text", sa.Text),
    sa.Column("held", sa.Boolean),  # null where nothing is expected
    sqlite_with_rowid=False,
)

events = sa.Table(
    "events",
    metadata,
    sa.Column("run_id", sa.Integer, sa.ForeignKey("runs.id"), primary_key=True, autoincrement=False),
    sa.Column("position", sa.Integer, primary_key=True, autoincrement=False),
    sa.Column("kind", sa.String(10), nullable=False),
    sa.Column("text", sa.Text, nullable=False),
    sqlite_with_rowid=False,
)

#: The moments of a characteristic's values, see statistics.Moments. Kept with the measurements, so that statistics of a
#: year need not look at each one.
daily = sa.Table(
    "daily",
    metadata,
    sa.Column("characteristic_id", sa.Integer, sa.ForeignKey("characteristics.id"), primary_key=True, autoincrement=False),
    sa.Column("day", sa.String(10), primary_key=True),
    sa.Column("station", sa.Text, primary_key=True),
    sa.Column("chip", sa.Text, primary_key=True),
    sa.Column("plan", sa.Text, primary_key=True),
    sa.Column("failed", sa.Boolean, primary_key=True),
    sa.Column("count", sa.Integer, nullable=False),
    sa.Column("mean", sa.Float(53), nullable=False),
    sa.Column("scatter", sa.Float(53), nullable=False),
    sa.Column("low", sa.Float(53), nullable=False),
    sa.Column("high", sa.Float(53), nullable=False),
    sqlite_with_rowid=False,
)

damaged = sa.Table(
    "damaged",
    metadata,
    sa.Column("id", sa.Integer, primary_key=True),
    sa.Column("file", sa.Text, nullable=False),
    sa.Column("sha256", sa.String(64), nullable=False),
    sa.Column("reason", sa.Text, nullable=False),
    sa.Column("set_aside", sa.Text, nullable=False),
    sa.UniqueConstraint("file", "sha256"),
)


def _prepare_sqlite(connection: Any, _: Any) -> None:
    connection.isolation_level = None  # the driver begins no transaction by itself
    # A record leaves the spool once it is stored, so a commit must be on the disk.
    for pragma in ("journal_mode=WAL", "synchronous=FULL", "foreign_keys=ON", "cache_size=-65536"):
        connection.execute(f"PRAGMA {pragma}")


def sqlite_file(url: str) -> Path | None:
    """The file of a SQLite database; None for another engine."""
    parsed = _parsed(url)
    return Path(parsed.database or "") if parsed.get_backend_name() == "sqlite" else None


def _parsed(url: str) -> sa.engine.URL:
    try:
        parsed = sa.engine.make_url(url)
    except sa.exc.ArgumentError as error:
        raise RecordsError(f"{url!r} is no database; expected {DEFAULT} or postgresql://USER@HOST/NAME") from error
    if parsed.get_backend_name() not in ("sqlite", "postgresql"):
        raise RecordsError(f"{parsed.drivername}: expected sqlite or postgresql")
    if parsed.get_backend_name() == "sqlite" and not parsed.database:
        raise RecordsError(f"{url!r} names no file; expected {DEFAULT}")
    return parsed


class Store:
    """A database of records."""

    def __init__(self, url: str) -> None:
        """Connects when first used. url: SQLAlchemy's, see DEFAULT."""
        parsed = _parsed(url)
        self.shown = repr(parsed)  # without the password
        self._sqlite = parsed.get_backend_name() == "sqlite"
        self._file = sqlite_file(url)
        wait = {"timeout": LOCK_S} if self._sqlite else {"connect_timeout": CONNECT_S}
        # Without it the driver sends the upserts one by one and waits for each.
        batches = {} if self._sqlite else {"executemany_mode": "values_plus_batch"}
        try:
            self._engine = sa.create_engine(parsed, connect_args=wait, poolclass=sa.pool.NullPool, **batches)
        except (sa.exc.SQLAlchemyError, ImportError) as error:
            raise RecordsError(f"{self.shown}: {error}") from error
        if self._sqlite:
            sa.event.listen(self._engine, "connect", _prepare_sqlite)

    @contextmanager
    def writing(self) -> Iterator[sa.engine.Connection]:
        """One transaction, and one at a time among all collectors."""
        with self._connected() as connection, self._begun(connection, "BEGIN IMMEDIATE"):
            if not self._sqlite:
                connection.execute(sa.select(sa.func.pg_advisory_xact_lock(LOCK)))
            yield connection

    @contextmanager
    def reading(self) -> Iterator[sa.engine.Connection]:
        """One transaction that sees one state of a database whose schema is this program's."""
        if self._file and not self._file.is_file():
            raise RecordsError(f"{self.shown}: there is no such database; collect makes it")
        with self._connected() as connection, self._begun(connection, "BEGIN"):
            self._check_schema(connection)
            yield connection

    @contextmanager
    def _connected(self) -> Iterator[sa.engine.Connection]:
        try:
            with self._engine.connect() as connection:
                yield connection
        except (sa.exc.DBAPIError, self._engine.dialect.dbapi.Error) as error:  # add_rows() raises the driver's own
            reason = " ".join(str(getattr(error, "orig", error)).split())
            raise RecordsError(f"{self.shown}: {reason}") from error

    @contextmanager
    def _begun(self, connection: sa.engine.Connection, begin: str) -> Iterator[None]:
        with connection.begin():
            if self._sqlite:
                connection.exec_driver_sql(begin)
            else:
                connection.exec_driver_sql("SET TRANSACTION ISOLATION LEVEL " + _ISOLATION[begin])
            yield

    def _check_schema(self, connection: sa.engine.Connection) -> None:
        has, wanted = MigrationContext.configure(connection).get_current_revision(), head()
        if has != wanted:
            raise RecordsError(f"{self.shown}: its schema is {has or 'missing'}, expected {wanted}; run orva-records migrate")

    def migrate(self, revision: str = "head") -> None:
        """Brings the schema up to date. Nothing happens if it is."""
        with self.writing() as connection:
            if MigrationContext.configure(connection).get_current_revision() == head():
                return
            settings = _settings()
            settings.attributes["connection"] = connection
            try:
                command.upgrade(settings, revision)
            except CommandError as error:
                raise RecordsError(f"{self.shown}: a newer program made its schema: {error}") from error


def add_rows(connection: sa.engine.Connection, table: sa.Table, rows: Sequence[tuple[Any, ...]]) -> None:
    """Inserts many rows, each with a value for every column. Several times as quick as connection.execute().

    The values are None, numbers, truth values and texts.
    """
    columns = table.columns.keys()
    if connection.dialect.name == "sqlite":
        names, places = ", ".join(columns), ", ".join("?" * len(columns))
        if rows:
            connection.exec_driver_sql(f"INSERT INTO {table.name} ({names}) VALUES ({places})", rows)
        return
    file = io.StringIO("".join("\t".join(map(_copied, row)) + "\n" for row in rows))
    with connection.connection.cursor() as cursor:
        cursor.copy_from(file, table.name, columns=columns)


_ESCAPES = str.maketrans({"\\": r"\\", "\t": r"\t", "\n": r"\n", "\r": r"\r"})


def _copied(value: Any) -> str:
    """As PostgreSQL's COPY reads it."""
    if value is None:
        return r"\N"
    return value.translate(_ESCAPES) if isinstance(value, str) else str(value)


# A reader sees one state throughout; a writer sees what the one before it has stored.
_ISOLATION = {"BEGIN": "REPEATABLE READ", "BEGIN IMMEDIATE": "READ COMMITTED"}


def _settings() -> config.Config:
    settings = config.Config()
    settings.set_main_option("script_location", str(MIGRATIONS).replace("%", "%%"))
    return settings


def head() -> str:
    """The schema's revision that this program needs."""
    return str(script.ScriptDirectory.from_config(_settings()).get_current_head())
