#!/usr/bin/python3 -IS
# SPDX-License-Identifier: Apache-2.0
"""Stands in for logcat, as its documentation describes it, on the log that own_log_library.c keeps.

LOGCAT_TROUBLE makes it fail: refused, hang, flood, cut, or old for one that prints no microseconds. Its arguments go to
LOGCAT_RUNS, a line for each run. It imports little: the console waits for it no longer than for logcat.
"""

import os
import sys
import time


def arguments():
    """The values of -v, those of -T and --pid or None, and whether -d is given."""
    forms, since, process, dump, words = [], 0.0, None, False, sys.argv[1:]
    while words:
        word = words.pop(0)
        if word == "-v":
            forms.append(words.pop(0))
        elif word == "-T":
            since = float(words.pop(0))
        elif word.startswith("--pid="):
            process = int(word[len("--pid="):])
        elif word == "-d":
            dump = True
        else:
            sys.exit(f"logcat: {word}: the stand-in knows no such option")
    return forms, since, process, dump


def entries():
    path = os.environ["ORVA_TEST_LOG"]
    if not os.path.exists(path):
        return
    with open(path) as file:
        records = file.read().split("\036")[:-1]
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
    (forms, since, process, dump), trouble = arguments(), os.environ.get("LOGCAT_TROUBLE")
    assert {"threadtime", "epoch"} <= set(forms), "the stand-in knows no other form"
    if trouble == "refused":
        sys.exit("logcat: Permission denied")
    while trouble == "flood":
        print("x" * 10000)
    wanted = [e for e in entries() if e[0] / 1e6 >= since - 1e-6 and process in (None, e[1])]
    text = "--------- beginning of main\n" + "".join(formatted(e, forms) for e in wanted)
    sys.stdout.write(text[:-3] if trouble == "cut" else text)
    sys.stdout.flush()
    if trouble == "hang" or not dump:
        time.sleep(60)


main()
