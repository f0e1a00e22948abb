# SPDX-License-Identifier: Apache-2.0
"""The report in a browser: what comes first, the filters, narrow and wide, light and dark, on paper."""
import base64
import re

import pytest

from support.browser import INSTALLED, screen, started
from support.console import station
from support.page_sample import HOSTILE, MEASUREMENTS, write_report

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
def show(browser):
    """Loads a page freshly. Anything in the browser's log fails the test."""
    def load(path):
        screen(browser, 1280, "light")
        browser.get("about:blank")
        browser.get(path.as_uri())
        return browser

    yield load
    assert [entry["message"] for entry in browser.get_log("browser")] == []


@pytest.fixture
def page(show, path):
    return show(path)


def sheets(page):
    pdf = base64.b64decode(page.execute_cdp_cmd("Page.printToPDF", {})["data"])
    return len(re.findall(rb"/Type\s*/Page\b", pdf))


def run(page, script):
    return page.execute_script("const all = (s, of = document) => [...of.querySelectorAll(s)].filter(e => e.getClientRects().length);"
                               + script)


def until(page, condition):
    """Waits: following a link within the page takes the browser a moment."""
    WebDriverWait(page, 120).until(lambda page: run(page, f"return {condition}"))


def texts(page, selector):
    return run(page, f"return all({selector!r}).map(e => e.textContent)")


def click(page, label):
    """Clicks the visible checkbox or link with this label."""
    run(page, f"all('label, a').find(e => e.textContent.trim().startsWith({label!r})).click()")


def unfold(page, selector):
    """Opens the visible blocks that match, as a reader does."""
    run(page, f"for (const d of all({selector!r})) if (!d.open) d.querySelector('summary').click()")
    until(page, f"all({selector!r}).every(d => d.open && d.children.length > 1)")


def search(page, what, words):
    run(page, f"const box = all('input[placeholder=\"Search the {what}\"]')[0]; box.value = {words!r}; box.dispatchEvent(new Event('input'))")


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
    unfold(page, "#s0-log")
    assert any(HOSTILE[:40] in line for line in texts(page, ".log .text"))


def test_the_log_is_filtered_by_priority_words_and_failure(page):
    unfold(page, "#s0-log")
    kinds = run(page, "return all('.log li').map(e => e.className.split(' ')[0])")
    assert {"debug", "info", "error"} <= set(kinds)
    click(page, "debug")
    assert run(page, "return all('.log li').map(e => e.className.split(' ')[0])") == [k for k in kinds if k != "debug"]
    click(page, "info")
    errors = texts(page, ".log .text")
    assert len(errors) == kinds.count("error")
    assert texts(page, ".log-count") == [f"{len(errors)} of {len(kinds)} lines"]
    search(page, "log", "COUNTRY code")
    assert texts(page, ".log .text") == [e for e in errors if "country code" in e] != []
    assert texts(page, ".log mark") == ["country code"]
    search(page, "log", "")
    click(page, "of failed calls")
    assert set(texts(page, ".log .from")) == {"wifi_start_rx"}


def test_a_link_to_a_hidden_log_line_shows_it(page):
    unfold(page, ".part")
    click(page, "9 log lines")
    until(page, "document.querySelector(':target')?.getClientRects().length === 1")
    search(page, "log", "nothing has these words")
    assert texts(page, ".log .text") == []
    click(page, "9 log lines")  # the address stays the same
    until(page, "document.querySelector('.log :target')?.getClientRects().length === 1")


def test_steps_can_be_thinned_out(page):
    unfold(page, ".part")
    assert len(texts(page, ".strip")) > 5
    click(page, "what each call did")
    assert texts(page, ".strip") == []
    click(page, "failed only")
    assert run(page, "return all('.steps tbody tr').map(e => e.className)") == ["bad", "why bad", "bad"]


def test_the_steps_are_searched_with_what_is_closed(page):
    search(page, "steps", "MODE=")
    assert texts(page, ".steps .call") == ["wifi_start_rx"] * 2 and texts(page, ".count") == ["2 of 13 found"]
    search(page, "steps", "")
    assert texts(page, ".part:not([open])") != []


def test_pauses_stand_on_the_time_axis(page):
    unfold(page, "#s0-time")
    until(page, "all('.axis').length === 1")
    assert "2 s" in texts(page, ".axis .span.pause text")
    assert "wait 1.5 s" in texts(page, ".axis .span.wait text")
    label = "return document.querySelector('.axis').getAttribute('aria-label')"
    whole = run(page, label)
    run(page, "const e = document.querySelector('.plot[tabindex]'); for (const key of ['+', '+', 'ArrowRight'])"
              "e.dispatchEvent(new KeyboardEvent('keydown', {key, bubbles: true}))")
    assert run(page, label) != whole
    assert texts(page, ".shares b")[:2] == ["4.035 s", "1.5 s"]


