# SPDX-License-Identifier: Apache-2.0
"""Files that the console writes: never over an input, never half, and backups that prove that they are whole."""

import itertools
import os
import re
import resource
import shutil
import signal

import pytest

from support.console import STATION, STATION_PHONE, started, station

SESSION = "wifi_set_power 155 -> 1\n"
ITEMS = "340 WIC0_2G5G_OFDM pa2ga0=10,-300,5000;\n367 WITXCCK pa2gccka0=11,-310,5050;\n"


@pytest.fixture
def folder(tmp_path):
    (tmp_path / "mine.tcl").write_text(SESSION)
    (tmp_path / "items.txt").write_text(ITEMS)
    return tmp_path


@pytest.fixture
def unit(folder):
    """The options for a store with two items."""
    options = ("--nv", folder / "unit.nv")
    assert station(*options, "--yes", "nv", "load", folder / "items.txt").returncode == 0
    return options


def limited(size):
    """A disk that is full after so many bytes of a file."""

    def apply():
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))

    return apply


def files(folder):
    return {path.name: path.read_bytes() for path in folder.iterdir() if path.is_file()}


@pytest.mark.parametrize("option", ["--report", "--junit", "--trace", "--nv"])
@pytest.mark.parametrize("way", ["same", "path", "link", "hard link"])
def test_an_output_is_never_an_input(folder, option, way):
    target = folder / {"same": "mine.tcl", "path": "../" + folder.name + "/mine.tcl"}.get(way, "other.tcl")
    if way == "link":
        target.symlink_to("mine.tcl")
    if way == "hard link":
        target.hardlink_to(folder / "mine.tcl")
    before = files(folder)
    done = station(option, target, "run", folder / "mine.tcl")
    assert done.returncode == 2 and option in done.stderr and "same file" in done.stderr
    assert files(folder) == before


@pytest.mark.parametrize("program", [STATION, STATION_PHONE], ids=["virtual", "real"])
@pytest.mark.parametrize("arguments", [["--trace", "lib/libcopy.so", "wifi_power_set_range"], ["--junit", "lib/libcopy.so", "run", "mine.tcl"],
                                       ["nv", "save", "lib/libcopy.so"], ["run", "saves.tcl"]], ids=lambda arguments: arguments[0])
def test_an_output_is_never_the_library_that_the_loader_finds(folder, program, arguments):
    (folder / "lib").mkdir()
    shutil.copy(os.environ["ORVA_LIBRARY"], folder / "lib/libcopy.so")
    (folder / "saves.tcl").write_text("nv save lib/libcopy.so\n")
    before = files(folder / "lib")
    found = os.pathsep.join(filter(None, [str(folder / "lib"), os.environ.get("LD_LIBRARY_PATH")]))
    done = station("--library", "libcopy.so", *arguments, program=program, cwd=folder, env={**os.environ, "LD_LIBRARY_PATH": found})
    assert done.returncode == 2 and "the library" in done.stdout + done.stderr and "same file" in done.stdout + done.stderr
    assert files(folder / "lib") == before


def test_two_outputs_are_two_files(folder, unit):
    pairs = itertools.combinations(["--report", "--junit", "--trace", "--nv"], 2)
    for arguments in (*([one, folder / "new", other, folder / "." / "new", "wifi_set_power", 1] for one, other in pairs),
                      ["--phone", folder / "items.txt", "--report", folder / "items.txt", "wifi_set_power", 1],
                      ["--nv", folder / "unit.nv", "nv", "save", folder / "unit.nv"]):
        before = files(folder)
        done = station(*arguments)
        assert done.returncode == 2 and "same file" in done.stderr and files(folder) == before
    assert station("--report", "/dev/null", "--junit", "/dev/null", "wifi_set_power", 1).returncode == 0


@pytest.mark.parametrize("option", ["--nv", "--report"])
def test_names_that_are_too_long_are_not_the_same_file(folder, option):
    others = ["--junit", folder / ("b" * 300)] if option == "--report" else []
    done = station(option, folder / ("a" * 300), *others, "wifi_set_power", 1)
    assert done.returncode == 2 and "File name too long" in done.stderr + done.stdout, done.stderr


