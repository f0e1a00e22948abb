#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Judges the results of a phone with a real kernel.

Each session must have passed. Where the virtual phone can run it too, the driver commands that the kernel's driver
heard must equal, record by record, those of the virtual phone, and so must results, shell commands and log.
"""
import argparse
import json
import subprocess
import sys
from itertools import zip_longest
from pathlib import Path

KERNEL_FAILURES = ("ORVA-BROKEN", "BUG:", "Oops", "WARNING:", "Call trace:", "Call Trace:")
PACKET_COUNT = "packet_count"


def lines_of(report):
    """A report's lines, up to where it was cut off. Skips the output of shell commands in between."""
    for line in filter(lambda text: text.startswith("{"), report.splitlines()):
        try:
            yield json.loads(line)
        except json.JSONDecodeError:
            return


def calls(report):
    """The calls of a session's report, one JSON object a line."""
    return [line for line in lines_of(report) if line["type"] == "call"]


def what_happened(call):
    """What a call must do on either phone. Without the results of a call that counts packets: they depend on time."""
    happened = {"function": call["function"], "arguments": call["arguments"],
                "shell": [[shell["command"], shell["status"]] for shell in call["shell"]]}
    if all(command["name"] != PACKET_COUNT for command in call["driver"]):
        happened |= {"result": call["result"], "outputs": call["outputs"],
                     "log": [[line["priority"], line["tag"], line["text"]] for line in call["log"]]}
    return happened


def record_name(record):
    magic, command = (int.from_bytes(bytes.fromhex(record.ljust(16, "0"))[at:at + 4], "little") for at in (0, 4))
    return f"magic {magic} command {command} data {record[16:] or '-'}"


def record_difference(here, there):
    """The first driver command that differs between the kernel and the virtual phone; "" for none."""
    for place, (one, other) in enumerate(zip_longest(here, there), 1):
        if one != other:
            one, other = (record_name(record) if record else "nothing" for record in (one, other))
            return f"driver command {place}: the real kernel saw {one}, the virtual phone {other}"
    return ""


def call_difference(here, there):
    """The first difference between a session's calls on both phones; "" for none."""
    if len(here) != len(there):
        return f"{len(here)} calls on the real kernel, {len(there)} on the virtual phone"
    for number, (one, other) in enumerate(zip(map(what_happened, here), map(what_happened, there)), 1):
        for what, value in one.items():
            if value != other.get(what):
                return f"call {number}, {one['function']}: {what}: {value} here, {other.get(what)} on the virtual phone"
    return ""


class Session:
    """A session's results, and the same session on the virtual phone."""

    def __init__(self, chip, name, file, results, station):
        self.folder = results / f"{chip}-{name}"
        self.title = f"{chip} {name}"
        self.command = [station, "--chip", chip, "--json", "run", str(file)] if station else None

    def read(self, name):
        path = self.folder / name
        return path.read_text(encoding="utf-8", errors="replace") if path.exists() else ""

    def seconds(self):
        begin, end = map(float, self.read("times").split())
        return end - begin

    def problem(self):
        """Why the session failed, or "". Sets compared to the number of records compared."""
        self.compared = None
        if self.read("status").strip() != "0":
            return f"exit status {self.read('status').strip() or 'missing'}: {self.first_complaint()}"
        here = calls(self.read("report.jsonl"))
        if not here:
            return "no function was called"
        return self.compare(here) if self.command else ""

    def first_complaint(self):
        for line in lines_of(self.read("report.jsonl")):
            failed = [e for e in line.get("expectations", [line]) if e.get("held") is False]
            if failed or line["type"] == "error":
                return f"line {line.get('line')}: {failed or line.get('text')}"
        return self.read("errors.txt").strip() or "it says nothing"

    def compare(self, here):
        run = subprocess.run(self.command, capture_output=True, text=True, check=False)
        if run.returncode != 0:
            return f"the virtual phone fails in it: exit status {run.returncode} {run.stderr.strip()}"
        there = calls(run.stdout)
        heard = [line.split()[2] for line in self.read("commands.txt").splitlines()]
        records = [record.lower() for call in there for record in call["records"]]
        self.compared = len(heard)
        return record_difference(heard, records) or call_difference(here, there)


def judge_session(session):
    problem = session.problem()
    compared = "" if session.compared is None else f"{session.compared:5} records equal"
    print(f"{'FAILED' if problem else 'passed'}  {session.title:32} {session.seconds():6.1f} s  {problem or compared}")
    return not problem


def judge_driver(results):
    folder = results / "driver"
    report = (folder / "report.txt").read_text(encoding="utf-8")
    held = sum(line.startswith("held") for line in report.splitlines())
    passed = (folder / "status").read_text(encoding="utf-8").strip() == "0" and held > 0
    print(f"{'passed' if passed else 'FAILED'}  {'the driver itself':32}           {held:5} checks held")
    if not passed:
        print("".join(f"        {line}\n" for line in report.splitlines() if not line.startswith("held")), end="")
    return passed


def judge_kernel(results):
    log = (results / "kernel.log").read_text(encoding="utf-8", errors="replace")
    complaints = [line for line in log.splitlines() if any(mark in line for mark in KERNEL_FAILURES)]
    for line in complaints[:5]:
        print(f"FAILED  the kernel says: {line}")
    return not complaints


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("plan", type=Path, help="what was run")
    parser.add_argument("sessions", type=Path, help="where the sessions are")
    parser.add_argument("results", type=Path, help="what came back")
    parser.add_argument("--station", required=True, help="the console with the virtual phone")
    arguments = parser.parse_args()

    verdicts = [judge_kernel(arguments.results)]
    for line in arguments.plan.read_text(encoding="utf-8").splitlines():
        kind, *words = line.split()
        if kind == "driver":
            verdicts.append(judge_driver(arguments.results))
            continue
        chip, name, file = words
        station = arguments.station if kind == "session" else None
        verdicts.append(judge_session(
            Session(chip, name, arguments.sessions / Path(file).name, arguments.results, station)))
    passed = all(verdicts)
    print(f"kernel-phone: {'passed' if passed else 'FAILED'}")
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
