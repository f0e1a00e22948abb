# SPDX-License-Identifier: Apache-2.0
"""Test plans: verify a unit's RF against the limits, and calibrate it. docs/how-to/run-test-plans.md describes them.

    pytest -p orva.plans.plugin --pyargs orva.plans.verify --orva-chip vq2050 --orva-unit 42
    pytest -p orva.plans.plugin --pyargs orva.plans.calibrate --orva-unit 1-8 -n 2 --dist loadgroup

The plans are thin: coverage says what is measured on which chip, station measures, calibration corrects, diagnosis names
the cause of failures. They work without pytest as well.
"""
