# SPDX-License-Identifier: Apache-2.0
"""A report with a bit of everything: failures, refused commands, waits, calibration, and text that looks like markup."""
import json
import re
from pathlib import Path

from support.console import station

HOSTILE = "</script><script>document.title='broken in'</script><img src=x onerror=alert(1)>&amp;\u2028<b>bold</b>"

SCRIPT = r"""
phone set radio.rssi -95
phone set netcfg.output {wlan0 UP %s}
step "Identity"
conn_test_get_checktime_of_chipcheck -> 0 check_time 100
step "Test mode on"
wifi_start_testmode -> 1
step "Receive"
wifi_set_mode 4 -> 1
wifi_set_band 1 -> 1
wifi_set_channel 2437 -> 1
wifi_setmimo_channel 1 -> 1
fault ioctl:8 1 2
wifi_start_rx -> 1
wifi_start_rx -> 1
wait 1.5
wifi_get_rx_rssi -> 1 rssi -90..-20
note {%s}
step "Calibrate"
wifi_nvram_calibrate_set 0 0 0 0 0 2442 60 -> 1
wifi_nvram_calibrate_set 0 0 0 0 0 2412 3 -> 1
wifi_stop_testmode -> 1
""" % (HOSTILE, HOSTILE)


MEASUREMENTS = (Path(__file__).parent / "measurements.tcl").read_text(encoding="utf-8")


def write_report(directory, script=SCRIPT, chips="vq2070", more=()):
    """Runs the script and then those of `more`. @return the page's path and the finished process."""
    paths = []
    for i, text in enumerate([script, *more]):
        paths.append(directory / f"session{i}.tcl")
        paths[-1].write_text(text, encoding="utf-8")
    page = directory / "report.html"
    run = station("--quiet", "--chip", chips, "--report", page, "run", *paths)
    return page, run


def unpack(text):
    """The events of a page's data, each with its point in a sweep and the numbers of its own as `own`."""
    values, events, point = [], [], {}
    for entry in json.loads(text):
        if isinstance(entry, list):
            event = {**values[entry[0]], "own": entry[1:]}
            if event["type"] == "point":
                point = {"point": event["point"]} if event["point"] else {}
            events.append(event | point)
        elif not isinstance(entry, dict):
            values.append(entry)
        elif "list" in entry:
            values.append([values[i] for i in entry["list"]])
        else:
            values.append(dict(zip(values[entry["keys"]], [values[i] for i in entry["values"]])))
    return events


def page_events(path):
    """The events of the page in this file."""
    page = Path(path).read_text(encoding="utf-8")
    return unpack(re.search(r'id="events"[^>]*>(.*?)</script>', page, re.S)[1])
