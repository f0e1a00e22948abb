// SPDX-License-Identifier: Apache-2.0
// Setters of the test state, and its query.
#ifndef ORVA_SETTINGS_H
#define ORVA_SETTINGS_H

#include "common/chip.h"

namespace orva {

/// These only record the value; test starts send it.
bool wifi_set_rate(const chip &chip, int32_t rate);
bool wifi_set_bandwidth(const chip &chip, int32_t bandwidth);
bool wifi_set_channel(const chip &chip, int32_t mhz);
bool wifi_setmimo_channel(const chip &chip, int32_t chain);

/// Records and sends at once. @return whether the driver accepted it.
bool wifi_set_antenna(const chip &chip, int32_t antenna);

/// Records a power and, outside test mode, sends it at once. @return false only if the driver refused it.
bool wifi_set_power(const chip &chip, int32_t power);

/// Records and logs a power. @return whether it must be sent now, because test mode is off.
bool record_power(const chip &chip, int32_t power);

/// Whether a chain is 1 or 2; logged if not.
bool is_mimo_chain(const chip &chip, int32_t chain);
/// Stores a chain already checked. @return true.
bool record_mimo_chain(const chip &chip, int32_t chain);

/// Sends the driver step of a power in the station's units and pauses 1 ms.
bool wifi_ioctl_set_power(const chip &chip, int32_t power);

/// Sends a value and pauses 1 ms in addition to the sender's own pause.
bool send_and_settle(const chip &chip, uint32_t command, int32_t value);

/// @return the setting with this number; -1 for an unknown number and for a setting that is not set.
int32_t wifi_query_setting(const chip &chip, int32_t type);

}  // namespace orva

#endif
