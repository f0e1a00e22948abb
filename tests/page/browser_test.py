# SPDX-License-Identifier: Apache-2.0
"""The report in a browser: what comes first, the filters, narrow and wide, light and dark, on paper."""
import base64

import pytest

from support.browser import INSTALLED, screen, started
from support.page_sample import HOSTILE, write_report

if INSTALLED:
    from selenium.webdriver.support.wait import WebDriverWait

# The least contrast by luminance of a text with its background, and that text.
CONTRAST = """
const luminance = c => { const [r, g, b] = c.map(v => (v /= 255) <= 0.04045 ? v / 12.92 : ((v + 0.055) / 1.055) ** 2.4);
  return 0.2126 * r + 0.7152 * g + 0.0722 * b; };
const parts = s => s.match(/[\\d.]+/g).map(Number);
const under = e => { for (; e; e = e.parentElement) { const c = parts(getComputedStyle(e).backgroundColor);
  if (c.length === 3 || c[3] > 0) return c.slice(0, 3); } return [255, 255, 255]; };
let least = [99, ""];
for (const e of document.querySelectorAll("body *:not(svg *):not(script):not(.unseen)")) {
  if (![...e.childNodes].some(n => n.nodeType === 3 && n.data.trim()) || !e.getClientRects().length) continue;
  const [a, b] = [luminance(parts(getComputedStyle(e).color).slice(0, 3)), luminance(under(e))].sort((p, q) => q - p);
  const ratio = (a + 0.05) / (b + 0.05);
  if (ratio < least[0]) least = [ratio, e.className + ": " + e.textContent.slice(0, 40)];
}
return least;
"""


@pytest.fixture(scope="module")
def browser():
    if not INSTALLED:
        pytest.exit("skipped: Chromium, its driver or python3-selenium is not installed", returncode=77)
    with started() as driver:
        yield driver


@pytest.fixture(scope="module")
def path(tmp_path_factory):
    return write_report(tmp_path_factory.mktemp("report"), more=["wifi_query_setting 1 -> 0\n"])[0]


@pytest.fixture
def page(browser, path):
    """The page, freshly loaded. Anything in the browser's log fails the test."""
    screen(browser, 1280, "light")
    browser.get("about:blank")
    browser.get(path.as_uri())
    yield browser
    assert [entry["message"] for entry in browser.get_log("browser")] == []


def run(page, script):
    return page.execute_script("const all = (s, of = document) => [...of.querySelectorAll(s)].filter(e => e.getClientRects().length);"
                               + script)


def until(page, condition):
    """Waits: following a link within the page takes the browser a moment."""
    WebDriverWait(page, 10).until(lambda page: run(page, f"return {condition}"))


def texts(page, selector):
    return run(page, f"return all({selector!r}).map(e => e.textContent)")


def click(page, label):
    """Clicks the visible checkbox or link with this label."""
    run(page, f"all('label, a').find(e => e.textContent.trim().startsWith({label!r})).click()")


def search(page, words):
    run(page, f"const box = all('input[type=search]')[0]; box.value = {words!r}; box.dispatchEvent(new Event('input'))")


def test_the_verdict_and_what_failed_come_first(page):
    assert page.title == "FAIL: 2 sessions"
    assert texts(page, "h1 .word") == ["FAIL"]
    assert texts(page, "h2")[0] == "What failed"
    failures = texts(page, ".failures > li")
    assert len(failures) == 2 and "wifi_start_rx" in failures[0] and "rssi is -95 dBm, limits -90..-20" in failures[1]
    causes = texts(page, ".failures .cause, .why")
    assert len(causes) == 2 and causes[0] == causes[1] and "EIO" in causes[0] and "Cure: look into dmesg" in causes[0]


def test_a_failure_leads_to_its_step(page):
    assert run(page, "return all('.view').map(e => e.id)") == ["s0"]  # the first that failed
    run(page, "all('#sessions-all a')[1].click()")
    until(page, "all('.view').map(e => e.id).join() === 's1'")
    run(page, "all('.failures a')[1].click()")
    until(page, "all('.view').map(e => e.id).join() === 's0'")
    assert "wifi_get_rx_rssi" in run(page, "return document.querySelector(':target').textContent")


