# SPDX-License-Identifier: Apache-2.0
"""Every finished run is stored exactly once, whatever dies, fills up or comes twice; none is lost, each broken one shows."""
import contextlib
import os
import random
import resource
import signal
import subprocess
import time
from pathlib import Path

import pytest
import sqlalchemy as sa

from orva_records import RecordsError, collect as collecting
from orva_records.collect import collect
from orva_records.record import Header, RecordWriter, recover
from orva_records.store import Store, measurements, runs
from support.postgres import PROGRAMS, Postgres
from support.synthetic_line import write_line
from support.tree import CHIPS

ROWS, MANY = 5, 300


def header(serial="R58"):
    return Header(serial=serial, station="line-1", plan="rf", plan_version="3", chip=CHIPS[0])


def in_child(work):
    """Starts work() in a process of its own and returns its id."""
    child = os.fork()
    if child == 0:
        try:
            work()
            os._exit(0)
        except RecordsError:
            os._exit(2)
        finally:
            os._exit(1)
    return child


def status_of(child):
    return os.waitstatus_to_exitcode(os.waitpid(child, 0)[1])


def wait_until(reached, child):
    """Until the child has come that far, or ended."""
    while not reached() and not os.waitid(os.P_PID, child, os.WEXITED | os.WNOHANG | os.WNOWAIT):
        time.sleep(0.001)


def stored(url):
    """Run ids with their verdicts; the measurements of each are all there."""
    with Store(url).reading() as connection:
        found = connection.execute(sa.select(runs.c.run, runs.c.verdict)).all()
        counts = sa.select(sa.func.count()).select_from(measurements).group_by(measurements.c.run_id)
        assert set(connection.scalars(counts)) <= {ROWS, 12, MANY} or not found
    assert len({run for run, _ in found}) == len(found)
    return dict(found)


def spooled(spool):
    return {path.stem for path in spool.glob("*.jsonl")}


def everything_is_stored(spool, database, names):
    for _ in range(20):
        collect(spool, Store(database), batch=3)
    assert set(stored(database)) == names
    assert [path for path in spool.iterdir() if path.is_file()] == []
    assert {path.stem for path in (spool / "collected").iterdir()} == names


def write_for_ever(spool, told):
    while True:
        record = RecordWriter(spool, header())
        run = record.part.name.split(".")[0].encode()
        os.write(told, b"begun " + run + b"\n")
        for value in range(ROWS):
            record.measure("power", value, low=0)
            time.sleep(0.001)  # next to a disk the rows take no time, and no kill would fall between them
        record.finish()
        os.write(told, b"ended " + run + b"\n")


def test_a_writer_killed_many_times_loses_no_run(spool, tmp_path):
    database, dice, journal = f"sqlite:///{tmp_path}/store.sqlite", random.Random(7), tmp_path / "journal"
    told = os.open(journal, os.O_CREAT | os.O_WRONLY | os.O_APPEND)
    for kills in range(60):
        goal = journal.stat().st_size + dice.choice([0, 1, 100, 400])
        child = in_child(lambda: write_for_ever(spool, told))
        wait_until(lambda: journal.stat().st_size >= goal, child)
        time.sleep(dice.uniform(0, 0.01))
        if kills % 10 == 0:
            collect(spool, Store(database))  # while it writes
        os.kill(child, signal.SIGKILL)
        assert status_of(child) == -signal.SIGKILL
    tally = collect(spool, Store(database))
    assert (tally.running, tally.damaged) == (0, 0) and tally.recovered > 0
    words = [line.split() for line in journal.read_text().splitlines()]
    begun, ended = ({run for word, run in words if word == each} for each in ("begun", "ended"))
    with Store(database).reading() as connection:
        verdicts = dict(connection.execute(sa.select(runs.c.run, runs.c.verdict)).all())
    assert len(ended) > 60 and begun <= set(verdicts)
    assert {verdicts[run] for run in ended} == {"PASS"}
    # Killed: between two rows, or between the end of the record and the word of it.
    assert {verdicts[run] for run in set(verdicts) - ended} <= {"BROKEN", "PASS"}
    assert "BROKEN" in verdicts.values() and len(set(verdicts) - begun) <= 60
    assert len(list((spool / "collected").iterdir())) == len(verdicts)


def test_a_collector_killed_many_times_stores_each_run_once(spool, database):
    write_line(spool, 120, rows=12)
    names, dice = spooled(spool), random.Random(3)
    collect_in_child = lambda: collect(spool, Store(database), batch=2)  # noqa: E731
    killed = 0
    while left := len(spooled(spool)):
        child, goal = in_child(collect_in_child), left - dice.randint(0, 20)
        wait_until(lambda: len(spooled(spool)) <= max(goal, 0), child)
        time.sleep(dice.uniform(0, 0.02))
        os.kill(child, signal.SIGKILL)
        killed += status_of(child) == -signal.SIGKILL
    assert killed > 3
    everything_is_stored(spool, database, names)


def test_two_collectors_at_once_and_two_folders_with_the_same_runs(spool, database):
    write_line(spool, 60, rows=12)
    names = spooled(spool)
    other = spool.with_name("other")
    other.mkdir()
    for path in list(spool.iterdir())[::2]:
        (other / path.name).write_bytes(path.read_bytes())
    children = [in_child(lambda: collect(folder, Store(database), batch=4)) for folder in (spool, spool, other)]
    assert [status_of(child) for child in children] == [0, 0, 0]
    assert spooled(other) == set()
    everything_is_stored(spool, database, names)


