// SPDX-License-Identifier: Apache-2.0
#include "common/channel.h"

#include "common/driver.h"
#include "common/log.h"

namespace orva {

namespace {

constexpr int32_t CHANNEL_14_MHZ = 2484;
constexpr uint32_t CHANNEL_14 = 14;
constexpr uint32_t BASE_5G = 35;

uint32_t remap_mode(const chip &chip, uint32_t mode, int32_t mhz) {
  for (const mode_remap &row : chip.mode.remaps) {
    if (row.mode == mode && mhz < CHANNEL_14_MHZ) return row.below_2484_mhz;
  }
  return mode;
}

uint32_t bandwidth_code(uint32_t bandwidth) {
  switch (bandwidth) {
  case 2: return 3;
  case 3: return 7;
  default: return bandwidth;
  }
}

}  // namespace

// There is neither 80 nor 160 MHz at 2.4 GHz.
const freq_bw g_ast_freq_bw[6] = {
    {.is_5g = 0, .first_mhz = 2412, .step_mhz = 5, .end_mhz = 2477, .bandwidth = 0, .offset = 0},
    {.is_5g = 0, .first_mhz = 2412, .step_mhz = 5, .end_mhz = 2477, .bandwidth = 1, .offset = -2},
    {.is_5g = 1, .first_mhz = 5180, .step_mhz = 5, .end_mhz = 5830, .bandwidth = 0, .offset = 0},
    {.is_5g = 1, .first_mhz = 5180, .step_mhz = 5, .end_mhz = 5830, .bandwidth = 1, .offset = -2},
    {.is_5g = 1, .first_mhz = 5180, .step_mhz = 5, .end_mhz = 5830, .bandwidth = 2, .offset = -6},
    {.is_5g = 1, .first_mhz = 5180, .step_mhz = 5, .end_mhz = 5830, .bandwidth = 3, .offset = -14},
};

uint32_t wifi_ioctl_set_mode(const chip &chip, uint32_t mode, int32_t mhz) {
  const uint32_t sent = remap_mode(chip, mode, mhz);
  LOG_DEBUG(chip, "wifi_ioctl_set_mode::set mode[%d], frequency[%d].\n", sent, mhz);
  return wl_config_sockets_send(chip, COMMAND_MODE, sent);
}

uint32_t wifi_ioctl_set_bandwidth(const chip &chip, uint32_t bandwidth) {
  const uint32_t code = bandwidth_code(bandwidth);
  LOG_DEBUG(chip, "wifi_ioctl_set_band::band[%d], band_set[%d].\n", bandwidth, code);
  return wl_config_sockets_send(chip, COMMAND_BANDWIDTH, code);
}

uint32_t wifi_ioctl_set_channel(const chip &chip, uint32_t mhz) {
  uint32_t channel = CHANNEL_14;
  if (mhz != CHANNEL_14_MHZ && !chip.channel_of(chip, mhz, channel)) return 0;
  if (channel == 0) return 0;
  const bool accepted = wl_config_sockets_send(chip, COMMAND_CHANNEL, channel);
  LOG_DEBUG(chip, "%s_wifi_ioctl_set_channel::set wifichannel[%d], ret[%d].\n", chip.name, channel, accepted);
  return accepted;
}

uint32_t wifi_ioctl_setmimo_channel(const chip &chip, uint32_t chain) {
  LOG_DEBUG(chip, "wifi_ioctl_setmimo_channel::set mimo_channel[%d].\n", chain);
  return wl_config_sockets_send(chip, COMMAND_MIMO_CHAIN, chain);
}

const freq_bw *find_freq_bw(bool is_5g, uint32_t bandwidth) {
  for (const freq_bw &row : g_ast_freq_bw) {
    if ((row.is_5g != 0) == is_5g && row.bandwidth == bandwidth) return &row;
  }
  return nullptr;
}

bool channel_on_row(const freq_bw &row, uint32_t base, uint32_t mhz, uint32_t &channel) {
  uint32_t number = static_cast<uint32_t>(row.offset) + base + 1;
  for (uint32_t candidate = row.first_mhz; candidate < row.end_mhz; candidate += row.step_mhz, number++) {
    if (candidate != mhz) continue;
    channel = number;
    return true;
  }
  return false;
}

bool channel_on_row(const freq_bw &row, uint32_t mhz, uint32_t &channel) {
  return channel_on_row(row, row.is_5g != 0 ? BASE_5G : 0, mhz, channel);
}

bool channel_by_band(const chip &chip, uint32_t mhz, uint32_t &channel) {
  const uint32_t bandwidth = static_cast<uint32_t>(chip.state.bandwidth);
  if (bandwidth > 3) {
    LOG_ERROR(chip, "wifi_ioctl_set_channel::wrong band[%d].\n", bandwidth);
    return false;
  }
  const bool is_5g = mhz > LAST_2G_MHZ;
  if (bandwidth == 2 && !is_5g) {
    LOG_ERROR(chip, "wl_config_test::2.4GHz have no 80M bandwidth.\n");
    return false;
  }
  const freq_bw *row = find_freq_bw(is_5g, bandwidth);
  return row != nullptr && channel_on_row(*row, mhz, channel);
}

}  // namespace orva
