# SPDX-License-Identifier: Apache-2.0
"""Who was tested, where and with what: in every output, and in the names of outputs."""
import json
import re
import xml.etree.ElementTree as xml

import jsonschema
import pytest

from support.console import station
from support.page_sample import page_events
from support.tree import CHIPS, ROOT

SCHEMA = jsonschema.Draft202012Validator(json.loads((ROOT / "docs/reference/session.schema.json").read_text()))
HOSTILE = "a'\"/../<b>&%serial 日本"
GIVEN = {"serial": HOSTILE, "station": "line-3", "slot": "2", "operator": "Ann", "plan": "rf", "plan-version": "7", "attempt": "2"}
OPTIONS = [word for name, value in GIVEN.items() for word in (f"--{name}", value)]
START = r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}[+-]\d\d:\d\d"


@pytest.fixture
def run(tmp_path):
    (tmp_path / "plan.tcl").write_text("wifi_set_power 155 -> 1\n")

    def run(*arguments, status=0):
        done = station(*arguments, cwd=tmp_path)
        assert done.returncode == status, done.stdout + done.stderr
        return done

    return run


def begins(done):
    lines = [json.loads(line) for line in done.stdout.splitlines()]
    for line in lines:
        SCHEMA.validate(line)
    return [line for line in lines if line["type"] == "begin"]


def texts(identity):
    """The identity of JSON by the names of the options."""
    return {"serial": identity["serial"], "station": identity["station"], "slot": identity["slot"], "operator": identity["operator"],
            "plan": identity["plan"]["name"], "plan-version": identity["plan"]["version"], "attempt": str(identity["attempt"])}


@pytest.mark.parametrize("chip", CHIPS)
def test_every_output_has_the_identity(run, tmp_path, chip):
    done = run("--chip", chip, *OPTIONS, "--json", "--junit", "r.xml", "--report", "r.html", "--trace", "r.trace", "run", "plan.tcl")
    (begin,) = begins(done)
    assert texts(begin["identity"]) == GIVEN and re.fullmatch(START, begin["identity"]["started"])
    assert begin["identity"]["versions"]["library"].startswith("sha256:")
    assert begin["identity"]["versions"]["console"] == station("--version").stdout.split()[1]
    rows = {row.get("name"): row.get("value") for row in xml.parse(tmp_path / "r.xml").iter("property")}
    assert {name: rows[name] for name in GIVEN} == GIVEN and rows["run"] == begin["identity"]["run"]
    assert json.loads((tmp_path / "r.trace").read_text().splitlines()[1])["identity"] == begin["identity"]
    assert "all the same" in run("replay", "r.trace").stdout
    values = json.dumps(page_events(tmp_path / "r.html"), ensure_ascii=False)
    assert all(json.dumps(value, ensure_ascii=False) in values for value in GIVEN.values() if value != "2")
    text = run("--chip", chip, *OPTIONS, "run", "plan.tcl").stdout
    assert all(f"{name} {value}" in text for name, value in GIVEN.items())


def test_each_session_of_a_run_is_a_run_of_its_own(run):
    sessions = begins(run("--chip", "all", "--serial", "R1", "--json", "run", "plan.tcl", "plan.tcl"))
    assert len({begin["identity"]["run"] for begin in sessions}) == 2 * len(CHIPS)
    assert {begin["identity"]["plan"]["name"] for begin in sessions} == {"plan.tcl"}


@pytest.mark.parametrize("option, wrong", [("serial", "x" * 201), ("serial", "a\nb"), ("station", "\u2028"), ("operator", "\x85"),
                                           ("plan", "\x7f"), ("slot", b"\xff"), ("attempt", "0"), ("attempt", "1001"), ("serial", "x" * 4000)])
def test_what_no_record_can_hold_is_refused(run, tmp_path, option, wrong):
    (tmp_path / "station.toml").write_text(f'{option} = {json.dumps(wrong) if isinstance(wrong, str) else 5}\n')
    value = wrong if isinstance(wrong, str) else wrong.decode(errors="surrogateescape")
    assert f"--{option}" in run(f"--{option}", value, "--json", "run", "plan.tcl", status=2).stderr
    assert "station.toml:1" in run("--station-file", "station.toml", "run", "plan.tcl", status=2).stderr


def test_every_session_has_a_run_id_of_its_own(run):
    """Many, because a digit that is missing only in a few is wrong too."""
    runs = [begin["identity"]["run"] for begin in begins(run("--serial", "R1", "--json", "run", *["plan.tcl"] * 100))]
    assert len(set(runs)) == 100 and all(re.fullmatch(r"[0-9a-f]{8}-[0-9a-f]{4}-4[0-9a-f]{3}-[89ab][0-9a-f]{3}-[0-9a-f]{12}", i) for i in runs)