def test_calibration_is_shown_before_and_after(page):
    unfold(page, "#s0-nv")
    captions = dict(run(page, "return all('figure').map(f => [f.querySelector('b').textContent, f.querySelector('.words').textContent])"))
    assert captions == {"pa2ga0": "a 8192, b 12800 → 11264, c 100 → 30", "mf2ga0": "offsets: channel 1: 0 → -3"}
    until(page, "document.querySelectorAll('figure polyline, figure .bar').length === 3 + 13")
    assert texts(page, ".axis-name") == ["detector, counts", "change, counts", "power, dBm", "offset, 0.1 dB", "channel"]
    assert any("8192,11264,30" in text for text in texts(page, "table.nv td"))  # as typed
    assert run(page, "return document.body.textContent.includes('\\u2212')") is False
    unfold(page, "figure details.values")
    assert texts(page, "figure .values tbody tr")[5] == "15 dBm315.6223.1-92.5"
    run(page, "const s = document.querySelectorAll('#s0-nv select')[1]; s.value = 0; s.dispatchEvent(new Event('change'))")
    assert texts(page, "figure") == []


@pytest.mark.parametrize("width", [390, 1280])
@pytest.mark.parametrize("scheme", ["light", "dark"])
def test_it_fits_and_can_be_read(page, width, scheme):
    screen(page, width, scheme)
    unfold(page, "details.card, .part")
    assert run(page, "return document.documentElement.scrollWidth") <= width
    until(page, "all('.axis .grid text').length >= 3")
    assert_contrast(page)


def assert_contrast(page):
    ratio, what = page.execute_script(CONTRAST)
    assert ratio >= 4.5, what


def test_paper_has_all_sessions(page):
    assert sheets(page) <= 3
    assert run(page, "return document.querySelectorAll('.view').length") == 2
    screen(page, 700, "light", media="print")
    assert len(texts(page, ".session-name")) == 2
    assert len(texts(page, ".failures > li")) == 2 and len(texts(page, ".steps tr.bad")) >= 2
    assert texts(page, ".log li") == texts(page, ".axis") == []  # closed
    assert run(page, "return performance.getEntriesByType('resource').length") == 0


# The script, then the page's verdict, its kind, its colour, and its reason.
VERDICTS = [
    ("wifi_query_setting 1 -> 0", "PASS", "pass", "rgb(23, 113, 58)", "The one expectation held."),
    ("wifi_query_setting 1 -> 1", "FAIL", "fail", "rgb(179, 33, 29)", "1 of 1 expectation failed."),
    ("note done", "NO VERDICT", "none", "rgb(85, 96, 110)", "Nothing was expected, so nothing was judged."),
    ("wifi_query_setting 1 -> 0\nerror {out of fixtures}", "BROKEN", "broken", "rgb(179, 33, 29)",
     "A session stopped before its end: out of fixtures"),
]


@pytest.mark.parametrize("script, word, kind, colour, reason", VERDICTS, ids=[v[1] for v in VERDICTS])
def test_the_verdict_has_its_word_colour_and_reason(show, tmp_path, script, word, kind, colour, reason):
    page = show(write_report(tmp_path, script)[0])
    assert (texts(page, "h1 .word"), page.title.split(":")[0]) == ([word], word)
    assert run(page, "return document.body.dataset.verdict") == kind
    assert run(page, "return getComputedStyle(document.getElementById('verdict')).backgroundColor") == colour
    assert texts(page, ".reason-of-verdict") == [reason]
    failed = texts(page, "#failures")[0]
    assert ("No expectation failed" in failed, "Nothing failed" in failed) == (word == "NO VERDICT", word == "PASS")
    assert ("out of fixtures" in failed) == (word == "BROKEN")


BROKEN_BOARD = """
phone set check.efuse 5
conn_test_chipcheck -> 0
wifi_test_weld -> 1
note {a solder joint is bad}
"""


def test_equal_errors_are_one_failure(show, tmp_path):
    page = show(write_report(tmp_path, "teardown {error {no answer}}\n" * 2)[0])
    unfold(page, ".failures .each")
    assert texts(page, ".failures > li > p:first-of-type") == ["2 × The session stopped: teardown: no answer"]
    links = run(page, "return all('.failures .each a').map(a => document.querySelector(a.hash).textContent)")
    assert len(links) == 2 and all("no answer" in text for text in links)


