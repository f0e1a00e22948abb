# SPDX-License-Identifier: Apache-2.0
"""The checks of the generated pages fail where a test set answers otherwise than its pages say."""

import subprocess
import sys

import pytest

from support.rf_tester import TESTER
from support.tree import ROOT

# A changed test set, and what is said about it.
CHANGED = [
    ("rf-tester-reference", '"$@" | sed s/ROUTe/RouTE/', "docs/reference/rf-tester.md is stale"),
    ("scpi-conformance", '"$@" --dialect b', "socket: Common commands: identification has four fields: '*IDN?' answered 'ORVA,RF-TESTER-B"),
]


@pytest.mark.parametrize("script, arguments, message", CHANGED)
def test_a_changed_test_set_is_noticed(tmp_path, script, arguments, message):
    changed = tmp_path / "changed"
    changed.write_text(f"#!/bin/sh\n{'' if '|' in arguments else 'exec '}'{TESTER}' {arguments}\n")
    changed.chmod(0o755)
    done = subprocess.run([sys.executable, ROOT / "script" / script, "--check", "--tester", changed],
                          capture_output=True, text=True, timeout=120)
    assert done.returncode == 1
    assert message in done.stdout
