#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Boots the phone in QEMU, runs its plan and unpacks the results that it sends over the serial line.

QEMU ends with 0 even after a kernel panic, so only the phone's own marks on the serial line count.
"""
import argparse
import base64
import io
import selectors
import shutil
import subprocess
import sys
import tarfile
import time
from pathlib import Path

MACHINES = {
    "arm64": (["qemu-system-aarch64", "-M", "virt", "-cpu", "cortex-a57"], "console=ttyAMA0"),
    # The check of the timer panics if a busy host does not emulate it in time.
    "amd64": (["qemu-system-x86_64"], "console=ttyS0 no_timer_check"),
}
FAILURES = ("Kernel panic", "Oops", "BUG:", "Call trace:", "Call Trace:", "ORVA-BROKEN")
MOST_COMPLAINTS = 5


def qemu_command(arch, kernel, initramfs):
    machine, arguments = MACHINES[arch]
    append = f"{arguments} security=selinux oops=panic panic=-1 quiet loglevel=4"
    return machine + ["-accel", "tcg", "-m", "192", "-smp", "1", "-nodefaults", "-no-user-config", "-display", "none",
                      "-no-reboot", "-nic", "none", "-kernel", str(kernel), "-initrd", str(initramfs),
                      "-append", append]


class Phone:
    """A running phone: its serial line, read line by line against a deadline."""

    def __init__(self, command, deadline):
        self.began = time.monotonic()
        self.deadline = self.began + deadline
        self.process = subprocess.Popen(command + ["-serial", "stdio"], stdin=subprocess.DEVNULL,
                                        stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.pending = b""
        self.complaints = 0

    def seconds(self):
        return time.monotonic() - self.began

    def lines(self):
        selector = selectors.DefaultSelector()
        selector.register(self.process.stdout, selectors.EVENT_READ)
        while True:
            left = self.deadline - time.monotonic()
            if left <= 0 or not selector.select(left):
                raise TimeoutError(f"the phone did not end within {self.deadline - self.began:.0f} s")
            chunk = self.process.stdout.read1()
            if not chunk:
                return
            *complete, self.pending = (self.pending + chunk).split(b"\n")
            for line in complete:
                yield line.decode(errors="replace").strip()

    def end(self):
        self.process.kill()
        self.process.wait()


def watch(phone, log):
    """Follows the serial line. Returns the packed results, or None if they are incomplete."""
    packed, inside, whole = [], False, False
    for line in phone.lines():
        if line == "ORVA-RESULTS-BEGIN":
            inside = True
        elif line == "ORVA-RESULTS-END":
            inside, whole = False, True
        elif inside:
            packed.append(line)
        else:
            log.write(line + "\n")
            report(phone, line)
    return base64.b64decode("".join(packed)) if whole else None


def report(phone, line):
    if line == "ORVA-PLAN-BEGIN":
        print(f"kernel-phone: booted after {phone.seconds():.1f} s", flush=True)
    elif line.startswith("ORVA-DONE "):
        _, name, status = line.split()
        print(f"kernel-phone: {phone.seconds():6.1f} s  {name}: exit status {status}", flush=True)
    elif any(mark in line for mark in FAILURES) and phone.complaints < MOST_COMPLAINTS:
        phone.complaints += 1
        print(f"kernel-phone: {line}", file=sys.stderr, flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--arch", required=True, choices=MACHINES)
    parser.add_argument("--kernel", required=True, type=Path)
    parser.add_argument("--initramfs", required=True, type=Path)
    parser.add_argument("--results", type=Path, help="folder for the results; without it, a prompt in the phone")
    parser.add_argument("--deadline", type=float, default=600, help="seconds until the phone counts as hung")
    arguments = parser.parse_args()
    command = qemu_command(arguments.arch, arguments.kernel, arguments.initramfs)
    if not arguments.results:
        return subprocess.call(command + ["-serial", "mon:stdio"])

    shutil.rmtree(arguments.results, ignore_errors=True)
    arguments.results.mkdir(parents=True)
    phone = Phone(command, arguments.deadline)
    try:
        with open(arguments.results / "serial.log", "w", encoding="utf-8") as log:
            packed = watch(phone, log)
    except TimeoutError as late:
        print(f"kernel-phone: {late}; see {arguments.results}/serial.log", file=sys.stderr)
        return 1
    finally:
        phone.end()
    if packed is None:
        print(f"kernel-phone: the phone ended without its results; see {arguments.results}/serial.log", file=sys.stderr)
        return 1
    with tarfile.open(fileobj=io.BytesIO(packed), mode="r:gz") as tar:
        tar.extractall(arguments.results)
    print(f"kernel-phone: results after {phone.seconds():.1f} s")
    return 0


if __name__ == "__main__":
    sys.exit(main())