def test_a_database_killed_in_a_batch_keeps_the_spool_and_the_next_call_catches_up(spool, server, monkeypatch, command):
    database = server.new_database("killed")
    write_line(spool, 20, rows=12)
    names, calls, insert = spooled(spool), [], collecting._insert

    def insert_and_kill(*arguments):
        insert(*arguments)
        calls.append(1)
        if len(calls) == 3:
            server.kill()

    monkeypatch.setattr(collecting, "_insert", insert_and_kill)
    try:
        first = command("collect", spool, "--database", database, "--batch", 4, status=2)
        assert "postgresql://" in first.err and len(calls) == 3
        assert len(spooled(spool)) == len(names) - 8  # two batches are stored
        command("collect", spool, "--database", database, status=2)  # the server is away
        assert len(spooled(spool)) == len(names) - 8
    finally:
        server.start()
    everything_is_stored(spool, database, names)


@pytest.mark.parametrize("room", [1, 40_000, 120_000])
def test_a_full_disk_keeps_the_spool(spool, tmp_path, room):
    """A limit on the size of files stands in for the disk: it fails the same writes."""
    database = f"sqlite:///{tmp_path}/store.sqlite"
    write_line(spool, 80, rows=12)
    names = spooled(spool)

    def collect_with_little_room():
        resource.setrlimit(resource.RLIMIT_FSIZE, (room, room))
        collect(spool, Store(database), batch=5)

    assert status_of(in_child(collect_with_little_room)) == 2
    assert spooled(spool)
    everything_is_stored(spool, database, names)


@contextlib.contextmanager
def file_size_limit_on(server):
    """A table cannot grow beyond the limit. Files of the write-ahead log are just as large."""
    server.restart("prlimit", f"--fsize={2**20}:")
    yield server.new_database("full"), server.restart


@contextlib.contextmanager
def small_file_system_under(server):
    folder = server.folder / "small"
    folder.mkdir()
    if subprocess.run(["mount", "-t", "tmpfs", "-o", "size=10m", "tmpfs", folder], capture_output=True).returncode:
        pytest.skip("no file system can be mounted here")
    try:
        yield server.new_database("full", folder), lambda: subprocess.run(["mount", "-o", "remount,size=100m", folder], check=True)
    finally:
        subprocess.run(["umount", "--lazy", folder], check=True)  # the server still has files in it


@pytest.mark.parametrize("full_disk", [file_size_limit_on, small_file_system_under])
def test_a_full_disk_of_the_server_keeps_the_spool(spool, command, full_disk):
    if PROGRAMS is None:
        pytest.skip("PostgreSQL is not installed")
    write_line(spool, 90, rows=MANY)
    names = spooled(spool)
    with Postgres("--wal-segsize=1") as server, full_disk(server) as (database, make_room):
        told = command("collect", spool, "--database", database, "--batch", 5, status=2)
        assert "could not extend file" in told.err, told.err
        assert 0 < len(spooled(spool)) < len(names)
        assert set(stored(database)) == names - spooled(spool)
        assert "could not extend file" in command("collect", spool, "--database", database, "--batch", 5, status=2).err
        make_room()
        everything_is_stored(spool, database, names)


def test_what_is_stored_but_cannot_move_is_stored_once(spool, database, command):
    write_line(spool, 10, rows=12)
    names = spooled(spool)
    (spool / "collected").write_text("in the way")
    told = command("collect", spool, "--database", database, "--batch", 3, status=2)
    assert told.err.count("stored, but it cannot move") == len(names)
    assert spooled(spool) == set(stored(database)) == names
    (spool / "collected").unlink()
    everything_is_stored(spool, database, names)


@pytest.mark.parametrize("content, reason", [(b"", "the file is empty"), (b'{"type":"beg', "the last line is cut"), (b"\0\0", "the last line is cut")])
def test_a_part_without_a_header_is_set_aside_and_keeps_nothing_back(spool, database, command, content, reason):
    write_line(spool, 3, rows=12)
    names = spooled(spool)
    (spool / "0.jsonl.part").write_bytes(content)
    (spool / "z.jsonl.part").write_bytes(content)
    command("collect", spool, "--database", database, status=1)
    assert set(stored(database)) == names and [path for path in spool.iterdir() if path.is_file()] == []
    assert {path.name: path.read_bytes() for path in (spool / "damaged").iterdir()} == {"0.jsonl": content, "z.jsonl": content}
    listed = command("damaged", "--database", database).out
    assert listed.count(reason) == 2 and "0.jsonl" in listed and "z.jsonl" in listed


def test_a_writer_on_a_full_disk_keeps_its_rows(spool):
    def write_much():
        record = RecordWriter(spool, header())
        for _ in range(ROWS):
            record.measure("power", 5, low=0)
        resource.setrlimit(resource.RLIMIT_FSIZE, (record._sum.size + 30, resource.RLIM_INFINITY))
        for write in (lambda: record.measure("power", 5, low=0), record.finish):
            with pytest.raises(RecordsError, match="the rows before are kept"):
                write()
        (content,) = [path.read_bytes() for path in spool.iterdir()]
        assert content.count(b"\n") == 1 + ROWS and content.endswith(b"\n")
        with pytest.raises(RecordsError, match="no record can be begun"):
            resource.setrlimit(resource.RLIMIT_FSIZE, (20, resource.RLIM_INFINITY))
            RecordWriter(spool, header())

    assert status_of(in_child(write_much)) == 0

    def recover_without_room():
        (part,) = spool.glob("*.part")
        resource.setrlimit(resource.RLIMIT_FSIZE, (part.stat().st_size + 30, resource.RLIM_INFINITY))
        recover(part)

    (part,) = spool.glob("*.part")
    with open(part, "ab") as file:
        file.write(b'{"type": "mea')
    before = part.read_bytes()
    assert status_of(in_child(recover_without_room)) == 2
    assert part.read_bytes() == before
    assert b'"verdict":"BROKEN"' in Path(recover(part)).read_bytes()
