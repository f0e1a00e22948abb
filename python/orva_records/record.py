# SPDX-License-Identifier: Apache-2.0
"""Writes the record of one test run: JSON Lines, a header, the rows, an end line with their count and checksum.

    header = Header(serial="R58M123", station="line-3", plan="rf", plan_version="7", chip="vq2050")
    with RecordWriter(folder, header) as record:
        record.step("Receive")
        record.measure("rx rssi", -52, unit="dBm", low=-60, high=-45, condition={"channel": 2442})

The file is RUN.jsonl.part until the end line is on the disk, then RUN.jsonl. Its writer holds a lock on it, so that
recover() tells a killed run from a running one. The verdict follows from the rows: FAIL if one fails, PASS if one was
expected to hold and all did, else NO VERDICT; BROKEN if an exception leaves the block.
"""

from __future__ import annotations

import errno
import fcntl
import hashlib
import json
import os
import time
import uuid
from dataclasses import dataclass, field
from datetime import datetime
from pathlib import Path
from types import TracebackType
from typing import Mapping, Optional

from orva_records import RecordsError, rules

SUFFIX = ".jsonl"
PART = ".jsonl.part"
KILLED = "the writer ended before the run did"


def now() -> str:
    """The wall-clock time with the zone of this computer."""
    return datetime.now().astimezone().isoformat(timespec="milliseconds")


@dataclass(frozen=True)
class Header:
    """Who was tested, where, with what. attempt counts the unit's runs of this plan from 1."""

    serial: str
    station: str
    plan: str
    plan_version: str
    chip: str
    slot: str = ""
    operator: str = ""
    console: str = "unknown"
    library: str = "unknown"
    attempt: int = 1
    started: str = field(default_factory=now)
    run: str = field(default_factory=lambda: str(uuid.uuid4()))

    def line(self) -> dict[str, object]:
        """The header line."""
        return {
            "type": "begin",
            "schema": rules.SCHEMA,
            **{key: getattr(self, key) for key in ("run", "serial", "station", "slot", "operator")},
            "plan": {"name": self.plan, "version": self.plan_version},
            "versions": {"console": self.console, "library": self.library},
            **{key: getattr(self, key) for key in ("started", "attempt", "chip")},
        }


def encoded(line: Mapping[str, object]) -> bytes:
    """A line as it stands in the file. Raises RecordsError for one that the format does not allow."""
    if fault := rules.line(dict(line)):
        shown = ascii(line)
        raise RecordsError(f"record line {shown[:200]}{'...' if len(shown) > 200 else ''}: expected {fault}")
    return json.dumps(line, ensure_ascii=False, allow_nan=False, separators=(",", ":")).encode() + b"\n"


def verdict_of(verdicts: set[Optional[str]]) -> str:
    """The verdict of a run that came to its end, from the verdicts of its measurements."""
    if "FAIL" in verdicts:
        return "FAIL"
    return "PASS" if "PASS" in verdicts else "NO VERDICT"


def derived(run: str) -> bool:
    """Whether a run id was computed from what the run holds, as that of a converted record is."""
    return uuid.UUID(run).version == 5


class _Sum:
    """Count and checksum of the lines written so far."""

    def __init__(self, lines: bytes = b"") -> None:
        self.size, self._lines, self._sha256 = 0, 0, hashlib.sha256()
        self.add(lines)

    def add(self, lines: bytes) -> None:
        self.size += len(lines)
        self._lines += lines.count(b"\n")
        self._sha256.update(lines)

    def members(self) -> dict[str, object]:
        return {"lines": self._lines, "sha256": self._sha256.hexdigest()}


def _end_line(before: _Sum, verdict: str, duration: Mapping[str, float], **more: str) -> bytes:
    """The end line for the lines before it. more: reason of a BROKEN run, cut."""
    return encoded(
        {
            "type": "end",
            "verdict": verdict,
            **more,
            "duration": {kind: duration.get(kind, 0.0) for kind in rules.DURATIONS},
            **before.members(),
        }
    )


def _link(part: Path) -> Path:
    """Gives a whole .part file the name of a record, too."""
    whole = part.with_name(part.name.removesuffix(PART) + SUFFIX)
    try:
        os.link(part, whole)  # unlike a rename it never overwrites a record
    except FileExistsError as error:
        raise RecordsError(f"{whole}: there is another record of this run; a run id is used once") from error
    return whole


def _unlink(part: Path) -> None:
    """Takes the .part name away. The file's name is on the disk afterwards."""
    os.unlink(part)
    _sync_folder(part.parent)


def publish(part: Path) -> Path:
    """Renames a whole .part file, whose content is on the disk. Its name is there, too, afterwards."""
    whole = _link(part)
    _unlink(part)
    return whole


def _sync_folder(folder: Path) -> None:
    handle = os.open(folder, os.O_RDONLY | os.O_DIRECTORY)
    try:
        os.fsync(handle)
    finally:
        os.close(handle)


