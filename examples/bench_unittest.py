#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Tests of a tool's own procedure with unittest and nothing else: a fresh phone for each test, and faults on purpose.

    PYTHONPATH=python python3 -m unittest -v examples/bench_unittest.py
"""

from __future__ import annotations

import unittest

from orva import CHIPS, Bench, Library


def transmit_at(library: Library, mhz: int, power: int) -> bool:
    """The procedure under test: leaves nothing on that it turned on."""
    if not library.wifi_start_testmode():
        return False
    library.wifi_set_mode(4)
    library.wifi_set_band(0)
    library.wifi_set_channel(mhz)
    library.wifi_set_rate(6500)
    library.wifi_set_power(power)
    started = library.wifi_start_tx()
    library.wifi_stop_tx()
    return library.wifi_stop_testmode() and started


class TransmitAt(unittest.TestCase):
    def phone(self, chip: str) -> Bench:
        bench = Bench(chip=chip)
        self.addCleanup(bench.close)
        return bench

    def test_it_works_on_every_chip(self) -> None:
        for chip in CHIPS:
            with self.subTest(chip=chip):
                bench = self.phone(chip)
                self.assertTrue(transmit_at(bench.library, 2437, 155))
                self.assertEqual(bench.phone.left_open(), 0)

    def test_a_channel_that_does_not_exist_is_a_failure_and_test_mode_is_left(self) -> None:
        bench = self.phone("vq2050")
        self.assertFalse(transmit_at(bench.library, 2438, 155))
        self.assertNotEqual(bench.library.wifi_query_setting(1), 1)

    def test_a_driver_that_refuses_for_good_is_a_failure(self) -> None:
        bench = self.phone("vq2050")
        bench.phone.fault("ioctl", times=0)
        self.assertFalse(transmit_at(bench.library, 2437, 155))
        self.assertEqual(bench.phone.faults_unfired(), 0)


if __name__ == "__main__":
    unittest.main()
