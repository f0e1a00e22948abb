// SPDX-License-Identifier: Apache-2.0
#ifndef ORVA_POWER_SAVE_H
#define ORVA_POWER_SAVE_H

#include "common/chip.h"

namespace orva {

/// Switches power save off (0) or on; logged. @return whether the driver accepted it.
uint32_t wifi_set_pm_switch(const chip &chip, uint32_t pm_switch);

/// Sends the value in mode 1 only. @return whether the driver accepted it; false in any other mode.
uint32_t wifi_set_powermode(const chip &chip, int32_t mode, int32_t value);

}  // namespace orva

#endif
