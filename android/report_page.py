#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Prints the report page as a C++ header, the same one that console/output/page/page.cmake writes.

Usage: report_page.py FILE... with the files of console/output/page, in any order.
"""

import re
import sys
from pathlib import Path

KINDS = {"html": "REPORT_PAGE", "css": "REPORT_STYLE", "js": "REPORT_SCRIPT"}


def main() -> None:
    files = {Path(name).name: Path(name).read_text() for name in sys.argv[1:]}
    wanted = {"page.cmake", "report_page.h.in"}
    if not wanted <= files.keys():
        sys.exit(f"report_page.py: these files are missing: {', '.join(sorted(wanted - files.keys()))}")
    listed = re.search(r"^set\(sources (.*?)\)", files["page.cmake"], re.M | re.S)
    if not listed:
        sys.exit("report_page.py: page.cmake has no line set(sources …)")
    texts = dict.fromkeys(KINDS.values(), "")
    for name in listed[1].split():
        texts[KINDS[name.rpartition(".")[2]]] += files[name]
    sys.stdout.write(re.sub(r"@(\w+)@", lambda found: texts[found[1]], files["report_page.h.in"]))


if __name__ == "__main__":
    main()
