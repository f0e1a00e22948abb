# SPDX-License-Identifier: Apache-2.0
"""The phone's controls from Python: each does what it says, and what goes out of the phone goes in again."""
import json
import re

import pytest
from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

from orva import Bench, Clock, EventKind, NvItem, PhoneError, Priority

from support.tree import PHONES, ROOT

pytest_plugins = ["orva.pytest_plugin", "pytester"]


def test_time_passes_on_the_chosen_clock(orva_phone):
    orva_phone.wait(0)
    orva_phone.wait(4000)
    assert (orva_phone.now_us(), orva_phone.pauses_us()) == (4_000_000_000, [0, 4_000_000_000])
    for seconds in (-0.001, 4000.001):
        with pytest.raises(ValueError, match=rf"seconds: {seconds} is not in 0\.\.4000"):
            orva_phone.wait(seconds)
    orva_phone.reset()
    assert orva_phone.now_us() == 0
    orva_phone.set_clock(Clock.REAL)
    orva_phone.wait(0.05)
    assert 50_000 <= orva_phone.now_us() < 5_000_000
    with pytest.raises(ValueError):
        orva_phone.set_clock(2)


def test_a_fault_comes_at_its_use_and_its_id_tells(orva_library, orva_phone):
    first, later = orva_phone.fault("ioctl:21", nth=2), orva_phone.fault("ioctl:21", nth=4, times=2, value=19)
    taken = [orva_library.wifi_set_antenna(1) for _ in range(3)]
    commands = orva_phone.driver_commands()
    assert (taken, [c.ok for c in commands]) == ([True, True, False], [True, False, True, False, False])
    assert [e.error for e in orva_phone.events() if e.kind is EventKind.IOCTL] == [0, 5, 0, 19, 19]
    assert (orva_phone.fault_fired(first), orva_phone.fault_fired(later)) == (1, 2)
    assert [orva_phone.uses(place) for place in ("ioctl:21", "ioctl", "socket", "popen")] == [5, 5, 3, 0]
    orva_phone.events_clear()
    assert (orva_phone.uses("ioctl:21"), orva_phone.events()) == (0, [])
    orva_phone.fault("ioctl:21", times=0)
    orva_phone.fault("fork")
    orva_phone.faults_clear()
    assert orva_library.wifi_set_antenna(1) and orva_phone.faults_unfired() == 2
    orva_phone.reset()
    assert orva_phone.faults_unfired() == 0


def test_log_lines_from_a_priority_on(capfd):
    with Bench() as bench:
        phone, library = bench.phone, bench.library
        phone.print_log(Priority.ERROR)
        phone.wait(2)
        assert library.wifi_set_power(155) and not library.wifi_set_mode(99)
        lines, errors = phone.log_lines(), phone.log_lines(Priority.ERROR)
        assert {line.time_us for line in lines} == {2_000_000, 2_002_000}
        assert errors == [line for line in lines if line.priority is Priority.ERROR] != lines
        assert len(capfd.readouterr().err.splitlines()) == len(errors) == 1
        phone.print_log(0)
        library.wifi_set_mode(99)
    assert capfd.readouterr().err == ""


def test_bounds_checked_functions_are_traced_on_request(orva_library, orva_phone):
    for on in (True, False):
        orva_phone.events_clear()
        orva_phone.trace_secure(on)
        orva_library.wifi_conn_info()
        names = [event.name for event in orva_phone.events() if event.kind is EventKind.SECURE]
        assert ("memcpy_s" in names) is on and bool(names) is on


def test_fixed_answers_stand_in_for_the_radios_own(orva_library, orva_phone):
    orva_phone.driver_answer(12, (-7).to_bytes(4, "little", signed=True))
    assert orva_library.wifi_get_rx_rssi().dbm == -7
    (command,) = orva_phone.driver_commands()
    assert (command.id, command.magic, command.value, command.answer[:5], len(command.sent)) == (12, 2050, 0, b"\xf9\xff\xff\xff\0", 256)
    orva_phone.driver_answers_clear()
    assert orva_library.wifi_get_rx_rssi().dbm == -52
    for number, answer in ((12, bytes(257)), (64, b"")):
        with pytest.raises(PhoneError, match=f"no driver command {number} with an answer of {len(answer)} bytes"):
            orva_phone.driver_answer(number, answer)


def test_nv_items_without_a_trace(orva_phone, tmp_path):
    orva_phone.nv_put(340, "B", b"two")
    orva_phone.nv_put(340, "A", bytes(range(1, 105)))
    orva_phone.nv_put(2, "C", b"")
    items = [(item.number, item.name, item.text[:3]) for item in orva_phone.nv_items()]
    assert items == [(2, "C", ""), (340, "A", "\1\2\3"), (340, "B", "two")]
    assert orva_phone.nv_get(340, "B") == b"two" + bytes(101) and orva_phone.nv_get(340, "D") == bytes(104)
    assert orva_phone.events() == []
    orva_phone.nv_clear()
    assert orva_phone.nv_items() == []
    with pytest.raises(PhoneError, match="nowhere"):
        orva_phone.nv_open(tmp_path / "nowhere" / "unit.nv")
    assert NvItem(1, "X", b"\xe9\0rest").text == "\u00e9"