def test_the_finding_stands_first(show, tmp_path):
    page = show(write_report(tmp_path, BROKEN_BOARD)[0])
    assert run(page, "return document.querySelector('#failures h2').nextElementSibling.textContent") == "a solder joint is bad"
    unfold(page, "#s0-log")
    failures = texts(page, ".log .failure .text")
    assert any("efuse status of wifi fail" in text for text in failures)
    errors = run(page, "return all('.log .error').map(e => e.querySelector('.from').textContent)")
    assert "conn_test_chipcheck" in errors  # logs an error with every success
    assert set(run(page, "return all('.log .failure .from').map(e => e.textContent)")) == {"wifi_test_weld"}


SWEEP = """
wifi_start_testmode -> 1
set channels {}
for {set mhz 2412} {$mhz <= 2472} {incr mhz 5} { lappend channels $mhz }
for {set mhz 5180} {$mhz <= 5320} {incr mhz 20} { lappend channels $mhz }
sweep [list channel $channels] {
  phone set radio.rssi [expr {$channel > 2450 && $channel < 3000 ? -75 : -$channel / 100}]
  wifi_get_rx_rssi -> 1 rssi -70..-20
}
wifi_stop_testmode -> 1
"""


def test_a_sweep_is_grouped_and_drawn(show, tmp_path):
    page = show(write_report(tmp_path, SWEEP)[0])
    failures = texts(page, ".failures > li")
    assert len(failures) == 1 and "5 ×" in failures[0] and "rssi is -75 dBm, limits -70..-20" in failures[0]
    assert "channel 2452 to channel 2472" in failures[0]
    until(page, "all('figure .cross').length === 5")
    assert texts(page, "figure .axis-name") == ["rssi, dBm", "channel, MHz"]
    heights = run(page, "return all('polyline.limit').map(l => new Set(l.getAttribute('points').split(' ').map(p => p.split(',')[1])).size)")
    assert heights == [1, 1, 1, 1]  # two limits in each of two bands, level
    rows = run(page, "return all('table.lines tbody tr').map(r => [...r.cells].slice(2).map(c => c.textContent))")
    assert rows == [["1", "1", "21 held"], ["-70..-20", "-75..-25 dBm", "5 failed of 21"]]
    unfold(page, ".failures .each")
    run(page, "all('.failures .each a')[4].click()")
    until(page, "document.querySelector(':target')?.textContent.includes('channel 2472')")
    assert len(texts(page, ".every .steps tbody tr.bad")) == 5


def processor_seconds(page):
    """What the page's thread has used: unlike elapsed time it is the same on a busy machine."""
    return {each["name"]: each["value"] for each in page.execute_cdp_cmd("Performance.getMetrics", {})["metrics"]}["TaskDuration"]


def test_a_long_session_opens_quickly_and_prints_briefly(browser, show, tmp_path):
    script = """set list {}; for {set i 1} {$i <= 6000} {incr i} { lappend list $i }
sweep [list round $list] { wifi_query_setting 1 -> 0; wifi_query_setting 2 -> [expr {$round % 1000 ? 0 : 7}] }
for {set i 1} {$i <= 60000} {incr i} { note "line $i" }"""
    path, _ = write_report(tmp_path, script, chips="vq2050")
    assert path.stat().st_size < 5_000_000
    browser.execute_cdp_cmd("Performance.enable", {"timeDomain": "threadTicks"})
    page = show(path)
    assert 0 < processor_seconds(page) < 5  # 0.3 s as measured
    assert page.title.startswith("FAIL")
    assert run(page, "return document.getElementsByTagName('*').length") < 3000
    assert "6 ×" in texts(page, ".failures > li")[0]
    assert sheets(page) <= 12
    search(page, "steps", "round 5999")
    assert texts(page, ".count") == ["2 of 72000 found"]
    search(page, "steps", "line 59999")
    assert texts(page, ".note .step") == ["line 59999"]
    run(page, "all('.failures a')[0].click()")
    until(page, "document.querySelector(':target')?.textContent.includes('round 1000')")


@pytest.fixture(scope="module")
def measured_path(tmp_path_factory):
    return write_report(tmp_path_factory.mktemp("measured"), MEASUREMENTS, chips="vq2050")[0]