class RecordWriter:
    """Writes one record. Every row is in the file when its method returns."""

    def __init__(self, folder: str | os.PathLike[str], header: Header) -> None:
        """Creates RUN.jsonl.part in folder, which must exist. Raises RecordsError for a header that is not right."""
        line = encoded(header.line())
        self.part = Path(folder) / (header.run + PART)
        if self.part.with_name(header.run + SUFFIX).exists():
            raise RecordsError(f"{self.part.parent}: there is a record of run {header.run}; a run id is used once")
        self._sum = _Sum()
        self._verdicts: set[Optional[str]] = set()
        self._duration = dict.fromkeys(rules.DURATIONS, 0.0)
        self._times_itself = True
        self._began = time.monotonic()
        self._file = self._create(line)

    def _create(self, header: bytes) -> int:
        # The file gets its name when it is locked and has its header: nobody sees it without them.
        handle = -1
        try:
            handle = os.open(self.part.parent, os.O_TMPFILE | os.O_RDWR, 0o644)
            fcntl.flock(handle, fcntl.LOCK_EX)
            self._write(handle, header)
            os.fsync(handle)  # or a loss of power may leave the name with an empty file
            # With a folder's handle, even of no use, os.link follows the link.
            os.link(f"/proc/self/fd/{handle}", self.part, src_dir_fd=handle, follow_symlinks=True)
            return handle
        except (OSError, RecordsError) as error:
            if handle >= 0:
                os.close(handle)
            raise RecordsError(f"{self.part}: no record can be begun: {error}") from error

    def _write(self, handle: int, line: bytes) -> None:
        self._append(handle, line)
        self._sum.add(line)

    def _append(self, handle: int, line: bytes) -> None:
        rest = line
        try:
            while rest:
                rest = rest[os.write(handle, rest) :]
        except OSError as error:
            self._take_back(handle)
            raise RecordsError(f"{self.part}: {error.strerror}; the rows before are kept") from error

    def _take_back(self, handle: int) -> None:
        """Cuts off what was written after the rows that are summed up."""
        os.ftruncate(handle, self._sum.size)
        os.lseek(handle, self._sum.size, os.SEEK_SET)

    def _add(self, line: Mapping[str, object]) -> None:
        if self._file < 0:
            raise RecordsError(f"{self.part}: the record has ended; a row comes before finish() and broken()")
        self._write(self._file, encoded(line))

    def step(self, title: str) -> None:
        """A part of the plan begins."""
        self._add({"type": "step", "title": title})

    def note(self, text: str) -> None:
        """Something for the reader."""
        self._add({"type": "note", "text": text})

    def cause(self, what: str, found: str, cause: str, cure: str) -> None:
        """Why something failed and what to do about it."""
        self._add({"type": "cause", "what": what, "found": found, "cause": cause, "cure": cure})

    def measure(
        self,
        name: str,
        value: float | str | None,
        *,
        unit: str = "",
        low: Optional[float] = None,
        high: Optional[float] = None,
        condition: Optional[Mapping[str, rules.Scalar]] = None,
    ) -> bool:
        """A measured value. Returns whether it holds; without limits it is recorded and holds.

        low, high: the limits, which are allowed values; None leaves a side open. value: None if nothing was measured.
        """
        verdict = None
        if low is not None or high is not None:
            number = isinstance(value, (int, float)) and not rules.number(value)
            verdict = "PASS" if number and rules.within(value, low, high) else "FAIL"  # type: ignore[arg-type]
        return self._measured(name, value, unit, low, high, condition, verdict)

    def expect(
        self,
        name: str,
        value: float | str | None,
        expected: str,
        held: bool,
        *,
        unit: str = "",
        condition: Optional[Mapping[str, rules.Scalar]] = None,
    ) -> bool:
        """A value that is not judged by two limits: a text, a list of allowed values. expected says what is right."""
        if not isinstance(held, bool):
            raise RecordsError(f"measurement {name!r}, held {held!r}: expected True or False")
        verdict = "PASS" if held else "FAIL"
        return self._measured(name, value, unit, None, None, condition, verdict, expected=expected)

    def _measured(
        self,
        name: str,
        value: float | str | None,
        unit: str,
        low: Optional[float],
        high: Optional[float],
        condition: Optional[Mapping[str, rules.Scalar]],
        verdict: Optional[str],
        **more: str,
    ) -> bool:
        line = {"type": "measurement", "name": name, "condition": dict(condition or {}), "value": value, "unit": unit}
        line |= {"low": low, "high": high, **more, "verdict": verdict}
        fault = rules.line(line) or rules.contradiction(line)
        if fault:
            raise RecordsError(f"measurement {name!r}, value {value!r}: expected {fault}")
        self._add(line)
        self._verdicts.add(verdict)
        return verdict != "FAIL"

    def spend(self, **seconds: float) -> None:
        """Adds time by kind: pauses_s, driver_s, shell_s, library_s. total_s is measured if nobody adds to it."""
        for kind, amount in seconds.items():
            if kind not in self._duration:
                raise RecordsError(f"{kind!r} is no kind of duration; expected one of {', '.join(self._duration)}")
            self._duration[kind] += amount
            self._times_itself &= kind != "total_s"

    @property
    def verdict(self) -> str:
        """What finish() gives the run, by the rows so far."""
        return verdict_of(self._verdicts)

    def finish(self) -> Path:
        """Ends a run that came to its end. Returns the record's path."""
        return self._end(self.verdict)

    def broken(self, reason: str) -> Path:
        """Ends a run that did not come to its end, such as one whose console or bench failed."""
        return self._end("BROKEN", reason=reason)

    def abandon(self) -> None:
        """Removes the record of something that was no run after all. Does nothing once it has ended."""
        if self._file >= 0:
            self.part.unlink()
            self._close()

    def _close(self) -> None:
        os.close(self._file)
        self._file = -1

    def _end(self, verdict: str, **more: str) -> Path:
        if self._times_itself:
            self._duration["total_s"] = round(time.monotonic() - self._began, 6)
        line = _end_line(self._sum, verdict, self._duration, **more)
        if self._file < 0:
            raise RecordsError(f"{self.part}: the record has ended already")
        self._append(self._file, line)
        try:
            os.fsync(self._file)
            path = _link(self.part)
        except (OSError, RecordsError) as error:
            self._take_back(self._file)  # broken() may still end it
            raise RecordsError(f"{self.part}: the record cannot be ended: {error}; the rows before are kept") from error
        try:
            _unlink(self.part)
        finally:
            self._close()  # it is a record now: nothing may follow its end line
        return path

    def __enter__(self) -> RecordWriter:
        return self

    def __exit__(
        self, kind: Optional[type[BaseException]], error: Optional[BaseException], trace: Optional[TracebackType]
    ) -> None:
        if self._file < 0:
            return
        if error is None:
            self.finish()
        else:
            self.broken(f"{type(error).__name__}: {error}".encode(errors="replace").decode().replace("\0", "?")[:1000])


