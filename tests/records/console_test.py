# SPDX-License-Identifier: Apache-2.0
"""Records that the console writes itself."""
import json
import os
import resource
import signal
import time

import jsonschema
import pytest

from orva_records.convert import convert
from orva_records.reader import read
from orva_records.record import Header
from support.console import started, station
from support.tree import CHIPS, ROOT

SCHEMA = jsonschema.Draft202012Validator(json.loads((ROOT / "docs/reference/record.schema.json").read_text()))
IDENTITY = ["--serial", "R'58/..\"日", "--station", "line-3", "--slot", "2", "--operator", "Ann", "--plan-version", "7"]
EVERYTHING = """
step Begin
note "two\\nlines"
wifi_get_rx_rssi -> 1 rssi -70..-40
limits "a b" 7 1,3..8
limits fraction 7.25 0.5..
limits big 99999999999999999999 *
limits text 007x *
limits leading 007 7
limits small [expr {1.0/100000}] 0..1 -at {code 0042 long 1234567890123456 width 20.50}
expect phone identity.dbb *
conn_test_get_checktime_of_chipcheck -> 0 check_time 100 die_id *
wifi_set_power 155
sweep {mhz {2412 2442} power {10.5 -3}} { limits level $power -5..11 }
for {set i 0} {$i < 2} {incr i} { wifi_start_rx }
"""


def recorded(folder, text, *options, **more):
    script = folder / "plan.tcl"
    script.write_text(text)
    return station(*IDENTITY, "--record", folder / "spool" / "%run.jsonl", *options, "run", script, **more)


def only(folder):
    (path,) = folder.glob("*.jsonl")
    return read(path.read_bytes())


@pytest.mark.parametrize("chip", CHIPS)
@pytest.mark.parametrize("source", ["everything", *sorted(path.name for path in (ROOT / "sessions").glob("*.tcl"))])
def test_the_console_writes_what_its_json_converts_to(tmp_path, spool, chip, source):
    text = EVERYTHING if source == "everything" else (ROOT / "sessions" / source).read_text()
    (tmp_path / "made").mkdir()
    (tmp_path / "session.json").write_text(recorded(tmp_path, text, "--chip", chip, "--json").stdout)
    (written,), (made,) = spool.iterdir(), convert(tmp_path / "session.json", tmp_path / "made", Header("", "", "", "", ""))
    assert written.read_text() == made.read_text()
    assert written.name == made.name and read(written.read_bytes()).header["plan"]["name"] == "plan.tcl"
    for line in written.read_text().splitlines():
        SCHEMA.validate(json.loads(line))


@pytest.mark.parametrize("text, status, verdict, reason", [
    ("wifi_set_power 155 -> 1\n", 0, "PASS", None),
    ("wifi_set_power 155 -> 0\n", 1, "FAIL", None),
    ("wifi_set_power 155\n", 3, "NO VERDICT", None),
    ("wifi_set_power 155 -> 1\nnonsense\n", 2, "BROKEN", "nonsense"),
])
def test_the_verdict_is_the_sessions(tmp_path, spool, text, status, verdict, reason):
    assert recorded(tmp_path, text).returncode == status
    end = only(spool).end
    assert end["verdict"] == verdict and (reason or "") in end.get("reason", "")


def test_a_call_from_the_command_line_is_its_own_verdict(spool):
    station(*IDENTITY, "--record", spool / "%serial.jsonl", "--chip", "all", "wifi_set_power", "155")
    records = [read(path.read_bytes()) for path in sorted(spool.iterdir())]
    assert [record.end["verdict"] for record in records] == ["PASS"] * len(CHIPS)
    assert {record.header["chip"] for record in records} == set(CHIPS)
    assert all(path.name.startswith("R%2758%2F..%22日") for path in spool.iterdir())


