#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Stands in for logcat, as its documentation describes it, on the log that own_log_library.c keeps.

LOGCAT_TROUBLE makes it fail: refused, hang, flood, cut, or old for one that prints no microseconds. Its arguments go to
LOGCAT_RUNS, a line for each run.
"""

import argparse
import os
import sys
import time
from pathlib import Path


def arguments():
    parser = argparse.ArgumentParser()
    parser.add_argument("-v", action="append", default=[])
    parser.add_argument("-d", action="store_true")
    parser.add_argument("-T", type=float, default=0)
    parser.add_argument("--pid", type=int)
    return parser.parse_args()


def entries():
    path = Path(os.environ["ORVA_TEST_LOG"])
    records = path.read_text().split("\036")[:-1] if path.exists() else []
    for record in records:
        wall_us, process, thread, letter, tag, text = record.split("\037")
        yield int(wall_us), int(process), int(thread), letter, tag, text.removesuffix("\n")


def formatted(entry, forms):
    wall_us, process, thread, letter, tag, text = entry
    seconds, fraction = divmod(wall_us, 1000000)
    usec = "usec" in forms and os.environ.get("LOGCAT_TROUBLE") != "old"
    stamp = f"{seconds:>19}.{fraction:06}" if usec else f"{seconds:>19}.{fraction // 1000:03}"
    return "".join(f"{stamp} {process:5} {thread:5} {letter} {tag:<8}: {line}\n" for line in text.split("\n"))


def main():
    with open(os.environ["LOGCAT_RUNS"], "a") as runs:
        runs.write(" ".join(sys.argv[1:]) + "\n")
    given, trouble = arguments(), os.environ.get("LOGCAT_TROUBLE")
    assert {"threadtime", "epoch"} <= set(given.v), "the stand-in knows no other form"
    if trouble == "refused":
        sys.exit("logcat: Permission denied")
    while trouble == "flood":
        print("x" * 10000)
    wanted = [e for e in entries() if e[0] / 1e6 >= given.T - 1e-6 and given.pid in (None, e[1])]
    text = "--------- beginning of main\n" + "".join(formatted(e, given.v) for e in wanted)
    sys.stdout.write(text[:-3] if trouble == "cut" else text)
    sys.stdout.flush()
    if trouble == "hang" or not given.d:
        time.sleep(60)


main()