def recover(part: Path) -> Optional[Path]:
    """Ends the record of a killed run as BROKEN and returns its path; None if its writer runs or another one did it.

    What stands behind the last whole line moves to the end line's member "cut". A file without a whole line is renamed
    and otherwise left as it is. Raises RecordsError if the disk is full; the file then stays as it is.
    """
    try:
        handle = os.open(part, os.O_RDWR)
    except FileNotFoundError:
        return None
    try:
        fcntl.flock(handle, fcntl.LOCK_EX | fcntl.LOCK_NB)
        if not os.path.samestat(os.fstat(handle), os.stat(part)):
            return None
        _end_killed(handle, part)
        return _publish_again(part)
    except (BlockingIOError, FileNotFoundError):
        return None
    finally:
        os.close(handle)


def _end_killed(handle: int, part: Path) -> None:
    with open(handle, "rb", closefd=False) as file:
        content = file.read()
    whole = content[: content.rfind(b"\n") + 1]
    if _is_end(whole[:-1].rpartition(b"\n")[2]):
        return  # killed before publish() was through
    if not whole:
        return  # a loss of power took the header; the reader refuses such a record and says why
    cut = content[len(whole) :].decode(errors="backslashreplace").replace("\0", "\\x00")[: rules.TEXT_LENGTH]
    duration = {"total_s": _seconds_to(os.fstat(handle).st_mtime, whole)}
    line = _end_line(_Sum(whole), "BROKEN", duration, reason=KILLED, cut=cut)
    try:
        # In one write, over the cut line.
        if os.pwrite(handle, line, len(whole)) != len(line):
            raise OSError(errno.ENOSPC, os.strerror(errno.ENOSPC))
        os.ftruncate(handle, len(whole) + len(line))
        os.fsync(handle)
    except OSError as error:
        os.pwrite(handle, content[len(whole) :], len(whole))
        os.ftruncate(handle, len(content))
        raise RecordsError(f"{part}: the killed run cannot be ended: {error.strerror}") from error


def _is_end(line: bytes) -> bool:
    try:
        value = json.loads(line)
    except ValueError:
        return False
    return isinstance(value, dict) and value.get("type") == "end"


def _seconds_to(end: float, whole: bytes) -> float:
    try:
        begin = datetime.fromisoformat(json.loads(whole.split(b"\n", 1)[0])["started"]).timestamp()
        return max(0.0, round(end - begin, 3))
    except (ValueError, KeyError, TypeError):
        return 0.0


def _publish_again(part: Path) -> Path:
    whole = part.with_name(part.name.removesuffix(PART) + SUFFIX)
    if whole.exists() and whole.samefile(part):
        part.unlink()
        return whole
    return publish(part)
