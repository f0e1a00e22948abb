# SPDX-License-Identifier: Apache-2.0
"""The Python package and the console make the same calls: phone, results and recording agree to the last contact.

Each argument has a value of its own, so that two of them cannot be exchanged unnoticed.
"""
import dataclasses
import itertools
import json
import re

import pytest

from orva import CHIPS, Bench, EventKind

from support.console import station
from support.tree import ROOT

pytest_plugins = ["orva.pytest_plugin"]

# ("set", key, value), ("fault", place, nth, times, value), ("wait", seconds), else a call with its arguments.
STEPS = [
    ("wifi_get_func", 6), ("wifi_get_func", 200), ("wifi_query_setting", 5), ("wifi_set_power", -157),
    ("wifi_query_setting", 5), ("wifi_set_antenna", 1), ("wifi_set_antenna", 2), ("wifi_set_powermode", 1, 3),
    ("wifi_set_powermode", 2, 1), ("wifi_pt_power_test", 3), ("wifi_set_bss_expire_age", 121), ("wifi_selcal_disable_set", 1),
    ("wifi_start_testmode",), ("wifi_set_mode", 4), ("wifi_set_mode", 99), ("wifi_set_rate", 5400), ("wifi_set_band", 1),
    ("wifi_set_channel", 2437), ("wifi_setmimo_channel", 2), ("wifi_query_setting", 3), ("wifi_start_tx",), ("wait", 0.25),
    ("wifi_stop_tx",), ("wifi_ru_set", 2, "0A1"), ("wifi_start_rx", "0A1B2C3D4E5F"), ("wait", 1.75), ("wifi_get_rx_pckg",),
    ("set", "radio.rssi", -33), ("wifi_get_rx_rssi",), ("fault", "ioctl:12", 1, 2, 110), ("wifi_get_rx_rssi",),
    ("fault", "ioctl:10", 1, 2, 0), ("wifi_get_rx_pckg",), ("wifi_stop_rx",), ("wifi_start_rx",), ("wifi_stop_testmode",),
    ("wifi_hw_get",), ("set", "check.fem", 3), ("wifi_hw_get",), ("wifi_test_weld",), ("conn_test_chipcheck",),
    ("set", "check.chip", 7), ("conn_test_get_chipcheck_result",), ("conn_test_get_checktime_of_chipcheck",),
    ("conn_test_uart_loop",), ("set", "check.uart_loop", 1), ("conn_test_uart_loop",), ("conn_test_sdio_loop",),
    ("wifi_nvram_set",), ("wifi_nvram_calibrate_set", 0, 1, 2, 0, 1, 2412, "-37"), ("wifi_nvram_calibrate_get", 104),
    ("wifi_nvram_calibrate_set", 0, 0, 0, 1, 0, 5180, "41"), ("wifi_nvram_calibrate_set", 6, 5, 4, 3, 2, 1, "9"),
    ("wifi_nvram_calibrate_clean", 3), ("wifi_nvram_calibrate_clean_new", 1, 0, 0, 0),
    ("wifi_nvram_calibrate_clean_new", 0, 1, 0, 0), ("wifi_nvram_calibrate_clean_new", 0, 0, 1, 0),
    ("wifi_nvram_calibrate_clean_new", 0, 0, 0, 1), ("set", "identity.upc", 300), ("wifi_get_upc_code",),
    ("wifi_set_tas_ant_mode", 4), ("wifi_start_roam", "02:11:22:33:44:55"), ("wifi_start_roam_scan",),
    ("set", "ap.ssid", "lab 7"), ("wifi_conn_info",), ("fault", "socket", 1, 1, 24), ("wifi_conn_info",),
    ("wifi_power_set_range",), ("wifi_test_broadcast_loop", 5), ("fault", "nv_read:340", 1, 1, 9),
    ("wifi_nvram_calibrate_get", 104), ("set", "driver.loaded", "false"), ("wifi_set_antenna", 3),
]
FLAGS = ("chain0_2g", "chain0_5g", "chain1_2g", "chain1_5g")
# Python's name of an output, where it is not the console's.
OUTPUTS = {"dbm": "rssi", "rssi_dbm": "rssi"}


def in_tcl(name, *arguments):
    if name == "set":
        return f"phone set {arguments[0]} {{{arguments[1]}}}"
    if name == "wifi_nvram_calibrate_clean_new":
        return f"{name} {','.join(map(str, arguments))}"
    return " ".join([name, *(f"{{{argument}}}" for argument in arguments)])


def in_python(bench, name, *arguments):
    """The result of a call, None for what is none."""
    if name in ("set", "fault", "wait"):
        getattr(bench.phone, name)(*arguments)
        return None
    bench.phone.events_clear()
    if name == "wifi_nvram_calibrate_clean_new":
        return bench.library.wifi_nvram_calibrate_clean_new(**dict(zip(FLAGS, map(bool, arguments))))
    return getattr(bench.library, name)(*arguments)


