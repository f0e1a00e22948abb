// SPDX-License-Identifier: Apache-2.0
#include "chips/vq2070/state.h"

namespace orva {

int32_t g_test_status_2070 = 0;
int32_t g_test_mode_2070 = 0;
uint8_t g_test_mode_driver_2070 = 0;
int32_t g_test_channel_2070 = 0;
int32_t g_test_freq_2070 = 0;
int32_t g_test_rate_2070 = 0;
int32_t g_test_band_2070 = -1;
int32_t g_test_power_2070 = POWER_NOT_SET;
int32_t g_test_antenna_2070 = -1;
int32_t g_test_core_2070 = 0;
int32_t g_test_tx_2070 = 0;
int32_t g_test_rx_2070 = 0;
int32_t g_test_mem_time_2070 = 10;
int32_t g_test_chipcheck_result_2070 = 0;
uint32_t g_runningtest_test_mode_2070 = 0;
uint32_t g_selcal_disable_switch_2070 = 1;
uint32_t g_test_rutx_set_2070 = 0;
uint32_t g_test_rurx_set_2070 = 0;
uint16_t g_test_aid_2070 = 0;

}  // namespace orva
