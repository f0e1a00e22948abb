# SPDX-License-Identifier: Apache-2.0
"""For every test of the Python package."""
import os

# Only the phone's processes need a sanitizer's runtime loaded before Python.
if "ORVA_SANITIZER" in os.environ:
    os.environ["LD_PRELOAD"] = os.environ["ORVA_SANITIZER"]
