/* SPDX-License-Identifier: Apache-2.0
 * The chips by name, in sub-chip order. A test compares this list with chips/chips.txt. Also for C. */
#ifndef TESTS_SUPPORT_CHIPS_H
#define TESTS_SUPPORT_CHIPS_H

static const char *const chip_names[] = {"vq2040", "vq2050", "vq2040a", "vq2070"};

#endif
