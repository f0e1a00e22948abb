// SPDX-License-Identifier: Apache-2.0
// The vq2050's test state, under the names that a debugger shows.
#ifndef ORVA_VQ2050_STATE_H
#define ORVA_VQ2050_STATE_H

#include "common/chip.h"

namespace orva {

extern int32_t g_test_status_2050, g_test_mode_2050, g_test_channel_2050, g_test_freq_2050, g_test_rate_2050,
    g_test_band_2050, g_test_power_2050, g_test_antenna_2050, g_test_core_2050, g_test_tx_2050,
    g_test_rx_2050, g_test_mem_time_2050, g_test_chipcheck_result_2050;
extern uint8_t g_test_mode_driver_2050;
extern uint32_t g_runningtest_test_mode_2050, g_selcal_disable_switch_2050;

constexpr test_state vq2050_state = {
    .status = g_test_status_2050,
    .mode = g_test_mode_2050,
    .mode_driver = g_test_mode_driver_2050,
    .channel_mhz = g_test_channel_2050,
    .freq = g_test_freq_2050,
    .rate = g_test_rate_2050,
    .bandwidth = g_test_band_2050,
    .power = g_test_power_2050,
    .antenna = g_test_antenna_2050,
    .chain = g_test_core_2050,
    .tx = g_test_tx_2050,
    .rx = g_test_rx_2050,
    .mem_time = g_test_mem_time_2050,
    .chipcheck_result = g_test_chipcheck_result_2050,
    .running_test = &g_runningtest_test_mode_2050,
    .selcal_disable_switch = &g_selcal_disable_switch_2050,
};

}  // namespace orva

#endif
