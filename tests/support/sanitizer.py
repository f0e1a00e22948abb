# SPDX-License-Identifier: Apache-2.0
"""Importing this loads a sanitizer's runtime into the processes that are started from then on."""
import os

# Not into this one: only a phone's process needs it ahead of Python.
if "ORVA_SANITIZER" in os.environ:
    os.environ["LD_PRELOAD"] = os.environ["ORVA_SANITIZER"]
