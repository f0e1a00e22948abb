# SPDX-License-Identifier: Apache-2.0
"""Operators for C, C++ and JavaScript: each changes one line, or swaps two, in a way that a typing error would."""
import re

STRING = re.compile(r'"(?:[^"\\]|\\.)*"')
OPPOSITE = {"==": "!=", "!=": "==", "===": "!==", "!==": "===", "<": "<=", "<=": "<", ">": ">=", ">=": ">",
            "&&": "||", "||": "&&"}


def blanked(line):
    """The line without its strings, characters and comment, at unchanged columns."""
    line = STRING.sub(lambda m: '"' + " " * (len(m.group()) - 2) + '"', line)
    line = re.sub(r"'(?:[^'\\]|\\.)'", lambda m: "'" + " " * (len(m.group()) - 2) + "'", line)
    return re.sub(r"//.*", lambda m: " " * len(m.group()), line)


def replaced(line, match, text):
    return line[:match.start()] + text + line[match.end():]


def comparisons(line, plain):
    for match in re.finditer(r"(?<= )(===|!==|==|!=|<=|>=|<|>|&&|\|\|)(?= )", plain):
        yield "comparison", replaced(line, match, OPPOSITE[match.group()])


def constants(line, plain):
    if plain.lstrip().startswith(("#", "static_assert")):
        return
    kind = "table entry" if re.match(r"\s*(\{|\.\w+ =|constexpr [\w<>: ]+\[|[&{\d])", plain) else "constant"
    for match in re.finditer(r"(?<![\w.])(0x[0-9A-Fa-f]+|0|[1-9]\d*)(\.\d+)?([UF]?)(?![\w.])", plain):
        number = int(match.group(1), 0) + 1
        yield kind, replaced(line, match, f"{number}{match.group(2) or ''}{match.group(3)}")
    for match in re.finditer(r"\b(true|false)\b", plain):
        yield kind, replaced(line, match, "false" if match.group() == "true" else "true")


def letters(line, choose):
    if line.lstrip().startswith(("#", "static_assert", "extern")):
        return
    for string in STRING.finditer(line):
        body = string.group()
        spots = [i for i in range(1, len(body) - 1) if body[i].isalpha() and not re.search(r"[%\\][\d.*]*$", body[:i])]
        if spots:
            at = string.start() + choose.choice(spots)
            yield "letter", line[:at] + ("x" if line[at] != "x" else "y") + line[at + 1:]


STATEMENT = re.compile(r"\s+(?!return|const|let|break|continue|using|static|struct|char |u?int|float|auto|bool|case)"
                       r"[\w:*>.\[\]+-]+(\(.*\)| [|+-]?= .*|\+\+);$")
CALL = re.compile(r"\s+\w+\(.*\);$")


def statements(lines, i):
    if not STATEMENT.match(lines[i]):
        return
    yield "dropped", re.match(r"\s*", lines[i]).group() + ";"
    # Only calls are swapped: the order in which two variables are set has no effect.
    if i + 1 < len(lines) and CALL.match(lines[i]) and CALL.match(lines[i + 1]) and STATEMENT.match(lines[i + 1]):
        yield "swapped", lines[i + 1] + "\n" + lines[i]


def neighbours(line, plain):
    """Swaps steps in a table of steps."""
    for match in re.finditer(r"&(\w+)(,\s*)&(\w+)", plain):
        yield "swapped", replaced(line, match, f"&{match.group(3)}{match.group(2)}&{match.group(1)}")


def closing(plain, opening):
    """The column of the parenthesis that closes the one at `opening`, None if that is on another line."""
    depth = 0
    for column in range(opening, len(plain)):
        depth += {"(": 1, ")": -1}.get(plain[column], 0)
        if depth == 0:
            return column
    return None


def conditions(line, plain):
    """Inverts a condition, or never takes its branch. Conditions that declare a variable stay."""
    match = re.match(r"\s*(\} )?(else )?(if|while) \(", plain)
    end = closing(plain, match.end() - 1) if match else None
    if end:
        inside = line[match.end():end]
        if not re.search(r";|\bauto\b|\w [*&]?\w+ = ", inside):
            yield "inverted", f"{line[:match.end()]}!({inside}){line[end:]}"
            yield "skipped branch", f"{line[:match.end()]}({inside}) && false{line[end:]}"
    for match in re.finditer(r" \? ([^?:]+) : ([^?:;,)}]+)(?=[;,)}])", plain):
        first, second = line[match.start(1):match.end(1)], line[match.start(2):match.end(2)]
        if all(text.count("(") == text.count(")") for text in (first, second)):
            yield "inverted", replaced(line, match, f" ? {second} : {first}")


