# SPDX-License-Identifier: Apache-2.0
"""Operators for the report page's JavaScript."""
import re

from mutation.c_family import blanked, replaced, text_of_line


def own(line, plain):
    """What JavaScript writes differently from C++."""
    for match in re.finditer(r"\bfor \(const [^;]* of ([\w.]+)\)", plain):
        at = match.start(1), match.end(1)
        yield "loop", f"{line[:at[0]]}[...{line[at[0]:at[1]]}].slice(1){line[at[1]:]}"
    for match in re.finditer(r"(?<=[{,] )(\w+): (\w[\w.]*)(?=[,}])", plain):
        yield "field constant", replaced(line, match, f"{match.group(1)}: 0")
    for match in re.finditer(r"(?<=\breturn )[^;]*(?=;)", plain):
        yield "field constant", replaced(line, match, '""')
    for match in re.finditer(r"=> (?![{(\[])", plain):
        yield "inverted", replaced(line, match, "=> !")
    for match in re.finditer(r"(\$\{)(\w[\w.]*)(\})", line):
        yield "name", replaced(line, match, "other")


def mutations(lines, choose, suffix=".js"):
    """Changes of a script, as (index of the line, number of lines, kind, new text)."""
    del suffix
    for i, line in enumerate(lines):
        found = [*text_of_line(lines, i, choose)]
        found += [] if re.match(r"\s*(\*|/\*|//)", line) else [*own(line, blanked(line))]
        for kind, after in found:
            yield i, 2 if "\n" in after else 1, kind, after
