# SPDX-License-Identifier: Apache-2.0
"""The simulated line, whose slots run the Python plan."""

import re
import subprocess

import pytest

from support.postgres import PROGRAMS
from support.tree import ROOT


@pytest.fixture
def database(request):
    """What a plant has, if it is installed here; else the script's own."""
    return [] if PROGRAMS is None else ["--database", request.getfixturevalue("server").new_database("shift")]


def test_a_simulated_line_finds_the_worn_cable_and_each_defect(database):
    done = subprocess.run([ROOT / "script" / "line", "--units", "600", "--sample", "24", "--stations", "4", "--slots", "2", "--wear", "1.2",
                           "--days", "5", *database], capture_output=True, text=True, timeout=900, check=False)
    assert done.returncode in (0, 1) and done.stderr == "", done.stdout + done.stderr
    runs, expected = re.search(r"^(\d+) of (\d+) runs are stored", done.stdout, re.M).groups()
    assert runs == expected and int(runs) > 600
    assert re.search(r"^Tested: 24 of 600 units", done.stdout) and "not tested: 576 units" in done.stdout
    assert re.search(r"^Escapes: 0 of \d+ defective units passed$", done.stdout, re.M)
    assert re.search(r"^line-4 drifts in .*power_error", done.stdout, re.M), done.stdout
