# SPDX-License-Identifier: Apache-2.0
"""Statistics and texts without a database: which station stands out, capability, tables, links."""

import math

import pytest

from orva_records import RecordsError, queries, report
from orva_records.statistics import Moments, cpk_of, drift_of
from orva_records.table import cell, table


def moments(count, mean, variance=1.0):
    return Moments(count, mean, variance * (count - 1), mean - 3, mean + 3)


def days(*cells, variance=1.0):
    """A station's moments: (day, count, mean)."""
    return {f"2026-03-{day:02}": moments(count, mean, variance) for day, count, mean in cells}


def test_offset_and_drift_are_those_of_weighted_least_squares():
    """The numbers come from the normal equations, with weights of 1 / (1/n + pi/2 / n of the others)."""
    stations = {"a": days((1, 100, 1.0), (2, 400, 1.5), (5, 200, 2.6), variance=2), "b": days((1, 100, 0.0), (2, 100, 0.2), (5, 50, 0.1), variance=2),
                "c": days((1, 300, 0.1), (2, 200, -0.1), (5, 100, 0.0), variance=2), "d": days((9, 10, 5.0), variance=2)}
    found = drift_of(stations)
    assert {station: list(row.values()) for station, row in found.items()} == {
        "a": [700, pytest.approx(1.049211, abs=1e-6), pytest.approx(1.131371, abs=1e-6), "drifts"],
        "b": [250, pytest.approx(-0.026627, abs=1e-6), pytest.approx(0.060753, abs=1e-6), ""],
        "c": [600, pytest.approx(-0.111093, abs=1e-6), pytest.approx(-0.016350, abs=1e-6), ""]}


# Values of a day, the mean of the one station and of two others, days, and what is found.
FINDINGS = [(1000, 0.51, 0, 1, "differs"), (1000, 0.49, 0, 1, ""), (1000, -0.51, 0, 2, "differs"), (4, 3.3, 0, 1, ""), (4, 3.4, 0, 1, "differs"),
            (1000, 0, 0.26, 3, "drifts"), (1000, 0, 0.24, 3, ""), (1000, 0, -0.26, 3, "drifts"), (1000, 0, 0.4, 2, ""), (10, 0, 1.0, 3, "")]


@pytest.mark.parametrize("count, mean, daily, number, finding", FINDINGS)
def test_what_stands_out_exceeds_both_spread_and_chance(count, mean, daily, number, finding):
    own = days(*((day, count, mean + (day - 1) * daily) for day in range(1, number + 1)))
    others = {name: days(*((day, count, 0.0) for day in range(1, number + 1))) for name in ("b", "c")}
    row = drift_of({"a": own, **others})["a"]
    assert row["finding"] == finding
    assert row["drift"] == (pytest.approx(2 * daily) if number == 3 else None)


def test_nothing_can_be_compared_without_another_station_or_spread():
    one = days((1, 5, 2.0))
    constant = {"2026-03-01": Moments(5, 2.0, 0.0, 2.0, 2.0)}
    rounded = {"2026-03-01": Moments(5, 2.0, 1e-30, 2.0, 2.0)}
    single = {"2026-03-01": Moments(1, 2.0, 0.0, 2.0, 2.0)}
    for stations in ({"a": one}, {"a": constant, "b": constant}, {"a": rounded, "b": rounded}, {"a": single, "b": single}):
        assert drift_of(stations) == {}
    assert drift_of({"a": one, "b": days((2, 5, 2.0))}) == {}
    assert set(drift_of({"a": one, "b": one})) == {"a", "b"}


