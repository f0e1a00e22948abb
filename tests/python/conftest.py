# SPDX-License-Identifier: Apache-2.0
"""For every test of the Python package."""
import support.sanitizer  # noqa: F401 - for the phones' processes
