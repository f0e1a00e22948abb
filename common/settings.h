// Setters of the test state.
#ifndef ORVA_SETTINGS_H
#define ORVA_SETTINGS_H

#include "common/chip.h"

namespace orva {

uint32_t wifi_set_rate(const chip &chip, int32_t rate);
uint32_t wifi_set_band(const chip &chip, int32_t band);
uint32_t wifi_set_channel(const chip &chip, int32_t channel);
uint32_t wifi_set_antenna(const chip &chip, int32_t antenna);
uint32_t wifi_setmimo_channel(const chip &chip, int32_t chain);
uint32_t wifi_set_power(const chip &chip, int32_t power);

/// Records and logs a power. @return whether it is to go to the driver now, test mode being off.
bool record_power(const chip &chip, int32_t power);
bool is_mimo_chain(const chip &chip, int32_t chain);
/// Records a chain that is one.
uint32_t record_mimo_chain(const chip &chip, int32_t chain);

/// Sends the power step and pauses 1 ms. @return the send result.
int32_t wifi_ioctl_set_power(const chip &chip, int32_t power);

/// Sends a value and pauses 1 ms on top of the sender's own pause. @return the send result.
int32_t send_and_settle(const chip &chip, uint32_t command, uint32_t value);

int32_t wifi_query_setting(const chip &chip, int32_t type);

}  // namespace orva

#endif
