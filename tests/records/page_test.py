# SPDX-License-Identifier: Apache-2.0
"""The page about a line, in a browser: its numbers, its plots, hostile texts, narrow and wide, light and dark."""
import json

import pytest

from orva_records import report
from orva_records.collect import collect
from orva_records.queries import Filter
from orva_records.record import Header, RecordWriter
from orva_records.store import Store
from support.browser import INSTALLED, started
from support.synthetic_line import DRIFTING, write_line
from support.tree import CHIPS

HOSTILE = "</script><img src=x onerror=document.title='broken'>{{7*7}}'\"&<b>"
# Whether each plot has something drawn that is not its background.
DRAWN = """return [...document.querySelectorAll("canvas")].map(c =>
  new Set(new Uint32Array(c.getContext("2d").getImageData(0, 0, c.width, c.height).data.buffer)).size > 20)"""


@pytest.fixture(scope="module")
def browser():
    if not INSTALLED:
        pytest.exit("skipped: Chromium, its driver or python3-selenium is not installed", returncode=77)
    with started() as driver:
        yield driver


def show(browser, path, width=1280, scheme="light"):
    features = [{"name": "prefers-color-scheme", "value": scheme}]
    browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": features})
    screen = {"width": width, "height": 900, "deviceScaleFactor": 1, "mobile": width < 600}
    browser.execute_cdp_cmd("Emulation.setDeviceMetricsOverride", screen)
    browser.get(path.as_uri())
    assert [entry["message"] for entry in browser.get_log("browser")] == []


def write_page(folder, command, *arguments):
    database = f"sqlite:///{folder}/store.sqlite"
    collect(folder / "spool", Store(database))
    command("report", "-o", folder / "line.html", "--database", database, *arguments)
    return folder / "line.html"


def test_the_page_shows_the_line(browser, tmp_path, spool, command):
    truth = write_line(spool, 400, rows=12)
    path = write_page(tmp_path, command, "--reports", "runs of today")
    for width, scheme in ((1280, "light"), (390, "dark")):
        show(browser, path, width, scheme)
        drawn = browser.execute_script(DRAWN)
        assert len(drawn) >= 2 + 12 and all(drawn)
        assert browser.execute_script("return document.documentElement.scrollWidth") <= width
    body = browser.execute_script("return document.body.textContent")
    assert f"{100 * truth.first_pass / truth.units:.2f} %" in body and f"{100 * truth.final / truth.units:.2f} %" in body
    finding = browser.execute_script("return document.querySelector('#drifts figcaption').textContent")
    assert finding.startswith("power ") and finding.endswith(f": {DRIFTING} drifts")
    links = browser.execute_script("return [...document.querySelectorAll('.unit a')].map(a => a.getAttribute('href'))")
    names = {f"runs%20of%20today/{path.stem}.html" for path in (spool / "collected").iterdir()}
    assert links and set(links) <= names
    assert browser.execute_script("return performance.getEntriesByType('resource').length") == 0


def test_hostile_texts_stay_texts(browser, tmp_path, spool, command):
    header = Header(serial=HOSTILE, station=HOSTILE, plan=HOSTILE, plan_version=HOSTILE, chip=CHIPS[0], slot=HOSTILE)
    with RecordWriter(spool, header) as record:
        for value in (1.0, 2.0, 9.0):
            record.measure(HOSTILE, value, high=5, unit=HOSTILE, condition={HOSTILE: HOSTILE})
        record.cause(HOSTILE, HOSTILE, HOSTILE, HOSTILE)
    show(browser, write_page(tmp_path, command))
    assert browser.title == "Line report"
    assert browser.execute_script("return document.querySelectorAll('img, td b, li b').length") == 0
    assert browser.execute_script("return document.querySelector('.unit summary b').textContent") == HOSTILE
    assert browser.execute_script("return document.querySelector('#histograms figcaption').textContent").startswith(HOSTILE)


def test_a_line_without_runs_or_failures(browser, tmp_path, spool, command):
    show(browser, write_page(tmp_path, command))
    assert "No runs." in browser.execute_script("return document.body.textContent")
    with RecordWriter(spool, Header(serial="R", station="a", plan="rf", plan_version="1", chip=CHIPS[0])) as record:
        record.measure("power", 5, low=1)
    show(browser, write_page(tmp_path, command))
    body = browser.execute_script("return document.body.textContent")
    for text in ("100.00 %", "No measurement failed", "Nothing to compare", "limits and a spread", "No unit failed"):
        assert text in body


@pytest.mark.parametrize(
    "values, low, high", [([5.0], None, 6), ([5.0] * 9, 5, 5), ([0.0] * 50 + [1.0] * 50 + [1e9], None, 3), (list(range(100)), 10, 90)]
)
def test_a_histogram_counts_every_value_and_spans_the_limits(values, low, high):
    bars = report.bars_of(values, low, high)
    assert sum(count for _, count in bars) == len(values)
    width = bars[1][0] - bars[0][0]
    assert low is None or bars[0][0] - width <= low
    assert bars[-1][0] + width >= high
    assert bars[-1][0] < 1e3  # a far outlier does not squeeze the others into one bar


def test_the_page_has_its_data_once(tmp_path, spool, command):
    write_line(spool, 50, rows=12)
    text = write_page(tmp_path, command).read_text()
    data = json.loads(text.split('id="data">')[1].split("</script>")[0])
    assert set(data) == {"days", "pareto", "histograms", "drifts"}
    with Store(f"sqlite:///{tmp_path}/store.sqlite").reading() as connection:
        assert report.gather(connection, Filter(station="none"))["total"] is None
