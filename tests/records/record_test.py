# SPDX-License-Identifier: Apache-2.0
"""The file of a run: what the writer writes, what the reader and the schema refuse, what a converted session becomes."""
import copy
import errno
import hashlib
import json
import os
import subprocess

import jsonschema
import pytest

from orva_records import RecordsError, rules
from orva_records.convert import convert, limits_of
from orva_records.reader import DamagedRecord, read
from orva_records.record import Header, RecordWriter, recover
from support.tree import CHIPS, ROOT

SCHEMA = jsonschema.Draft202012Validator(json.loads((ROOT / "docs" / "reference" / "record.schema.json").read_text()))


def header(**more):
    return Header(**{"serial": "R58", "station": "line-1", "plan": "rf", "plan_version": "3", "chip": CHIPS[0], **more})


def write(folder, **more):
    with RecordWriter(folder, header(**more)) as record:
        record.step("Receive")
        record.measure("rssi", -52.5, unit="dBm", low=-60, high=-45, condition={"channel": 2442, "chain": 1, "wide": True})
        record.expect("ssid", "line\n\"7\"", "line*", True)
        record.measure("temperature", 31)
        record.note("all\nwell")
        record.cause("bandwidth", "not set", "wifi_set_band was not called", "call it")
    (path,) = folder.glob("*.jsonl")
    return path


def lines_of(path):
    return [json.loads(line) for line in path.read_text().splitlines()]


def test_a_record_keeps_the_schema_and_reads_back(spool):
    path = write(spool)
    lines = lines_of(path)
    assert {line["type"] for line in lines} == set(rules.LINES)
    for line in lines:
        SCHEMA.validate(line)
    record = read(path.read_bytes())
    assert record.header["serial"] == "R58" and record.header["started"][-6] in "+-"
    assert [each.position for each in record.measurements] == [3, 4, 5]
    assert [each.verdict for each in record.measurements] == ["PASS", "PASS", None]
    assert record.end["verdict"] == "PASS" and record.end["lines"] == 7
    assert record.sha256 == hashlib.sha256(path.read_bytes()).hexdigest()


@pytest.mark.parametrize(
    "rows, verdict",
    [([], "NO VERDICT"), ([(5, None, None)], "NO VERDICT"), ([(5, 1, 5)], "PASS"), ([(5, 5, None), (5.001, 1, 5)], "FAIL"),
     ([(None, 1, 5)], "FAIL"), (["text"], "FAIL"), ([(float("1e299"), 0, None)], "PASS")],
)
def test_the_verdict_follows_from_the_rows(spool, rows, verdict):
    with RecordWriter(spool, header()) as record:
        for row in rows:
            value, low, high = (row, 1, 5) if row == "text" else row
            record.measure("power", value, low=low, high=high)
    (path,) = spool.iterdir()
    assert read(path.read_bytes()).end["verdict"] == verdict


@pytest.mark.parametrize("held", ["no", "", 0, 1, None])
def test_whether_it_held_is_true_or_false(spool, held):
    with RecordWriter(spool, header()) as record, pytest.raises(RecordsError, match="'ssid', held .*: expected True or False"):
        record.expect("ssid", "b", "c", held)
    (path,) = spool.iterdir()
    assert read(path.read_bytes()).end["verdict"] == "NO VERDICT"


def test_an_exception_makes_the_run_broken_and_goes_on(spool):
    with pytest.raises(ZeroDivisionError), RecordWriter(spool, header()) as record:
        record.measure("power", 1, low=0)
        1 // 0
    (path,) = spool.iterdir()
    end = read(path.read_bytes()).end
    assert (end["verdict"], end["reason"]) == ("BROKEN", "ZeroDivisionError: integer division or modulo by zero")
    with pytest.raises(RecordsError, match="ended"):
        record.note("late")


def replaced(number, *path, value):
    """A change of a whole record's lines: the member at path of line number gets another value."""

    def change(lines):
        target = lines[number]
        for key in path[:-1]:
            target = target[key]
        target[path[-1]] = value

    return change


def removed(number, key):
    return lambda lines: lines[number].pop(key)


