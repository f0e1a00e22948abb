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


def start(folder, *words):
    command = [sys.executable, "-m", "orva.plans.slot", "--json", "--chip", "vq2040a", "--serial", "R1",
               "--station", "line-1", "--slot", "2", "--plan-version", "3", "--attempt", "2", "--record", folder / "%run.jsonl", *words]
    return subprocess.Popen(command, stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)


def slot(folder, tester, description, loss=LOSS, profile=PROFILES / "orva-a.toml"):
    phone = []
    if description is not None:
        phone = ["--phone", folder / "phone.toml"]
        (folder / "phone.toml").write_text(description)
    return start(folder, *phone, "run", LIMITS, "--", f"address={tester.address}", f"cable={tester.cable_address}", f"profile={profile}",
                 f"loss={loss}")


def ended(running):
    printed, complaint = running.communicate(timeout=100)
    assert complaint == ""
    return running.returncode, [json.loads(line) for line in printed.splitlines()]


def record_in(folder):
    (path,) = folder.glob("*.jsonl")
    return [json.loads(line) for line in path.read_text().splitlines()]


@pytest.mark.parametrize("description, cable, loss, status, verdict, cause", [
    ("", LOSS, LOSS, 0, "PASS", ""),
    (None, "0", "2442:0", 0, "PASS", ""),
    ('rf.fault = "open_antenna"\n', LOSS, LOSS, 1, "FAIL", "open antenna"),
])
def test_output_status_and_record_agree(tmp_path, description, cable, loss, status, verdict, cause):
    with RunningTester("--cable-loss", cable) as tester:
        found, lines = ended(slot(tmp_path, tester, description, loss))
    record = record_in(tmp_path)
    assert (found, record[-1]["verdict"]) == (status, verdict)
    assert lines[-1] == {"type": "summary", "sessions": 1, "verdict": verdict, "passed": status == 0}
    assert [(each["what"].partition(":")[0], each["where"]) for each in lines[-2]["failures"]] == [(cause, "verification")][:bool(cause)]
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


def test_a_profile_that_is_wrong_breaks_the_run(tmp_path):
    with RunningTester() as tester:
        status, lines = ended(slot(tmp_path, tester, None, profile=tmp_path / "none.toml"))
    end = record_in(tmp_path)[-1]
    assert (status, lines[-1]["verdict"], end["verdict"]) == (2, "BROKEN", "BROKEN") and "none.toml" in end["reason"]


@pytest.mark.parametrize("changed, complaint", [
    ({"loss": None}, "parameters: loss is missing; give "),
    ({"loss": "2412"}, "parameters: loss 2412 is not MHZ:DB once for each point, separated by commas; give "),
    ({"port": "one"}, "parameters: port one is no number; give "),
    ({"los": "2412:1"}, "parameters: los is unknown; give "),
    ({}, "no record can be begun: "),
])
def test_what_is_wrong_is_said_and_broken(tmp_path, changed, complaint):
    given = {"address": "127.0.0.1:1", "profile": "p.toml", "loss": LOSS, **changed}
    running = start(tmp_path / "none", "run", LIMITS, "--", *(f"{name}={value}" for name, value in given.items() if value is not None))
    _, printed = running.communicate(timeout=100)
    assert running.returncode == 2 and printed.startswith("orva.plans.slot: ") and complaint in printed and printed.count("\n") == 1
