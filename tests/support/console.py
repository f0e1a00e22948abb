# SPDX-License-Identifier: Apache-2.0
"""Runs the console as a program."""
import os
import subprocess

STATION = os.environ["ORVA_STATION"]
STATION_PHONE = os.environ.get("ORVA_STATION_PHONE")  # the console for a real phone
CARELESS = os.environ.get("ORVA_CARELESS")  # a library that writes outside its caller's buffers


def station(*arguments, program=STATION, stdin="", **options):
    return subprocess.run([program, *map(str, arguments)], input=stdin, capture_output=True, text=True, timeout=120, **options)
