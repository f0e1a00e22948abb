// SPDX-License-Identifier: Apache-2.0
// Entering and leaving test mode.
#ifndef ORVA_TESTMODE_H
#define ORVA_TESTMODE_H

#include "common/chip.h"

namespace orva {

/// Disables Wi-Fi in the phone's framework and brings wlan0 up. @return whether test mode is on.
uint32_t wifi_start_testmode(const chip &chip);
/// Takes wlan0 down. @return whether test mode is off.
uint32_t wifi_stop_testmode(const chip &chip);

/// Single driver commands of test-mode entry. @return whether the driver accepted it.
uint32_t wifi_set_country_all(const chip &chip);
uint32_t wifi_set_dyn_interval(const chip &chip);
uint32_t wifi_set_selfcali_interval(const chip &chip);

/// Disables Wi-Fi in the phone's framework and sends the power-test mode. @return whether it was accepted.
uint32_t wifi_pt_power_test(const chip &chip, int32_t mode);

}  // namespace orva

#endif
