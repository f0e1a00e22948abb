// SPDX-License-Identifier: Apache-2.0
#include "common/calibration_read.h"

#include <string.h>

#include "common/catalogue.h"
#include "common/log.h"
#include "common/nv_text.h"

namespace orva {

uint32_t wifi_nvram_calibrate_get(const chip &chip, char *out, int32_t size) {
  if (size < 1) return 1;
  const uint32_t room = static_cast<uint32_t>(size);
  memset(out, 0, room);
  for (const nv_item &item : chip.calibration->items) {
    if (read_wifi_nvram_param_from_nv(chip, out + strlen(out), room, item) >= 0) continue;
    LOG_ERROR(chip, "%s_wifi_nvram_calibrate_get:read param from nv failed, nv_num[%d]", chip.name,
              item.number);
  }
  return 1;
}

}  // namespace orva
