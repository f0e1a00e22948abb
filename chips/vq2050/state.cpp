// SPDX-License-Identifier: Apache-2.0
#include "chips/vq2050/state.h"

namespace orva {

int32_t g_test_status_2050 = 0;
int32_t g_test_mode_2050 = 0;
uint8_t g_test_mode_driver_2050 = 0;
int32_t g_test_channel_2050 = 0;
int32_t g_test_freq_2050 = 0;
int32_t g_test_rate_2050 = 0;
int32_t g_test_band_2050 = -1;
int32_t g_test_power_2050 = POWER_NOT_SET;
int32_t g_test_antenna_2050 = -1;
int32_t g_test_core_2050 = 0;
int32_t g_test_tx_2050 = 0;
int32_t g_test_rx_2050 = 0;
int32_t g_test_mem_time_2050 = 10;
int32_t g_test_chipcheck_result_2050 = 0;
uint32_t g_runningtest_test_mode_2050 = 0;
uint32_t g_selcal_disable_switch_2050 = 1;

}  // namespace orva
