# SPDX-License-Identifier: Apache-2.0
"""Calibration with the console: the session on every chip, and an NV store in a file."""
import pytest

from support.console import station
from support.tree import CHIPS, ROOT

SESSION = ROOT / "sessions" / "calibration.tcl"


@pytest.mark.parametrize("chip", CHIPS)
def test_the_session_holds(chip):
    run = station("--chip", chip, "run", SESSION)
    assert run.returncode == 0, run.stdout
    assert "PASS" in run.stdout and "->" in run.stdout


def test_a_diff_shows_what_a_later_run_changed_in_a_kept_store(tmp_path):
    kept, saved = ("--yes", "--nv", tmp_path / "nv.db"), tmp_path / "saved.txt"
    saved.write_text("340 WIC0_2G5G_OFDM pa2ga0=1000,-3000,5000;x=1;x=2;\n340 WINVRAM 0x0150FF\n")
    assert "2 NV items" in station(*kept, "nv", "load", saved).stdout
    assert station(*kept, "nv", "diff", saved).stdout == ""
    assert station("--chip", "vq2070", *kept, "wifi_nvram_calibrate_set", 0, 0, 0, 0, 0, 2442, 10).returncode == 0
    assert "1000,-3031,5003" in station(*kept, "nv", "show", 340).stdout
    assert station("--chip", "vq2040", *kept, "wifi_nvram_calibrate_clean", 1).returncode == 0
    assert station(*kept, "nv", "diff", saved).stdout.splitlines() == [
        "340 WIC0_2G5G_OFDM pa2ga0: 1000,-3000,5000 -> 1000,-3031,5003",
        "340 WINVRAM byte   0: 1 -> none",
        "340 WINVRAM byte   1: 80 -> none",
        "340 WINVRAM byte   2: 255 -> none",
    ]


def test_a_diff_needs_something_to_compare_with(tmp_path):
    for words, message in ((["diff"], "nv snapshot"), (["diff", tmp_path / "none.txt"], "none.txt")):
        run = station("nv", *words)
        assert run.returncode == 2 and message in run.stderr
