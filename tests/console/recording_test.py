# SPDX-License-Identifier: Apache-2.0
"""Descriptions made from recordings, and what recordings of watched phones say of themselves."""

import json

import pytest

from support.console import STATION_PHONE, station
from support.tree import CHIPS, ROOT

UNIT = """
check = { efuse = 5, pmu = 3 }
radio.rssi = -77
identity = { die_id = "1111 0F00 3C51 7788 0001 A5A5 00FE 9D42 600D", upc = 91, dbb = "D\\"1" }
supplicant.running = false
calibration = { pa2ga0 = "12,-3,4", pa2gccka0 = "1,2,3" }
ap.ssid = "other"
[[nv]]
number = 340
name = "WIC0_2G5G_OFDM"
text = "pa2ga0=1,2,3;"
[[nv]]
number = 340
name = "WINVRAM"
text = "pa2ga0=4,5,6;"
[[nv]]
number = 367
name = "WITXCCK"
data = "0102FF"
[[nv]]
number = 369
name = "WIC0_5GLOW"
text = "0x12"
"""
LOOK = "".join(f"ignore {call}\n" for call in (
    "wifi_nvram_calibrate_get", "wifi_nvram_calibrate_clean 1", "wifi_nvram_calibrate_get", "wifi_get_upc_code",
    "wifi_get_die_id", "wifi_start_testmode", "wifi_get_rx_rssi", "wifi_stop_testmode"))


@pytest.fixture
def write(tmp_path):
    def make(name, text):
        file = tmp_path / name
        file.write_text(text)
        return file
    return make


def make_trace(tmp_path, name, *words):
    file = tmp_path / name
    station("--quiet", "--yes", "--trace", file, *words)
    return file


@pytest.mark.parametrize("chip", CHIPS)
@pytest.mark.parametrize("look", [LOOK, (ROOT / "sessions/board_check.tcl").read_text()], ids=["nv", "board_check"])
def test_a_recorded_phone_can_be_met_again(tmp_path, write, chip, look):
    script = write("look.tcl", look)
    first = make_trace(tmp_path, "first.trace", "--phone", write("unit.toml", f'chip = "{chip}"\n{UNIT}'), "run", script)
    made = station("trace", "to-phone", first)
    assert made.returncode == 0 and made.stdout.startswith(f"# From {first}")
    twin = write("twin.toml", made.stdout)
    second = make_trace(tmp_path, "second.trace", "--phone", twin, "run", script)
    same = station("diff", first, second)
    assert same.returncode == 0, same.stdout + made.stdout
    good = make_trace(tmp_path, "good.trace", "--chip", chip, "run", script)
    assert station("diff", first, good).returncode == 1  # the unit is not just any phone


def test_what_was_written_before_it_was_read_is_not_the_phones(tmp_path, write):
    script = write("write.tcl", "ignore wifi_nvram_calibrate_set 0 0 0 0 0 2442 10\n")
    nothing = make_trace(tmp_path, "empty.trace", "--chip", "vq2050", "run", script)
    assert '"nv_write"' in nothing.read_text()
    assert "[[nv]]" not in station("trace", "to-phone", nothing).stdout


HEAD = '{"type":"trace","version":1,"without":["secure"]}\n{"type":"session","session":"","chip":"vq2050"}\n'
CALL = '{"type":"call","function":"wifi_stop_tx","arguments":[]}\n'
END = '{"type":"result","result":"1","outputs":{}%s}\n{"type":"end","calls":1}\n'


@pytest.mark.parametrize("wrong", ['"kind":"exec","result":"x"', '"kind":"exec","errno":"x"', '"kind":"exec","text":5', '"kind":"wait","status":"x"', '"kind":"log","name":5',
                                   '"kind":"secure","name":"a","nth":"x"', '"kind":"secure","nth":1', '"kind":"secure","name":"a"'])
def test_a_field_of_the_wrong_kind_is_named_with_file_and_line(write, wrong):
    file = write("unit.trace", HEAD + CALL + f'{{"type":"contact","result":0,{wrong}}}\n' + END % "")
    for words in (["replay"], ["diff", write("good.trace", HEAD + CALL + END % "")], ["trace", "to-phone"]):
        done = station(*words, file)
        assert done.returncode == 2 and f"{file}:4: a field is missing or of the wrong kind" in done.stderr, done.stderr


