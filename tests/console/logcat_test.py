# SPDX-License-Identifier: Apache-2.0
"""The console for real phones with a library whose log lines it can only get from logcat."""

import json
import os
import time

import pytest

from support.console import STATION_PHONE, station
from support.tree import ROOT

LIBRARY = os.environ["ORVA_OWN_LOG"]
PAST, MIXED = "wifi_power_set_range", "wifi_stop_rx"
CHILD = "of the child"
ALL_PAST = ["before\nsecond line", CHILD, "after"]


class Phone:
    """A phone with a log, and maybe with a logcat."""

    def __init__(self, folder, with_logcat=True):
        self.folder, self.runs_file = folder, folder / "runs"
        (folder / "bin").mkdir()
        if with_logcat:
            (folder / "bin/logcat").symlink_to(ROOT / "tests/support/logcat_stand_in.py")

    def call(self, *calls, options=(), trouble=""):
        script = self.folder / "session.tcl"
        script.write_text("".join(f"{call} -> 1\n" for call in calls))
        self.trace = self.folder / "unit.trace"
        path = f"{self.folder / 'bin'}:/usr/bin:/bin"
        environment = {**os.environ, "PATH": path, "ORVA_TEST_LOG": str(self.folder / "log"),
                       "LOGCAT_RUNS": str(self.runs_file), "LOGCAT_TROUBLE": trouble}
        done = station("--library", LIBRARY, *options, "--json", "--trace", self.trace, "run", script,
                       program=STATION_PHONE, env=environment)
        assert done.returncode == 0, done.stdout + done.stderr
        self.stderr = done.stderr
        return [step for step in map(json.loads, done.stdout.splitlines()) if step.get("function")]

    def runs(self):
        return self.runs_file.read_text().splitlines() if self.runs_file.exists() else []

    def recorded(self):
        found = [json.loads(line) for line in self.trace.read_text().splitlines()]
        return [line.get("text") if line["kind"] == "log" else line["kind"] for line in found if line["type"] == "contact"]


@pytest.fixture
def phone(tmp_path):
    return Phone(tmp_path)


def texts(step):
    return [line["text"] for line in step["log"]]


def remarks(steps):
    return [remark for step in steps for remark in step["remarks"]]


def test_lines_that_pass_the_watcher_by_are_merged_by_time(phone):
    step, = phone.call(PAST, options=["--logcat", "--log=info"])
    assert (texts(step), remarks([step])) == (ALL_PAST, [])
    assert phone.recorded() == ["before\nsecond line", "sleep", "fork", CHILD, "wait", "after"]
    assert [line.split(": ")[-1] for line in phone.stderr.splitlines()] == ["before", "second line", CHILD, "after"]


def test_each_call_has_its_own_lines(phone):
    steps = phone.call(PAST, MIXED, PAST, options=["--logcat=always"])
    assert list(map(texts, steps)) == [ALL_PAST, ["again", "aside", "again"], ALL_PAST]
    assert [("--pid=" in run) for run in phone.runs()] == [False, True, False], "a call with a child asks for all processes"


@pytest.mark.parametrize("options, lines, runs", [([], ["again", "again"], 0), (["--logcat=missing"], ["again", "again"], 0),
                                                  (["--logcat=always"], ["again", "aside", "again"], 1)])
def test_logcat_runs_only_when_wanted(phone, options, lines, runs):
    step, = phone.call(MIXED, options=options)
    assert (texts(step), len(phone.runs())) == (lines, runs)


@pytest.mark.parametrize("trouble, remark, lines, runs", [
    ("refused", "ended with status 1; it printed \"logcat: Permission denied\"", [[], []], 1),
    ("hang", "did not end within 2000 ms", [ALL_PAST, []], 1),
    ("flood", "printed more than 16777216 bytes", [[], []], 1),
    ("cut", "WIFI_OWN: aft\"", [ALL_PAST[:2]] * 2, 2),
    ("old", "WIFI_OWN: before\"", [[], []], 2),
])
def test_trouble_with_logcat_is_remarked_once_and_fails_nothing(phone, trouble, remark, lines, runs):
    began = time.monotonic()
    steps = phone.call(PAST, PAST, options=["--logcat"], trouble=trouble)
    assert time.monotonic() - began < 30, "logcat is stopped"
    assert (list(map(texts, steps)), len(phone.runs())) == (lines, runs)
    said, = remarks(steps)
    assert remark in said and "may be missing" in said


def test_a_phone_without_logcat_says_so(tmp_path):
    steps = Phone(tmp_path, with_logcat=False).call(PAST, options=["--logcat"])
    said, = remarks(steps)
    assert "No such file or directory" in said and texts(steps[0]) == []


@pytest.mark.parametrize("program, option, wanted", [(STATION_PHONE, "--logcat=now", "--logcat=now: give missing or always"),
                                                     ({}, "--logcat", "--logcat: the virtual phone's log is always seen")])
def test_what_the_option_does_not_take(program, option, wanted):
    done = station(option, PAST, **({"program": program} if program else {}))
    assert (done.returncode, done.stdout) == (2, "") and wanted in done.stderr
