# SPDX-License-Identifier: Apache-2.0
"""What script/mutate consists of: operators for each language, a runner for each area, and what they share."""
