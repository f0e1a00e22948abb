// SPDX-License-Identifier: Apache-2.0
// Emptying calibration items.
#ifndef ORVA_CALIBRATION_CLEAN_H
#define ORVA_CALIBRATION_CLEAN_H

#include "common/catalogue.h"

namespace orva {

/// Writes empty texts. @return how many writes succeeded.
uint32_t empty_items(const list<nv_item> &items);

/// Logs that a clean failed, unless at most one of the items is missing.
void log_failed_clean(const chip &chip, uint32_t cleaned, const list<nv_item> &items);

/// Writes empty texts; more than one failure is logged.
void clean_items(const chip &chip, const list<nv_item> &items);

/// clean_items for every item of the chip.
void clean_all_nvparam(const chip &chip);

}  // namespace orva

#endif