@pytest.mark.parametrize("value", ["x" * 20_000, "a\\0b", "\\ud800", "\\u2028\\x85"])
def test_what_a_format_cannot_hold_does_not_lose_the_record(tmp_path, spool, value):
    recorded(tmp_path, f'note "{value}"\nlimits "{value[:900]}" "{value}" *\nsweep {{mhz {{"{value}"}}}} {{ limits point 1 1 }}\n', errors="replace")
    assert len(only(spool).measurements) == 2


def test_a_killed_console_leaves_a_broken_run(tmp_path, spool, command):
    (tmp_path / "plan.tcl").write_text("limits one 1 1\nwhile 1 { wifi_set_power 155 -> 1 }\n")
    options = [*IDENTITY, "--clock", "real", "--record", str(spool / "%run.jsonl")]
    database = f"sqlite:///{tmp_path}/store.sqlite"
    with started("--quiet", *options, "run", tmp_path / "plan.tcl") as process:
        while not any(path.stat().st_size > 2000 for path in spool.iterdir()):
            assert process.poll() is None, "no row came"
            time.sleep(0.02)
        assert "1 still running" in command("collect", spool, "--database", database).out
        process.kill()
    found = command("collect", spool, "--database", database).out
    assert found == f"{spool}: 1 stored, 0 known already, 0 still running, 1 of killed runs, 0 damaged\n"
    (row,) = json.loads(command("unit", IDENTITY[1], "--json", "--database", database).out)
    assert row["verdict"] == "BROKEN"


def test_a_full_disk_is_told_and_keeps_the_rows_before(tmp_path, spool, command):
    def full():
        signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
        resource.setrlimit(resource.RLIMIT_FSIZE, (3000, 3000))

    text = "for {set i 0} {$i < 100} {incr i} { limits one 1 1 }\nwifi_set_power 155 -> 1\n"
    done = recorded(tmp_path, text, preexec_fn=full)
    assert done.returncode == 2 and "--record" in done.stderr and "File too large" in done.stderr
    assert "wifi_set_power" in done.stdout and "BROKEN" in done.stdout  # the session went on
    command("collect", spool, "--database", f"sqlite:///{tmp_path}/store.sqlite")
    record = only(spool / "collected")
    assert record.end["verdict"] == "BROKEN" and len(record.measurements) > 10


def test_a_record_never_replaces_another(tmp_path, spool):
    for _ in range(3):
        station(*IDENTITY, "--record", spool / "unit.jsonl", "wifi_set_power", "155")
    assert sorted(os.listdir(spool)) == ["unit-2.jsonl", "unit-3.jsonl", "unit.jsonl"]
    assert len({read(path.read_bytes()).header["run"] for path in spool.iterdir()}) == 3


def test_digits_that_are_no_number_stay_a_text(tmp_path, spool):
    die = "123400003051770000010101000000420000"
    (tmp_path / "phone.toml").write_text(f'identity.die_id = "{die}"\nidentity.dbb = "0117"\nap.ssid = "1234567890123456"\n')
    recorded(tmp_path, "conn_test_get_checktime_of_chipcheck -> 0 check_time 100 die_id *\nwifi_conn_info -> 1 ssid *\nexpect phone identity.dbb 0117\n"
             "expect phone ap.ssid *\nlimits n 123456789012345 0.. -at {lot 0042 mhz 2412 width 20.50}\nlimits n 1e-5 0..1\nlimits n 1e301 0..\n",
             "--chip", "vq2050", "--phone", tmp_path / "phone.toml")
    rows = [(row.value, row.what.low, row.what.expected, json.loads(row.what.condition)) for row in only(spool).measurements]
    assert [row[:3] for row in rows] == [
        (0, 0, None), (100, 100, None), (die, None, "*"), (1, 1, None), ("1234567890123456", None, "*"), ("0117", None, "0117"),
        ("1234567890123456", None, "*"), (123456789012345, 0, None), (0.00001, 0, None), ("1" + rows[-1][0][1:], None, "0..")]
    assert rows[-3][3] == {"lot": "0042", "mhz": 2412, "width": 20.5}
