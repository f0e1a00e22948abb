# SPDX-License-Identifier: Apache-2.0
"""A PostgreSQL server of its own: in a temporary folder, reached through a Unix socket only."""
import glob
import os
import pwd
import shutil
import signal
import subprocess
import tempfile
import time
from pathlib import Path

PROGRAMS = max(map(Path, glob.glob("/usr/lib/postgresql/*/bin")), default=None)


ENDING_S = 60


def _runs(pid):
    """Not if it has ended and nobody has waited for it."""
    try:
        return Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()[0] not in ("Z", "X")
    except (FileNotFoundError, ProcessLookupError):
        return False


class Postgres:
    """Runs within a with block. It refuses to run as root, so root lends it another user."""

    def __enter__(self):
        # Not below the test's folder: a socket's path is at most 107 characters.
        self.folder = Path(tempfile.mkdtemp(prefix="orva-pg-"))
        self._as_user = []
        if os.getuid() == 0:
            user = next(name for name in ("postgres", "nobody") if name in {entry.pw_name for entry in pwd.getpwall()})
            group = pwd.getpwnam(user).pw_gid
            self._as_user = ["setpriv", f"--reuid={user}", f"--regid={group}", "--clear-groups"]
            shutil.chown(self.folder, user, group)
        self._run("initdb", "--no-sync", "--auth=trust", "--username=orva", "--encoding=UTF8", "--locale=C.UTF-8")
        self.start()
        return self

    def __exit__(self, *_):
        self._run("pg_ctl", "stop", "--mode=immediate", "--silent", check=False)
        shutil.rmtree(self.folder)

    def _run(self, program, *arguments, check=True):
        command = [*self._as_user, PROGRAMS / program, f"--pgdata={self.folder / 'data'}", *arguments]
        return subprocess.run(command, check=check, stdout=subprocess.DEVNULL, stderr=subprocess.STDOUT, cwd=self.folder, timeout=120)

    def start(self):
        self._run("pg_ctl", "start", "--wait", f"--log={self.folder / 'log'}", f"--options=-c listen_addresses='' -k '{self.folder}'")

    def kill(self):
        """Ends the server as a crash does, and waits until its other processes have noticed and ended by themselves."""
        pid = int((self.folder / "data" / "postmaster.pid").read_text().split()[0])
        processes = [pid, *map(int, Path(f"/proc/{pid}/task/{pid}/children").read_text().split())]
        os.kill(pid, signal.SIGKILL)
        until = time.monotonic() + ENDING_S
        while any(map(_runs, processes)):
            assert time.monotonic() < until, "PostgreSQL goes on without its first process"
            time.sleep(0.02)
        # Until its parent has waited for it, a process that has ended counts as the server that holds these.
        for lock in (self.folder / "data" / "postmaster.pid", *self.folder.glob(".s.PGSQL.*.lock")):
            lock.unlink()

    def new_database(self, name):
        """Creates a database and returns its URL."""
        subprocess.run([PROGRAMS / "createdb", f"--host={self.folder}", "--username=orva", name], check=True, timeout=120)
        return self.url(name)

    def url(self, name):
        return f"postgresql://orva@/{name}?host={self.folder}"
