// SPDX-License-Identifier: Apache-2.0
// The vq2040a's test state, under the names that a debugger shows.
#ifndef ORVA_VQ2040A_STATE_H
#define ORVA_VQ2040A_STATE_H

#include "common/chip.h"

namespace orva {

extern int32_t g_test_status_vq2040a, g_test_mode_vq2040a, g_test_channel_vq2040a, g_test_freq_vq2040a,
    g_test_rate_vq2040a, g_test_band_vq2040a, g_test_power_vq2040a, g_test_antenna_vq2040a,
    g_test_core_vq2040a, g_test_tx_vq2040a, g_test_rx_vq2040a, g_test_mem_time_vq2040a,
    g_test_chipcheck_result_vq2040a;
extern uint8_t g_test_mode_driver_vq2040a;
extern uint32_t g_selcal_disable_switch_2040a;

constexpr test_state vq2040a_state = {
    .status = g_test_status_vq2040a,
    .mode = g_test_mode_vq2040a,
    .mode_driver = g_test_mode_driver_vq2040a,
    .channel_mhz = g_test_channel_vq2040a,
    .freq = g_test_freq_vq2040a,
    .rate = g_test_rate_vq2040a,
    .bandwidth = g_test_band_vq2040a,
    .power = g_test_power_vq2040a,
    .antenna = g_test_antenna_vq2040a,
    .chain = g_test_core_vq2040a,
    .tx = g_test_tx_vq2040a,
    .rx = g_test_rx_vq2040a,
    .mem_time = g_test_mem_time_vq2040a,
    .chipcheck_result = g_test_chipcheck_result_vq2040a,
    .running_test = nullptr,
    .selcal_disable_switch = &g_selcal_disable_switch_2040a,
};

}  // namespace orva

#endif
