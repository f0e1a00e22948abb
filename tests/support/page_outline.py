# SPDX-License-Identifier: Apache-2.0
"""The report page as a browser builds it: its elements in text, and what each control changes in them.

    python3 page_outline.py FOLDER    writes FOLDER/page/outline.txt (script/golden does)
"""
import difflib
import re
import shutil
import sys
import tempfile
from pathlib import Path

if __name__ == "__main__":  # support.* as under pytest
    sys.path.insert(0, str(Path(__file__).resolve().parents[1]))

from support.browser import INSTALLED, screen, started  # noqa: E402
from support.console import station  # noqa: E402
from support.console_book import FOLDER as SESSIONS  # noqa: E402
from support.tree import ROOT  # noqa: E402

FILE = ROOT / "tests" / "golden" / "page" / "outline.txt"
SCRIPTS = ("everything.tcl", "broken.tcl")
# Sessions that have a page to themselves, which looks different then.
ALONE = {"pass.tcl": "step Settings\nwifi_set_power 155 -> 1\n", "silent.tcl": "note done\n"}

MEASUREMENTS = ROOT / "tests" / "support" / "measurements.tcl"

OUTLINE = """
const lines = [];
const walk = (node, depth, shown) => {
  if (node.nodeType === 3 && node.data.trim()) lines.push(' '.repeat(depth) + node.data.trim());
  if (node.nodeType !== 1 || ['SCRIPT', 'STYLE'].includes(node.tagName)) return;
  const attributes = [...node.attributes].filter(a => a.name !== 'nonce').map(a => ` ${a.name}=${a.value}`).sort().join('');
  const seen = node.getClientRects().length > 0;
  const state = (node.checked ? ' checked' : '') + (node.open ? ' open' : '') + (shown && !seen ? ' unseen' : '');
  lines.push(' '.repeat(depth) + node.localName + attributes + state);
  for (const child of node.childNodes) walk(child, depth + 1, seen);
};
walk(document.querySelector(arguments[0]), 0, true);
return [document.title, ...lines];
"""
# Actions use these: the first visible element that a selector finds and whose text or label begins with some words.
HELPERS = """
const first = (selector, words = '') => [...document.querySelectorAll(selector)].find(e => e.getClientRects().length &&
  (e.textContent.trim() + (e.getAttribute('aria-label') ?? '')).includes(words));
const press = keys => keys.forEach(key => first('.plot[tabindex]').dispatchEvent(new KeyboardEvent('keydown', {key, bubbles: true})));
const choose = (words, value) => { const s = first('select', words); s.value = value; s.dispatchEvent(new Event('change')); };
const search = words => { const box = first('input[type=search]'); box.value = words; box.dispatchEvent(new Event('input')); };
"""
# What is done one after the other.
ACTIONS = [
    "document.querySelectorAll('#s0 details:not([open]) > summary').forEach(e => e.click())",
    "press(['+', '='])", "press(['ArrowRight', '-'])", "first('button', 'Earlier').click()", "first('button', 'Closer').click()",
    "first('button', 'Later').click()", "first('button', 'Farther').click()", "choose('Part of the session', '1')",
    "choose('Part of the session', '')", "const s = document.querySelectorAll('#s0-nv select')[1]; s.value = 0; s.dispatchEvent(new Event('change'))",
    "search('fail CHANNEL')", "first('label', 'debug').click()", "first('label', 'of failed calls').click()", "search('')",
    "first('label', 'what each call did').click()", "first('label', 'failed only').click()", "location.hash = 's0-time'",
    "dispatchEvent(new Event('beforeprint'))", "dispatchEvent(new Event('afterprint'))", "location.hash = 's1'",
]


def page_of(folder, *scripts):
    station("--quiet", "--chip", "vq2070", "--report", "report.html", "run", *scripts, cwd=folder)
    return (folder / "report.html").as_uri()


def steady(line):
    return re.sub(r"\d{4}-\d\d-\d\d \d\d:\d\d:\d\d", "DATE TIME", line)


def states(driver, actions, part):
    """The page's elements at first and after each action."""
    for action in ["", *actions]:
        if action:
            driver.execute_script(HELPERS + action)
            driver.execute_async_script("requestAnimationFrame(() => setTimeout(arguments[0], 50))")
        yield action, [steady(line) for line in driver.execute_script(OUTLINE, part)]


def changes(driver, actions, part="body"):
    """The page in full, then the lines that each action removes and adds."""
    text, before = "", None
    for action, now in states(driver, actions, part):
        lines = now if before is None else [*difflib.unified_diff(before, now, n=0, lineterm="")][2:]
        text += "\n".join([f"==== {action}", *lines, ""])
        before = now
    return text


def outline():
    """The page of two sessions with all that its controls do, those of single sessions, and the plots of measurements."""
    with tempfile.TemporaryDirectory() as name, started() as driver:
        folder = Path(name)
        screen(driver, 1280, "light")
        for script in SCRIPTS:
            shutil.copy(SESSIONS / script, folder)
        driver.get(page_of(folder, *SCRIPTS))
        text = changes(driver, ACTIONS)
        for script, content in ALONE.items():
            (folder / script).write_text(content)
            driver.get("about:blank")
            driver.get(page_of(folder, script))
            text += f"######## {script}\n{changes(driver, [])}"
        shutil.copy(MEASUREMENTS, folder)
        driver.get(page_of(folder, MEASUREMENTS.name))
        text += f"######## {MEASUREMENTS.name}\n{changes(driver, [], '#s0-measured')}"
    return text


def main():
    if not INSTALLED:
        sys.exit("page_outline.py: no Chromium, chromedriver or python3-selenium; script/setup --tests installs them")
    target = Path(sys.argv[1]) / "page"
    target.mkdir(parents=True, exist_ok=True)
    (target / FILE.name).write_text(outline(), encoding="utf-8")


if __name__ == "__main__":
    main()
