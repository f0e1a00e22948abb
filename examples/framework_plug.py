#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The library as a plug of a hardware test framework: the framework makes the plug when a test starts, hands it to the
phases that ask for it, and tears it down at the end, whatever happened.

    PYTHONPATH=python examples/framework_plug.py
    PYTHONPATH=python ORVA_PHONE=virtual_phone/phones/wrong-fem.toml examples/framework_plug.py

Such frameworks give a plug no arguments, so it takes the unit from the environment: ORVA_CHIP, and ORVA_PHONE for the
description of a virtual phone. execute() stands for the framework. Exit status: 0 the unit passed, 1 it failed, 2 the plug
could not be made.
"""

from __future__ import annotations

import os
import sys
from collections.abc import Callable

from orva import Bench, Library, PhoneDied, PhoneError

Limits = tuple[float, float]
#: Records a value with its limits.
Measure = Callable[[str, float, Limits], None]


class WlanPlug:
    """The WLAN chip of the unit under test, in test mode. A framework's base class for plugs goes here as its base."""

    def __init__(self) -> None:
        self._bench = Bench(chip=os.environ.get("ORVA_CHIP"), description=os.environ.get("ORVA_PHONE"))
        self.library: Library = self._bench.library
        if not self.library.wifi_start_testmode():
            self._bench.close()
            raise PhoneError("the unit does not enter test mode")

    def wait(self, seconds: float) -> None:
        """time.sleep on a line; here the phone's own clock."""
        self._bench.phone.wait(seconds)

    def tearDown(self) -> None:
        """Leaves test mode. The name is what frameworks call."""
        try:
            self.library.wifi_stop_testmode()
        finally:
            self._bench.close()


def front_end(wlan: WlanPlug, measure: Measure) -> None:
    measure("front end", wlan.library.wifi_hw_get(), (1, 1))


def signal(wlan: WlanPlug, measure: Measure) -> None:
    wlan.library.wifi_set_mode(4)
    wlan.library.wifi_set_band(0)
    wlan.library.wifi_set_channel(2437)
    measure("receive starts", wlan.library.wifi_start_rx(), (1, 1))
    wlan.wait(1)
    dbm = wlan.library.wifi_get_rx_rssi().dbm
    measure("signal in dBm", float("nan") if dbm is None else dbm, (-60, -40))
    wlan.library.wifi_stop_rx()


def execute(*phases: Callable[[WlanPlug, Measure], None]) -> bool:
    """Runs the phases as a framework does, with a plug of the test's own."""
    good = []

    def measure(name: str, value: float, limits: Limits) -> None:
        good.append(limits[0] <= value <= limits[1])
        print(f"{name}: {value:g} in {limits[0]:g}..{limits[1]:g}: {'PASS' if good[-1] else 'FAIL'}")

    plug = WlanPlug()
    try:
        for phase in phases:
            phase(plug, measure)
    finally:
        plug.tearDown()
    return bool(good) and all(good)


def main() -> int:
    try:
        passed = execute(front_end, signal)
    except (PhoneError, PhoneDied, OSError) as error:
        print(f"framework_plug: {error}", file=sys.stderr)
        return 2
    print("PASS" if passed else "FAIL")
    return 0 if passed else 1


if __name__ == "__main__":
    sys.exit(main())
