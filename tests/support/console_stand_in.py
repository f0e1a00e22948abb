#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""A console that behaves as the first word of its unit's serial number says; the rest makes the serial unique.

It writes the record of its run as orva-station does.
"""
import json
import os
import signal
import sys
import time
from pathlib import Path

from orva_records.record import Header, RecordWriter

VALUED = ("--chip", "--phone", "--unit", "--nv", "--serial", "--station", "--slot", "--operator", "--plan", "--plan-version",
          "--attempt", "--record", "--report")
STATUS = {"PASS": 0, "FAIL": 1, "BROKEN": 2, "NO VERDICT": 3}


def say(kind, **members):
    print(json.dumps({"type": kind, **members}), flush=True)


def options(words):
    found = {}
    while words[0] != "run":
        word = words.pop(0)
        found[word] = words.pop(0) if word in VALUED else ""
    return found, words[1:]


def log(text):
    with open(os.environ["STAND_IN_LOG"], "a", encoding="utf-8") as file:
        file.write(f"{text}\n")


def journal():
    path = Path(os.environ["STAND_IN_LOG"])
    return path.read_text(encoding="utf-8") if path.exists() else ""


class Unit:
    def __init__(self, given):
        self.kind, self.attempt = given["--serial"].split("-")[0], int(given.get("--attempt", "1"))
        header = Header(serial=given["--serial"], station=given["--station"], slot=given["--slot"], plan=given.get("--plan", "rf.tcl"),
                        plan_version=given["--plan-version"], chip="vq2050", attempt=self.attempt)
        self.record = RecordWriter(Path(given["--record"]).parent, header)

    def run(self):
        say("begin", session="sessions/stand_in.tcl")
        say("step", title="Transmit")
        say("progress", done=1, total=2, text="")
        if self.kind == "hang" or self.kind == "deaf":
            if self.kind == "deaf":
                signal.signal(signal.SIGTERM, signal.SIG_IGN)
            time.sleep(600)
        if self.kind == "crash":
            os.kill(os.getpid(), signal.SIGSEGV)
        if self.kind == "rubbish":
            print("Segmentation fault (core dumped)", flush=True)
            time.sleep(600)
        while self.kind == "slow" and journal().count("PASS pass") < 3:
            time.sleep(0.05)
        good = self.kind != "fail" and not (self.kind == "flaky" and self.attempt == 1)
        self.record.measure("power", 15.0 if good else 3.0, unit="dBm", low=13, high=17)
        self.end("PASS" if good else "FAIL")

    def end(self, verdict):
        if verdict == "BROKEN":
            self.record.broken("SIGTERM")
        else:
            self.record.finish()
        failures = [{"what": "power 3, expected 13..17", "where": "stand_in.tcl:7"}] if verdict == "FAIL" else []
        say("end", verdict=verdict, failures=failures)
        if self.kind != "mute":
            say("summary", verdict=verdict)
        log(f"{verdict} {self.kind}")
        sys.exit("the record cannot be written" if self.kind == "liar" else STATUS[verdict])


def main():
    if any(word.startswith("words-") for word in sys.argv):
        log(json.dumps(sys.argv[1:]))
    given, sessions = options(sys.argv[1:])
    if "--serial" not in given:
        log(f"teardown {given.get('--chip')} {sessions[0]}")
        bad = "bad" in sessions[0] or "gone" in sessions[0]
        if "gone" in sessions[0]:
            spool = Path(sessions[0]).parent / "spool"
            spool.rename(spool.with_name("elsewhere"))
        say("end", verdict="BROKEN" if bad else "NO VERDICT", failures=[])
        say("summary", verdict="BROKEN" if bad else "NO VERDICT")
        sys.exit(STATUS["BROKEN" if bad else "NO VERDICT"])
    signal.pthread_sigmask(signal.SIG_BLOCK, [signal.SIGTERM])  # the record is seen before its unit can end it
    unit = Unit(given)
    signal.signal(signal.SIGTERM, lambda *_: unit.end("BROKEN"))
    signal.pthread_sigmask(signal.SIG_UNBLOCK, [signal.SIGTERM])
    unit.run()


main()
