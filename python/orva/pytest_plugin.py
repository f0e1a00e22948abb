# SPDX-License-Identifier: Apache-2.0
"""Fixtures that give each test a fresh virtual phone with the unmodified library on it.

pytest loads it by itself where the package is installed; from the source tree, give `-p orva.pytest_plugin`, or write
`pytest_plugins = ["orva.pytest_plugin"]` into the top conftest.py (in a test module it works too, without the command line
options).

A test takes `orva_phone` and `orva_library`; both are of one bench, `orva_bench`, whose process begins and ends with the
test. A test also fails if it planned a fault that never fired, or if library calls left a descriptor, child or stream open.

The report of a failed test has the last driver commands and log lines of its phone.
"""

from __future__ import annotations

import os
from collections.abc import Generator, Iterator
from typing import Any, Optional

import pytest

from orva.bench import Bench, PhoneDied
from orva.library import Library
from orva.phone import CHIPS, Event, EventKind, Priority, VirtualPhone

DEFAULT_CHIP = "vq2050"
#: Lines about the phone in the report of a failed test.
MOST_LINES = 20

_PRIORITIES = {priority.value: priority.name.lower() for priority in Priority}
_BENCH = pytest.StashKey[Bench]()


def pytest_addoption(parser: pytest.Parser) -> None:
    group = parser.getgroup("orva", "virtual phone")
    group.addoption("--orva-chip", choices=CHIPS, default=DEFAULT_CHIP, help="chip of the virtual phone")
    group.addoption("--orva-phone", metavar="FILE", help="description of the virtual phone (TOML)")


@pytest.fixture
def orva_chip(request: pytest.FixtureRequest) -> str:
    """The fitted chip. @pytest.mark.parametrize("orva_chip", CHIPS) runs a test on all of them."""
    return str(request.config.getoption("orva_chip", DEFAULT_CHIP))


@pytest.fixture
def orva_bench(request: pytest.FixtureRequest, orva_chip: str) -> Iterator[Bench]:
    """A virtual phone with the library, in a process of its own."""
    description: Optional[str] = request.config.getoption("orva_phone", None)
    with Bench(chip=orva_chip, description=description) as bench:
        request.node.stash[_BENCH] = bench
        yield bench
        left, unfired = bench.phone.left_open(), bench.phone.faults_unfired()
    if unfired:
        pytest.fail(f"{unfired} planned fault(s) never fired: the test proved nothing about them", pytrace=False)
    if left:
        pytest.fail(f"the library left {left} descriptor(s), child(ren) or stream(s) open", pytrace=False)


@pytest.fixture
def orva_phone(orva_bench: Bench) -> VirtualPhone:
    """The phone's controls."""
    return orva_bench.phone


@pytest.fixture
def orva_library(orva_bench: Bench) -> Library:
    """The library's functions."""
    return orva_bench.library


def _line(event: Event) -> str:
    if event.kind is EventKind.LOG:
        priority = _PRIORITIES.get(event.numbers[0], event.numbers[0])
        what = f"log {priority}: {event.text.rstrip()}"
    else:
        value = int.from_bytes(event.data[8:12], "little", signed=True)
        result = os.strerror(event.error) if event.result < 0 else "taken"
        what = f"driver command {event.numbers[2]}, value {value}: {result}"
    return f"{event.time_us / 1e6:.3f} s  {what}"


def _last_contacts(phone: VirtualPhone) -> str:
    """The last driver commands and log lines, oldest first."""
    try:
        shown = [event for event in phone.events() if event.kind in (EventKind.IOCTL, EventKind.LOG)]
    except PhoneDied as error:
        return f"no contacts: {error}"
    left_out = len(shown) - MOST_LINES
    earlier = [f"({left_out} earlier)"] if left_out > 0 else []
    return "\n".join([*earlier, *map(_line, shown[-MOST_LINES:])])


@pytest.hookimpl(hookwrapper=True)  # type: ignore[misc]
def pytest_runtest_makereport(item: pytest.Item) -> Generator[None, Any, None]:
    """Adds to the report of a failed test what its phone saw last."""
    outcome = yield
    report: pytest.TestReport = outcome.get_result()
    bench = item.stash.get(_BENCH, None)
    if report.failed and bench and report.when != "teardown":  # by then the bench is closed
        report.sections.append(("Virtual phone: driver commands and log", _last_contacts(bench.phone) or "none"))