def test_options_win_over_the_station_file(run, tmp_path):
    (tmp_path / "station.toml").write_text('station = "line-9"\nslot = "1"\nplan-version = "3"\n')
    (begin,) = begins(run("--slot", "2", "--station-file", "station.toml", "--json", "wifi_set_power", "155"))
    assert texts(begin["identity"]) | {"station": "line-9", "slot": "2", "plan-version": "3"} == texts(begin["identity"])


@pytest.mark.parametrize("chip", CHIPS)
def test_the_phone_gives_its_serial(run, tmp_path, chip):
    digits = {32: "12AB", 36: "12AB"}
    (begin,) = begins(run("--chip", chip, "--serial", "from-die-id", "--trace", "%serial-%chip.trace", "--json", "run", "plan.tcl"))
    serial = begin["identity"]["serial"]
    assert digits[len(serial)] == serial[:4] and (tmp_path / f"{serial}-{chip}.trace").exists()
    (begin,) = begins(run("--chip", chip, "--serial", "from-upc", "--json", "wifi_set_power", "155"))
    assert begin["identity"]["serial"] == json.loads(run("--chip", chip, "--json", "wifi_get_upc_code").stdout.splitlines()[1])["outputs"]["upc"].__str__()


@pytest.mark.parametrize("wanted", ["from-die-id", "from-upc"])
def test_a_phone_without_an_answer_is_not_tested(run, tmp_path, wanted):
    (tmp_path / "dead.toml").write_text('[[fault]]\nplace = "socket"\nnth = 1\ntimes = 99\n')
    assert f"--serial {wanted}: the phone does not report it" in run("--phone", "dead.toml", "--serial", wanted, "run", "plan.tcl", status=2).stderr


def names(folder):
    return sorted(path.relative_to(folder).as_posix() for path in folder.rglob("*") if path.is_file())


@pytest.mark.parametrize("serial, name", [(HOSTILE, "a%27%22%2F..%2F%3Cb%3E%26%25serial%20日本"), ("..", "%2E."), (".hidden", "%2Ehidden"),
                                          ("A-1_2+3.4", "A-1_2+3.4"), ("/etc/passwd", "%2Fetc%2Fpasswd")])
def test_a_serial_never_leaves_its_place_in_a_name(run, tmp_path, serial, name):
    (tmp_path / "out").mkdir()
    run("--serial", serial, "--junit", "out/%serial/100%%.xml", "run", "plan.tcl")
    assert names(tmp_path) == sorted([f"out/{name}/100%.xml", "plan.tcl"])


def test_no_two_runs_share_a_file(run, tmp_path):
    for _ in range(3):
        run("--serial", "R1", "--report", "%serial.html", "--junit", "%serial.xml", "--trace", "%slot%plan.t", "--slot", "1", "run", "plan.tcl")
    assert names(tmp_path) == sorted(["plan.tcl", *(f"{name}{number}.{end}" for name, end in
                                      [("R1", "html"), ("R1", "xml"), ("1plan.tcl", "t")] for number in ("", "-2", "-3"))])


@pytest.mark.parametrize("arguments, message", [
    (["--report", "%serial.html", "run", "plan.tcl"], "give --serial"),
    (["--report", "%seral.html", "run", "plan.tcl"], "give %serial, %station"),
    (["--junit", "no/%time.xml", "run", "plan.tcl"], "there is no folder no: make it first"),
    (["--trace", "%run.t", "run", "plan.tcl", "plan.tcl"], "%run is different in each"),
    (["--trace", "%chip.t", "--chip", "all", "run", "plan.tcl"], "%chip is different in each"),
    (["--trace", "%plan.t", "run", "plan.tcl", "plan.tcl"], "give --plan"),
    (["--record", "r.json", "run", "plan.tcl"], "ends in .jsonl"),
    (["--record", "r.jsonl", "--serial", "R1", "run", "plan.tcl"], "give --station"),
    (["--record", "r.jsonl", "--serial", "R1", "--station", "L", "doctor"], "--record does nothing for doctor"),
    (["--operator", "Ann", "list"], "does nothing for list"),
    (["--station-file", "none.toml", "run", "plan.tcl"], "none.toml: No such file"),
])
def test_wrong_use_is_told_before_the_run(run, tmp_path, arguments, message):
    done = run(*arguments, status=2)
    assert message in done.stderr and done.stdout == "" and names(tmp_path) == ["plan.tcl"]
