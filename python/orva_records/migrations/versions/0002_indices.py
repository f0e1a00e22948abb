# SPDX-License-Identifier: Apache-2.0
"""The indices that keep the queries quick."""

import sqlalchemy as sa
from alembic import op

revision = "0002"
down_revision = "0001"


def upgrade() -> None:
    op.create_index("ix_runs_unit", "runs", ["serial", "plan", "started_s"])
    op.create_index("ix_runs_started", "runs", ["started_s"])
    op.create_index("ix_characteristics_name", "characteristics", ["name"])
    # Holds all that a histogram needs.
    op.create_index("ix_measurements_characteristic", "measurements", ["characteristic_id", "run_id", "value"])
    # Each engine uses it only for a condition that is written like this, as SQLAlchemy does.
    op.create_index(
        "ix_measurements_failed",
        "measurements",
        ["characteristic_id", "run_id"],
        sqlite_where=sa.text("held = 0"),
        postgresql_where=sa.text("NOT held"),
    )