@pytest.mark.parametrize("text, words, complaint", [
    (HEAD + '{"type":"end","calls":0}\n', ["trace", "to-phone"], "has no call"),
    (HEAD + '{"type":"end","calls":0}\n', ["replay"], "has no call"), (HEAD + '{"type":"end","calls":0}\n', ["diff", "/dev/stdin"], "has no call"),
    (HEAD.replace("vq2050", "odd") + CALL + END % "", ["trace", "to-phone"], 'no chip "odd"'),
    (HEAD + CALL + '{"type":"contact","kind":"exec","result":0}\n' + END % "", ["trace", "to-phone"], ":3: a contact"),
    (HEAD + CALL + END % ',"dropped":3', ["replay"], "3 contacts of wifi_stop_tx were not kept"),
    (HEAD.replace("secure", "socks"), ["replay"], '"socks" is no kind of contact'),
    (HEAD, ["trace"], "trace: name what to make"), (HEAD, ["trace", "to-page"], "trace: name what to make"),
])
def test_what_a_recording_cannot_give_is_said(write, text, words, complaint):
    done = station(*words, write("unit.trace", text), stdin=text)
    assert done.returncode == 2 and not done.stdout and complaint in done.stderr


def test_two_chips_are_not_one_phone(tmp_path):
    done = station("trace", "to-phone", make_trace(tmp_path, "all.trace", "--chip", "all", "wifi_stop_tx"))
    assert done.returncode == 2 and "has calls on vq2040 and vq2040a and vq2050" in done.stderr


def test_kinds_that_one_recorder_did_not_see_are_not_compared(tmp_path, write):
    own = make_trace(tmp_path, "own.trace", "--chip", "vq2050", "wifi_get_func", "0")
    lines = own.read_text().splitlines(keepends=True)
    secure = '{"type":"contact","kind":"secure","at_us":0,"nth":1,"name":"strncpy_s","result":22}\n'
    call = next(i for i, line in enumerate(lines) if json.loads(line)["type"] == "call")
    more = write("more.trace", "".join(lines[:call + 1]) + secure + "".join(lines[call + 1:]))
    assert station("diff", own, more).returncode == 1
    blind = write("blind.trace", own.read_text().replace('"version":1', '"version":1,"without":["secure"]'))
    assert station("diff", blind, more).returncode == 0 and station("diff", more, blind).returncode == 0


ITEM = '[[nv]]\nnumber = 340\nname = "A"\n'


@pytest.mark.parametrize("text, complaint", [
    ("nv = 3", ":1: nv: must be written as [[nv]]"), ('[[nv]]\nname = "A"\ntext = ""', ":1: nv: number or name is missing"),
    (ITEM + 'text = "a"\n' + ITEM + 'text = "b"\n', ":5: nv: item 340 A is given twice, first in line 1"),
    (ITEM, ":1: nv: give either text or data"), (ITEM + 'text = "a"\ndata = "00"', ":1: nv: give either"),
    (ITEM + 'data = "0G"', ":4: nv.data: must be"), (ITEM + 'data = "012"', ":4: nv.data"),
    (ITEM + f'text = "{"x" * 105}"', ":4: nv.text"), (ITEM + "text = 5", ":4: nv.text: must be a text"),
    (ITEM + 'words = "x"', ":4: nv.words: no such key"), ("[[nv]]\nnumber = -1", ":2: nv.number"),
])
def test_a_wrong_nv_item_is_named_and_changes_nothing(write, text, complaint):
    file = write("unit.toml", text)
    done = station("--phone", file, "wifi_stop_tx")
    assert done.returncode == 2 and f"{file}{complaint}" in done.stderr


def test_a_description_leaves_a_lasting_store_alone(tmp_path, write):
    unit = write("unit.toml", f'chip = "vq2050"\n{ITEM}text = "x=1;"\n')
    session = write("load.tcl", f"phone load {unit}\n")
    for arguments in (["run", session], ["--phone", unit, "nv", "list"]):
        done = station("--nv", tmp_path / "unit.nv", *arguments)
        assert done.returncode == 2 and "keeps NV in a file" in done.stdout + done.stderr


def test_only_a_console_with_a_virtual_phone_describes_one(tmp_path):
    trace = make_trace(tmp_path, "unit.trace", "wifi_stop_tx")
    done = station("trace", "to-phone", trace, program=STATION_PHONE)
    assert done.returncode == 2 and "the console with the virtual phone" in done.stderr
