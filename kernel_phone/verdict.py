#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Judges the results of a phone with a real kernel.

Each session must have passed, and its recording must replay on the virtual phone without a difference. The recording
must have the driver commands that the kernel's driver heard, and the commands that the phone's shell ran. Where the
virtual phone can run the session too, the driver commands must equal, record by record, those of the virtual phone, and
so must results, shell commands and log.

A script about a cause must have made the console print what its lines "# prints: TEXT" say, in this order, and what was
recorded must replay. A session under the sample policy must use the capabilities and requests that the policy names, all
of them and no others.
"""
import argparse
import json
import re
import subprocess
import sys
from itertools import zip_longest
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent
KERNEL_FAILURES = ("ORVA-BROKEN", "BUG:", "Oops", "WARNING:", "Call trace:", "Call Trace:")
PACKET_COUNT = "packet_count"
# Refusals of the kernel itself, before the driver sees the command: EPERM, EFAULT, ENODEV.
UNHEARD = (1, 14, 19)


def lines_of(report):
    """A report's lines, up to where it was cut off. Skips the output of shell commands in between."""
    for line in filter(lambda text: text.startswith("{"), report.split("\n")):  # splitlines() splits texts at U+2028, too
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


def first_difference(what, here, there, whose):
    """The first difference between what the watcher recorded and what another saw; "" for none."""
    for place, (one, other) in enumerate(zip_longest(here, there), 1):
        if one != other:
            return f"{what} {place}: {one or 'nothing'} is recorded, {whose} has {other or 'nothing'}"
    return ""


def replay_problem(station, folder):
    """Why the recording does not replay on the virtual phone, or ""."""
    again = subprocess.run([station, "replay", str(folder / "unit.trace")], capture_output=True, text=True, check=False)
    return "" if again.returncode == 0 else f"replayed on the virtual phone: {again.stdout}{again.stderr}".strip()


class Session:
    """A session's results, and the same session on the virtual phone."""

    def __init__(self, kind, chip, name, file, results, station):
        self.folder = results / f"{chip}-{name}"
        self.title = f"{chip} {name}"
        self.station = station
        self.command = [station, "--chip", chip, "--json", "run", str(file)] if kind == "session" else None

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
        return self.recording_problem() or (self.compare(here) if self.command else "")

    def heard(self):
        """The records that the driver lists."""
        return [line.split()[2].lower() for line in self.read("commands.txt").splitlines()]

    def recording_problem(self):
        """Why the session's recording is not what happened, or ""."""
        contacts = [line for line in lines_of(self.read("unit.trace")) if line["type"] == "contact"]
        sent = [contact["sent"].lower() for contact in contacts if contact["kind"] == "ioctl" and "sent" in contact
                and contact.get("errno") not in UNHEARD]
        ran = [f"{contact['result']} {contact['text']}" for contact in contacts if contact["kind"] == "exec"]
        account = [line.split(" ", 3) for line in self.read("shell.txt").splitlines()]
        shell = [f"{status} {command}" for _, how, status, command in account if how == "exec"]
        problem = first_difference("shell command", ran, shell, "the shell")
        # The list of a driver goes with it.
        if self.command:
            problem = problem or first_difference("driver command", sent, self.heard(), "the driver")
        return problem or self.replay_problem()

    def replay_problem(self):
        return replay_problem(self.station, self.folder)

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
        heard = self.heard()
        records = [record.lower() for call in there for record in call["records"]]
        self.compared = len(heard)
        return record_difference(heard, records) or call_difference(here, there)


def judge_session(session):
    problem = session.problem()
    compared = "" if session.compared is None else f"{session.compared:5} records equal"
    print(f"{'FAILED' if problem else 'passed'}  {session.title:32} {session.seconds():6.1f} s  {problem or compared}")
    return not problem


