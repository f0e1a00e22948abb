# SPDX-License-Identifier: Apache-2.0
"""The report as a file: complete, self-contained, and safe against the text it quotes."""
import html.parser
import json
import re

import pytest

from support.console import station
from support.page_sample import HOSTILE, SCRIPT, unpack, write_report


class Page(html.parser.HTMLParser):
    """Elements with their attributes, and the contents of scripts and styles, parsed as a browser does."""

    def __init__(self, text):
        super().__init__()
        self.elements, self.raw = [], {}
        self.feed(text)

    def handle_starttag(self, tag, attrs):
        self.elements.append((tag, dict(attrs)))

    def handle_data(self, data):
        tag, attributes = self.elements[-1] if self.elements else ("", {})
        if tag in ("script", "style") and data.strip():
            self.raw[attributes.get("id", tag)] = data


@pytest.fixture(scope="module")
def page(tmp_path_factory):
    path, run = write_report(tmp_path_factory.mktemp("report"))
    assert run.returncode == 1, run.stderr
    return Page(path.read_text(encoding="utf-8"))


def events(page):
    return unpack(page.raw["events"])


def test_it_refers_to_nothing_outside_itself(page):
    for tag, attributes in page.elements:
        assert tag not in ("link", "img", "iframe", "object", "embed", "base"), tag
        assert "src" not in attributes and attributes.get("href", "#").startswith("#"), (tag, attributes)
    own = page.raw["style"] + page.raw["script"]
    assert re.findall(r"[a-z]+://[^\"'\s)]+", own) == ["http://www.w3.org/2000/svg"]  # a name, not a place
    assert not re.search(r"@import|url\(|fetch\(|XMLHttpRequest|WebSocket|import\s*\(|sendBeacon", own)
    policy = next(a["content"] for t, a in page.elements if a.get("http-equiv") == "Content-Security-Policy")
    assert policy.startswith("default-src 'none';") and "unsafe" not in policy and "http" not in policy


def test_what_is_quoted_stays_inside_the_data(page):
    assert [t for t, _ in page.elements].count("script") == 2
    notes = [e["text"] for e in events(page) if e["type"] == "note"]
    logged = [line["text"] for e in events(page) if e["type"] == "call" for line in e["log"]]
    assert notes == [HOSTILE]
    assert any(HOSTILE[:40] in line for line in logged)


def test_it_holds_the_events_of_the_json_output(page, tmp_path):
    script = tmp_path / "session0.tcl"
    script.write_text(SCRIPT, encoding="utf-8")
    lines = station("--json", "--chip", "vq2070", "run", script).stdout.split("\n")
    wanted = [json.loads(line) for line in lines if line]
    own = [e for e in events(page) if e["type"] not in ("report", "phone", "point", "nv_state")]
    for event in own:
        if event["type"] == "call":
            event["at_us"], event["phone_us"] = event["own"]
            event["pauses_us"] = [p["us"] for p in event["pauses"]]
            event["driver"] = [{**d, "at_us": d["at_us"] + event["at_us"]} for d in event["driver"]]
    key = ("type", "function", "result", "expectations", "what", "held", "text", "driver", "pauses_us", "at_us", "phone_us", "passed")
    assert [{k: e.get(k) for k in key} for e in own] == [{k: e.get(k) for k in key} for e in wanted]


def test_equal_calls_take_no_room(tmp_path):
    def size(times):
        path, _ = write_report(tmp_path, f"for {{set i 0}} {{$i < {times}}} {{incr i}} {{ wifi_get_rx_rssi }}")
        return path.stat().st_size

    assert (size(2000) - size(1000)) / 1000 < 30


def test_each_call_at_a_point_has_it(tmp_path):
    path, _ = write_report(tmp_path, "sweep {power {1 2}} { wifi_set_power $power -> 1; wifi_set_mode 4 -> 1 }; wifi_set_mode 1 -> 1")
    calls = [e for e in events(Page(path.read_text(encoding="utf-8"))) if e["type"] == "call"]
    assert [e.get("point") for e in calls] == ["power 1", "power 1", "power 2", "power 2", None]


@pytest.mark.parametrize("script, status", [("wifi_set_power nonsense", 2), ("error {out of fixtures}", 2), ("note done", 3)])
def test_a_session_that_stops_has_its_page_too(tmp_path, script, status):
    path, run = write_report(tmp_path, script)
    last = events(Page(path.read_text(encoding="utf-8")))[-1]
    assert (run.returncode, last) == (status, {"own": [], "type": "summary", "sessions": 1, "verdict": "BROKEN" if status == 2 else "NO VERDICT", "passed": False})


def test_a_file_that_cannot_be_written_is_named(tmp_path):
    run = station("--report", tmp_path / "nowhere" / "r.html", "wifi_query_setting", "1")
    assert run.returncode == 2 and "nowhere/r.html: No such file or directory" in run.stderr
