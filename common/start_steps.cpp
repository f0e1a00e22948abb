// SPDX-License-Identifier: Apache-2.0
#include "common/start_steps.h"

#include <unistd.h>

#include "common/channel.h"
#include "common/driver.h"
#include "common/log.h"
#include "common/power_save.h"

namespace orva {

bool run_steps(const chip &chip, const list<const start_step *> &steps) {
  for (const start_step *step : steps) {
    const bool accepted = step->run(chip);
    if (accepted) continue;
    log_text(chip, ORVA_LOG_ERROR, step->failure, accepted);
    return false;
  }
  return true;
}

bool switch_on(const chip &chip, uint32_t command) {
  const bool accepted = wl_config_sockets_send(chip, command, 1);
  if (chip.tx.final_pause_us != 0) usleep(chip.tx.final_pause_us);
  return accepted;
}

bool send_power_save_off(const chip &chip) { return wifi_set_pm_switch(chip, 0); }

bool send_mode(const chip &chip) {
  return wifi_ioctl_set_mode(chip, chip.state.mode_driver, chip.state.channel_mhz);
}

bool send_bandwidth(const chip &chip) {
  return wifi_ioctl_set_bandwidth(chip, static_cast<uint32_t>(chip.state.bandwidth));
}

bool send_channel(const chip &chip) {
  return wifi_ioctl_set_channel(chip, static_cast<uint32_t>(chip.state.channel_mhz));
}

bool send_chain(const chip &chip) {
  return wifi_ioctl_setmimo_channel(chip, static_cast<uint32_t>(chip.state.chain));
}

}  // namespace orva
