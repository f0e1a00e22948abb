// SPDX-License-Identifier: Apache-2.0
#ifndef ORVA_DIE_ID_H
#define ORVA_DIE_ID_H

#include "common/chip.h"

namespace orva {

/// Reads the die identifier with wlan0 up, and takes wlan0 down afterwards.
/// @param flag set to 0
/// @param text receives four characters for each 16-bit word of the identifier, not terminated
/// @return 0, or 1 if wlan0 did not come up or no socket opened
uint32_t wifi_get_die_id(const chip &chip, uint8_t *flag, uint8_t *text);

/// Stores the check time, 100, and reads the die identifier. @return as wifi_get_die_id.
uint32_t conn_test_get_checktime_of_chipcheck(const chip &chip, uint32_t *check_time, uint8_t *die_id);

}  // namespace orva

#endif
