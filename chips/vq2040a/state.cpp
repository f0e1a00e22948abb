// SPDX-License-Identifier: Apache-2.0
#include "chips/vq2040a/state.h"

namespace orva {

int32_t g_test_status_vq2040a = 0;
int32_t g_test_mode_vq2040a = 0;
uint8_t g_test_mode_driver_vq2040a = 0;
int32_t g_test_channel_vq2040a = 0;
int32_t g_test_freq_vq2040a = 0;
int32_t g_test_rate_vq2040a = 0;
int32_t g_test_band_vq2040a = -1;
int32_t g_test_power_vq2040a = POWER_NOT_SET;
int32_t g_test_antenna_vq2040a = -1;
int32_t g_test_core_vq2040a = 0;
int32_t g_test_tx_vq2040a = 0;
int32_t g_test_rx_vq2040a = 0;
int32_t g_test_mem_time_vq2040a = 10;
int32_t g_test_chipcheck_result_vq2040a = 0;
uint32_t g_selcal_disable_switch_2040a = 1;

}  // namespace orva
