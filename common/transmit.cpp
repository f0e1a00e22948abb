// SPDX-License-Identifier: Apache-2.0
#include "common/transmit.h"

#include "common/driver.h"
#include "common/log.h"
#include "common/settings.h"
#include "common/start_steps.h"

namespace orva {

namespace {

int32_t code_of_rate(const chip &chip, int32_t rate) {
  for (const rate_code &row : chip.tx.rate_codes) {
    if (row.rate == rate) return row.code;
  }
  return rate / 100;
}

bool send_rate(const chip &chip) {
  const int32_t code = code_of_rate(chip, chip.state.rate);
  LOG_DEBUG(chip, "wifi_ioctl_set_rate::set rate[%d].\n", code);
  return send_and_settle(chip, COMMAND_RATE, code);
}

bool send_power(const chip &chip) {
  return chip.state.power == POWER_NOT_SET || wifi_ioctl_set_power(chip, chip.state.power);
}

}  // namespace

const start_step tx_power_save = {send_power_save_off, "wifi_set_pm_switch stop failed, ret[%d].\n"};
const start_step tx_mode = {send_mode, "wifi_ioctl_set_band fail, ret[%d].\n"};
const start_step tx_bandwidth = {send_bandwidth, "wifi_ioctl_set_band fail, ret[%d].\n"};
const start_step tx_channel = {send_channel, "wifi_ioctl_set_channel fail, ret[%d].\n"};
const start_step tx_chain = {send_chain, "wifi_ioctl_setmimo_channel fail, ret[%d].\n"};
const start_step tx_rate = {send_rate, "wifi_ioctl_set_channel fail, ret[%d].\n"};
const start_step tx_power = {send_power, "wifi_ioctl_set_power fail, ret [%d].\n"};

uint32_t wifi_start_tx(const chip &chip) {
  LOG_DEBUG(chip, "wifi_start_tx::start tx enable.\n");
  if (chip.tx.raises_flag_at_start) chip.state.tx = 1;
  return run_steps(chip, chip.tx.steps) && switch_on(chip, COMMAND_TX);
}

uint32_t wifi_stop_tx(const chip &chip) {
  if (chip.tx.stops_only_when_started && chip.state.tx == 0) {
    LOG_INFO(chip, "%s_wifi_stop_tx::already tx=0, return", chip.name);
    return 1;
  }
  chip.state.tx = 0;
  const bool accepted = wl_config_sockets_send(chip, COMMAND_TX, 0);
  if (!accepted) LOG_ERROR(chip, "wifi_stop_tx::socket send failed\n");
  return accepted;
}

}  // namespace orva
