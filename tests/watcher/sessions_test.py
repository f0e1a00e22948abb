# SPDX-License-Identifier: Apache-2.0
"""The console for real phones, with the virtual phone as the phone. What its watcher sees must be what the virtual phone
itself records."""

import json
import os
import subprocess
from pathlib import Path

import pytest

from support.console import STATION_PHONE, station
from support.page_sample import page_events
from support.tree import CHIPS, ROOT

# The first comes before libc and answers as a driver, a shell and a clock do.
VIRTUAL_PHONE = Path(os.environ["ORVA_BUILD"]) / "virtual_phone" / "libvirtual_phone.so"
TIMES = {"at_us", "phone_us", "own_us", "calls_us", "time", "clock"}
FIXED_COUNT = 'driver.answer = "10:D1070000"\n'  # received packets depend on time


def phone(*arguments, description):
    """Runs the console for real phones, in the description's folder."""
    # LD_PRELOAD would take a path with a blank for two. A link to the folder: the library looks for another one beside itself.
    link = description.with_name("virtual_phone")
    if not link.exists():
        link.symlink_to(VIRTUAL_PHONE.parent)
    # A sanitizer's runtime complains of a library before it; here that is wanted.
    checks = f"{os.environ.get('ASAN_OPTIONS', '')}:verify_asan_link_order=0"
    environment = {**os.environ, "ORVA_PHONE": str(description), "LD_PRELOAD": f"./{link.name}/{VIRTUAL_PHONE.name}", "ASAN_OPTIONS": checks}
    return subprocess.run([STATION_PHONE, *map(str, arguments)], capture_output=True, text=True, timeout=120,
                          env=environment, cwd=description.parent, check=False)


def without_times(value):
    if isinstance(value, dict):
        return {key: without_times(each) for key, each in value.items() if key not in TIMES}
    return [without_times(each) for each in value] if isinstance(value, list) else value


def lines(text):
    return [without_times(json.loads(line)) for line in text.splitlines()]


@pytest.fixture
def describe(tmp_path):
    def make(chip, more=""):
        file = tmp_path / "phone.toml"
        file.write_text(f'chip = "{chip}"\n{more}')
        return file
    return make


def both(tmp_path, description, *words):
    """The console's output for either phone, with the recordings compared and the watched one replayed."""
    watched, own = tmp_path / "watched.trace", tmp_path / "own.trace"
    seen = phone("--json", "--yes", "--trace", watched, *words, description=description)
    expected = station("--phone", description, "--json", "--trace", own, *words)
    assert expected.stdout and not expected.stderr and not seen.stderr
    same = station("diff", own, watched)
    assert same.returncode == 0, same.stdout + same.stderr
    again = station("replay", watched)
    assert again.returncode == 0, again.stdout + again.stderr
    return lines(seen.stdout), lines(expected.stdout)


@pytest.mark.parametrize("chip", CHIPS)
@pytest.mark.parametrize("session", ["board_check", "calibration", "rf"])
def test_a_session_is_seen_as_the_virtual_phone_records_it(tmp_path, describe, chip, session):
    seen, expected = both(tmp_path, describe(chip, FIXED_COUNT), "run", ROOT / "sessions" / f"{session}.tcl")
    assert seen == expected
    assert sum(len(line["driver"]) + len(line["nv"]) for line in seen if line["type"] == "call") > 4


def test_a_sweep_fits_into_the_watchers_memory(tmp_path, describe):
    seen, expected = both(tmp_path, describe(CHIPS[1], FIXED_COUNT), "run", ROOT / "sessions" / "sweep.tcl")
    assert len(seen) > 1000 and seen == expected


def fault(place, value, nth=1, times=0):
    return f'[[fault]]\nplace = "{place}"\nnth = {nth}\ntimes = {times}\nvalue = {value}\n'


@pytest.mark.parametrize("more, call, cause", [
    (fault("ioctl", 1), "wifi_get_rx_rssi", "EPERM"),
    (fault("ioctl", 13), "wifi_get_rx_rssi", "EACCES"),
    (fault("ioctl", 19), "wifi_get_rx_rssi", "ENODEV"),
    (fault("ioctl", 5, times=1), "wifi_get_rx_rssi", None),
    (fault("socket", 24), "wifi_get_rx_rssi", "EMFILE"),
    (fault("fork", 11), "wifi_start_testmode", "EAGAIN"),
    (fault("execl", 2), "wifi_start_testmode", "ENOENT"),
    (fault("waitpid", 4, times=2), "wifi_start_testmode", None),
    (fault("popen", 12), "wifi_start_testmode", None),
    (fault("shell:ifconfig wlan0 up", 127), "wifi_start_testmode", "exit status 127"),
    ("node.present = false\n", "wifi_pt_power_test 1", "ENOENT"),
])
def test_a_refusal_has_the_same_cause(tmp_path, describe, more, call, cause):
    seen, expected = both(tmp_path, describe("vq2040", more), *call.split())
    assert seen == expected
    (line,) = [line for line in seen if line["type"] == "call"]
    assert cause is None or cause in {each["found"] for each in line["causes"]}, line


def test_a_refusal_of_the_nv_service_has_the_same_cause(tmp_path, describe):
    seen, expected = both(tmp_path, describe("vq2050", fault("nv_write:340", 2)), *"wifi_nvram_calibrate_set 0 0 0 0 0 2442 10".split())
    assert seen == expected and any(each["found"] == "code 2" for line in seen for each in line.get("causes", []))


def test_an_interface_that_vanishes_shows_from_its_first_refusal(tmp_path, describe):
    script = tmp_path / "vanishes.tcl"
    script.write_text("wifi_set_power 100\nignore wifi_set_power 101\nignore wifi_get_rx_rssi\n")
    seen, expected = both(tmp_path, describe("vq2050", fault("ioctl", 19, nth=2)), "run", script)
    assert seen == expected
    taken = [[command["taken"] for command in line["driver"]] for line in seen if line["type"] == "call"]
    assert taken == [[True], [False], [False]]


def test_text_junit_and_page_tell_of_a_watched_phone(tmp_path, describe):
    junit, page = tmp_path / "unit.xml", tmp_path / "unit.html"
    done = phone("--junit", junit, "--report", page, "--log=error", "wifi_get_rx_rssi",
                 description=describe("vq2050", fault("ioctl", 100)))
    assert done.returncode == 1
    assert "driver   12 rssi refused" in done.stdout and "cause    driver command 12 rssi: ENETDOWN" in done.stdout
    assert done.stderr.count("wl_config test: ioctl fail:ret -1") == 1  # the log, once
    assert "ENETDOWN" in junit.read_text()
    assert [event["virtual"] for event in page_events(page) if event["type"] == "phone"] == [False]


def test_without_a_phone_the_real_refusals_show(tmp_path):
    """No virtual phone below: this machine's own kernel and files."""
    done = station("--json", "--trace", tmp_path / "unit.trace", "wifi_start_testmode", program=STATION_PHONE)
    (line,) = [line for line in lines(done.stdout) if line["type"] == "call"]
    found = {each["found"] for each in line["causes"]}
    assert done.returncode == 1 and (os.path.exists("/system/bin/sh") or "ENOENT" in found), line
