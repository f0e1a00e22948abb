// SPDX-License-Identifier: Apache-2.0
// Channel numbers from the table. A band and bandwidth without a row are logged; a frequency off a row's grid
// is not.
#include "chips/vq2070/profile.h"
#include "common/channel.h"
#include "common/log.h"
#include "include/vq2070.h"

using namespace orva;

bool orva::vq2070_channel_of(const chip &chip, uint32_t mhz, uint32_t &channel) {
  return vq2070_wifi_get_channel_by_bw_freq(static_cast<int32_t>(mhz), chip.state.bandwidth, &channel) == 1;
}

uint32_t vq2070_wifi_get_channel_by_bw_freq(int32_t mhz, int32_t bandwidth, uint32_t *channel) {
  const freq_bw *row = find_freq_bw(mhz > LAST_2G_MHZ, static_cast<uint32_t>(bandwidth));
  if (row != nullptr) return channel_on_row(*row, static_cast<uint32_t>(mhz), *channel);
  LOG_ERROR(vq2070,
            "vq2070_wifi_get_channel_by_bw_freq::error bw and freq combination,freq[%d], bandwidth[%d]", mhz,
            bandwidth);
  return 0;
}

uint32_t vq2070_get_target_channel(uint32_t base, int32_t row, uint32_t mhz, uint32_t *channel) {
  return channel_on_row(g_ast_freq_bw[row], base, mhz, *channel);
}
