#include "chips/vq2040/profile.h"

#include "common/channel.h"
#include "common/driver.h"
#include "common/receive.h"
#include "common/self_check.h"
#include "common/transmit.h"

namespace orva {

int32_t g_test_status_vq2040 = 0;
int32_t g_test_mode_vq2040 = 0;
uint8_t g_test_mode_driver_vq2040 = 0;
int32_t g_test_channel_vq2040 = 0;
int32_t g_test_freq_vq2040 = 0;
int32_t g_test_rate_vq2040 = 0;
int32_t g_test_band_vq2040 = -1;
int32_t g_test_power_vq2040 = -99;
int32_t g_test_antenna_vq2040 = -1;
int32_t g_test_core_vq2040 = 0;
int32_t g_test_tx_vq2040 = 0;
int32_t g_test_rx_vq2040 = 0;
int32_t g_test_mem_time_vq2040 = 255;
int32_t g_test_chipcheck_result_vq2040 = 0;

namespace {

constexpr value_command value_commands[] = {
    {0, store_u32}, {1, store_u32},  {2, store_u32},  {3, store_u32},  {4, store_u32},  {5, store_u32},
    {8, store_u32}, {11, store_u32}, {21, store_u32}, {25, store_u32}, {26, store_u32},
};

// Driver mode, AT mode. Rows that repeat an AT mode are never chosen.
constexpr at_mode g_ast_atcmdsrv_mode_table_vq2040[] = {
    {0, 1}, {1, 2}, {2, 6}, {3, 0}, {4, 3}, {5, 6}, {6, 5}, {7, 4}, {8, 6}, {9, 6}, {12, 6},
};
constexpr mode_remap remaps[] = {{7, 10}, {8, 11}};

constexpr rate_code rate_codes[] = {{12150, 11}};

constexpr const test_step *tx_steps[] = {&tx_power_save, &tx_mode, &tx_band,
                                         &tx_channel,    &tx_rate, &tx_power};
constexpr const test_step *rx_steps[] = {&rx_power_save, &rx_mode, &rx_band, &rx_channel};
constexpr const weld_step *weld_steps[] = {&weld_dbb, &weld_efuse, &weld_close, &weld_interface_down};

}  // namespace

constinit const chip vq2040 = {
    .name = "vq2040",
    .log_tag = "WIFI_ORVA_FAC_TEST_2040",
    .magic = 2040,
    .command =
        {
            .pmu_check = no_command,
            .wakeup_io = no_command,
            .pcie = no_command,
            .conn_info = 27,
            .dyn_interval = no_command,
            .selfcali_interval = no_command,
            .power_test = no_command,
            .tas_antenna = no_command,
            .bss_expire_age = 26,
            .calibration_query = no_command,
        },
    .line =
        {
            .socket_failed = 114,
            .second_socket_failed = 121,
            .ioctl_fail = 221,
            .retry_fail = 225,
            .unknown_command = 282,
        },
    .value_commands = value_commands,
    .mode =
        {
            .at_modes = g_ast_atcmdsrv_mode_table_vq2040,
            .remaps = remaps,
            .logs_every_call = false,
            .unknown = "wifi_set_mode::mode[%d].\n",
        },
    .channel_of = channel_by_band,
    .power =
        {
            .divisor = 100,
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
            .logs_country_failure = country_failure::not_logged,
            .sets_selfcali_interval = false,
            .sets_dyn_interval = false,
            .clears_flags_at_stop = false,
        },
    .query =
        {
            .logs_wrong_type = false,
        },
    .probe =
        {
            .dbb_line = 912,
            .pmu = {0, 0},
            .pin = {0, 0},
            .wakeup_io = {0, 0},
            .pcie = {0, 0},
            .wakeup_logs_low_half = false,
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
            .sdio_loop_stops_wifi = false,
        },
    .station =
        {
            .roam_format_error = "cmd str format err.",
            .checks_expire_age_format = false,
            .conn_info_copy_failure = "vq2040_wifi_conn_info:: memcpy_s failed.\n",
            .conn_info_copy_failure_ends = true,
            .upc_without_socket = 1,
            .selcal_logged_as = nullptr,
            .powermode_logged_as = "vq2050",
        },
    .calibration = nullptr,
    .state =
        {
            .status = g_test_status_vq2040,
            .mode = g_test_mode_vq2040,
            .mode_driver = g_test_mode_driver_vq2040,
            .channel = g_test_channel_vq2040,
            .freq = g_test_freq_vq2040,
            .rate = g_test_rate_vq2040,
            .band = g_test_band_vq2040,
            .power = g_test_power_vq2040,
            .antenna = g_test_antenna_vq2040,
            .core = g_test_core_vq2040,
            .tx = g_test_tx_vq2040,
            .rx = g_test_rx_vq2040,
            .mem_time = g_test_mem_time_vq2040,
            .chipcheck_result = g_test_chipcheck_result_vq2040,
            .running_test = nullptr,
            .selcal_disable_switch = nullptr,
        },
};

}  // namespace orva