LONG = "x" * 201
# What the schema refuses too.
LINE_FAULTS = [
    *(replaced(0, "serial", value=value) for value in ("", LONG, "a\nb", "a\n", "tab\t", "nul\0", "\u2028", 7, None)),
    *(replaced(0, "slot", value=value) for value in (LONG, 3)),
    *(replaced(0, "attempt", value=value) for value in (0, 1001, "1", 1.5, True)),
    *(replaced(0, "started", value=value) for value in ("2026-01-31", "2026-01-31T08:00:00", "today", "2026-01-31T08:00:00+01:00\n")),
    *(replaced(0, "run", value=value) for value in ("7", "A" * 8 + "-" + "0000-" * 3 + "0" * 12)),
    replaced(0, "schema", value=2),
    replaced(0, "plan", "version", value=""),
    replaced(0, "versions", "more", value="1"),
    replaced(2, "condition", "channel", value=None),
    replaced(2, "condition", value={str(number): 1 for number in range(33)}),
    replaced(2, "condition", value={"": 1}),
    *(replaced(2, "value", value=value) for value in (True, [1], 1e301)),
    *(replaced(2, "low", value=value) for value in ("-60", True, -1e301)),
    *(replaced(2, "verdict", value=value) for value in ("pass", "BROKEN", False)),
    replaced(3, "expected", value="nul\0"),
    replaced(5, "text", value="x" * 10_001),
    *(replaced(7, "lines", value=value) for value in (0, 7.5, "7")),
    replaced(7, "sha256", value="0" * 63),
    replaced(7, "duration", "total_s", value=-1),
    replaced(1, "type", value="unknown"),
    *(removed(0, key) for key in ("serial", "plan", "schema", "type")),
    *(removed(2, key) for key in ("condition", "value", "verdict", "low")),
    *(removed(7, key) for key in ("verdict", "duration", "sha256")),
]
# What only the reader can tell.
WHOLE_FAULTS = [
    (replaced(0, "started", value="2026-02-30T08:00:00+01:00"), "date"),
    (replaced(0, "serial", value="\ud800"), "text"),
    (replaced(5, "text", value="\udfff"), "text"),
    (replaced(2, "verdict", value="FAIL"), "which is PASS"),
    (replaced(2, "value", value=-44), "which is FAIL"),
    (replaced(2, "low", value=-40), "above"),
    (replaced(2, "value", value="-52"), "no number"),
    (replaced(4, "verdict", value="PASS"), "nothing is expected"),
    (replaced(7, "verdict", value="FAIL"), "does not follow"),
    (replaced(7, "verdict", value="BROKEN"), "without a reason"),
    (replaced(7, "lines", value=6), "counts 6 lines"),
    (replaced(7, "sha256", value="0" * 64), "checksum"),
    (lambda lines: lines.pop(0), "header"),
    (lambda lines: lines.pop(), "end line"),
    (lambda lines: lines.insert(3, lines[0]), "only the first"),
    (lambda lines: lines.insert(3, lines[-1]), "only the last"),
]


def rewritten(lines):
    """The file of these lines, with a right count and checksum unless the end line has others than before."""
    before = "".join(json.dumps(line) + "\n" for line in lines[:-1]).encode()
    return before + json.dumps(lines[-1]).encode() + b"\n"


def sealed(lines, original):
    if lines[-1].get("lines") == original["lines"] and lines[-1].get("sha256") == original["sha256"]:
        before = rewritten([*lines[:-1], {}])[: -len(b"{}\n")]
        lines[-1] |= {"lines": len(lines) - 1, "sha256": hashlib.sha256(before).hexdigest()}
    return rewritten(lines)


def test_reader_and_schema_refuse_the_same_lines(spool):
    lines = lines_of(write(spool))
    end = copy.deepcopy(lines[-1])
    read(sealed(copy.deepcopy(lines), end))
    for number, change in enumerate(LINE_FAULTS):
        changed = copy.deepcopy(lines)
        change(changed)
        (wrong,) = [line for line, before in zip(changed, lines) if line != before or json.dumps(line) != json.dumps(before)]
        assert not SCHEMA.is_valid(wrong), f"{number}: the schema allows {str(wrong)[:300]}"
        with pytest.raises(DamagedRecord, match=r"line \d"):
            read(sealed(changed, end))


