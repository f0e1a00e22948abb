// SPDX-License-Identifier: Apache-2.0
// From the station's terms to the driver's: mode, bandwidth and channel.
#ifndef ORVA_CHANNEL_H
#define ORVA_CHANNEL_H

#include "common/chip.h"

namespace orva {

/// Each sends one value in the driver's terms. @return whether the driver accepted it.
uint32_t wifi_ioctl_set_mode(const chip &chip, uint32_t mode, int32_t mhz);
uint32_t wifi_ioctl_set_bandwidth(const chip &chip, uint32_t bandwidth);
/// Also false for a frequency without a channel number.
uint32_t wifi_ioctl_set_channel(const chip &chip, uint32_t mhz);
uint32_t wifi_ioctl_setmimo_channel(const chip &chip, uint32_t chain);

/// A run of channels at one bandwidth: numbers go up by one per step.
struct freq_bw {
  uint32_t is_5g;
  uint32_t first_mhz;
  uint32_t step_mhz;
  uint32_t end_mhz;  ///< exclusive
  uint32_t bandwidth;
  int32_t offset;
};
extern const freq_bw g_ast_freq_bw[6];

/// The row for a band and bandwidth index; null if there is none.
const freq_bw *find_freq_bw(bool is_5g, uint32_t bandwidth);

/// Finds a frequency's channel number on a row. base: 0 at 2.4 GHz, 35 at 5 GHz. @return false for a
/// frequency off the grid.
bool channel_on_row(const freq_bw &row, uint32_t base, uint32_t mhz, uint32_t &channel);
/// The same with the base of the row's band.
bool channel_on_row(const freq_bw &row, uint32_t mhz, uint32_t &channel);

constexpr int32_t LAST_2G_MHZ = 2476;

/// A channel_of that checks bandwidth index and band separately and logs each failure.
bool channel_by_band(const chip &chip, uint32_t mhz, uint32_t &channel);

}  // namespace orva

#endif
