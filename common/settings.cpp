#include "common/settings.h"

#include <unistd.h>

#include "common/driver.h"
#include "common/log.h"

namespace orva {

namespace {

constexpr useconds_t SETTLE_PAUSE_US = 1000;

struct setting {
  int32_t type;
  int32_t value;
  bool positive_only;  // anything below 1 counts as not set
};

}  // namespace

uint32_t wifi_set_rate(const chip &chip, int32_t rate) {
  chip.state.rate = rate;
  LOG_DEBUG(chip, "wifi_set_rate::rate[%d].\n", rate);
  return 1;
}

uint32_t wifi_set_band(const chip &chip, int32_t band) {
  chip.state.band = band;
  LOG_DEBUG(chip, "wifi_ioctl_set_band::band[%d].\n", band);
  return 1;
}

uint32_t wifi_set_channel(const chip &chip, int32_t channel) {
  chip.state.channel = channel;
  LOG_DEBUG(chip, "wifi_set_channel::set channel[%d].\n", channel);
  return 1;
}

uint32_t wifi_set_antenna(const chip &chip, int32_t antenna) {
  chip.state.antenna = antenna;
  const int32_t drv_ant = antenna == 1 ? 0 : 1;
  const int32_t result = wl_config_sockets_send(chip, COMMAND_ANTENNA, static_cast<uint32_t>(drv_ant));
  LOG_DEBUG(chip, "%s_wifi_set_antenna , set wifi drv_ant:%d, ret:%d\n", chip.name, drv_ant, result);
  return static_cast<uint32_t>(result);
}

bool is_mimo_chain(const chip &chip, int32_t chain) {
  if (chain == 1 || chain == 2) return true;
  LOG_ERROR(chip, "wifi_setmimo_channel::set mimo parameter illegal.\n");
  return false;
}

uint32_t record_mimo_chain(const chip &chip, int32_t chain) {
  chip.state.core = chain;
  LOG_DEBUG(chip, "wifi_setmimo_channel::channel[%d].\n", chain);
  return 1;
}

uint32_t wifi_setmimo_channel(const chip &chip, int32_t chain) {
  return is_mimo_chain(chip, chain) ? record_mimo_chain(chip, chain) : 0;
}

int32_t send_and_settle(const chip &chip, uint32_t command, uint32_t value) {
  const int32_t result = wl_config_sockets_send(chip, command, value);
  usleep(SETTLE_PAUSE_US);
  return result;
}

int32_t wifi_ioctl_set_power(const chip &chip, int32_t power) {
  const int32_t step = power / chip.power.divisor;
  LOG_DEBUG(chip, "wifi_ioctl_set_power::pow_val[%d].\n", step);
  return send_and_settle(chip, COMMAND_POWER, static_cast<uint32_t>(step));
}

bool record_power(const chip &chip, int32_t power) {
  chip.state.power = power;
  LOG_DEBUG(chip, "wifi_set_power::pow[%d].\n", power);
  return chip.state.status == 0;
}

uint32_t wifi_set_power(const chip &chip, int32_t power) {
  if (!record_power(chip, power)) return 1;
  const int32_t result = wifi_ioctl_set_power(chip, power);
  if (result == 1) return 1;
  LOG_ERROR(chip, "wifi_ioctl_set_power fail, ret [%d].\n", result);
  return 0;
}

int32_t wifi_query_setting(const chip &chip, int32_t type) {
  LOG_ERROR(chip, "enter wifi_query_setting,  type = %d\n", type);
  const test_state &state = chip.state;
  const setting settings[] = {
      {1, state.status, false},    {2, state.mode, false}, {3, state.channel, true},
      {4, state.freq, true},       {5, state.power, true}, {7, state.rate, true},
      {9, state.tx, false},        {10, state.rx, false},  {11, state.antenna, false},
      {13, state.mem_time, false},
  };
  if (type == 13 && state.running_test != nullptr) *state.running_test = 1;
  for (const setting &row : settings) {
    if (row.type == type) return row.positive_only && row.value < 1 ? -1 : row.value;
  }
  if (chip.query.logs_wrong_type) LOG_ERROR(chip, "%s_wifi_query_setting::wrong type[%d]", chip.name, type);
  return -1;
}

}  // namespace orva
