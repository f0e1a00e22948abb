#include "chips/vq2040a/profile.h"

#include "common/channel.h"
#include "common/driver.h"
#include "common/receive.h"
#include "common/self_check.h"
#include "common/transmit.h"

namespace orva {

int32_t g_test_status_vq2040a = 0;
int32_t g_test_mode_vq2040a = 0;
uint8_t g_test_mode_driver_vq2040a = 0;
int32_t g_test_channel_vq2040a = 0;
int32_t g_test_freq_vq2040a = 0;
int32_t g_test_rate_vq2040a = 0;
int32_t g_test_band_vq2040a = -1;
int32_t g_test_power_vq2040a = -99;
int32_t g_test_antenna_vq2040a = -1;
int32_t g_test_core_vq2040a = 0;
int32_t g_test_tx_vq2040a = 0;
int32_t g_test_rx_vq2040a = 0;
int32_t g_test_mem_time_vq2040a = 10;
int32_t g_test_chipcheck_result_vq2040a = 0;
uint32_t g_selcal_disable_switch_2040a = 1;

namespace {

// 10, 12, 20 and 25 are accepted though only ever sent directly; the antenna command, 21, is not.
constexpr value_command value_commands[] = {
    {0, store_u32},  {1, store_u32},  {2, store_u32},  {3, store_u32},  {4, store_u32},
    {5, store_u32},  {8, store_u32},  {10, store_u32}, {11, store_u32}, {12, store_u32},
    {20, store_u32}, {25, store_u32}, {30, store_u32}, {32, store_u32},
};

// Driver mode, AT mode. Rows that repeat an AT mode are never chosen.
constexpr at_mode g_ast_atcmdsrv_mode_table_vq2040a[] = {
    {0, 1}, {1, 2}, {2, 6}, {3, 0}, {4, 3}, {5, 6}, {6, 5}, {7, 4}, {8, 6}, {9, 6}, {12, 6},
};
constexpr mode_remap remaps[] = {{7, 10}, {8, 11}};

constexpr rate_code rate_codes[] = {{12150, 11}, {65, 0}};

constexpr const test_step *tx_steps[] = {&tx_power_save, &tx_mode, &tx_band,
                                         &tx_channel,    &tx_rate, &tx_power};
constexpr const test_step *rx_steps[] = {&rx_power_save, &rx_mode, &rx_band, &rx_channel};
constexpr const weld_step *weld_steps[] = {
    &weld_dbb,   &weld_announce_wakeup_io, &weld_interface_down, &weld_wakeup_io,
    &weld_close, &weld_interface_down};

}  // namespace

constinit const chip vq2040a = {
    .name = "vq2040a",
    .log_tag = "WIFI_ORVA_FAC_TEST_2040A",
    .magic = 0x2040A,
    .command =
        {
            .pmu_check = 29,
            .wakeup_io = 27,
            .pcie = no_command,
            .conn_info = 33,
            .dyn_interval = 28,
            .selfcali_interval = 31,
            .power_test = 30,
            .tas_antenna = 34,
            .bss_expire_age = 32,
            .calibration_query = 26,
        },
    .line =
        {
            .socket_failed = 208,
            .second_socket_failed = 215,
            .ioctl_fail = 315,
            .retry_fail = 319,
            .unknown_command = 385,
        },
    .value_commands = value_commands,
    .mode =
        {
            .at_modes = g_ast_atcmdsrv_mode_table_vq2040a,
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
            .rate_codes = rate_codes,
            .raises_flag_at_start = false,
            .stops_only_when_started = false,
            .final_pause_us = 0,
        },
    .rx =
        {
            .steps = rx_steps,
        },
    .test_mode =
        {
            .logs_country_failure = country_failure::of_power_save,
            .sets_selfcali_interval = true,
            .sets_dyn_interval = false,
            .clears_flags_at_stop = false,
        },
    .query =
        {
            .logs_wrong_type = false,
        },
    .probe =
        {
            .dbb_line = 1062,
            .pmu = {992, 996},
            .pin = {1015, 1019},
            .wakeup_io = {1038, 1042},
            .pcie = {0, 0},
            .wakeup_logs_low_half = true,
        },
    .die_id =
        {
            .words = 8,
            .logs_characters = true,
            .boots_as = "wifi_get_die_id",
            .names_boot_failure = false,
        },
    .self_check =
        {
            .steps = weld_steps,
            .sdio_loop_stops_wifi = true,
        },
    .station =
        {
            .roam_format_error = "vq2040a_wifi_start_roam: snprintf_s failed.",
            .checks_expire_age_format = false,
            .conn_info_copy_failure = "vq2040a_wifi_conn_info: memcpy_s faild.\n",
            .conn_info_copy_failure_ends = false,
            .upc_without_socket = 0,
            .selcal_logged_as = "vq2050",
            .powermode_logged_as = "vq2050",
        },
    .calibration = &vq2040a_calibration,
    .state =
        {
            .status = g_test_status_vq2040a,
            .mode = g_test_mode_vq2040a,
            .mode_driver = g_test_mode_driver_vq2040a,
            .channel = g_test_channel_vq2040a,
            .freq = g_test_freq_vq2040a,
            .rate = g_test_rate_vq2040a,
            .band = g_test_band_vq2040a,
            .power = g_test_power_vq2040a,
            .antenna = g_test_antenna_vq2040a,
            .core = g_test_core_vq2040a,
            .tx = g_test_tx_vq2040a,
            .rx = g_test_rx_vq2040a,
            .mem_time = g_test_mem_time_vq2040a,
            .chipcheck_result = g_test_chipcheck_result_vq2040a,
            .running_test = nullptr,
            .selcal_disable_switch = &g_selcal_disable_switch_2040a,
        },
};

}  // namespace orva