def test_quoted_text_is_never_markup(page):
    assert run(page, "return document.querySelectorAll('img, .log b, .note b').length + document.scripts.length") == 2
    assert texts(page, "tr.note .step") == [HOSTILE]
    assert any(HOSTILE[:40] in line for line in texts(page, ".log .text"))


def test_the_log_is_filtered_by_priority_words_and_failure(page):
    kinds = run(page, "return all('.log li').map(e => e.className)")
    assert {"debug", "info", "error"} <= set(kinds)
    click(page, "debug")
    assert run(page, "return all('.log li').map(e => e.className)") == [k for k in kinds if k != "debug"]
    click(page, "info")
    errors = texts(page, ".log .text")
    assert len(errors) == kinds.count("error")
    assert texts(page, ".count") == [f"{len(errors)} of {len(kinds)} lines"]
    search(page, "COUNTRY code")
    assert texts(page, ".log .text") == [e for e in errors if "country code" in e] != []
    assert texts(page, ".log mark") == ["country code"]
    search(page, "")
    click(page, "of failed calls")
    assert set(texts(page, ".log .from")) == {"wifi_start_rx"}
    screen(page, 1280, "light", media="print")
    assert len(texts(page, ".log .text")) == len(kinds)


def test_a_link_to_a_hidden_log_line_shows_it(page):
    search(page, "nothing has these words")
    assert texts(page, ".log .text") == []
    click(page, "9 log lines")
    until(page, "document.querySelector(':target')?.getClientRects().length === 1")


def test_steps_can_be_thinned_out(page):
    assert len(texts(page, ".strip")) > 5
    click(page, "what each call did")
    assert texts(page, ".strip") == []
    click(page, "failed only")
    assert run(page, "return all('.steps tbody tr').map(e => e.className)") == ["bad", "why bad", "bad"]


def test_pauses_stand_on_the_time_axis(page):
    assert "2 s" in texts(page, ".axis .span.pause text")
    assert "wait 1.5 s" in texts(page, ".axis .span.wait text")
    label = "return document.querySelector('.axis').getAttribute('aria-label')"
    whole = run(page, label)
    run(page, "const e = document.querySelector('.plot[tabindex]'); for (const key of ['+', '+', 'ArrowRight'])"
              "e.dispatchEvent(new KeyboardEvent('keydown', {key, bubbles: true}))")
    assert run(page, label) != whole
    assert texts(page, ".shares b")[:2] == ["4.035 s", "1.5 s"]


def test_calibration_is_shown_before_and_after(page):
    captions = dict(run(page, "return all('figure').map(f => [f.querySelector('b').textContent, f.querySelector('.words').textContent])"))
    assert captions == {"pa2ga0": "a 10, b −300 → −302, c 5000 → 5002", "mf2ga0": "offsets: channel 1: 0 → −3"}
    assert run(page, "return document.querySelectorAll('figure polyline, figure .bar').length") == 3 + 13
    run(page, "const s = document.querySelectorAll('#s0-nv select')[1]; s.value = 0; s.dispatchEvent(new Event('change'))")
    assert texts(page, "figure") == []


@pytest.mark.parametrize("width", [390, 1280])
@pytest.mark.parametrize("scheme", ["light", "dark"])
def test_it_fits_and_can_be_read(page, width, scheme):
    screen(page, width, scheme)
    assert run(page, "return document.documentElement.scrollWidth") <= width
    assert len(texts(page, ".axis .grid text")) >= 3
    ratio, what = page.execute_script(CONTRAST)
    assert ratio >= 4.5, what


def test_paper_has_all_sessions(page):
    pdf = page.execute_cdp_cmd("Page.printToPDF", {})["data"]
    assert base64.b64decode(pdf).startswith(b"%PDF")
    assert run(page, "return document.querySelectorAll('.view').length") == 2
    assert run(page, "return performance.getEntriesByType('resource').length") == 0
