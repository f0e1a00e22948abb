# SPDX-License-Identifier: Apache-2.0
"""Factory test of the WLAN chip from Python.

Bench starts a virtual phone in a process of its own, with the library under test on it:

    from orva import Bench

    with Bench(chip="vq2050") as bench:
        assert bench.library.wifi_start_testmode()
        print(bench.phone.driver_commands())

Library alone calls the C functions in this process, on a phone that is really there.
"""

from orva.bench import Bench, PhoneDied
from orva.library import (
    CalibrationText,
    CheckTime,
    Connection,
    Library,
    PowerRange,
    RxRssi,
    UnexpectedResult,
    UpcCode,
)
from orva.phone import (
    CHIPS,
    Clock,
    DriverCommand,
    Event,
    EventKind,
    FaultPlace,
    Key,
    LogLine,
    NvItem,
    PhoneError,
    Priority,
    VirtualPhone,
)

__all__ = [
    "CHIPS",
    "Bench",
    "CalibrationText",
    "CheckTime",
    "Clock",
    "Connection",
    "DriverCommand",
    "Event",
    "EventKind",
    "FaultPlace",
    "Key",
    "Library",
    "LogLine",
    "NvItem",
    "PhoneDied",
    "PhoneError",
    "PowerRange",
    "Priority",
    "RxRssi",
    "UnexpectedResult",
    "UpcCode",
    "VirtualPhone",
]
