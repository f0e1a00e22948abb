#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""A test plan as a factory framework would hold it: phases, measurements with limits and units, a verdict.

    PYTHONPATH=python examples/factory_plan.py --chip vq2070
    PYTHONPATH=python examples/factory_plan.py --phone virtual_phone/phones/wrong-fem.toml --json

The plan itself knows nothing of the virtual phone: it is handed a Library. On a line that would be the one of the unit
under test. Exit status: 0 the unit passed, 1 it failed, 2 the plan could not be run.
"""

from __future__ import annotations

import argparse
import dataclasses
import json
import sys
from collections.abc import Callable
from dataclasses import dataclass, field
from typing import Optional, Union

from orva import CHIPS, Bench, Library, PhoneDied, PhoneError

Value = Union[bool, int, float, str, None]
Wait = Callable[[float], None]


@dataclass
class Measurement:
    """A value with its limits; a limit that is None does not bind."""

    name: str
    value: Value
    low: Optional[float] = None
    high: Optional[float] = None
    equals: Value = None
    unit: str = ""

    @property
    def passed(self) -> bool:
        if self.equals is not None:
            return self.value == self.equals
        if self.low is None and self.high is None:
            return self.value is True
        if not isinstance(self.value, (int, float)):
            return False
        return (self.low is None or self.value >= self.low) and (self.high is None or self.value <= self.high)

    @property
    def limits(self) -> str:
        if self.equals is not None:
            return f"is {self.equals}"
        if self.low is None and self.high is None:
            return "is True"
        return f"{'' if self.low is None else self.low}..{'' if self.high is None else self.high}"


@dataclass
class Unit:
    """The unit under test, as a phase sees it."""

    chip: str
    library: Library
    wait: Wait
    """Lets seconds pass."""
    measurements: list[Measurement] = field(default_factory=list)

    def measure(self, name: str, value: Value, **limits: object) -> bool:
        """Records a measurement. Without limits the value must be True."""
        self.measurements.append(Measurement(name, value, **limits))  # type: ignore[arg-type]
        return self.measurements[-1].passed


Phase = Callable[[Unit], None]


def identity(unit: Unit) -> None:
    """Which unit is it?"""
    check = unit.library.conn_test_get_checktime_of_chipcheck()
    # Four digits for each 16-bit word; a chip has at least eight words.
    unit.measure("die id digits", len(check.die_id), low=32, high=36)
    unit.measure("UPC code", unit.library.wifi_get_upc_code().code, low=2, high=65535)


def board(unit: Unit) -> None:
    """Is everything around the chip soldered and connected?"""
    unit.measure("front end", unit.library.wifi_hw_get())
    unit.measure("UART loop", unit.library.conn_test_uart_loop())
    unit.measure("SDIO loop", unit.library.conn_test_sdio_loop())
    unit.measure("solder joints", unit.library.wifi_test_weld())


def transmit(unit: Unit) -> None:
    """Does it transmit on the edges of both bands?"""
    for mhz in (2412, 2472, 5180, 5825):
        unit.library.wifi_set_mode(4)
        unit.library.wifi_set_band(0)
        unit.library.wifi_set_channel(mhz)
        unit.library.wifi_set_rate(6500)
        unit.library.wifi_set_power(155)
        unit.measure(f"transmit at {mhz} MHz", unit.library.wifi_start_tx())
        unit.wait(0.1)
        unit.library.wifi_stop_tx()


def receive(unit: Unit) -> None:
    """Does it hear the test signal?"""
    unit.library.wifi_set_channel(2437)
    unit.measure("receive starts", unit.library.wifi_start_rx())
    before = unit.library.wifi_get_rx_pckg()
    unit.wait(2)
    after = unit.library.wifi_get_rx_pckg()
    rate = None if before is None or after is None else (after - before) / 2
    unit.measure("packet rate", rate, low=900, high=1100, unit="1/s")
    unit.measure("signal", unit.library.wifi_get_rx_rssi().dbm, low=-60, high=-40, unit="dBm")
    unit.library.wifi_stop_rx()


def start_test_mode(unit: Unit) -> None:
    """Test mode on."""
    unit.measure("test mode on", unit.library.wifi_start_testmode())


def stop_test_mode(unit: Unit) -> None:
    """Test mode off; runs whatever happened before."""
    unit.measure("test mode off", unit.library.wifi_stop_testmode())


PLAN: list[Phase] = [identity, board, start_test_mode, transmit, receive]
TEARDOWN: list[Phase] = [stop_test_mode]


@dataclass
class Result:
    """What one phase came to."""

    phase: str
    verdict: str
    measurements: list[Measurement]
    error: str = ""


def run_phase(phase: Phase, unit: Unit) -> Result:
    unit.measurements = []
    try:
        phase(unit)
    except PhoneDied as error:
        return Result(phase.__name__, "ERROR", unit.measurements, str(error))
    good = all(measurement.passed for measurement in unit.measurements)
    return Result(phase.__name__, "PASS" if good else "FAIL", unit.measurements)


def run_plan(unit: Unit) -> list[Result]:
    """All phases, failed ones notwithstanding, so that the record of a bad unit is complete."""
    results = []
    try:
        results += [run_phase(phase, unit) for phase in PLAN]
    finally:
        results += [run_phase(phase, unit) for phase in TEARDOWN]
    return results


def passed(results: list[Result]) -> bool:
    return all(result.verdict == "PASS" for result in results)


def print_table(results: list[Result]) -> None:
    for result in results:
        print(f"{result.phase:<18}{result.verdict}")
        for measurement in result.measurements:
            value = f"{measurement.value} {measurement.unit}".strip()
            mark = "" if measurement.passed else "  <-- FAIL"
            print(f"  {measurement.name:<22}{value:<14}{measurement.limits}{mark}")
        if result.error:
            print(f"  {result.error}")
    print("PASS" if passed(results) else "FAIL")


def print_json(unit: Unit, results: list[Result]) -> None:
    phases = [dataclasses.asdict(result) for result in results]
    print(json.dumps({"chip": unit.chip, "passed": passed(results), "phases": phases}))


def main() -> int:
    parser = argparse.ArgumentParser(description="Runs the test plan on a virtual phone.")
    parser.add_argument("--chip", choices=CHIPS, default="vq2050")
    parser.add_argument("--phone", metavar="FILE", help="description of the virtual phone")
    parser.add_argument("--json", action="store_true", help="one JSON object instead of the table")
    options = parser.parse_args()
    try:
        with Bench(chip=options.chip, description=options.phone) as bench:
            # On a real unit this would be time.sleep; here the phone's own clock passes.
            unit = Unit(options.chip, bench.library, bench.phone.wait)
            results = run_plan(unit)
    except (PhoneError, PhoneDied, OSError) as error:
        print(f"factory_plan: {error}", file=sys.stderr)
        return 2
    if options.json:
        print_json(unit, results)
    else:
        print_table(results)
    return 0 if passed(results) else 1


if __name__ == "__main__":
    sys.exit(main())
