# SPDX-License-Identifier: Apache-2.0
"""For every test of the RF test set and its plans."""
import support.sanitizer  # noqa: F401 - for the phones' processes
