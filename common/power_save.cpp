// SPDX-License-Identifier: Apache-2.0
#include "common/power_save.h"

#include "common/driver.h"
#include "common/log.h"

namespace orva {

uint32_t wifi_set_pm_switch(const chip &chip, uint32_t pm_switch) {
  const bool accepted = wl_config_sockets_send(chip, COMMAND_POWER_SAVE, pm_switch);
  LOG_DEBUG(chip, "wifi_set_pm_switch::pm_switch[%d], ret[%d].\n", pm_switch, accepted);
  return accepted;
}

uint32_t wifi_set_powermode(const chip &chip, int32_t mode, int32_t value) {
  LOG_DEBUG(chip, "%s_wifi_set_powermode::mode[%d], ret[%d].\n", chip.utilities.powermode_logged_as, mode,
            value);
  const bool accepted =
      mode == 1 && wl_config_sockets_send(chip, COMMAND_POWER_SAVE, static_cast<uint32_t>(value));
  LOG_DEBUG(chip, "%s_wifi_set_powermode::ret[%d].\n", chip.name, accepted);
  return accepted;
}

}  // namespace orva
