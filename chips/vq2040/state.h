// SPDX-License-Identifier: Apache-2.0
// The vq2040's test state, under the names that a debugger shows.
#ifndef ORVA_VQ2040_STATE_H
#define ORVA_VQ2040_STATE_H

#include "common/chip.h"

namespace orva {

extern int32_t g_test_status_vq2040, g_test_mode_vq2040, g_test_channel_vq2040, g_test_freq_vq2040,
    g_test_rate_vq2040, g_test_band_vq2040, g_test_power_vq2040, g_test_antenna_vq2040, g_test_core_vq2040,
    g_test_tx_vq2040, g_test_rx_vq2040, g_test_mem_time_vq2040, g_test_chipcheck_result_vq2040;
extern uint8_t g_test_mode_driver_vq2040;

constexpr test_state vq2040_state = {
    .status = g_test_status_vq2040,
    .mode = g_test_mode_vq2040,
    .mode_driver = g_test_mode_driver_vq2040,
    .channel_mhz = g_test_channel_vq2040,
    .freq = g_test_freq_vq2040,
    .rate = g_test_rate_vq2040,
    .bandwidth = g_test_band_vq2040,
    .power = g_test_power_vq2040,
    .antenna = g_test_antenna_vq2040,
    .chain = g_test_core_vq2040,
    .tx = g_test_tx_vq2040,
    .rx = g_test_rx_vq2040,
    .mem_time = g_test_mem_time_vq2040,
    .chipcheck_result = g_test_chipcheck_result_vq2040,
    .running_test = nullptr,
    .selcal_disable_switch = nullptr,
};

}  // namespace orva

#endif
