// SPDX-License-Identifier: Apache-2.0
// One scope only, and one failed item is enough to be logged.
#include "chips/vq2040a/profile.h"
#include "common/catalogue.h"
#include "common/log.h"
#include "include/vq2040a.h"

using namespace orva;

uint32_t vq2040a_wifi_nvram_calibrate_clean(int32_t scope) {
  const list<nv_item> &items = vq2040a.calibration->items;
  if (scope == 1 && empty_items(items) < items.count) {
    LOG_ERROR(vq2040a, "vq2040a_wifi_nvram_calibrate_clean, clean wifi nvram calibrate data has error\n");
  }
  return 1;
}