def plot(page, title):
    """What the plot with this title has: its words, how many of some parts, and the rows of its table."""
    node = f"all('#s0-measured figure').find(f => f.querySelector('b').textContent === {title!r})"
    run(page, f"{node}.querySelector('summary').click()")
    until(page, f"{node}.querySelector('.values tbody tr') && {node}.querySelector('.plot svg')")
    return run(page, f"""const f = {node}, count = s => f.querySelectorAll('.plot ' + s).length;
        return {{words: f.querySelector('.words').textContent, axes: [...f.querySelectorAll('.axis-name')].map(e => e.textContent),
          before: count('.spot.before'), after: count('.spot.after'), crosses: count('.cross'), limits: count('polyline.limit'),
          own: count('polyline.limit.own'), knees: count('circle.knee'), intervals: count('polygon.interval'), lines: count('polyline.series'),
          reference: [...f.querySelectorAll('.reference + text')].map(e => e.textContent), failing: f.classList.contains('failing'),
          rows: [...f.querySelectorAll('.values tbody tr')].map(r => [...r.cells].slice(1).map(c => c.textContent))}}""")


def test_power_is_drawn_over_the_channel_before_and_after(show, measured_path):
    page = show(measured_path)
    found = plot(page, "power over channel, bandwidth 20 MHz, rate mcs0, 15 dBm")
    assert found["axes"] == ["power, dBm", "channel, MHz"]
    assert 'before: step "Verify", 5 of 42 failed;  after: step "Verify again", 1 of 43 failed.' in found["words"]
    assert "limits 13.5..16.5 dBm. 1 value without a number." in found["words"] and found["words"].endswith("chain 0  chain 1 ")
    # Two chains on 21 channels. One value failed without a number: it has a cross, but no mark.
    assert (found["before"], found["after"], found["crosses"], found["failing"]) == (42, 42, 6, True)
    assert found["own"] == 0 and found["limits"] >= 4
    assert len(found["rows"]) == 43 and found["rows"][0] == ["2412 MHz, chain 0", "16.07 dBm", "14.77 dBm", "13.5..16.5"]
    assert ["2484 MHz, chain 0", "none", "no value", "13.5..16.5"] in found["rows"]
    run(page, "all('#s0-measured .values a')[1].click()")
    until(page, "document.querySelector(':target')?.textContent.includes('14.77')")


def test_evm_has_its_knees_and_each_lines_limit(show, measured_path):
    found = plot(show(measured_path), "EVM over set power, 2442 MHz")
    assert found["axes"] == ["EVM, dB", "set power, dBm"]
    assert "Limits, in the colour of their line: rate mcs0 ..-5 dB; rate mcs7 ..-27 dB." in found["words"]
    # The session's curves are 3 dB above their floors at 15 and 16.5 dBm, 2 dB less with mcs7.
    knees = re.search(r"Knee, 3 dB above the lowest value: (.*)\. ", found["words"])[1].split("; ")
    assert [k.rsplit(" ", 2)[0] for k in knees] == ["rate mcs0 before", "rate mcs0 after", "rate mcs7 before", "rate mcs7 after"]
    assert [float(k.split()[-2]) for k in knees] == pytest.approx([15, 16.5, 13, 14.5], abs=0.2)
    assert (found["knees"], found["own"], found["lines"]) == (4, 2, 4)


def test_the_packet_error_rate_has_its_confidence_and_the_10_percent_line(show, measured_path):
    found = plot(show(measured_path), "packet error rate over level, 2442 MHz")
    assert found["axes"] == ["packet error rate, %", "level, dBm"]
    assert "18 values held." in found["words"] and "95 % confidence interval (Wilson)" in found["words"]
    assert (found["before"], found["after"], found["intervals"], found["reference"]) == (0, 18, 2, ["10 %"])
    assert ["level -88 dBm, rate mcs0", "50.0 %", "43.1..56.9 %", "*"] in found["rows"]


# The measurements of a session as [name, unit, condition...], and the titles of its plots.
PLOTS = [
    ([f"power dBm {{mhz {mhz} channel {i} rate {rate}}}" for i, mhz in enumerate((2412, 2442, 2472)) for rate in ("6", "54")],
     ["power over channel"]),
    ([f"frequency_error ppm {{antenna 1 x {x}}}" for x in (1, 2, 30)], ["frequency error over x, antenna 1"]),
    ([f"power dBm {{mhz 2442 chain {chain} dbm 15}}" for chain in (0, 1)], ["power over chain, 2442 MHz, 15 dBm"]),
    # A level for each rate is no curve over the level.
    ([f"packet_error_rate % {{mhz 2442 rate mcs{i} dbm {-82 + 3 * i} packets 1000}}" for i in range(4)],
     ["packet error rate over rate, 2442 MHz"]),
    # Two powers are no curve either, three are; what is in no curve is drawn over the channel.
    ([f"evm dB {{mhz {mhz} dbm {dbm}}}" for mhz in (2412, 2442, 2472) for dbm in (8, 15)], ["EVM over channel"]),
    ([f"evm dB {{mhz 2442 dbm {dbm}}}" for dbm in (8, 12, 15)] + [f"evm dB {{mhz {mhz} dbm 15}}" for mhz in (2412, 2472)],
     ["EVM over set power, 2442 MHz", "EVM over channel, 15 dBm"]),
    # Twelve lines are too many for one plot.
    ([f"power dBm {{mhz {mhz} rate mcs{rate} chain {chain}}}" for chain in (0, 1) for rate in range(6) for mhz in range(2412, 2447, 5)],
     ["power over channel, chain 0"] * 2 + ["power over channel, chain 1"] * 2),
    (["power dBm {mhz 2442}", "power dBm {mhz 2442}"], []),
]


