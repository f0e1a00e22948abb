# SPDX-License-Identifier: Apache-2.0
"""The Python plan as the console of a slot, and the simulated line that uses it."""

import json
import re
import signal
import subprocess
import sys

import pytest

from support.postgres import PROGRAMS
from support.rf_tester import PROFILES, RunningTester
from support.tree import ROOT

LIMITS = ROOT / "rf_tester" / "factory-limits.csv"
LOSS = "2412:1.2,2472:1.3,5180:2.1,5825:2.4"


@pytest.fixture
def database(request):
    """What a plant has, if it is installed here; else the script's own."""
    return [] if PROGRAMS is None else ["--database", request.getfixturevalue("server").new_database("shift")]


def slot(folder, tester, description, **options):
    (folder / "phone.toml").write_text(description)
    command = [sys.executable, "-m", "orva.plans.slot", "--json", "--chip", "vq2040a", "--phone", folder / "phone.toml", "--serial", "R1",
               "--station", "line-1", "--slot", "2", "--plan-version", "3", "--attempt", "2", "--record", folder / "%run.jsonl",
               "run", LIMITS, "--", f"address={tester.address}", f"cable={tester.cable_address}", f"profile={PROFILES / 'orva-a.toml'}"]
    return subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, **options)


def ended(running):
    printed, complaint = running.communicate(timeout=100)
    assert complaint == ""
    return running.returncode, [json.loads(line) for line in printed.splitlines()]


def record_in(folder):
    (path,) = folder.glob("*.jsonl")
    return [json.loads(line) for line in path.read_text().splitlines()]


@pytest.mark.parametrize("description, status, verdict, cause", [
    ("", 0, "PASS", ""),
    ('rf.fault = "open_antenna"\n', 1, "FAIL", "open antenna"),
])
def test_output_status_and_record_agree(tmp_path, description, status, verdict, cause):
    with RunningTester("--cable-loss", LOSS) as tester:
        found, lines = ended(slot(tmp_path, tester, description))
    record = record_in(tmp_path)
    assert (found, lines[-1]["verdict"], record[-1]["verdict"]) == (status, verdict, verdict)
    assert [line["done"] for line in lines if line["type"] == "progress"][-1] == lines[-3]["total"]
    assert (record[0]["serial"], record[0]["slot"], record[0]["attempt"]) == ("R1", "2", 2)
    assert [line["cause"] for line in record if line["type"] == "cause"] == [cause][:bool(cause)]
    assert sum(line["type"] == "measurement" for line in record) == lines[-3]["total"]


def test_a_signal_breaks_the_run_and_its_record(tmp_path):
    with RunningTester("--cable-loss", LOSS) as tester:
        running = slot(tmp_path, tester, "")
        while '"progress"' not in running.stdout.readline():
            assert running.poll() is None
        running.send_signal(signal.SIGTERM)
        status, lines = ended(running)
    assert (status, lines[-1]["verdict"]) == (2, "BROKEN")
    assert record_in(tmp_path)[-1]["reason"] == "SIGTERM"


def test_a_test_set_that_is_away_is_the_reason(tmp_path):
    with RunningTester() as tester:
        pass
    status, lines = ended(slot(tmp_path, tester, ""))
    assert status == 2 and tester.address in next(line["text"] for line in lines if line["type"] == "error")


def test_a_simulated_line_finds_the_worn_cable_and_each_defect(database):
    done = subprocess.run([ROOT / "script" / "line", "--units", "600", "--sample", "24", "--stations", "4", "--slots", "2", "--wear", "1.2",
                           "--days", "5", *database], capture_output=True, text=True, timeout=900, check=False)
    assert done.returncode in (0, 1) and done.stderr == "", done.stdout + done.stderr
    runs, expected = re.search(r"^(\d+) of (\d+) runs are stored", done.stdout, re.M).groups()
    assert runs == expected and int(runs) > 600
    assert re.search(r"^Tested: 24 of 600 units", done.stdout) and "not tested: 576 units" in done.stdout
    assert re.search(r"^Escapes: 0 of \d+ defective units passed$", done.stdout, re.M)
    assert re.search(r"^line-4 drifts in .*power_error", done.stdout, re.M), done.stdout