@pytest.mark.parametrize("change, reason", WHOLE_FAULTS, ids=[reason for _, reason in WHOLE_FAULTS])
def test_the_reader_refuses_a_record_that_contradicts_itself(spool, change, reason):
    lines = lines_of(write(spool))
    end = copy.deepcopy(lines[-1])
    change(lines)
    with pytest.raises(DamagedRecord, match=reason):
        read(sealed(lines, end))


def test_what_python_finds_equal_is_not_the_same_characteristic(spool):
    values = (1, 1.0, True, "1")
    with RecordWriter(spool, header()) as record:
        for value in values:
            record.measure("power", 1, condition={"chain": value})
    (path,) = spool.iterdir()
    found = read(path.read_bytes()).measurements
    assert [json.loads(each.what.condition)["chain"] for each in found] == list(values)
    assert len({each.what.key for each in found}) == len(values)


@pytest.mark.parametrize("text", ["NaN", "Infinity", "1e999", "9" * 5000, "-52.5, \"value\": 1", "-52.5}{", "\xff"])
def test_the_reader_refuses_what_is_no_strict_json(spool, text):
    content = write(spool).read_text().replace("-52.5", text)
    with pytest.raises(DamagedRecord, match="line 3"):
        read(content.encode("latin-1"))


@pytest.mark.parametrize("serial", ["a'\"b", "../../etc/passwd", "日本語-Ω", "<script>", "%s{}", " ", "x" * 200, ";DROP TABLE runs"])
def test_a_serial_number_is_stored_as_it_is(spool, serial):
    path = write(spool, serial=serial)
    assert path.parent == spool and read(path.read_bytes()).header["serial"] == serial


@pytest.mark.parametrize("serial", ["", "a\nb", "a\0b", "x" * 4000, "\ud800", 5])
def test_a_serial_number_that_cannot_be_stored_is_refused(spool, serial):
    with pytest.raises(RecordsError, match="'serial' a text of 1 to 200 characters"):
        RecordWriter(spool, header(serial=serial))
    assert list(spool.iterdir()) == []


@pytest.mark.parametrize("cut", [b"", b'{"type": "meas', '{"type": "日'.encode()[:-1], b"\0\n\0"])
def test_what_a_killed_writer_left_is_kept_as_broken(spool, cut):
    record = RecordWriter(spool, header())
    record.measure("power", 5, low=1)
    assert recover(record.part) is None  # it is running
    os.write(record._file, cut)
    os.close(record._file)  # as the end of its process does
    whole = read(recover(record.part).read_bytes()) if b"\n" not in cut else None
    if whole:
        assert (whole.end["verdict"], len(whole.measurements)) == ("BROKEN", 1)
        assert whole.end["cut"].encode(errors="surrogateescape")[:10] == cut.decode(errors="backslashreplace").encode()[:10]
    else:
        with pytest.raises(DamagedRecord, match="line 3: not JSON"):
            read(recover(record.part).read_bytes())
    assert not record.part.exists()


@pytest.mark.parametrize("failing, verdict", [("fsync", "BROKEN"), ("link", "BROKEN"), ("unlink", "PASS")])
def test_a_record_that_cannot_be_ended_has_one_end_line(spool, monkeypatch, failing, verdict):
    def fail(*_):
        monkeypatch.undo()
        raise OSError(errno.EIO, "no disk")

    with pytest.raises((OSError, RecordsError), match="no disk"), RecordWriter(spool, header()) as record:
        record.measure("power", 1, low=0)
        monkeypatch.setattr(os, failing, fail)
        record.finish()
    (path,) = spool.glob("*.jsonl")
    assert read(path.read_bytes()).end["verdict"] == verdict
    assert (recover(record.part), list(spool.iterdir())) == (path if failing == "unlink" else None, [path])


def test_a_run_id_is_used_once(spool):
    first = RecordWriter(spool, header())
    with pytest.raises(RecordsError, match="no record can be begun"):
        RecordWriter(spool, header(run=first.part.name.split(".")[0]))
    done = first.finish()
    with pytest.raises(RecordsError, match="used once"):
        RecordWriter(spool, header(run=done.stem))


