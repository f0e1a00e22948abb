# SPDX-License-Identifier: Apache-2.0
"""Changes of an NV store in a file: preview, consent, write, read back. The generated man page."""

import os
import pty
import re
import shutil
import subprocess

import pytest

from support.console import STATION, STATION_PHONE, station
from support.tree import CHIPS, ROOT

STORED = "340 WIC0_2G5G_OFDM pa2ga0=10,-300,5000;pa5ga0=8,-260,5100;\n367 WITXCCK pa2gccka0=11,-310,5050;\n"
CORRECT = ["wifi_nvram_calibrate_set", "0", "0", "0", "0", "0", "2442", "60"]
CHANGED = "340 WIC0_2G5G_OFDM  pa2ga0     10,-300,5000  10,-302,5002"


@pytest.fixture
def kept(tmp_path):
    """The options for a vq2050 with a store of its own in a file."""
    stored = tmp_path / "stored.txt"
    stored.write_text(STORED)
    options = ("--chip", "vq2050", "--nv", tmp_path / "unit.nv")
    assert station(*options, "--yes", "nv", "load", stored).returncode == 0
    return options


def listed(options):
    return station(*options, "nv", "list").stdout


def on_terminal(answer, *arguments):
    """Answers the console's question on a terminal. @return what it printed, and its exit status."""
    pid, terminal = pty.fork()
    if pid == 0:
        os.execv(STATION, [STATION, *map(str, arguments)])
    os.write(terminal, answer.encode())
    printed = b""
    try:
        while piece := os.read(terminal, 4096):
            printed += piece
    except OSError:  # the terminal's other side is gone
        pass
    return printed.decode().replace("\r", ""), os.waitstatus_to_exitcode(os.waitpid(pid, 0)[1])


def test_a_preview_shows_the_change_and_makes_none(kept, tmp_path):
    before = (tmp_path / "unit.nv").read_bytes()
    seen = station(*kept, "preview", *CORRECT)
    assert seen.returncode == 0 and f"  {CHANGED}\n" in seen.stdout and "-> 1  success" in seen.stdout
    cleared = station(*kept, "preview", "wifi_nvram_calibrate_clean", 1).stdout
    assert cleared.count(" none\n") == 3
    refused = station(*kept, "preview", *CORRECT[:4], "1", "0", "5400", "60")
    assert refused.returncode == 1 and "5G freq is not matched" in refused.stdout and "change nothing" in refused.stdout
    assert (tmp_path / "unit.nv").read_bytes() == before


def test_a_preview_leaves_driver_library_and_clock_alone(tmp_path):
    script = tmp_path / "session.tcl"
    script.write_text("""
wifi_nvram_set -> 1
set before [nv list]
wifi_set_power 300
fault ioctl 1 2
set seen [preview {
  phone set radio.rssi -99
  wait 5
  wifi_set_power 1
  fault ioctl 1 2
  catch wifi_get_rx_rssi
  wifi_nvram_calibrate_set 0 0 2 0 0 0 1
}]
limits changed [regexp {byte   1 +80 +90} $seen] 1
limits kept [string equal $before [nv list]] 1
expect phone radio.rssi -52
wifi_get_rx_rssi -> 0
wifi_start_testmode -> 1
wifi_set_mode 4
wifi_set_band 0
wifi_set_rate 6500
wifi_set_channel 2412
wifi_start_tx
limits power [lindex [lsearch -inline -index 1 [seen driver] power] 2] 3
""")
    done = station("--chip", "vq2040", "run", script)
    assert done.returncode == 0, done.stdout + done.stderr
    assert "5 s" not in done.stdout.splitlines()[-1]


@pytest.mark.parametrize("words", [CORRECT, ["wifi_nvram_calibrate_clean", "1"], ["wifi_nvram_set"],
                                   ["wifi_nvram_calibrate_clean_new", "1,0,0,0"], ["nv", "clear"]])
