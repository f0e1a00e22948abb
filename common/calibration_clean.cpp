// SPDX-License-Identifier: Apache-2.0
#include "common/calibration_clean.h"

#include "common/log.h"

namespace orva {

uint32_t empty_items(const list<nv_item> &items) {
  uint32_t emptied = 0;
  for (const nv_item &item : items) {
    if (empty_item(item) == 0) emptied++;
  }
  return emptied;
}

void log_failed_clean(const chip &chip, uint32_t cleaned, const list<nv_item> &items) {
  if (cleaned < items.count - 1) {
    LOG_ERROR(chip, "%s_clean_all_nvparam::one or more nv clean fail!\n", chip.name);
  }
}

void clean_items(const chip &chip, const list<nv_item> &items) {
  log_failed_clean(chip, empty_items(items), items);
}

void clean_all_nvparam(const chip &chip) { clean_items(chip, chip.calibration->items); }

}  // namespace orva
