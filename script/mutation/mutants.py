# SPDX-License-Identifier: Apache-2.0
"""The mutants of the sources: which there are, which a seed chooses, and which cannot be noticed."""
import collections
import random
import re
import sys
import tomllib

from lib import ROOT
from mutation import c_family, javascript, python

OPERATORS = {".c": c_family, ".cpp": c_family, ".js": javascript, ".py": python}
EQUIVALENT = ROOT / "script" / "mutation" / "equivalent.toml"
# Sources by part, later entries win: the page's scripts lie below the console.
LIBRARY = {"library": ("api/*.cpp", "common/*.cpp", "chips/*/*.cpp")}
TOOLS = {
    "virtual_phone": ("virtual_phone/**/*.c", "virtual_phone/**/*.cpp"),
    "console": ("console/**/*.cpp",),
    "page": ("console/output/page/*.js",),
    "rf_tester": ("rf_tester/**/*.cpp",),
    "python": ("python/orva/*.py",),
    "plans": ("python/orva/plans/*.py",),
    "records": ("python/orva_records/*.py",),
}

Mutant = collections.namedtuple("Mutant", "file line kind before after")


def sources(parts):
    """Every source of these parts, as {path relative to the tree: part}."""
    found = {path: part for part, patterns in parts.items() for pattern in patterns for path in ROOT.glob(pattern)}
    return {str(path.relative_to(ROOT)): part for path, part in sorted(found.items())}


def part_of(file):
    return sources({**LIBRARY, **TOOLS})[file]


def mutants_of(file, choose):
    path = ROOT / file
    lines = path.read_text(encoding="utf-8").splitlines()
    for i, count, kind, after in OPERATORS[path.suffix].mutations(lines, choose, path.suffix):
        before = "\n".join(lines[i:i + count])
        if after != before:
            yield Mutant(file, i + 1, kind, before, after)


def changes_code(mutant):
    """Whether more than a comment, an initializer that restates the default, or a class that stays as it is made differs."""
    if mutant.file.endswith(".py"):
        return not mutant.before.startswith("@dataclass(")
    if mutant.kind == "field dropped" and c_family.restates_defaults(mutant.before):
        return False
    before, after = (re.sub(r'("(?:[^"\\]|\\.)*")|/\*.*?\*/', r"\1", text) for text in (mutant.before, mutant.after))
    return before != after


def sample(parts, seed):
    """All mutants in the order in which they are tried. Parts and kinds take turns, so that a small sample has all.

    Each file and each group has random numbers of its own: a change in one leaves the choice in the others as it is.
    """
    groups = collections.defaultdict(list)
    for file, part in sources(parts).items():
        for mutant in mutants_of(file, random.Random(f"{seed} {file}")):
            groups[mutant.kind, part].append(mutant)
    for name, group in groups.items():
        random.Random(f"{seed} {name}").shuffle(group)
    turns = [groups[name] for name in sorted(groups)]
    random.Random(seed).shuffle(turns)
    drawn = [group[i] for i in range(max(map(len, turns))) for group in turns if i < len(group)]
    # Left out here, not before, so that the choice among the others stays as it is.
    return [mutant for mutant in drawn if changes_code(mutant)]


def applied(mutant, text):
    """The source with the mutant's change."""
    lines = text.splitlines()
    lines[mutant.line - 1:mutant.line + mutant.before.count("\n")] = mutant.after.splitlines()
    return "\n".join(lines) + "\n"


def same_change(file, before, after):
    """What identifies a change when lines have moved."""
    return file, before.strip(), after.strip()


def equivalents():
    """The changes that nothing can notice, each with its reason, by same_change()."""
    with open(EQUIVALENT, "rb") as file:
        entries = tomllib.load(file)["mutant"]
    known = {}
    for entry in entries:
        missing = {"file", "before", "after", "reason"} - set(entry)
        if missing:
            sys.exit(f"{EQUIVALENT.relative_to(ROOT)}: an entry of {entry.get('file')} lacks {', '.join(sorted(missing))}")
        path = ROOT / entry["file"]
        if not path.is_file() or entry["before"].strip() not in path.read_text(encoding="utf-8"):
            print(f"{EQUIVALENT.relative_to(ROOT)}: {entry['file']} has no line {entry['before'].strip()!r} any more: "
                  "remove the entry", file=sys.stderr)
        known[same_change(entry["file"], entry["before"], entry["after"])] = entry["reason"]
    return known
