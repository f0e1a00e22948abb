# SPDX-License-Identifier: Apache-2.0
"""Databases of both engines, and the command."""
import itertools

import pytest

from orva_records import cli
from support.postgres import PROGRAMS, Postgres

_numbers = itertools.count()


@pytest.fixture(scope="session")
def server():
    if PROGRAMS is None:
        pytest.skip("PostgreSQL is not installed")
    with Postgres() as server:
        yield server


@pytest.fixture(params=["sqlite", "postgresql"])
def database(request, tmp_path):
    """The URL of an empty database."""
    if request.param == "sqlite":
        return f"sqlite:///{tmp_path}/store.sqlite"
    return request.getfixturevalue("server").new_database(f"line_{next(_numbers)}")


@pytest.fixture
def spool(tmp_path):
    folder = tmp_path / "spool"
    folder.mkdir()
    return folder


@pytest.fixture
def command(capsys):
    """Runs the command in this process; its start takes longer than all it does."""

    def run(*arguments, status=0):
        try:
            returned = cli.main([str(argument) for argument in arguments])
        except SystemExit as misuse:
            returned = misuse.code
        printed = capsys.readouterr()
        assert returned == status, printed.out + printed.err
        return printed

    return run
