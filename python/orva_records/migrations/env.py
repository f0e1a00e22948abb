# SPDX-License-Identifier: Apache-2.0
"""Run by alembic for each upgrade, in the transaction of Store.migrate()."""

from alembic import context

context.configure(connection=context.config.attributes["connection"])
context.run_migrations()
