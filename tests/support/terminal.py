# SPDX-License-Identifier: Apache-2.0
"""A program on a terminal, typed at and read from."""
import os
import pty
import re
import select
import signal
import termios
import time

from support.console import STATION

PATIENCE = 60  # seconds


def settings_of_a_new_terminal():
    ends = os.openpty()
    try:
        return termios.tcgetattr(ends[0])
    finally:
        for end in ends:
            os.close(end)


class Terminal:
    """The console, or a shell, on a terminal."""

    def __init__(self, home, *arguments, columns=80, program=STATION, term="xterm", environment=None):
        self.ended = False
        self.pid, self.fd = pty.fork()
        if self.pid == 0:
            os.chdir(home)
            os.environ.update(HOME=str(home), TERM=term)
            os.environ.pop("NO_COLOR", None)
            os.environ.update(environment or {})
            termios.tcsetwinsize(1, (24, columns))
            os.execvp(program, [program, *map(str, arguments)])

    def __del__(self):
        """A program that was not waited for ends as one does whose terminal is closed."""
        os.close(self.fd)
        if not self.ended:
            os.kill(self.pid, signal.SIGKILL)
            os.waitpid(self.pid, 0)

    def hang_up(self):
        """Its terminal is gone, as when a window is closed. Returns the exit status."""
        os.close(self.fd)
        self.fd, end = os.open(os.devnull, os.O_RDWR), time.monotonic() + PATIENCE
        while not (waited := os.waitpid(self.pid, os.WNOHANG))[0]:
            assert time.monotonic() < end, "it goes on without its terminal"
            time.sleep(0.05)
        self.ended = True
        return os.waitstatus_to_exitcode(waited[1])

    def rest(self):
        """The rest of its output, and its exit status. A program that ends by itself leaves the terminal as it was."""
        seen, end = b"", time.monotonic() + PATIENCE
        try:
            while time.monotonic() < end:
                if select.select([self.fd], [], [], 0.2)[0]:
                    seen += (piece := os.read(self.fd, 4096))
                    if not piece:
                        break
            else:
                os.kill(self.pid, signal.SIGKILL)
        except OSError:  # the program has ended
            pass
        self.ended = True
        status = os.waitstatus_to_exitcode(os.waitpid(self.pid, 0)[1])
        assert status < 0 or termios.tcgetattr(self.fd) == settings_of_a_new_terminal(), "it leaves the terminal changed"
        return seen.decode(errors="replace"), status

    def type(self, text, until):
        os.write(self.fd, text if isinstance(text, bytes) else text.encode())
        seen, end = "", time.monotonic() + PATIENCE
        while not re.search(until, seen):
            assert time.monotonic() < end, f"waited for {until!r} after {text!r}, saw {seen!r}"
            if select.select([self.fd], [], [], 0.2)[0]:
                seen += os.read(self.fd, 4096).decode(errors="replace")
        return seen
