#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Stands in for adb: this computer plays the phone, and a folder plays its /data/local/tmp.

Answers as adb's documentation describes for devices, get-state, root, push, pull and shell. ADB_STAND_IN names a JSON
file: phones {serial: state}, user, root ("granted", "denied", "denied-old"), abi, old_shell (no exit status, one
stream), fail {command: message}, lines_until_lost. It is rewritten when the phone changes.
"""
import json
import os
import shutil
import subprocess
import sys
from pathlib import Path

FILE = Path(os.environ["ADB_STAND_IN"])
STATE = json.loads(FILE.read_text())
REMOTE, LOCAL = "/data/local/tmp", str(FILE.parent / "data")


def fail(message, status=1):
    sys.exit(f"{message}" if status == 1 else (print(message, file=sys.stderr), status)[1])


def keep(**changes):
    FILE.write_text(json.dumps({**STATE, **changes}))


def serial_of(words):
    """The phone that is meant, with adb's words if there is none or no single one."""
    phones = STATE["phones"]
    named = words[1] if words[:1] == ["-s"] else None
    if named and named not in phones:
        fail(f"error: device '{named}' not found")
    if not named and len(phones) != 1:
        fail("error: more than one device/emulator" if phones else "error: no devices/emulators found")
    serial = named or next(iter(phones))
    if phones[serial] == "unauthorized":
        fail("error: device unauthorized.\nThis adb server's $ADB_VENDOR_KEYS is not set")
    if phones[serial] != "device":
        fail(f"error: device {phones[serial]}")
    return words[2:] if named else words


def devices():
    print("List of devices attached")
    for serial, state in STATE["phones"].items():
        print(f"{serial}\t{state}")
    print()


def root():
    if STATE["root"].startswith("denied"):
        print("adbd cannot run as root in production builds")
        sys.exit(STATE["root"] == "denied")  # an older adb returns 0
    print("restarting adbd as root")
    keep(user=0)


def pull(source, target):
    if not Path(source.replace(REMOTE, LOCAL)).exists():
        fail(f"adb: error: failed to stat remote object '{source}': No such file or directory")
    copy(source, target, f"cannot write '{target}'")


def push(source, target):
    copy(source, target, f"failed to copy '{source}' to '{target}': remote write failed")


def copy(source, target, trouble):
    try:
        shutil.copy(source.replace(REMOTE, LOCAL), target.replace(REMOTE, LOCAL))
    except OSError as error:
        fail(f"adb: error: {trouble}: {error.strerror}")
    print(f"{source}: 1 file copied.")


def lines_of(command):
    """The command's output, then its status. The phone is lost after some lines of the last command."""
    lines = STATE.get("lines_until_lost") if " run " in command else None
    merge = subprocess.STDOUT if STATE.get("old_shell") else None
    with subprocess.Popen(["sh", "-c", command.replace(REMOTE, LOCAL)], stdout=subprocess.PIPE, stderr=merge, text=True) as running:
        for number, line in enumerate(running.stdout):
            if number == lines:
                keep(phones={})
                running.kill()
                fail("error: closed", 255)
            yield line.replace(LOCAL, REMOTE)
    yield running.returncode


def shell(command):
    for fixed, answer in (("id -u", STATE["user"]), ("getprop ro.product.cpu.abi", STATE["abi"])):
        if command == fixed:
            print(answer)
            return
    for line in lines_of(command):
        if isinstance(line, int):
            sys.exit(0 if STATE.get("old_shell") else line)
        sys.stdout.write(line.replace("\n", "\r\n") if STATE.get("old_shell") else line)
        sys.stdout.flush()


def main():
    words = sys.argv[1:]
    if words == ["devices"]:
        if message := STATE["fail"].get("devices"):
            fail(message)
        devices()
        return
    command, *rest = serial_of(words)
    for failing, message in STATE["fail"].items():
        if " ".join([command, *rest]).startswith(failing):
            fail(message)
    Path(LOCAL).mkdir(exist_ok=True)
    {"get-state": lambda: print("device"), "root": root, "push": push, "pull": pull, "shell": shell}[command](*rest)


main()
