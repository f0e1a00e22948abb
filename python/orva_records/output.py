# SPDX-License-Identifier: Apache-2.0
"""Output files: written beside and renamed when whole, never over something that is in use."""

from __future__ import annotations

import os
import tempfile
from contextlib import contextmanager
from pathlib import Path
from typing import IO, Iterator, Optional

from orva_records import RecordsError
from orva_records.store import sqlite_file


def check_output(path: Path, database: str, suffixes: tuple[str, ...]) -> None:
    """Refuses an output over the database, a record, or anything without one of the suffixes."""
    file = sqlite_file(database)
    if file and path.exists() and file.exists() and path.samefile(file):
        raise RecordsError(f"{path}: the database; expected another file for the output")
    if not path.name.endswith(suffixes):
        raise RecordsError(f"{path}: expected a file name that ends in {' or '.join(suffixes)}")
    if path.exists() and not path.is_file():
        raise RecordsError(f"{path}: expected a file, not a folder or device")


@contextmanager
def replaced(path: Path) -> Iterator[IO[str]]:
    """A file to write, which takes the place of path when the block ends well."""
    beside: Optional[str] = None
    try:
        handle, beside = tempfile.mkstemp(dir=path.parent, prefix=".orva-records-")
        with open(handle, "w", encoding="utf-8", newline="") as file:
            yield file
        os.chmod(beside, 0o644)
        os.replace(beside, path)
        beside = None
    except OSError as error:
        raise RecordsError(f"{path}: {error.strerror}") from error
    finally:
        if beside:
            os.unlink(beside)
