# SPDX-License-Identifier: Apache-2.0
"""The Python plan as the console of a slot."""

import json
import signal
import subprocess
import sys

import pytest

from support.rf_tester import PROFILES, RunningTester
from support.tree import ROOT

LIMITS = ROOT / "rf_tester" / "factory-limits.csv"
LOSS = "2412:1.2,2472:1.3,5180:2.1,5825:2.4"


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


@pytest.mark.parametrize("after", ["begin", "step", "progress"])
def test_a_signal_breaks_the_run_and_its_record(tmp_path, after):
    with RunningTester("--cable-loss", LOSS) as tester, slot(tmp_path, tester, "") as running:
        assert any(f'"{after}"' in line for line in running.stdout)
        running.send_signal(signal.SIGTERM)
        *_, last = running.stdout
        complaint = running.stderr.read()
    assert (running.returncode, complaint, json.loads(last)["verdict"]) == (2, "", "BROKEN")
    assert record_in(tmp_path)[-1]["reason"] == "SIGTERM"


def test_a_test_set_that_is_away_is_the_reason(tmp_path):
    with RunningTester() as tester:
        pass
    status, lines = ended(slot(tmp_path, tester, ""))
    assert status == 2 and tester.address in next(line["text"] for line in lines if line["type"] == "error")