@pytest.mark.parametrize("option", ["--report", "--junit", "--trace"])
def test_a_full_disk_leaves_the_old_output(folder, option):
    target = folder / "out"
    target.write_text("old")
    before = files(folder)
    done = station(option, target, "run", folder / "mine.tcl", preexec_fn=limited(100))
    assert done.returncode == 2 and option in done.stderr and "too large" in done.stderr
    assert files(folder) == before
    done = station(option, "/dev/full", "run", folder / "mine.tcl")
    assert done.returncode == 2 and "No space left" in done.stderr
    linked = folder / "linked"
    linked.symlink_to("out")
    target.chmod(0o640)
    assert station(option, linked, "run", folder / "mine.tcl").returncode == 0
    assert linked.is_symlink() and target.read_text() != "old" and target.stat().st_mode & 0o777 == 0o640


@pytest.mark.parametrize("option", ["--report", "--junit", "--trace"])
def test_an_aborted_run_does_not_leave_an_older_output(folder, option):
    target = folder / "out"
    target.write_text("old")
    done = station("--library", "/nowhere/lib.so", option, target, "run", folder / "mine.tcl")
    assert done.returncode == 2 and "old" != target.read_text() != ""
    if option == "--junit":
        assert 'errors="1"' in target.read_text()


def test_a_backup_on_a_full_disk_leaves_no_file(folder, unit):
    for word in ("backup", "save"):
        done = station(*unit, "nv", word, folder / "b.txt", preexec_fn=limited(60))
        assert done.returncode == 2 and "b.txt" in done.stderr
        assert sorted(files(folder)) == ["items.txt", "mine.tcl", "unit.nv"]


def test_only_a_whole_backup_is_restored(folder, unit):
    backup, damaged = folder / "b.txt", folder / "damaged.txt"
    assert station(*unit, "nv", "backup", backup).returncode == 0
    whole = backup.read_bytes()
    store = (folder / "unit.nv").read_bytes()
    cuts = [whole[:size] for size in range(len(whole))]
    flips = [whole[:at] + bytes([whole[at] ^ 1]) + whole[at + 1:] for at in range(0, len(whole), 5)]
    for content in cuts[::7] + cuts[-3:] + flips + [b"", whole + b"369 LATER a=1;\n", ITEMS.encode()]:
        damaged.write_bytes(content)
        done = station(*unit, "--yes", "nv", "restore", damaged)
        assert done.returncode == 2 and "damaged.txt" in done.stderr, content
    assert (folder / "unit.nv").read_bytes() == store
    for content, message in ((whole[:-10], "altered"), (whole.replace(b"\n", b"\r\n"), ":1: the line holds a carriage return: end the lines with a newline"),
                             (whole.replace(b"\n", b"\r"), ":1: "), (ITEMS.encode().replace(b";\n", b";\r\n"), ":1: the line holds")):
        damaged.write_bytes(content)
        for word in ("load", "diff", "restore")[:2 + (b"# end" in content)]:
            done = station(*unit, "--yes", "nv", word, damaged)
            assert done.returncode == 2 and message in done.stderr, (content, word)
    assert (folder / "unit.nv").read_bytes() == store
    assert station(*unit, "--yes", "nv", "clear").returncode == 0
    assert station(*unit, "--yes", "nv", "restore", backup).returncode == 0
    assert station(*unit, "nv", "diff", backup).stdout == ""


def test_a_load_that_fails_halfway_leaves_the_store_as_it_was(folder, unit):
    many, before = folder / "many.txt", station(*unit, "nv", "list").stdout
    many.write_text("".join(f"{number} LATER a=1;\n" for number in range(400, 600)))
    done = station(*unit, "--yes", "nv", "load", many, preexec_fn=limited(24576))
    assert done.returncode == 2 and "cannot be written" in done.stderr
    assert station(*unit, "nv", "list").stdout == before
    assert station(*unit, "--yes", "nv", "load", many).returncode == 0


@pytest.mark.parametrize("text, complaint", [
    ("368 LATER a=1;\n# again\n368 LATER a=2;\n", ":3: NV item 368 LATER is given twice, first in line 1"),
    ("", " holds no NV item"), ("# items\n\n", " holds no NV item"),
])
def test_a_file_that_cannot_be_meant_loads_nothing(folder, unit, text, complaint):
    before = files(folder)
    (folder / "mine.txt").write_text(text)
    done = station(*unit, "--yes", "nv", "load", folder / "mine.txt")
    assert done.returncode == 2 and f"mine.txt{complaint}" in done.stderr
    assert files(folder) == {**before, "mine.txt": files(folder)["mine.txt"]}


