# SPDX-License-Identifier: Apache-2.0
"""A virtual phone in a process of its own.

The virtual phone stands ahead of libc: it must be there before anything else is loaded, and it answers fork, sleep and
waitpid of the whole process. So it gets a process that does nothing but the library's calls. That also gives every
bench a library fresh from loading (its test state is plain globals), and a crash of the library ends that process and
not the test run.
"""

from __future__ import annotations

import contextlib
import functools
import inspect
import os
import re
import signal
import subprocess
import sys
import tempfile
from collections.abc import Callable
from multiprocessing.connection import Connection, Pipe
from pathlib import Path
from typing import Any, Optional, TypeVar, cast

from orva import files
from orva.library import Library
from orva.phone import VirtualPhone


#: Seconds that the phone's process gets to start, and to end by itself.
STARTING_S = 60.0
ENDING_S = 5

_Kind = TypeVar("_Kind")


class PhoneDied(RuntimeError):
    """The phone's process ended, or did not answer in time."""


class _Remote:
    """Calls the methods of an object in the phone's process."""

    _bench: Bench
    _target: str


def _forwarding(method: Callable[..., Any]) -> Callable[..., Any]:
    """A method with the signature and help of that one, which is called in the phone's process."""
    signature = inspect.signature(method)

    @functools.wraps(method)
    def forward(self: _Remote, *arguments: Any, **keywords: Any) -> Any:
        signature.bind(self, *arguments, **keywords)  # misuse is reported here, with the caller's line
        return self._bench.call(self._target, method.__name__, arguments, keywords)

    return forward


def _remote(kind: type[_Kind], bench: Bench, target: str) -> _Kind:
    """Stands in for the object of that kind that the phone's process knows as target."""
    members: dict[str, Any] = {"__doc__": kind.__doc__, "__module__": kind.__module__}
    for name, value in vars(kind).items():
        if inspect.isfunction(value) and not name.startswith("_"):
            members[name] = _forwarding(value)
    proxy: Any = type(kind.__name__, (_Remote,), members)()
    proxy._bench, proxy._target = bench, target
    return cast(_Kind, proxy)


class Bench(contextlib.AbstractContextManager["Bench"]):
    """A virtual phone with the library under test.

    library and phone are used as if they were here; the calls run in the phone's process.
    """

    def __init__(
        self,
        chip: Optional[str] = None,
        description: str | os.PathLike[str] | None = None,
        library: str | os.PathLike[str] | None = None,
        virtual_phone: str | os.PathLike[str] | None = None,
        timeout: float = 120,
    ) -> None:
        """Starts the process.

        chip: one of CHIPS. description: a phone's TOML file. library, virtual_phone: the shared libraries, where they
        are not found by themselves (see files.folders). timeout: seconds that one call may take.
        """
        self._timeout = STARTING_S
        self._process: Optional[subprocess.Popen[bytes]] = None
        self._start(library or files.find(files.LIBRARY), virtual_phone or files.find(files.VIRTUAL_PHONE))
        self._timeout = timeout
        self.library = _remote(Library, self, "library")
        self.phone = _remote(VirtualPhone, self, "phone")
        try:
            if description is not None:
                self.phone.load(description)
            if chip is not None:
                self.phone.set("chip", chip)
        except Exception:
            self.close()
            raise

    def _start(self, library: str | os.PathLike[str], virtual_phone: str | os.PathLike[str]) -> None:
        virtual_phone = self._preloadable(virtual_phone)
        # What is preloaded already (a sanitizer's runtime) must stay in front.
        preload = [os.environ.get("LD_PRELOAD", ""), os.fspath(virtual_phone)]
        source = str(Path(__file__).resolve().parents[1])
        environment = {
            **os.environ,
            "LD_PRELOAD": ":".join(filter(None, preload)),
            "PYTHONPATH": ":".join(filter(None, [source, os.environ.get("PYTHONPATH", "")])),
        }
        self._pipe, theirs = Pipe()
        self._due = 1  # answers; the first says that the process has started
        # Not over standard input: some tests want descriptor 0 for the library.
        command = [sys.executable, "-m", "orva._worker", str(theirs.fileno()), os.fspath(library)]
        self._process = subprocess.Popen(command, env=environment, pass_fds=[theirs.fileno()], stdin=subprocess.DEVNULL)
        theirs.close()
        try:
            self._receive("starting")
        except Exception:
            self.close()
            raise

    def _preloadable(self, library: str | os.PathLike[str]) -> str:
        """The library under a path that LD_PRELOAD can name: there, blanks and colons separate libraries."""
        path = Path(os.path.abspath(library))
        if not re.search(r"[\s:]", str(path)):
            return os.fspath(library)
        # Removed with this object. A link to the folder: the library looks for another one beside itself.
        self._links = tempfile.TemporaryDirectory(prefix="orva-")
        link = Path(self._links.name) / "lib"
        link.symlink_to(path.parent)
        return str(link / path.name)

    def _receive(self, doing: str) -> Any:
        try:
            while True:
                if not self._pipe.poll(self._timeout):
                    self.close()
                    raise PhoneDied(f"no answer within {self._timeout} s while {doing}")
                good, value = self._pipe.recv()
                self._due -= 1
                if self._due == 0:  # earlier answers are those of calls that a signal interrupted
                    break
        except (EOFError, ConnectionResetError):
            raise PhoneDied(f"the phone's process {self._ending()} while {doing}") from None
        if not good:
            raise value
        return value

    def _ending(self) -> str:
        assert self._process is not None
        status = self._process.wait()
        if status < 0:
            return f"was ended by {signal.Signals(-status).name}"
        return f"ended with status {status}"

    def call(self, target: str, name: str, arguments: tuple[Any, ...], keywords: dict[str, Any]) -> Any:
        """Calls a method of "library" or "phone" in the phone's process."""
        if self._process is None:
            raise PhoneDied("the bench is closed")
        try:
            self._pipe.send((target, name, arguments, keywords))
            self._due += 1
        except BrokenPipeError:
            raise PhoneDied(f"the phone's process {self._ending()}") from None
        return self._receive(f"in {name}")

    def close(self) -> None:
        """Ends the phone's process."""
        if self._process is not None:
            self._pipe.close()
            try:
                self._process.wait(ENDING_S)
            except subprocess.TimeoutExpired:
                self._process.kill()
                self._process.wait()
            self._process = None

    def __exit__(self, *_: object) -> None:
        self.close()


def serve(pipe: Connection, targets: dict[str, object]) -> None:
    """The other end: calls what it is asked to until the bench closes."""
    pipe.send((True, None))
    while True:
        try:
            target, name, arguments, keywords = pipe.recv()
        except EOFError:
            return
        try:
            answer: tuple[bool, Any] = (True, getattr(targets[target], name)(*arguments, **keywords))
        except Exception as error:  # told to whoever asked
            answer = (False, error)
        try:
            pipe.send(answer)
        except BrokenPipeError:  # the bench closed during the call
            return