@pytest.mark.parametrize(
    "text, limits",
    [("5", (5, 5)), ("0x1F", (31, 31)), ("-70..-40", (-70, -40)), ("10..", (10, None)), ("..0.5", (None, 0.5)), ("1,3..5", None),
     ("*", None), ("line-?", None), ("", None), ("1_0", None), ("..", None), ("a..b", None)],
)
def test_limits_of_a_session(text, limits):
    assert limits_of(text) == limits


def session(tmp_path, text, *arguments):
    script, out = tmp_path / "plan.tcl", tmp_path / "session.json"
    script.write_text(text)
    command = [os.environ["ORVA_STATION"], *arguments, "--json", "run", script]
    with open(out, "w") as file:
        subprocess.run(command, stdout=file, timeout=120)
    return out


@pytest.mark.parametrize("chip", CHIPS)
def test_a_session_becomes_a_record(tmp_path, spool, chip):
    text = ("step Begin\nnote hello\nwifi_get_rx_rssi -> 1 rssi -10..-5\nlimits \"a b\" 7 1,3..8\nwifi_start_rx\n"
            "sweep {power {100 155}} { wifi_set_power $power -> 1 }\n")
    path = session(tmp_path, text, "--chip", chip)
    (made,) = convert(path, spool, header())
    record = read(made.read_bytes())
    rows = {(each.what.name, each.what.condition): each for each in record.measurements}
    rssi = rows["wifi_get_rx_rssi rssi", "{}"]
    assert (rssi.value, rssi.what.low, rssi.what.high, rssi.verdict) == (-52, -10, -5, "FAIL")
    assert [each.what.expected for (name, _), each in rows.items() if name == "wifi_start_rx result"] == ["success"]
    listed = rows["a b", "{}"]
    assert (listed.value, listed.what.expected, listed.verdict) == (7, "1,3..8", "PASS")
    assert ("wifi_set_power result", '{"power": 155}') in rows
    assert {line["type"] for _, line in record.events} == {"step", "note", "cause"}
    assert (record.end["verdict"], record.header["chip"]) == ("FAIL", chip)
    assert convert(path, spool, header(started=record.header["started"])) == [made]  # the same run again


@pytest.mark.parametrize(
    "text, verdict, reason",
    [("wifi_set_power 155 -> 1\n", "PASS", None), ("wifi_set_power 155\n", "NO VERDICT", None),
     ("wifi_set_power 155 -> 1\nnonsense\n", "BROKEN", "nonsense")],
)
def test_the_verdict_is_the_consoles(tmp_path, spool, text, verdict, reason):
    (made,) = convert(session(tmp_path, text), spool, header())
    end = read(made.read_bytes()).end
    assert end["verdict"] == verdict and (reason is None or reason in end["reason"])


def test_a_line_of_a_session_ends_at_a_newline_alone(tmp_path, spool):
    (made,) = convert(session(tmp_path, "note {a\u2028b\u0085c}\n"), spool, header())
    assert [line["text"] for _, line in read(made.read_bytes()).events] == ["a\u2028b\u0085c"]


def test_a_session_that_was_cut_is_broken_and_other_input_is_refused(tmp_path, spool):
    path = session(tmp_path, "wifi_set_power 155 -> 1\n")
    lines = path.read_text().splitlines(keepends=True)
    path.write_text("".join(lines[:2]))
    (made,) = convert(path, spool, header())
    assert "no end line" in read(made.read_bytes()).end["reason"]
    for text in ("", "[]\n", "{}\n", "no json\n", lines[1], lines[0].replace('"version":1', '"version":2')):
        path.write_text(text)
        with pytest.raises(RecordsError, match="session.json.*expected"):
            convert(path, spool, header())
    with pytest.raises(RecordsError, match="give --serial"):
        convert(session(tmp_path, "wifi_set_power 155 -> 1\n"), spool, header(serial=""))
    path.write_text(lines[0] + '{"type":"call"}\n')
    with pytest.raises(RecordsError, match="session 1 lacks"):
        convert(path, spool, header())
    assert list(spool.iterdir()) == [made]
