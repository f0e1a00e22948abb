#include "common/transmit.h"

#include <unistd.h>

#include "common/channel.h"
#include "common/driver.h"
#include "common/log.h"
#include "common/settings.h"
#include "common/test_mode.h"

namespace orva {

namespace {

constexpr int32_t POWER_NOT_SET = -99;

int32_t code_of_rate(const chip &chip, int32_t rate) {
  for (const rate_code &row : chip.tx.rate_codes) {
    if (row.rate == rate) return row.code;
  }
  return rate / 100;
}

int32_t send_rate(const chip &chip) {
  const int32_t code = code_of_rate(chip, chip.state.rate);
  LOG_DEBUG(chip, "wifi_ioctl_set_rate::set rate[%d].\n", code);
  return send_and_settle(chip, COMMAND_RATE, static_cast<uint32_t>(code));
}

int32_t send_power(const chip &chip) {
  return chip.state.power == POWER_NOT_SET ? 1 : wifi_ioctl_set_power(chip, chip.state.power);
}

}  // namespace

const test_step tx_power_save = {send_power_save_off, "wifi_set_pm_switch stop failed, ret[%d].\n"};
const test_step tx_mode = {send_mode, "wifi_ioctl_set_band fail, ret[%d].\n"};
const test_step tx_band = {send_band, "wifi_ioctl_set_band fail, ret[%d].\n"};
const test_step tx_channel = {send_channel, "wifi_ioctl_set_channel fail, ret[%d].\n"};
const test_step tx_chain = {send_chain, "wifi_ioctl_setmimo_channel fail, ret[%d].\n"};
const test_step tx_rate = {send_rate, "wifi_ioctl_set_channel fail, ret[%d].\n"};
const test_step tx_power = {send_power, "wifi_ioctl_set_power fail, ret [%d].\n"};

int32_t send_power_save_off(const chip &chip) { return wifi_set_pm_switch(chip, 0); }

int32_t send_mode(const chip &chip) {
  return wifi_ioctl_set_mode(chip, chip.state.mode_driver, chip.state.channel);
}

int32_t send_band(const chip &chip) {
  return wifi_ioctl_set_band(chip, static_cast<uint32_t>(chip.state.band));
}

int32_t send_channel(const chip &chip) {
  return wifi_ioctl_set_channel(chip, static_cast<uint32_t>(chip.state.channel));
}

int32_t send_chain(const chip &chip) {
  return wifi_ioctl_setmimo_channel(chip, static_cast<uint32_t>(chip.state.core));
}

int32_t run_steps(const chip &chip, const list<const test_step *> &steps) {
  for (const test_step *step : steps) {
    const int32_t result = step->run(chip);
    if (result == 1) continue;
    log_text(chip, ORVA_LOG_ERROR, step->failure, result);
    return 0;
  }
  return 1;
}

int32_t switch_on(const chip &chip, uint32_t command, int32_t flag) {
  const int32_t result = wl_config_sockets_send(chip, command, static_cast<uint32_t>(flag));
  if (chip.tx.final_pause_us != 0) usleep(chip.tx.final_pause_us);
  return result;
}

uint32_t wifi_start_tx(const chip &chip) {
  LOG_DEBUG(chip, "wifi_start_tx::start tx enable.\n");
  if (chip.tx.raises_flag_at_start) chip.state.tx = 1;
  if (run_steps(chip, chip.tx.steps) != 1) return 0;
  return static_cast<uint32_t>(switch_on(chip, COMMAND_TX, 1));
}

uint32_t wifi_stop_tx(const chip &chip) {
  if (chip.tx.stops_only_when_started && chip.state.tx == 0) {
    LOG_INFO(chip, "%s_wifi_stop_tx::already tx=0, return", chip.name);
    return 1;
  }
  chip.state.tx = 0;
  const int32_t result = wl_config_sockets_send(chip, COMMAND_TX, 0);
  if (result == 0) LOG_ERROR(chip, "wifi_stop_tx::socket send failed\n");
  return static_cast<uint32_t>(result);
}

}  // namespace orva