def first_unprinted(script, printed):
    """The first text of the script's lines "# prints:" that does not follow the ones before it; "" for none."""
    at = 0
    for line in script.splitlines():
        if line.startswith("# prints: "):
            text = line.removeprefix("# prints: ")
            at = printed.find(text, at)
            if at < 0:
                return text
            at += len(text)
    return "any line # prints:" if at == 0 else ""


def judge_cause(chip, name, script, results, station):
    folder = results / f"{chip}-{name}"
    printed = (folder / "printed.txt").read_text(encoding="utf-8", errors="replace")
    unprinted = first_unprinted(script.read_text(encoding="utf-8"), printed)
    problem = f"the console does not print: {unprinted}" if unprinted else replay_problem(station, folder)
    print(f"{'FAILED' if problem else 'passed'}  {f'{chip} {name}':32}           {problem or 'explained'}")
    return not problem


def named_by(sample):
    """The capabilities and interface requests that the sample policy names."""
    capabilities = re.findall(r"^allow orva_factory_test self:capability (.*);", sample, re.MULTILINE)
    requests = re.findall(r"^allowxperm orva_factory_test self:udp_socket ioctl (.*);", sample, re.MULTILINE)
    return ({word for words in capabilities for word in words.strip("{} ").split()},
            {int(word, 16) for words in requests for word in words.strip("{} ").split()})


def used_in(log):
    """The same as the kernel's log shows them granted to the domain, and all that it denied."""
    lines = [line for line in log.splitlines() if "scontext=u:r:orva_factory_test:" in line]
    granted = [line for line in lines if "avc:  granted" in line]
    capabilities = {word for line in granted if "tclass=capability " in f"{line} " for word in re.findall(r"{ (.*?) }", line)}
    requests = {int(number, 16) for line in granted for number in re.findall(r"ioctlcmd=(0x\w+) ", line)}
    return (capabilities, requests), [line for line in lines if "avc:  denied" in line]


def policy_problem(folder, log, sample):
    """What the session in the sample's domain used that the sample does not name, or the other way round; or ""."""
    printed = (folder / "printed.txt").read_text(encoding="utf-8", errors="replace")
    used, denied = used_in(log)
    if denied:
        return f"denied: {denied[0]}"
    if "confined: status 0" not in printed:
        return f"the session fails in the domain: {printed[-300:]}"
    if used != named_by(sample):
        return f"used are {used}, the sample names {named_by(sample)}"
    refused = ["rssi: EACCES: ", "domain u:r:other_tool:s0", "missing  private request      EACCES, from SELinux",
               "SELinux refused it: avc: denied { ioctl }", "ioctlcmd=0x89f2"]
    return next((f"another domain's refusal is not explained: {text}" for text in refused if text not in printed), "")


def judge_policy(chip, name, results, station):
    folder = results / f"{chip}-{name}"
    log = (results / "kernel.log").read_text(encoding="utf-8", errors="replace")
    sample = (ROOT / "android/sepolicy/orva_factory_test.te").read_text(encoding="utf-8")
    problem = policy_problem(folder, log, sample) or replay_problem(station, folder)
    capabilities, requests = named_by(sample)
    fits = f"used and named: {' '.join(sorted(capabilities))} {' '.join(map(hex, sorted(requests)))}"
    print(f"{'FAILED' if problem else 'passed'}  {f'{chip} the sample policy':32}           {problem or fits}")
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
    parser.add_argument("phone", type=Path, help="the folder that is the phone's, with sessions and causes")
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
        script = arguments.phone / file.removeprefix("/")
        if kind == "policy":
            verdicts.append(judge_policy(chip, name, arguments.results, arguments.station))
        elif kind == "cause":
            verdicts.append(judge_cause(chip, name, script, arguments.results, arguments.station))
        else:
            verdicts.append(judge_session(Session(kind, chip, name, script, arguments.results, arguments.station)))
    passed = all(verdicts)
    print(f"kernel-phone: {'passed' if passed else 'FAILED'}")
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
