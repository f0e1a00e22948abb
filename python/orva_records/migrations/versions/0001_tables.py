# SPDX-License-Identifier: Apache-2.0
"""The tables as they were at first. A migration keeps its own copy, which later changes of the store leave alone."""

import sqlalchemy as sa
from alembic import op

revision = "0001"
down_revision = None

RUN = ("serial", "station", "slot", "operator", "plan", "plan_version", "chip", "console", "library", "started")
TIMES = ("total_s", "pauses_s", "driver_s", "shell_s", "library_s")


def upgrade() -> None:
    _create_runs()
    _create_characteristics()
    _create_measurements()
    _create_events()
    _create_daily()
    _create_damaged()


def _create_runs() -> None:
    op.create_table(
        "runs",
        sa.Column("id", sa.Integer, primary_key=True),
        sa.Column("run", sa.String(36), nullable=False, unique=True),
        *(sa.Column(name, sa.Text, nullable=False) for name in RUN),
        sa.Column("started_s", sa.Float(53), nullable=False),
        sa.Column("day", sa.String(10), nullable=False),
        sa.Column("attempt", sa.Integer, nullable=False),
        sa.Column("verdict", sa.String(10), nullable=False),
        sa.Column("reason", sa.Text, nullable=False),
        *(sa.Column(name, sa.Float(53), nullable=False) for name in TIMES),
        sa.Column("sha256", sa.String(64), nullable=False),
    )


def _create_characteristics() -> None:
    op.create_table(
        "characteristics",
        sa.Column("id", sa.Integer, primary_key=True),
        sa.Column("key", sa.String(64), nullable=False, unique=True),
        sa.Column("name", sa.Text, nullable=False),
        sa.Column("condition", sa.Text, nullable=False),
        sa.Column("unit", sa.Text, nullable=False),
        sa.Column("low", sa.Float(53)),
        sa.Column("high", sa.Float(53)),
        sa.Column("expected", sa.Text),
    )


def _create_measurements() -> None:
    op.create_table(
        "measurements",
        *_place(),
        sa.Column("characteristic_id", sa.Integer, sa.ForeignKey("characteristics.id"), nullable=False),
        sa.Column("value", sa.Float(53)),
        sa.Column("text", sa.Text),
        sa.Column("held", sa.Boolean),
        sqlite_with_rowid=False,
    )


def _create_events() -> None:
    op.create_table(
        "events",
        *_place(),
        sa.Column("kind", sa.String(10), nullable=False),
        sa.Column("text", sa.Text, nullable=False),
        sqlite_with_rowid=False,
    )


def _create_daily() -> None:
    op.create_table(
        "daily",
        sa.Column("characteristic_id", sa.Integer, sa.ForeignKey("characteristics.id"), primary_key=True, autoincrement=False),
        sa.Column("day", sa.String(10), primary_key=True),
        *(sa.Column(name, sa.Text, primary_key=True) for name in ("station", "chip", "plan")),
        sa.Column("failed", sa.Boolean, primary_key=True),
        sa.Column("count", sa.Integer, nullable=False),
        *(sa.Column(name, sa.Float(53), nullable=False) for name in ("mean", "scatter", "low", "high")),
        sqlite_with_rowid=False,
    )


def _create_damaged() -> None:
    op.create_table(
        "damaged",
        sa.Column("id", sa.Integer, primary_key=True),
        sa.Column("file", sa.Text, nullable=False),
        sa.Column("sha256", sa.String(64), nullable=False),
        sa.Column("reason", sa.Text, nullable=False),
        sa.Column("set_aside", sa.Text, nullable=False),
        sa.UniqueConstraint("file", "sha256"),
    )


def _place() -> list[sa.Column]:
    return [
        sa.Column("run_id", sa.Integer, sa.ForeignKey("runs.id"), primary_key=True, autoincrement=False),
        sa.Column("position", sa.Integer, primary_key=True, autoincrement=False),
    ]
