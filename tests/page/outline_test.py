# SPDX-License-Identifier: Apache-2.0
"""What the page shows, kept in full. script/golden writes the outline anew; review the difference."""
import difflib

import pytest

from support.browser import INSTALLED
from support.page_outline import FILE, outline


def test_the_page_has_the_outline_that_is_kept():
    if not INSTALLED:
        pytest.exit("skipped: Chromium, its driver or python3-selenium is not installed", returncode=77)
    kept, now = FILE.read_text(encoding="utf-8"), outline()
    assert now == kept, "\n" + "\n".join([*difflib.unified_diff(kept.splitlines(), now.splitlines(), lineterm="")][:40])