def restates_defaults(line):
    """Whether a line only gives members the values that they have without it."""
    return re.fullmatch(r"\s*(\.\w+ = (false|0|nullptr),\s*)+", line) is not None


def fields(line, plain):
    """A member of a braced list left out, or always the same."""
    if re.match(r'\s*\{"[^{}]*\},$', plain) or re.match(r"\s*\.\w+ = [^{}]*,$", plain):
        yield "field dropped", ""
    for match in re.finditer(r'(?<=\{" )?\{("[^"]*"), ([^{}"]*[a-z][^{}"]*)\}', line):
        yield "field constant", replaced(line, match, f"{{{match.group(1)}, 0}}")


def arguments(line, plain):
    if not line.startswith(" ") or plain.rstrip().endswith(") {") and "if (" not in plain:
        return  # parameters
    for match in re.finditer(r"(?<=[(,])( ?)([A-Za-z_][\w.>-]*), ([A-Za-z_][\w.>-]*)(?=[,)])", plain):
        yield "swapped", replaced(line, match, f"{match.group(1)}{match.group(3)}, {match.group(2)}")
    if '"' in plain:
        for match in re.finditer(r"(?<=, )[\w.>-]*(name|word|path|file|key|place|text)\b(?=[,)])", plain):
            yield "name", replaced(line, match, '"other"')


def units_and_widths(line, plain):
    for match in re.finditer(r"(?<![\w.])(1'000'000|1000000|1'000|1000|1e6|1e3|1e9|10)\b(?![.'])", plain):
        yield "unit", replaced(line, match, {"1e6": "1e3", "1e3": "1e6", "1e9": "1e6"}.get(match.group(), match.group() + "0"))
    # Times and sums need 64 bits; most numbers of 32 bits are digits, flags or descriptors that fit into 16.
    for match in re.finditer(r"\b(u?int)64_t\b", plain):
        yield "width", replaced(line, match, f"{match.group(1)}32_t")
    for match in re.finditer(r"sizeof\(\w+\)(?! [/-])", plain):
        yield "width", replaced(line, match, match.group() + " - 1")
    for match in re.finditer(r"(?<=[%:])0\d+(?=x|X|d|\})", line):
        yield "width", replaced(line, match, "")


STATUSES = {"passed": "failed", "failed": "passed", "misused": "failed", "unjudged": "passed"}


def exit_statuses(line, plain):
    for match in re.finditer(r"exit_status::(passed|failed|misused|unjudged)", plain):
        yield "exit status", replaced(line, match, "exit_status::" + STATUSES[match.group(1)])


def text_of_line(lines, i, choose):
    """What all three languages have in common, as (kind, new text)."""
    line, plain = lines[i], blanked(lines[i])
    if re.match(r"\s*(\*|/\*|//|#)", line):
        return
    for operator in (comparisons, constants, conditions, fields, arguments, units_and_widths, exit_statuses, neighbours):
        yield from operator(line, plain)
    yield from letters(line, choose)
    yield from statements(lines, i)


def c_loops(plain, line):
    match = re.match(r"\s*for \(", plain)
    end = closing(plain, match.end() - 1) if match else None
    if end and re.search(r"\w : ", plain) and ";" not in plain[:end]:
        head, rest = line[match.end():end], line[end + 1:].strip()
        yield "loop", f"{match.group()}bool first = true; {head}) if (first) first = false; else {rest}"
    for match in re.finditer(r"(?<=; )(\w+)(?= < )", plain if "for (" in plain else ""):
        yield "loop", replaced(line, match, f"{match.group()} + 1")


def c_constants(line, plain, empty):
    match = re.match(r"(\s+(?:return|[\w.>\[\]-]+ =) )([^{}]*[a-z][^{}]*);$", plain)
    if match and not re.match(r"\s+(return )?(true|false|nullptr)\b", plain):
        yield "field constant", f"{match.group(1)}{empty};"


def mutations(lines, choose, suffix=".cpp"):
    """Changes of a C or C++ source, as (index of the line, number of lines, kind, new text)."""
    for i, line in enumerate(lines):
        found = [*text_of_line(lines, i, choose)]
        if not re.match(r"\s*(\*|/\*|//|#)", line):
            found += [*c_loops(blanked(line), line)] if suffix == ".cpp" else []
            found += c_constants(line, blanked(line), "{}" if suffix == ".cpp" else "0")
        for kind, after in found:
            yield i, 2 if "\n" in after else 1, kind, after
