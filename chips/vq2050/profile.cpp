#include "chips/vq2050/profile.h"

#include "common/channel.h"
#include "common/driver.h"
#include "common/receive.h"
#include "common/self_check.h"
#include "common/transmit.h"

namespace orva {

int32_t g_test_status_2050 = 0;
int32_t g_test_mode_2050 = 0;
uint8_t g_test_mode_driver_2050 = 0;
int32_t g_test_channel_2050 = 0;
int32_t g_test_freq_2050 = 0;
int32_t g_test_rate_2050 = 0;
int32_t g_test_band_2050 = -1;
int32_t g_test_power_2050 = -99;
int32_t g_test_antenna_2050 = -1;
int32_t g_test_core_2050 = 0;
int32_t g_test_tx_2050 = 0;
int32_t g_test_rx_2050 = 0;
int32_t g_test_mem_time_2050 = 10;
int32_t g_test_chipcheck_result_2050 = 0;
uint32_t g_runningtest_test_mode_2050 = 0;
uint32_t g_selcal_disable_switch_2050 = 1;

namespace {

constexpr value_command value_commands[] = {
    {0, store_u32},  {1, store_u32},  {2, store_u32},  {3, store_u32},  {4, store_u32},
    {5, store_u32},  {8, store_u32},  {11, store_u32}, {21, store_u32}, {27, store_u32},
    {32, store_u16}, {34, store_u32}, {35, store_u32}, {37, store_u32},
};

// Driver mode, AT mode. Rows that repeat an AT mode are never chosen.
constexpr at_mode g_ast_atcmdsrv_mode_table_2050[] = {
    {0, 1}, {1, 2}, {2, 6}, {3, 0}, {4, 3}, {5, 6}, {6, 5}, {7, 4}, {8, 6}, {9, 6}, {12, 6},
};
constexpr mode_remap remaps[] = {{7, 10}, {8, 11}};

constexpr const test_step *tx_steps[] = {&tx_power_save, &tx_mode, &tx_band, &tx_channel,
                                         &tx_chain,      &tx_rate, &tx_power};
constexpr const test_step *rx_steps[] = {&rx_power_save, &rx_mode, &rx_band, &rx_channel, &rx_chain};
constexpr const weld_step *weld_steps[] = {&weld_dbb,       &weld_efuse, &weld_pin,  &weld_interface_down,
                                           &weld_wakeup_io, &weld_pcie,  &weld_close};

}  // namespace

constinit const chip vq2050 = {
    .name = "vq2050",
    .log_tag = "WIFI_ORVA_FAC_TEST_2050",
    .magic = 2050,
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
            .socket_failed = 344,
            .second_socket_failed = 351,
            .ioctl_fail = 451,
            .retry_fail = 455,
            .unknown_command = 521,
        },
    .value_commands = value_commands,
    .mode =
        {
            .at_modes = g_ast_atcmdsrv_mode_table_2050,
            .remaps = remaps,
            .logs_every_call = false,
            .unknown = "wifi_set_mode::mode[%d].\n",
        },
    .channel_of = channel_by_band,
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
            .final_pause_us = 0,
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
            .logs_wrong_type = false,
        },
    .probe =
        {
            .dbb_line = 1307,
            .pmu = {1212, 1216},
            .pin = {1236, 1240},
            .wakeup_io = {1260, 1264},
            .pcie = {1284, 1288},
            .wakeup_logs_low_half = false,
        },
    .die_id =
        {
            .words = 9,
            .logs_characters = true,
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
            .roam_format_error = "vq2050_wifi_start_roam:: cmd str format err.\n",
            .checks_expire_age_format = false,
            .conn_info_copy_failure = "vq2050_wifi_conn_info: memcpy_s failed.\n",
            .conn_info_copy_failure_ends = true,
            .upc_without_socket = 1,
            .selcal_logged_as = "vq2050",
            .powermode_logged_as = "vq2050",
        },
    .calibration = &vq2050_calibration,
    .state =
        {
            .status = g_test_status_2050,
            .mode = g_test_mode_2050,
            .mode_driver = g_test_mode_driver_2050,
            .channel = g_test_channel_2050,
            .freq = g_test_freq_2050,
            .rate = g_test_rate_2050,
            .band = g_test_band_2050,
            .power = g_test_power_2050,
            .antenna = g_test_antenna_2050,
            .core = g_test_core_2050,
            .tx = g_test_tx_2050,
            .rx = g_test_rx_2050,
            .mem_time = g_test_mem_time_2050,
            .chipcheck_result = g_test_chipcheck_result_2050,
            .running_test = &g_runningtest_test_mode_2050,
            .selcal_disable_switch = &g_selcal_disable_switch_2050,
        },
};

}  // namespace orva
