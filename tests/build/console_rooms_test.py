# SPDX-License-Identifier: Apache-2.0
"""The console's folders include each other in one direction, and its sources in no circle."""

import re

from support.tree import ROOT

# A folder may include those of the rows above it.
FLOORS = [["text"], ["phone", "tester"], ["nv"], ["run"], ["doctor", "language", "output", "record"], ["line", "prompt"], ["main"]]


def includes():
    """Each unit (a source and its header) with the units that it includes."""
    units = {}
    for path in [*(ROOT / "console").rglob("*.h"), *(ROOT / "console").rglob("*.cpp")]:
        unit = path.relative_to(ROOT / "console").with_suffix("").as_posix()
        found = re.findall(r'^#include "console/(.*)\.h"', path.read_text(), re.M)
        units.setdefault(unit, set()).update(set(found) - {unit})
    assert len(units) > 30
    return units


def test_folders_include_lower_folders_only():
    floor = {folder: i for i, folders in enumerate(FLOORS) for folder in folders}
    room = lambda unit: unit.split("/")[0]
    assert {room(unit) for unit in includes()} == set(floor), "FLOORS lists each folder of the console"
    upward = [f"{unit} includes {other}" for unit, others in includes().items() for other in others
              if room(unit) != room(other) and floor[room(other)] >= floor[room(unit)]]
    assert upward == []


def test_sources_include_each_other_in_no_circle():
    rest = includes()
    while free := [unit for unit, others in rest.items() if not others & rest.keys()]:
        for unit in free:
            del rest[unit]
    assert rest == {}, "each of these is in a circle, or includes one that is"