def test_a_lasting_store_wants_consent(kept, words):
    before = listed(kept)
    refused = station(*kept, *words)
    assert refused.returncode == 2 and "--yes" in refused.stderr and "unit.nv" in refused.stderr
    for answer in ("n\n", "\n", "\x04"):
        printed, status = on_terminal(answer, *kept, *words)
        assert status == 2 and "Go on? [y/N]" in printed and "not done" in printed
    assert listed(kept) == before
    assert station(*kept[:2], *words).returncode != 2, "a store in memory needs none"


def test_consent_on_a_terminal_comes_after_the_preview(kept, tmp_path):
    printed, status = on_terminal("y\n", *kept, *CORRECT)
    assert status == 0 and printed.index(CHANGED) < printed.index("Go on?")
    assert "10,-302,5002" in listed(kept)
    script = tmp_path / "session.tcl"
    script.write_text("wifi_nvram_calibrate_clean 2 -> 1\nwifi_nvram_calibrate_clean 1 -> 1\n")
    assert station(*kept, "run", script).returncode == 2 and "10,-302,5002" in listed(kept)
    printed, status = on_terminal("y\n", *kept, "run", script)
    assert status == 0 and printed.count("Go on?") == 1


def test_a_backup_brings_the_whole_store_back(kept, tmp_path):
    backup, extra = tmp_path / "backup.txt", tmp_path / "extra.txt"
    before = listed(kept)
    assert station(*kept, "nv", "backup", backup).returncode == 0
    again = station(*kept, "nv", "backup", backup)
    assert again.returncode == 2 and "exists" in again.stderr
    extra.write_text("368 LATER 0x0102\n")
    station(*kept, "--yes", "nv", "load", extra)
    station(*kept, "--yes", *CORRECT)
    assert station(*kept, "nv", "restore", backup).returncode == 2
    done = station(*kept, "--yes", "nv", "restore", backup)
    assert done.returncode == 0 and "2 NV items written, 1 was so already" in done.stdout
    assert listed(kept).replace("368 LATER", "").strip() == before.strip()


def test_a_service_that_loses_a_write_is_noticed(tmp_path):
    stored, script, phone = tmp_path / "stored.txt", tmp_path / "session.tcl", tmp_path / "phone.toml"
    stored.write_text(STORED)
    script.write_text(f"nv load {stored}\nfault nv_lose:340 1\n{' '.join(CORRECT)} -> 1\n")
    done = station("--chip", "vq2050", "run", script)
    assert done.returncode == 1
    assert "read back 340 WIC0_2G5G_OFDM pa2ga0" in done.stdout and "10,-302,5002" in done.stdout
    # On a real phone, loading goes through its service too.
    phone.write_text('chip = "vq2050"\n[[fault]]\nplace = "nv_lose:367"\nnth = 1\n')
    environment = {**os.environ, "ORVA_PHONE": str(phone)}
    lost = station("--yes", "nv", "load", stored, program=STATION_PHONE, env=environment)
    assert lost.returncode == 1 and "367 WITXCCK pa2gccka0: written as 11,-310,5050, reads none" in lost.stdout
    assert "340" not in lost.stdout
    asked = station("wifi_nvram_calibrate_clean", 1, program=STATION_PHONE, env=environment)
    assert asked.returncode == 2 and "the phone's NV" in asked.stderr
    unseen = station("preview", *CORRECT, program=STATION_PHONE, env=environment)
    assert unseen.returncode == 2 and "nv backup" in unseen.stderr


def test_a_real_phone_lists_every_item_that_the_library_touches(tmp_path):
    books = [path.read_text() for chip in CHIPS for path in (ROOT / "tests" / "golden" / chip).glob("*.txt")]
    touched = sorted(set(re.findall(r"nv (?:read|write) (\d+ \w+) ", "\n".join(books))))
    (tmp_path / "all.txt").write_text("".join(f"{item} AB\n" for item in touched))
    done = station("--yes", program=STATION_PHONE, stdin=f"nv load {tmp_path}/all.txt\nnv list\n")
    assert done.stdout.splitlines()[1:] == [f"{item} AB" for item in touched] != []


