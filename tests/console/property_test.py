# SPDX-License-Identifier: Apache-2.0
"""Limits and NV files that nobody thought of, checked against a second opinion."""
import json
from decimal import Decimal

from hypothesis import HealthCheck, given, settings
from hypothesis import strategies as st

from support.console import station

FEW = settings(max_examples=15, deadline=None, derandomize=True, database=None,
               suppress_health_check=[HealthCheck.function_scoped_fixture, HealthCheck.too_slow])

numbers = st.one_of(st.integers(-20, 20), st.integers(-(2**31), 2**32 - 1)).map(str) | \
    st.decimals(-20, 20, places=2).map(lambda d: f"{d:f}")
ranges = st.tuples(numbers, numbers).map(lambda pair: "..".join(sorted(pair, key=Decimal)))
limit = st.one_of(numbers, ranges, numbers.map(lambda n: n + ".."), numbers.map(lambda n: ".." + n), st.just("*"))
limits = st.lists(limit, min_size=1, max_size=3).map(",".join)


def allows(limit, value):
    low, dots, high = limit.partition("..")
    return limit == "*" or Decimal(low or "-Infinity") <= Decimal(value) <= Decimal((high if dots else low) or "Infinity")


@FEW
@given(st.lists(st.tuples(limits, numbers), min_size=20, max_size=60))
def test_limits_allow_what_they_say(tmp_path, cases):
    script = tmp_path / "limits.tcl"
    script.write_text("".join(f"limits seen {value} {limits}\n" for limits, value in cases))
    lines = map(json.loads, station("--json", "run", script).stdout.splitlines())
    held = [line["held"] for line in lines if line["type"] == "expectation"]
    expected = [any(allows(part, value) for part in limits.split(",")) for limits, value in cases]
    assert [*zip(cases, held)] == [*zip(cases, expected)]


names = st.text("ABCDEFGHIJKLMNOPQRSTUVWXYZ_0123456789", min_size=1, max_size=20)
entries = st.tuples(st.sampled_from(["pa2ga0", "pa5ga1", "mf2ga0", "x"]), st.lists(st.integers(-999, 9999), min_size=1, max_size=5))
texts = st.lists(entries, min_size=1, max_size=3, unique_by=lambda entry: entry[0]).map(
    lambda all_entries: "".join(f"{name}={','.join(map(str, values))};" for name, values in all_entries))
octets = st.binary(min_size=1, max_size=104).filter(lambda data: any(data))
items = st.dictionaries(st.tuples(st.integers(0, 2**32 - 1), names), texts | octets, min_size=1, max_size=6)


def content(value):
    return value if isinstance(value, str) else f"0x{value.hex()}"


def as_bytes(word):
    return bytes.fromhex(word[2:]) if word.startswith("0x") else word.encode()


def nv(store, *words):
    return station("--yes", "--nv", store, "nv", *words)


@FEW
@given(items)
def test_nv_files_and_stores_hold_the_same(tmp_path, wanted):
    one, other, file, backup = (tmp_path / name for name in ("one.nv", "other.nv", "items.txt", "backup.txt"))
    for old in (one, other, backup):
        old.unlink(missing_ok=True)
    file.write_text("".join(f"{number} {name} {content(value)}\n" for (number, name), value in wanted.items()))
    assert nv(one, "load", file).returncode == 0
    lines = [line.split(" ", 2) for line in nv(one, "list").stdout.splitlines()]
    kept = {(int(number), name): as_bytes(word).rstrip(b"\0") for number, name, word in lines}
    assert kept == {key: as_bytes(content(value)).rstrip(b"\0") for key, value in wanted.items()}
    assert [(int(number), name) for number, name, _ in lines] == sorted(kept)
    assert nv(one, "backup", backup).returncode == nv(other, "restore", backup).returncode == 0
    assert (nv(other, "list").stdout, nv(other, "diff", file).stdout) == (nv(one, "list").stdout, "")
    (number, name), value = next(iter(wanted.items()))
    file.write_text(f"{number} {name} added=1;\n")
    assert nv(other, "load", file).stdout == "1 NV item written, 0 were so already.\n"
    changes = nv(other, "diff", backup).stdout.splitlines()
    assert f"{number} {name} added: none -> 1" in changes
    assert len(changes) == 1 + (len(value.split(";")) - 1 if isinstance(value, str) else sum(map(bool, value)))
