// SPDX-License-Identifier: Apache-2.0
// The vq2070's test state, under the names that a debugger shows.
#ifndef ORVA_VQ2070_STATE_H
#define ORVA_VQ2070_STATE_H

#include "common/chip.h"

namespace orva {

extern int32_t g_test_status_2070, g_test_mode_2070, g_test_channel_2070, g_test_freq_2070, g_test_rate_2070,
    g_test_band_2070, g_test_power_2070, g_test_antenna_2070, g_test_core_2070, g_test_tx_2070,
    g_test_rx_2070, g_test_mem_time_2070, g_test_chipcheck_result_2070;
extern uint8_t g_test_mode_driver_2070;
extern uint32_t g_runningtest_test_mode_2070, g_selcal_disable_switch_2070;
/// An RU test armed for the next receive start, and its association id.
extern uint32_t g_test_rutx_set_2070, g_test_rurx_set_2070;
extern uint16_t g_test_aid_2070;

constexpr test_state vq2070_state = {
    .status = g_test_status_2070,
    .mode = g_test_mode_2070,
    .mode_driver = g_test_mode_driver_2070,
    .channel_mhz = g_test_channel_2070,
    .freq = g_test_freq_2070,
    .rate = g_test_rate_2070,
    .bandwidth = g_test_band_2070,
    .power = g_test_power_2070,
    .antenna = g_test_antenna_2070,
    .chain = g_test_core_2070,
    .tx = g_test_tx_2070,
    .rx = g_test_rx_2070,
    .mem_time = g_test_mem_time_2070,
    .chipcheck_result = g_test_chipcheck_result_2070,
    .running_test = &g_runningtest_test_mode_2070,
    .selcal_disable_switch = &g_selcal_disable_switch_2070,
};

}  // namespace orva

#endif
