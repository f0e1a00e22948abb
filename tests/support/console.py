# SPDX-License-Identifier: Apache-2.0
"""Runs the console as a program."""
import contextlib
import os
import subprocess
import threading

STATION = os.environ["ORVA_STATION"]
STATION_PHONE = os.environ.get("ORVA_STATION_PHONE")  # the console for a real phone
CARELESS = os.environ.get("ORVA_CARELESS")  # a library that writes outside its caller's buffers
PATIENCE_S = 120


def station(*arguments, program=STATION, stdin="", **options):
    return subprocess.run([program, *map(str, arguments)], input=stdin, capture_output=True, text=True, timeout=PATIENCE_S, **options)


@contextlib.contextmanager
def started(*arguments, program=STATION, **options):
    """A console that runs beside the test. One that the test leaves behind, or that does not end in time, is killed."""
    console = subprocess.Popen([program, *map(str, arguments)], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                               text=True, **options)
    watch = threading.Timer(PATIENCE_S, console.kill)
    watch.start()
    try:
        with console:
            try:
                yield console
            except BaseException:
                console.kill()
                raise
    finally:
        watch.cancel()


def early_signal(folder, number):
    """Options for station(), in this folder: the signal comes where early_signal.c says."""
    (folder / "early_signal.so").symlink_to(os.environ["ORVA_EARLY_SIGNAL"])
    # A sanitizer's runtime complains of a library before it; here that is wanted. A path with a blank would be two.
    checks = f"{os.environ.get('ASAN_OPTIONS', '')}:verify_asan_link_order=0"
    return {"cwd": folder, "env": {**os.environ, "LD_PRELOAD": "./early_signal.so", "EARLY_SIGNAL": str(int(number)), "ASAN_OPTIONS": checks}}
