# SPDX-License-Identifier: Apache-2.0
"""An NV store in a file: damage is refused with the reason, and several consoles may share one file."""

import re
import shutil
import sqlite3
import subprocess

import pytest

from support.console import STATION, station

ITEMS = [(340, "WIC0_2G5G_OFDM", "pa2ga0=10,-300,5000;"), (367, "WITXCCK", "pa2gccka0=11,-310,5050;")]


@pytest.fixture(scope="module")
def filled(tmp_path_factory):
    """A store of more than one page, so that a part of it can be damaged."""
    folder = tmp_path_factory.mktemp("filled")
    text = "".join(f"{number} {name} {content}\n" for number, name, content in ITEMS)
    text += "".join(f"{number} FILL{number} pa5ga0={number},{'1234567,' * 10}1;\n" for number in range(500, 570))
    (folder / "items.txt").write_text(text)
    assert station("--nv", folder / "unit.nv", "--yes", "nv", "load", folder / "items.txt").returncode == 0
    return folder / "unit.nv"


@pytest.fixture
def store(filled, tmp_path):
    return shutil.copy(filled, tmp_path / "unit.nv")


def overwrite(path, start, length):
    with open(path, "r+b") as file:
        file.seek(start)
        file.write(b"\xa5" * length)


def alter(path, sql):
    with sqlite3.connect(path) as database:
        database.executescript(sql)
    database.close()


def cut(path, size):
    with open(path, "r+b") as file:
        file.truncate(size)


DAMAGE = {
    "header": (lambda path: overwrite(path, 0, 16), "not a database"),
    "page": (lambda path: overwrite(path, 4096 * 2, 4096), "damaged"),
    "first page": (lambda path: overwrite(path, 100, 2000), "malformed"),
    "empty": (lambda path: cut(path, 0), "0 bytes"),
    "cut": (lambda path: cut(path, 4096 * 2), "malformed|damaged"),
    "no table": (lambda path: alter(path, "DROP TABLE nv"), "no table"),
    "columns": (lambda path: alter(path, "DROP TABLE nv; CREATE TABLE nv (number, name)"), "columns"),
    "short item": (lambda path: alter(path, "UPDATE nv SET bytes = x'01' WHERE number = 367"), "367.*104 bytes"),
    "text item": (lambda path: alter(path, "UPDATE nv SET bytes = 'pa' WHERE number = 340"), "340.*104 bytes"),
    "newer": (lambda path: alter(path, "PRAGMA user_version = 7"), "format 7"),
    "application": (lambda path: alter(path, "PRAGMA application_id = 99"), "application id 99"),
    "another table": (lambda path: alter(path, "CREATE TABLE users (name)"), "table users"),
}


@pytest.mark.parametrize("what", DAMAGE)
def test_a_damaged_store_is_refused_with_the_reason(store, tmp_path, what):
    damage, reason = DAMAGE[what]
    damage(store)
    before = store.read_bytes()
    for words in (["nv", "list"], ["nv", "backup", tmp_path / "b.txt"], ["doctor"], ["wifi_nvram_set"],
                  ["--yes", "nv", "clear"]):
        options = [word for word in words if word == "--yes"]
        done = station("--nv", store, *options, *[word for word in words if word != "--yes"])
        assert done.returncode == 2 and str(store) in done.stderr and done.stdout == "", words
        assert re.search(reason, done.stderr), done.stderr
    assert store.read_bytes() == before and not (tmp_path / "b.txt").exists()
    assert sorted(path.name for path in tmp_path.iterdir()) == ["unit.nv"]


def test_reading_creates_and_changes_nothing(tmp_path):
    absent = tmp_path / "unit.nv"
    assert station("--nv", absent, "nv", "list").stdout == "The NV store is empty.\n"
    assert list(tmp_path.iterdir()) == []
    foreign = tmp_path / "phonebook.db"
    alter(foreign, "CREATE TABLE people (name); INSERT INTO people VALUES ('Ada')")
    before = foreign.read_bytes()
    done = station("--nv", foreign, "nv", "list")
    assert done.returncode == 2 and "table people" in done.stderr and foreign.read_bytes() == before
    folder = station("--nv", tmp_path, "nv", "list")
    assert folder.returncode == 2 and "folder" in folder.stderr


def test_a_store_without_header_marks_is_still_read(store):
    alter(store, "PRAGMA application_id = 0; PRAGMA user_version = 0")
    listed = station("--nv", store, "nv", "list")
    assert listed.returncode == 0 and "340 WIC0_2G5G_OFDM pa2ga0=10" in listed.stdout


def test_ten_consoles_share_one_store(tmp_path):
    """Each writes items of its own, over and over, while the others write and read. The file is created in the rush."""
    path, consoles, items = tmp_path / "unit.nv", 10, 12
    running = []
    for console in range(consoles):
        text = tmp_path / f"items{console}.txt"
        lines = [f"{1000 + 100 * console + i} ITEM console={console};" for i in range(items)]
        text.write_text("\n".join(lines) + "\n")
        script = tmp_path / f"session{console}.tcl"
        script.write_text(f"for {{set i 0}} {{$i < 3}} {{incr i}} {{ nv load {text}; nv list }}\nwifi_set_rate 100 -> 1\n")
        running.append(subprocess.Popen([STATION, "--nv", path, "--yes", "run", script],
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True))
    printed = [process.communicate(timeout=100)[0] for process in running]
    failed = [text for process, text in zip(running, printed) if process.returncode != 0]
    assert failed == []
    listed = station("--nv", path, "nv", "list").stdout.splitlines()
    assert len(listed) == consoles * items
    assert not [name for name in tmp_path.iterdir() if "new-" in name.name]
