// From the station's terms to the driver's: mode, bandwidth and channel.
#ifndef ORVA_CHANNEL_H
#define ORVA_CHANNEL_H

#include "common/chip.h"

namespace orva {

uint32_t wifi_set_mode(const chip &chip, int32_t at_mode);

int32_t wifi_ioctl_set_mode(const chip &chip, uint32_t mode, int32_t mhz);
int32_t wifi_ioctl_set_band(const chip &chip, uint32_t band);
int32_t wifi_ioctl_set_channel(const chip &chip, uint32_t mhz);
int32_t wifi_ioctl_setmimo_channel(const chip &chip, uint32_t chain);

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

/// The row for a band and bandwidth index; null: there is none.
const freq_bw *find_freq_bw(bool is_5g, uint32_t bandwidth);

/// Walks a row up to the frequency. base: 0 at 2.4 GHz, 35 at 5 GHz. @return 1, or 0 for a frequency off the
/// grid.
int32_t channel_on_row(const freq_bw &row, uint32_t base, uint32_t mhz, uint32_t &channel);
/// The same with the base that belongs to the row's band.
int32_t channel_on_row(const freq_bw &row, uint32_t mhz, uint32_t &channel);

constexpr int32_t LAST_2G_MHZ = 2476;

/// channel_of of the chips that judge bandwidth index and band one by one, with a message for each.
int32_t channel_by_band(const chip &chip, uint32_t mhz, uint32_t &channel);

}  // namespace orva

#endif
