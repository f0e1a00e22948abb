#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Prints a header that lists the chips, the same one that CMake writes from its template.

Usage: chip_headers.py chips.txt TEMPLATE
"""

import re
import sys
from pathlib import Path


def values(chips: list[str]) -> dict[str, str]:
    headers = "".join(f'#include "chips/{chip}/profile.h"\n' for chip in chips)
    return {
        "TEST_CHIP_HEADERS": headers,
        "TEST_CHIP_NAMES": ", ".join(f'"{chip}"' for chip in chips),
        "TEST_CHIP_PROFILES": ", ".join(f"&{chip}" for chip in chips),
        "FUZZ_CHIP_HEADERS": headers,
        "FUZZ_CHIP_PROFILES": ", ".join(f"&orva::{chip}" for chip in chips),
    }


def main() -> None:
    if len(sys.argv) != 3:
        sys.exit("chip_headers.py: give chips.txt and a template")
    known = values(Path(sys.argv[1]).read_text().split())
    template = Path(sys.argv[2])
    unknown = set(re.findall(r"@(\w+)@", template.read_text())) - set(known)
    if unknown:
        sys.exit(f"chip_headers.py: {template} wants {', '.join(sorted(unknown))}; there are {', '.join(known)}")
    sys.stdout.write(re.sub(r"@(\w+)@", lambda found: known[found[1]], template.read_text()))


if __name__ == "__main__":
    main()
