// SPDX-License-Identifier: Apache-2.0
#ifndef ORVA_CALIBRATION_READ_H
#define ORVA_CALIBRATION_READ_H

#include "common/chip.h"

namespace orva {

/// Reads the texts of all calibration items, one after the other. An item that cannot be read is logged and
/// left out.
/// @param size most bytes for each item; out has room for size bytes after every text
/// @return 1
uint32_t wifi_nvram_calibrate_get(const chip &chip, char *out, int32_t size);

}  // namespace orva

#endif