def test_a_restore_onto_a_full_disk_fails(folder, unit):
    assert station(*unit, "nv", "backup", folder / "b.txt").returncode == 0
    done = station("--nv", folder / "new.nv", "--yes", "nv", "restore", folder / "b.txt", preexec_fn=limited(4096))
    assert done.returncode == 2 and "cannot be written" in done.stderr


@pytest.mark.parametrize("option", ["--report", "--junit", "--trace"])
def test_the_next_run_removes_what_a_killed_one_left(folder, option):
    (folder / "long.tcl").write_text("wifi_set_power 1 -> 1\nwait 3000\n")
    arguments = ["--clock", "real", option, folder / "out", "run", folder / "long.tcl"]
    with started(*arguments) as killed, started(*arguments) as alive:
        for console in (killed, alive):
            assert any("wifi_set_power" in line for line in console.stdout)
        killed.kill()
        killed.wait()
        left, kept = (f"out.part-{console.pid}" for console in (killed, alive))
        others = ["out.part-", "out.part-x", "out2.part-1", f"out.part-{killed.pid}.txt"]
        for name in others:
            (folder / name).write_text("mine")
        assert left in files(folder)
        assert station(option, folder / "out", "run", folder / "mine.tcl").returncode == 0
        assert {name for name in files(folder) if "part" in name} == {kept, *others}
        alive.terminate()


@pytest.mark.parametrize("text, options", [
    ("nv save items.txt", []), ("nv backup mine.tcl", []), ("nv save out.xml", ["--junit", "out.xml"]), ("nv load unit.nv", ["--nv", "unit.nv"]),
    ("nv backup unit.nv-journal", ["--nv", "unit.nv"]), ("nv save a.txt; nv save ./a.txt", []), ("nv load items.txt; nv save items.txt", []), ("nv save unit.nv", ["--nv", "unit.nv"])])
def test_a_session_overwrites_no_file_of_its_run(folder, unit, text, options):
    (folder / "mine.tcl").write_text("wifi_set_power 155 -> 1\nnv load items.txt\n" + text.replace("; ", "\n") + "\n")
    before = files(folder)
    done = station("--yes", *options, "run", "mine.tcl", cwd=folder)
    assert done.returncode == 2 and "are the same file" in done.stdout, done.stdout
    after = files(folder)
    assert {name: after[name] for name in before} == before


def test_a_session_restores_its_own_backup(folder):
    (folder / "mine.tcl").write_text("nv load items.txt\nnv backup b.txt\nnv clear\nnv restore b.txt\nlimits n [llength [split [nv list] \\n]] 2\n")
    assert station("run", "mine.tcl", cwd=folder).returncode == 0


@pytest.mark.parametrize("option", ["--report", "--junit", "--trace"])
@pytest.mark.parametrize("text, target", [("nv load items.txt", "items.txt"), ("phone load phone.toml", "phone.toml"),
                                          ("source mine.tcl", "mine.tcl"), ("run mine.tcl", "link")])
def test_an_output_spares_what_the_session_reads(folder, option, text, target):
    (folder / "phone.toml").write_text("[radio]\nrssi = -60\n")
    (folder / "link").symlink_to("mine.tcl")
    (folder / "session.tcl").write_text(SESSION + text + "\n")
    at_prompt = text.startswith(("run", "source"))
    before = files(folder)
    done = station("--brief", option, target, *([] if at_prompt else ["run", "session.tcl"]), stdin=SESSION + text + "\n", cwd=folder)
    assert done.returncode == 2 and "are the same file" in done.stdout and re.search(f"{option} {target}: .*reads this file", done.stderr)
    assert files(folder) == before


@pytest.mark.parametrize("typed", ["run mine.tcl\nnv save mine.tcl", "source mine.tcl\nnv backup ./mine.tcl", "phone load phone.toml\nnv save phone.toml"])
def test_the_prompt_saves_over_nothing_that_it_read(folder, typed):
    (folder / "phone.toml").write_text("[radio]\nrssi = -60\n")
    before = files(folder)
    done = station(stdin=f"nv load items.txt\n{typed}\n", cwd=folder)
    assert done.returncode == 2 and "are the same file" in done.stderr and files(folder) == before
    assert station(stdin="run mine.tcl\nsource mine.tcl\nrun mine.tcl\n", cwd=folder).returncode == 0
