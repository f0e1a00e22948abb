// SPDX-License-Identifier: Apache-2.0
#include "common/settings.h"

#include <unistd.h>

#include "common/driver.h"
#include "common/log.h"

namespace orva {

namespace {

constexpr useconds_t SETTLE_PAUSE_US = 1000;

const at_mode *find_at_mode(const chip &chip, int32_t at_mode) {
  for (const struct at_mode &row : chip.mode.at_modes) {
    if (row.at_mode == static_cast<uint8_t>(at_mode)) return &row;
  }
  return nullptr;
}

int32_t if_positive(int32_t value) { return value < 1 ? -1 : value; }

}  // namespace

uint32_t wifi_set_mode(const chip &chip, int32_t at_mode) {
  chip.state.mode = at_mode;
  if (chip.mode_logs_every_call) LOG_ERROR(chip, "wifi_set_mode::mode[%d].\n", at_mode);
  const struct at_mode *row = find_at_mode(chip, at_mode);
  if (row == nullptr) {
    log_text(chip, ORVA_LOG_ERROR, chip.mode.unknown, at_mode);
    return 0;
  }
  chip.state.mode_driver = row->driver_mode;
  LOG_DEBUG(chip, "wifi_set_mode::mode[%d], enable[%d].\n", at_mode, chip.state.mode_driver);
  return 1;
}

uint32_t wifi_set_rate(const chip &chip, int32_t rate) {
  chip.state.rate = rate;
  LOG_DEBUG(chip, "wifi_set_rate::rate[%d].\n", rate);
  return 1;
}

uint32_t wifi_set_bandwidth(const chip &chip, int32_t bandwidth) {
  chip.state.bandwidth = bandwidth;
  LOG_DEBUG(chip, "wifi_ioctl_set_band::band[%d].\n", bandwidth);
  return 1;
}

uint32_t wifi_set_channel(const chip &chip, int32_t mhz) {
  chip.state.channel_mhz = mhz;
  LOG_DEBUG(chip, "wifi_set_channel::set channel[%d].\n", mhz);
  return 1;
}

uint32_t wifi_set_antenna(const chip &chip, int32_t antenna) {
  chip.state.antenna = antenna;
  const uint32_t drv_ant = antenna == 1 ? 0 : 1;
  const bool accepted = wl_config_sockets_send(chip, COMMAND_ANTENNA, drv_ant);
  LOG_DEBUG(chip, "%s_wifi_set_antenna , set wifi drv_ant:%d, ret:%d\n", chip.name, drv_ant, accepted);
  return accepted;
}

bool is_mimo_chain(const chip &chip, int32_t chain) {
  if (chain == 1 || chain == 2) return true;
  LOG_ERROR(chip, "wifi_setmimo_channel::set mimo parameter illegal.\n");
  return false;
}

uint32_t store_mimo_chain(const chip &chip, int32_t chain) {
  chip.state.chain = chain;
  LOG_DEBUG(chip, "wifi_setmimo_channel::channel[%d].\n", chain);
  return 1;
}

uint32_t wifi_setmimo_channel(const chip &chip, int32_t chain) {
  return is_mimo_chain(chip, chain) && store_mimo_chain(chip, chain);
}

bool send_and_settle(const chip &chip, uint32_t command, int32_t value) {
  const bool accepted = wl_config_sockets_send(chip, command, static_cast<uint32_t>(value));
  usleep(SETTLE_PAUSE_US);
  return accepted;
}

uint32_t wifi_ioctl_set_power(const chip &chip, int32_t power) {
  const int32_t step = power / chip.power_divisor;
  LOG_DEBUG(chip, "wifi_ioctl_set_power::pow_val[%d].\n", step);
  return send_and_settle(chip, COMMAND_POWER, step);
}

bool store_power(const chip &chip, int32_t power) {
  chip.state.power = power;
  LOG_DEBUG(chip, "wifi_set_power::pow[%d].\n", power);
  return chip.state.status == 0;
}

uint32_t wifi_set_power(const chip &chip, int32_t power) {
  if (!store_power(chip, power)) return 1;
  const bool accepted = wifi_ioctl_set_power(chip, power);
  if (!accepted) LOG_ERROR(chip, "wifi_ioctl_set_power fail, ret [%d].\n", accepted);
  return accepted;
}

int32_t wifi_query_setting(const chip &chip, int32_t item) {
  LOG_ERROR(chip, "enter wifi_query_setting,  type = %d\n", item);
  const test_state &state = chip.state;
  switch (item) {
  case 1: return state.status;
  case 2: return state.mode;
  case 3: return if_positive(state.channel_mhz);
  case 4: return if_positive(state.freq);
  case 5: return if_positive(state.power);
  case 7: return if_positive(state.rate);
  case 9: return state.tx;
  case 10: return state.rx;
  case 11: return state.antenna;
  case 13:
    // The next chip check sends this flag to the firmware.
    if (state.running_test != nullptr) *state.running_test = 1;
    return state.mem_time;
  default:
    if (chip.query_logs_wrong_type) LOG_ERROR(chip, "%s_wifi_query_setting::wrong type[%d]", chip.name, item);
    return -1;
  }
}

}  // namespace orva