def as_the_console_says(result, line):
    """A method's result in the console's words: outcome, number, outputs."""
    if isinstance(result, bool):
        return {"outcome": "good" if result else "bad"}
    if result is None:
        return {"outcome": "bad"} if line["function"] != "wifi_get_func" else {"result": line["result"]}
    if not dataclasses.is_dataclass(result):
        return {"result": result}
    values = dataclasses.asdict(result)
    said = {"outcome": "good" if values.pop("ok") else "bad"} if "ok" in values else {"result": values.pop("code")}
    outputs = {OUTPUTS.get(key, key): value for key, value in values.items()}
    given = dict(line["outputs"])
    if outputs.get("rssi", 0) is None:  # nothing was written
        outputs["rssi"] = given["rssi"]
    return {**said, "outputs": outputs}


class Contacts:
    """A call's events, written as the documentation of the trace format says."""

    def __init__(self, phone):
        self.phone, self.descriptors, self.given = phone, {}, itertools.count(1)

    def field(self, name, event):
        number = event.numbers[0]
        record = event.kind is EventKind.IOCTL
        value = {
            "on": lambda: self.descriptors.get(number, -1), "name": lambda: event.name, "text": lambda: event.text,
            "data": lambda: event.data.hex().upper(), "command": lambda: event.numbers[2] if record else None,
            "sent": lambda: event.data[:264].rstrip(b"\0").hex().upper(),
            "left": lambda: event.data[264:].rstrip(b"\0").hex().upper(),
        }.get(name, lambda: number)()
        return {} if value == "" and name in ("name", "text", "data") else {name: value}

    def result(self, event):
        if event.kind in (EventKind.SOCKET, EventKind.OPEN) and event.result > 0:
            self.descriptors[event.result] = next(self.given)
            return self.descriptors[event.result]
        return 1 if event.kind in (EventKind.FORK, EventKind.WAIT) and event.result > 0 else event.result

    def line(self, event):
        line = {"type": "contact", "kind": event.kind.name.lower(), "at_us": event.time_us}
        for name in self.phone.event_fields(event.kind):
            line.update(self.field(name, event))
        return {**line, "result": self.result(event), **({"errno": event.error} if event.error else {})}

    def lines(self):
        events = self.phone.events()
        children = {event.result for event in events if event.kind is EventKind.FORK}
        for event in events:
            if event.process in children:
                continue
            yield self.line(event)
            if event.kind is EventKind.FORK:
                yield from (self.line(own) for own in events if own.process == event.result)


def recorded(path):
    """The recording's contacts, call by call."""
    calls = []
    for line in map(json.loads, path.read_text().splitlines()):
        if line["type"] == "call":
            calls.append([])
        elif line["type"] == "contact":
            calls[-1].append(line)
    return calls


def trimmed(commands):
    return [(c.magic.to_bytes(4, "little") + c.id.to_bytes(4, "little") + c.sent).rstrip(b"\0").hex().upper() for c in commands]


def test_every_public_function_is_called():
    public = re.findall(r"^ +((?:wifi|conn)_\w+);", (ROOT / "api" / "exports.map.txt").read_text(), re.M)
    assert public and set(public) <= {name for name, *_ in STEPS}


@pytest.mark.parametrize("chip", CHIPS)
def test_python_and_the_console_make_the_same_calls(chip, tmp_path):
    script, trace, store = tmp_path / "calls.tcl", tmp_path / "calls.trace", tmp_path / "unit.nv"
    script.write_text("\n".join(in_tcl(*step) for step in STEPS))
    done = station("--json", "--chip", chip, "--nv", store, "--yes", "--trace", trace, "run", script)
    lines = [line for line in map(json.loads, done.stdout.splitlines()) if line["type"] == "call"]
    contacts = recorded(trace)
    assert len(lines) == len(contacts) == sum(name.startswith(("wifi", "conn")) for name, *_ in STEPS), done.stdout[-500:]
    with Bench(chip=chip) as bench:
        for step in STEPS:
            result = in_python(bench, *step)
            if not step[0].startswith(("wifi", "conn")):
                continue
            line, expected = lines.pop(0), contacts.pop(0)
            said = as_the_console_says(result, line)
            assert (step, said) == (step, {key: line[key] for key in said})
            for made, told in itertools.zip_longest(Contacts(bench.phone).lines(), expected):
                assert (step, made) == (step, told)
            assert [tuple(log.values()) for log in line["log"]] == [
                (log.priority, log.tag, log.text.rstrip()) for log in bench.phone.log_lines()]
            assert line["pauses_us"] == bench.phone.pauses_us() and line["records"] == trimmed(bench.phone.driver_commands())
            commands = bench.phone.driver_commands()
            assert [c["taken"] for c in line["driver"] for _ in range(c["attempts"])] == [c.ok for c in commands]
            shell = [(c["command"], c["status"]) for c in line["shell"] if not c["command"].startswith("/system/bin/netcfg")]
            assert shell == bench.phone.shell_commands()
        kept = bench.phone.nv_items()
        bench.phone.nv_open(store)
        assert bench.phone.nv_items() == kept != []
