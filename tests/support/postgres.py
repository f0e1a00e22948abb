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
ENDED = ["X", *["0"] * 50]


def _stat(pid):
    """The fields of /proc/PID/stat from the third on; those of a dead process if there is none."""
    try:
        return Path(f"/proc/{pid}/stat").read_text().rpartition(")")[2].split()
    except (FileNotFoundError, ProcessLookupError):
        return ENDED


def _runs(pid):
    """Not if it has ended and nobody has waited for it."""
    return _stat(pid)[0] not in ("Z", "X")


class Postgres:
    """Runs within a with block. It refuses to run as root, so root lends it another user. options: of initdb."""

    def __init__(self, *options):
        self._options = options

    def __enter__(self):
        # Not below the test's folder: a socket's path is at most 107 characters.
        self.folder = Path(tempfile.mkdtemp(prefix="orva-pg-"))
        self._as_user = []
        if os.getuid() == 0:
            user = next(name for name in ("postgres", "nobody") if name in {entry.pw_name for entry in pwd.getpwall()})
            group = pwd.getpwnam(user).pw_gid
            self._as_user = ["setpriv", f"--reuid={user}", f"--regid={group}", "--clear-groups"]
            shutil.chown(self.folder, user, group)
        self._run("initdb", "--no-sync", "--auth=trust", "--username=orva", "--encoding=UTF8", "--locale=C.UTF-8", *self._options)
        self.start()
        return self

    def __exit__(self, *_):
        self._run("pg_ctl", "stop", "--mode=immediate", "--silent", check=False)
        shutil.rmtree(self.folder)

    def _run(self, program, *arguments, check=True, through=()):
        command = [*self._as_user, *through, PROGRAMS / program, f"--pgdata={self.folder / 'data'}", *arguments]
        return subprocess.run(command, check=check, stdout=subprocess.DEVNULL, stderr=subprocess.STDOUT, cwd=self.folder, timeout=120)

    def start(self, *through):
        """through: a program with its arguments that starts the server."""
        options = f"--options=-c listen_addresses='' -k '{self.folder}'"
        self._run("pg_ctl", "start", "--wait", f"--log={self.folder / 'log'}", options, through=through)

    @property
    def pid(self):
        """Of the process that starts the others."""
        return int((self.folder / "data" / "postmaster.pid").read_text().split()[0])

    @property
    def _children(self):
        return [int(pid) for pid in Path(f"/proc/{self.pid}/task/{self.pid}/children").read_text().split()]

    def restart(self, *through):
        self._run("pg_ctl", "stop", "--mode=fast", "--silent")
        self.start(*through)

    def kill(self):
        """Ends the server as a crash does, and waits until its other processes have noticed and ended by themselves."""
        pid = self.pid
        processes = [pid, *self._children]
        os.kill(pid, signal.SIGKILL)
        until = time.monotonic() + ENDING_S
        while any(map(_runs, processes)):
            assert time.monotonic() < until, "PostgreSQL goes on without its first process"
            time.sleep(0.02)
        # Until its parent has waited for it, a process that has ended counts as the server that holds these.
        for lock in (self.folder / "data" / "postmaster.pid", *self.folder.glob(".s.PGSQL.*.lock")):
            lock.unlink()

    def processor_seconds(self):
        """Processor time of the server and all its processes, those that have ended included."""
        # User and system time, of the process and of its children that have ended.
        ticks = sum(sum(map(int, _stat(pid)[11:15])) for pid in (self.pid, *self._children))
        return ticks / os.sysconf("SC_CLK_TCK")

    def new_database(self, name, tablespace=None):
        """Creates a database and returns its URL. tablespace: an empty folder for its tables; the data folder if None."""
        where = []
        if tablespace:
            shutil.chown(tablespace, self.folder.owner(), self.folder.group())
            self._client("psql", "--command", f"CREATE TABLESPACE \"{name}\" LOCATION '{tablespace}'", "postgres")
            where = [f"--tablespace={name}"]
        self._client("createdb", *where, name)
        return self.url(name)

    def _client(self, program, *arguments):
        command = [PROGRAMS / program, f"--host={self.folder}", "--username=orva", *arguments]
        subprocess.run(command, check=True, timeout=120, stdout=subprocess.DEVNULL)

    def url(self, name):
        return f"postgresql://orva@/{name}?host={self.folder}"