@pytest.mark.parametrize("measurements, titles", PLOTS)
def test_a_plot_is_over_what_varies_and_draws_each_value_once(show, tmp_path, measurements, titles):
    script = "\n".join("limits {1} {0} 0..99 -unit {2} -at {3}".format(4 * i, *m.split(" ", 2)) for i, m in enumerate(measurements))
    page = show(write_report(tmp_path, script, chips="vq2050")[0])
    until(page, f"all('#s0-measured .plot svg').length === {len(titles)}")
    assert texts(page, "#s0-measured figcaption b:first-child") == titles
    assert bool(texts(page, "circle.knee")) == any("over set power" in title for title in titles)  # values rise in every plot
    assert len(texts(page, "#s0-measured .spot.after[transform]:not(.key *)")) == (len(measurements) if titles else 0)
    table = texts(page, "#s0-measured > table.values tbody tr")
    assert table == ([] if titles else ["✓heldpower2442 MHz0 dBm4 dBm0..99"])


def test_what_an_earlier_session_measured_is_before(show, tmp_path):
    measured = "wifi_query_setting 1 -> 0\nforeach mhz {2412 2442} { limits power %s 14..16 -unit dBm -at [list mhz $mhz] }"
    page = show(write_report(tmp_path, measured % 17, more=[measured % 15.5, measured % 15.1])[0])
    hint = texts(page, "#s0-measured .hint")[0]
    assert hint == "Measured again, with these values as before, in session 2, session1.tcl; session 3, session2.tcl."
    run(page, "all('#s0-measured .hint a')[1].click()")
    until(page, "all('#s2-measured .plot svg').length === 1")
    words = texts(page, "#s2-measured .words")[0]
    assert "before: session 1, session0.tcl, 2 of 2 failed;  after: session 3, session2.tcl, 2 values held." in words
    assert "2 values between are in the steps." in words
    assert run(page, "return all('#s2-measured figure').map(f => f.classList.contains('failing'))") == [False]


# The share in percent, the packets, and the interval by Wilson's formula.
@pytest.mark.parametrize("got, sent, interval", [("0", 100, (0, 3.70)), ("10", 1000, (8.29, 12.02)), ("50", 100, (40.38, 59.62)),
                                                 ("100", 20, (83.89, 100)), ("5", 0, None), ("no value", 100, None)])
def test_the_confidence_interval(page, got, sent, interval):
    condition = f"{{packets: '{sent}'}}" if sent else "{}"
    found = run(page, f"return intervalOf({{got: {got!r}, unit: '%', condition: {condition}}})")
    assert found == (interval and pytest.approx(interval, abs=0.01))


@pytest.mark.parametrize("width, scheme", [(390, "dark"), (1280, "light")])
def test_measurements_fit_and_can_be_read(show, measured_path, width, scheme):
    page = show(measured_path)
    screen(page, width, scheme)
    unfold(page, "#s0-measured details.values")
    assert run(page, "return document.documentElement.scrollWidth") <= width
    until(page, "all('#s0-measured .plot svg').every(s => s.getBoundingClientRect().right <= innerWidth)")
    assert_contrast(page)
    screen(page, 700, "light", media="print")
    run(page, "dispatchEvent(new Event('beforeprint'))")
    assert run(page, "return all('#s0-measured figure').map(f => f.scrollWidth <= f.clientWidth)") == [True] * 7


@pytest.mark.parametrize("width", [360, 1280])
def test_the_header_says_whose_page_it_is(show, tmp_path, width):
    serial = "x" * 190 + "<b>&'\""
    station("--serial", serial, "--station", "line-3", "--report", tmp_path / "r.html", "wifi_set_power", "155")
    browser = show(tmp_path / "r.html")
    screen(browser, width, "light")
    shown = browser.execute_script("return document.querySelector('.identity').textContent")
    assert f"Serial {serial}, Station line-3, Started 2" in shown
    assert browser.execute_script("return document.documentElement.scrollWidth <= innerWidth")
