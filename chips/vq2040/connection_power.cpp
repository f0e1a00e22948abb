// SPDX-License-Identifier: Apache-2.0
// Outside test mode this chip sets the connection power, not the test power, and does not log a refusal.
#include "chips/vq2040/profile.h"
#include "common/log.h"
#include "common/settings.h"
#include "include/vq2040.h"

using namespace orva;

uint32_t vq2040_wifi_set_power(int32_t power) {
  if (!store_power(vq2040, power)) return 1;
  const int32_t step = power / vq2040.power_divisor;
  LOG_DEBUG(vq2040, "wifi_ioctl_set_conn_power::pow_val[%d].\n", step);
  return send_and_settle(vq2040, COMMAND_CONNECTION_POWER, step);
}