def test_the_interface_and_what_is_left_open(orva_library, orva_phone):
    assert orva_phone.interface_up() is True and orva_phone.left_open() == 0
    orva_phone.set("interface.up", False)
    assert (orva_phone.get("interface.up"), orva_phone.interface_up()) == ("false", False)
    orva_phone.load(PHONES / "dead-pcie.toml")
    assert orva_phone.get("check.pcie") != "0" and not orva_library.wifi_test_weld()


def test_keys_have_a_meaning_each(orva_phone):
    meanings = {key.name: key.meaning for key in orva_phone.keys()}
    assert len(meanings) == len(orva_phone.keys()) > 50 and all(meanings.values())
    assert "dBm" in meanings["radio.rssi"] and meanings["radio.rssi"] != meanings["ap.rssi"]
    names = set(meanings) - {"chip", "subchip"}
    documented = (ROOT / "virtual_phone" / "README.md").read_text().partition("| keys | what |")[2].partition("\n\n")[0]
    missing = {name for name in names if name not in documented and f"{name.split('.')[0]}.*" not in documented and
               f"`{name.split('.')[0]}." not in documented}
    assert not missing


# Values of every form that a key may have.
values = st.one_of(st.integers(-(2**31), 2**32 - 1).map(str), st.sampled_from(["true", "false", "02:00:5e:10:20:31", ""]),
                   st.text("abcABC0123456789 \"\\'\u00e9=;,:", max_size=12))


@settings(max_examples=40, deadline=None, derandomize=True, database=None,
          suppress_health_check=[HealthCheck.function_scoped_fixture])
@given(st.data())
def test_a_description_read_out_describes_the_same_phone(orva_bench, tmp_path, data):
    phone = orva_bench.phone
    phone.reset()
    settable = [key.name for key in phone.keys() if not key.name.startswith("state.")]
    before = {name: phone.get(name) for name in settable}
    for name in data.draw(st.lists(st.sampled_from(settable), min_size=4, max_size=12, unique=True)):
        try:
            phone.set(name, data.draw(values))
        except PhoneError as error:
            assert str(error).startswith(f"{name}: ") and phone.get(name) == before[name]
    wanted = {name: phone.get(name) for name in settable}
    path = tmp_path / "phone.toml"
    path.write_text("".join(f"{name} = {json.dumps(value, ensure_ascii=False)}\n" for name, value in wanted.items()))
    phone.reset()
    assert {name: phone.get(name) for name in settable} == before
    phone.load(path)
    assert {name: phone.get(name) for name in settable} == wanted


BAD_TESTS = """
import signal
import pytest

def test_fault_that_never_fires(orva_library, orva_phone):
    orva_phone.fault("popen")
    orva_phone.fault("fread")
    assert orva_library.wifi_set_rate(6500)

def test_leak(orva_bench):
    orva_bench.phone.left_open = lambda: 3

def test_dead_phone(orva_bench, orva_library):
    orva_bench._process.send_signal(signal.SIGKILL)
    orva_library.wifi_stop_tx()

def test_good(orva_library, orva_phone, orva_chip):
    assert orva_phone.get("chip") == orva_chip == "vq2040a" and orva_phone.get("check.pcie") != "0"

def test_band_forgotten(orva_library):
    orva_library.wifi_start_testmode()
    orva_library.wifi_set_mode(4)
    assert orva_library.wifi_start_rx()

@pytest.mark.parametrize("orva_chip", ["vq2070"])
def test_refused(orva_library, orva_phone):
    for antenna in range(12):
        assert orva_library.wifi_set_antenna(antenna)
    orva_phone.fault("ioctl:21", times=2, value=110)
    assert orva_library.wifi_set_antenna(2)

def test_nothing_sent(orva_phone):
    assert False
"""
TITLE = "-+ Virtual phone: driver commands and log -+\n"
REPORTS = {
    "test_dead_phone": "no contacts: the phone's process was ended by SIGKILL\n",
    "test_band_forgotten": r"\(\d+ earlier\)\n(.*\n){18}2\.\d{3} s  log error: .*wrong band\[-1\]\.\n.* s  log error: .*\n",
    "test_refused": r"\(\d+ earlier\)\n(.*\n){15}(.* s  driver command 21, value 1: Connection timed out\n.* log error: .*\n){2}.*\n",
    "test_nothing_sent": "none\n",
}


def test_the_fixtures_fail_what_proved_nothing(pytester, monkeypatch):
    monkeypatch.setenv("PYTHONPATH", str(ROOT / "python"))
    pytester.makepyfile(BAD_TESTS)
    phone = PHONES / "dead-pcie.toml"
    result = pytester.runpytest_subprocess("-p", "orva.pytest_plugin", "--orva-chip", "vq2040a", "--orva-phone", phone)
    result.assert_outcomes(passed=3, failed=4, errors=3)
    for name, shown in REPORTS.items():
        assert re.search(rf"\n_+ {name}(\[\w+\])? _+\n(?:(?!_{{9}}).*\n)*{TITLE}{shown}[_=]{{9}}", result.stdout.str()), result.stdout.str()
    assert result.stdout.str().count("Virtual phone: driver") == len(REPORTS)
    result.stdout.fnmatch_lines_random([
        "*2 planned fault(s) never fired*", "*the library left 3 descriptor(s)*", "*was ended by SIGKILL*"])
    refused = pytester.runpytest_subprocess("-p", "orva.pytest_plugin", "--orva-chip", "vq9")
    assert refused.ret == 4 and "vq2070" in refused.stderr.str()
