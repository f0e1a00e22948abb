# SPDX-License-Identifier: Apache-2.0
"""Checks of arguments before they reach C, where ctypes would cut or refuse them without naming them."""

from __future__ import annotations

import os
from typing import Optional

INT32 = (-(2**31), 2**31 - 1)
UINT32 = (0, 2**32 - 1)


def number(name: str, value: int, least: int, most: int) -> int:
    """A whole number. Raises TypeError for another kind, ValueError for one that is not in least..most."""
    if isinstance(value, bool) or not isinstance(value, int):
        raise TypeError(f"{name}: {value!r} is no whole number")
    if not least <= value <= most:
        raise ValueError(f"{name}: {value} is not in {least}..{most}")
    return value


def text(name: str, value: str) -> bytes:
    """A text as C gets it, in UTF-8. Raises TypeError for another kind, ValueError for one that C cannot hold."""
    if not isinstance(value, str):
        raise TypeError(f"{name}: {value!r} is no text")
    if "\0" in value:
        raise ValueError(f"{name}: {value!r} holds a NUL, where the text would end")
    try:
        return value.encode()
    except UnicodeEncodeError:
        raise ValueError(f"{name}: {value!r} cannot be written in UTF-8") from None


def optional_text(name: str, value: Optional[str]) -> Optional[bytes]:
    """A text, or None for C's null pointer."""
    return None if value is None else text(name, value)


def flag(name: str, value: bool) -> bool:
    """True or False; 1 and 0 stand for them. Raises TypeError for anything else."""
    if not isinstance(value, int) or value not in (0, 1):
        raise TypeError(f"{name}: {value!r} is neither True nor False")
    return bool(value)


def data(name: str, value: bytes) -> bytes:
    """Bytes. Raises TypeError for another kind."""
    if not isinstance(value, bytes):
        raise TypeError(f"{name}: {value!r} is no bytes")
    return value


def path(name: str, value: str | os.PathLike[str]) -> bytes:
    """A path as C gets it. Raises TypeError for another kind, ValueError for one that holds a NUL."""
    if not isinstance(value, (str, os.PathLike)):
        raise TypeError(f"{name}: {value!r} is no path")
    encoded = os.fsencode(value)
    if b"\0" in encoded:
        raise ValueError(f"{name}: {value!r} holds a NUL, where the path would end")
    return encoded