@pytest.mark.parametrize("command", ["nv", "phone", "seen", "expect"])
def test_the_guide_names_every_word_of_a_command(command):
    guide = (ROOT / "docs" / "reference" / "sessions.md").read_text()
    usage = station("help", command).stdout.splitlines()[0]
    kinds = usage.split(",")[0].removeprefix(command).replace("{", "").replace("}", "").split("|")
    words = [re.sub(r"[A-Z? ]+$", "", kind).strip() for kind in kinds]
    assert len(words) >= 4
    assert [word for word in words if f"{command} {word}" not in guide] == []


def made(what, folder):
    done = station("generate", what)
    assert done.returncode == 0 and done.stdout
    (folder / what).write_text(done.stdout)
    return folder / what


def test_the_man_page_lists_all_and_pleases_its_readers(tmp_path):
    page = made("man", tmp_path)
    shown = page.read_text().replace("\\-", "-")
    listed = re.findall(r"^  (\w+) ", station("list").stdout, re.M)
    listed += re.findall(r"^  (--\w+)", station("--help").stdout, re.M)
    assert len(listed) > 50
    assert [name for name in listed if not re.search(rf"^\.B {name}\b", shown, re.M)] == []
    for reader in (["man", "--warnings", "-l"], ["mandoc", "-T", "lint"], ["groff", "-man", "-ww", "-z"]):
        if shutil.which(reader[0]):
            done = subprocess.run([*reader, page], capture_output=True, text=True, timeout=120,
                                  env={**os.environ, "LC_ALL": "C.UTF-8"})
            assert (done.returncode, done.stderr) == (0, "") and (reader[0] == "man" or done.stdout == "")


def test_what_a_clean_lost_without_reading_it_is_listed(tmp_path):
    stored, script = tmp_path / "stored.txt", tmp_path / "session.tcl"
    stored.write_text(STORED)
    script.write_text(f"nv load {stored}\nfault nv_read:340 1 0\nwifi_nvram_calibrate_clean 5 -> 1\n")
    done = station("--chip", "vq2050", "run", script)
    assert done.returncode == 1 and "read back 340 WIC0_2G5G_OFDM pa2ga0 10,-300,5000, got none" in done.stdout
    assert " 367 " not in done.stdout.partition("FAIL")[2].partition("log")[0]


@pytest.mark.parametrize("unread, service, words, message", [
    ("340", "nv_read:340", "nv backup new.nv", "does not read 340 WIC0_2G5G_OFDM (code 5), 340 WINVRAM (code 5). "),
    ("340", "nv_read:340", "nv save new.nv", "does not read 340 "), ("340", "nv_read:340", "nv restore old.nv", "does not read 340 "),
    ("340", "nv_read:340", "nv clear", "does not read 340 "), ("401", "kevoOperaNVWR", "nv backup new.nv", "401 WIC1_MUCCK (code 5). "),
    ("", "nv_write:367", "nv clear", "nv clear: these NV items are not empty afterwards: 367 WITXCCK."),
])
def test_what_a_phone_does_not_read_or_write_is_never_taken_for_empty(tmp_path, unread, service, words, message):
    (tmp_path / "stored.txt").write_text(STORED)
    assert station("--chip", "vq2050", stdin="nv load stored.txt\nnv backup old.nv\n", cwd=tmp_path).returncode == 3
    items = "".join(f'[[nv]]\nnumber = {line.split()[0]}\nname = "{line.split()[1]}"\ntext = "{line.split()[2]}"\n' for line in STORED.splitlines())
    (tmp_path / "phone.toml").write_text(f'{items}[[fault]]\nplace = "{service}"\ntimes = 0\nvalue = 5\n')
    done = station("--yes", *words.split(), program=STATION_PHONE, env={**os.environ, "ORVA_PHONE": "phone.toml"}, cwd=tmp_path)
    assert (done.returncode, done.stdout) == (2, "") and message in done.stderr and not (tmp_path / "new.nv").exists()
    left = station("--yes", program=STATION_PHONE, env={**os.environ, "ORVA_PHONE": "phone.toml"}, cwd=tmp_path, stdin=f"catch {{{words}}}\nnv list\n").stdout
    assert ("367 WITXCCK pa2gccka0=11,-310,5050;" in left) == (service != "kevoOperaNVWR")
    assert (f"# {unread} " in left and "cannot be read: code 5" in left) == bool(unread) and "is empty" not in left