def test_moments_add_up_and_give_capability():
    values, more = [1.0, 2.0, 4.0], [8.0, -3.0]
    both, at_once = Moments.of(values) + Moments.of(more), Moments.of(values + more)
    assert vars(both) == pytest.approx(vars(at_once)) and at_once.deviation == pytest.approx(4.03733, abs=1e-5)
    assert both.row() == pytest.approx({"count": 5, "mean": 2.4, "deviation": at_once.deviation, "min": -3.0, "max": 8.0})
    assert Moments.of([7.0]).deviation is None
    two = Moments.of([9.0, 11.0])  # deviation: the root of 2
    for low, high, cpk in ((7, None, 3), (None, 14, 4), (7, 14, 3), (4, 12, 2), (11, None, -1)):
        assert cpk_of(two, low, high) == pytest.approx(cpk / 3 / math.sqrt(2))
    assert [cpk_of(*given) for given in ((two, None, None), (Moments.of([7.0]), 1, 9), (Moments(9, 2.0, 1e-30, 2.0, 2.0), 1, 9))] == [None] * 3


@pytest.mark.parametrize("column, value, shown", [
    ("share", 0.12345, "12.35 %"), ("cpk", 1.23456789, "1.23457"), ("cpk", None, "-"), ("count", 7, "7"), ("failed", ["a", 1.5], "a; 1.5"),
    ("name", "two\nlines\x7f\u202e", r"two\nlines\x7f\u202e"), ("first pass", 1.0, "100.00 %"), ("final", 0.5, "50.00 %"), ("cumulative", 0.0, "0.00 %"),
])
def test_a_cell_is_one_line(column, value, shown):
    assert cell(column, value) == shown


def test_a_table_is_aligned_with_wide_and_combining_letters():
    rows = [{"name": "日本", "count": 5, "note": "x"}, {"name": "e\u0301", "count": None, "note": "long"}, {"name": "abc", "count": 123456, "note": ""}]
    assert table(rows) == "name   count  note\n日本       5  x\ne\u0301          -  long\nabc   123456\n"
    assert table([]) == "nothing found\n"


# Value, text, low, high and expectation of a measurement, and the line about it.
FAILURES = [(-75.123456789012, None, -60, -45.5, None, "rssi channel=2442 -75.12345679, expected -60..-45.5"), (3, None, 5, 5, None, "rssi channel=2442 3, expected 5"),
            (None, None, None, 5, None, "rssi channel=2442 nothing, expected ..5"), (9, None, 10, None, None, "rssi channel=2442 9, expected 10.."),
            (None, "no", None, None, "y*", "rssi channel=2442 no, expected y*")]


@pytest.mark.parametrize("value, text, low, high, expected, line", FAILURES)
def test_a_failure_in_one_line(value, text, low, high, expected, line):
    row = {"name": "rssi", "condition": '{"channel": 2442}', "value": value, "text": text, "low": low, "high": high, "expected": expected}
    assert queries.failure_text(row) == line


@pytest.mark.parametrize("base, link", [("", ""), ("runs", "runs/7.html"), ("a b/?#", "a%20b/%3F%23/7.html"), ("https://line/runs/", "https://line/runs/7.html"),
                                        ("file:///a", "file:///a/7.html"), ("http://line//", "http://line/7.html")])
def test_a_runs_page_is_linked(base, link):
    assert report.link(base, "7") == link
    with pytest.raises(RecordsError, match=r"^'ftp://x': expected a folder, or a URL of http, https or file$"):
        report.link("ftp://x", "7")


# What is in the bars: the place of the first, their width, and the number in each that is not empty.
HISTOGRAMS = [([5.0], None, None, 5.0, 1.0), ([0.0, 40.0], None, None, 0.0, 1.0), ([10.0, 20.0], 0, 40, 0.0, 1.0), ([0.0] * 3 + [4.0] * 3, -36, 4, -36.0, 1.0)]


@pytest.mark.parametrize("values, low, high, begin, width", HISTOGRAMS)
def test_bars_lie_between_the_ends(values, low, high, begin, width):
    bars = report.bars_of(values, low, high)
    step = bars[1][0] - bars[0][0]
    assert step == pytest.approx(width)
    assert bars[0][0] == pytest.approx(begin + step / 2)
    filled = {round(middle - step / 2, 6) for middle, count in bars if count}
    assert filled == {round(begin + step * min(39, math.floor((value - begin) / step)), 6) for value in values}
    assert sum(count for _, count in bars) == len(values)
