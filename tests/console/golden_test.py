# SPDX-License-Identifier: Apache-2.0
"""What the console prints and writes, kept in full. script/golden writes the pages anew; review the difference."""
import difflib

import pytest

from support.console_book import FOLDER, page, pages

PAGES = pages()


@pytest.mark.parametrize("name", PAGES)
def test_the_console_prints_what_its_page_has(name):
    kept, now = (FOLDER / name).read_text(encoding="utf-8"), page(PAGES[name])
    assert now == kept, "\n" + "\n".join([*difflib.unified_diff(kept.splitlines(), now.splitlines(), lineterm="")][:40])


def test_no_page_is_left_over():
    assert {path.name for path in FOLDER.glob("*.txt")} - {"unit.txt"} == set(PAGES)
