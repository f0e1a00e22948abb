// SPDX-License-Identifier: Apache-2.0
// Setters of the test state, and its query.
#ifndef ORVA_SETTINGS_H
#define ORVA_SETTINGS_H

#include "common/chip.h"

namespace orva {

/// These only store the value; test starts send it. The chain setter refuses other chains than 1 and 2.
uint32_t wifi_set_rate(const chip &chip, int32_t rate);
uint32_t wifi_set_bandwidth(const chip &chip, int32_t bandwidth);
uint32_t wifi_set_channel(const chip &chip, int32_t mhz);
uint32_t wifi_setmimo_channel(const chip &chip, int32_t chain);

/// Stores an AT mode and, if the chip knows it, the driver mode. @return whether it is known.
uint32_t wifi_set_mode(const chip &chip, int32_t at_mode);

/// Stores and sends at once. @return whether the driver accepted it.
uint32_t wifi_set_antenna(const chip &chip, int32_t antenna);

/// Stores a power and, outside test mode, sends it at once. @return false only if the driver refused it.
uint32_t wifi_set_power(const chip &chip, int32_t power);

/// Stores and logs a power. @return whether to send it now: test mode is off.
bool store_power(const chip &chip, int32_t power);

/// Whether a chain is 1 or 2; logged if not.
bool is_mimo_chain(const chip &chip, int32_t chain);
/// Stores a chain already checked. @return 1.
uint32_t store_mimo_chain(const chip &chip, int32_t chain);

/// Sends the driver step of a power in the station's units and pauses 1 ms.
uint32_t wifi_ioctl_set_power(const chip &chip, int32_t power);

/// Sends a value and pauses 1 ms more than wl_config_sockets_send.
bool send_and_settle(const chip &chip, uint32_t command, int32_t value);

/// @return the setting; -1 for an unknown item, and for a channel, frequency, power or rate below 1.
int32_t wifi_query_setting(const chip &chip, int32_t item);

}  // namespace orva

#endif
