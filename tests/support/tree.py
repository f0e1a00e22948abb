# SPDX-License-Identifier: Apache-2.0
"""Where things are in the source tree, and its list of chips."""
from pathlib import Path

ROOT = Path(__file__).resolve().parent.parent.parent
CHIPS = (ROOT / "chips" / "chips.txt").read_text().split()
PHONES = ROOT / "virtual_phone" / "phones"
