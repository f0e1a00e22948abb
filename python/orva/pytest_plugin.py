# SPDX-License-Identifier: Apache-2.0
"""Fixtures that give each test a fresh virtual phone with the unmodified library on it.

pytest loads it by itself where the package is installed; from the source tree, give `-p orva.pytest_plugin`, or write
`pytest_plugins = ["orva.pytest_plugin"]` into the top conftest.py (in a test module it works too, without the command line
options).

A test takes `orva_phone` and `orva_library`; both are of one bench, `orva_bench`, whose process begins and ends with the
test. A test also fails if it planned a fault that never fired, or if library calls left a descriptor, child or stream open.
"""

from __future__ import annotations

from collections.abc import Iterator
from typing import Optional

import pytest

from orva.bench import Bench
from orva.library import Library
from orva.phone import CHIPS, VirtualPhone

DEFAULT_CHIP = "vq2050"


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
