#include "chips/vq2070/profile.h"

#include "include/vq2070.h"
#include "common/channel.h"
#include "common/driver.h"
#include "common/receive.h"
#include "common/self_check.h"
#include "common/transmit.h"

namespace orva {

int32_t g_test_status_2070 = 0;
int32_t g_test_mode_2070 = 0;
uint8_t g_test_mode_driver_2070 = 0;
int32_t g_test_channel_2070 = 0;
int32_t g_test_freq_2070 = 0;
int32_t g_test_rate_2070 = 0;
int32_t g_test_band_2070 = -1;
int32_t g_test_power_2070 = -99;
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

namespace {

constexpr value_command g_ast_config_ioctl_data[] = {
    {0, vq2070_ioctl_data_freq_set},      {1, vq2070_ioctl_data_pow_set},
    {2, vq2070_ioctl_data_mode_set},      {3, vq2070_ioctl_data_rate_set},
    {4, vq2070_ioctl_data_band_set},      {5, vq2070_ioctl_data_tx_set},
    {8, vq2070_ioctl_data_rx_set},        {11, vq2070_ioctl_data_pm_set},
    {21, vq2070_ioctl_data_ant_set},      {27, vq2070_ioctl_data_mimo_set},
    {32, vq2070_ioctl_data_bus_chan_set}, {34, vq2070_ioctl_data_pt_set},
    {35, vq2070_ioctl_data_tas_ant_set},  {37, vq2070_ioctl_data_bss_set},
};

// Driver mode, AT mode. Rows that repeat an AT mode are never chosen.
constexpr at_mode g_ast_atcmdsrv_mode_table_2070[] = {
    {0, 1}, {1, 2}, {2, 7}, {3, 0}, {4, 3}, {5, 7}, {6, 5}, {7, 4}, {8, 7}, {9, 7}, {10, 7}, {12, 6}, {14, 7},
};
constexpr mode_remap remaps[] = {{7, 10}, {8, 11}, {12, 13}};

constexpr test_step rx_chain_and_ru = {vq2070_send_chain_and_ru,
                                       "wifi_ioctl_setmimo_channel fail, ret[%d].\n"};

constexpr const test_step *tx_steps[] = {&tx_power_save, &tx_mode, &tx_band, &tx_channel,
                                         &tx_chain,      &tx_rate, &tx_power};
constexpr const test_step *rx_steps[] = {&rx_power_save, &rx_mode, &rx_band, &rx_channel, &rx_chain_and_ru};
constexpr const weld_step *weld_steps[] = {&weld_dbb,       &weld_efuse, &weld_pin,  &weld_interface_down,
                                           &weld_wakeup_io, &weld_pcie,  &weld_close};

}  // namespace

constinit const chip vq2070 = {
    .name = "vq2070",
    .log_tag = "WIFI_ORVA_FAC_TEST_2070",
    .magic = 2070,
    .command =
        {
            .pmu_check = 26,
            .wakeup_io = 30,
            .pcie = 31,
            .conn_info = 38,
            .dyn_interval = 33,
            .selfcali_interval = 36,
            .power_test = 34,
            .tas_antenna = 35,
            .bss_expire_age = 37,
            .calibration_query = 29,
        },
    .line =
        {
            .socket_failed = 374,
            .second_socket_failed = 381,
            .ioctl_fail = 481,
            .retry_fail = 485,
            .unknown_command = 633,
        },
    .value_commands = g_ast_config_ioctl_data,
    .mode =
        {
            .at_modes = g_ast_atcmdsrv_mode_table_2070,
            .remaps = remaps,
            .logs_every_call = true,
            .unknown = "vq2070_wifi_set_mode::not invalid mode idx",
        },
    .channel_of = vq2070_channel_of,
    .power =
        {
            .divisor = 10,
        },
    .tx =
        {
            .steps = tx_steps,
            .rate_codes = {},
            .raises_flag_at_start = true,
            .stops_only_when_started = true,
            .final_pause_us = 5000,
        },
    .rx =
        {
            .steps = rx_steps,
        },
    .test_mode =
        {
            .logs_country_failure = country_failure::of_country_code,
            .sets_selfcali_interval = true,
            .sets_dyn_interval = true,
            .clears_flags_at_stop = true,
        },
    .query =
        {
            .logs_wrong_type = true,
        },
    .probe =
        {
            .dbb_line = 1436,
            .pmu = {1341, 1345},
            .pin = {1365, 1369},
            .wakeup_io = {1389, 1393},
            .pcie = {1413, 1417},
            .wakeup_logs_low_half = false,
        },
    .die_id =
        {
            .words = 9,
            .logs_characters = false,
            .boots_as = "try_to_boot_up",
            .names_boot_failure = true,
        },
    .self_check =
        {
            .steps = weld_steps,
            .sdio_loop_stops_wifi = true,
        },
    .station =
        {
            .roam_format_error = "vq2070_wifi_start_roam:: cmd str format err.\n",
            .checks_expire_age_format = true,
            .conn_info_copy_failure = "vq2070_wifi_conn_info: memcpy_s failed.\n",
            .conn_info_copy_failure_ends = true,
            .upc_without_socket = 1,
            .selcal_logged_as = "vq2070",
            .powermode_logged_as = "vq2070",
        },
    .calibration = &vq2070_calibration,
    .state =
        {
            .status = g_test_status_2070,
            .mode = g_test_mode_2070,
            .mode_driver = g_test_mode_driver_2070,
            .channel = g_test_channel_2070,
            .freq = g_test_freq_2070,
            .rate = g_test_rate_2070,
            .band = g_test_band_2070,
            .power = g_test_power_2070,
            .antenna = g_test_antenna_2070,
            .core = g_test_core_2070,
            .tx = g_test_tx_2070,
            .rx = g_test_rx_2070,
            .mem_time = g_test_mem_time_2070,
            .chipcheck_result = g_test_chipcheck_result_2070,
            .running_test = &g_runningtest_test_mode_2070,
            .selcal_disable_switch = &g_selcal_disable_switch_2070,
        },
};

}  // namespace orva
