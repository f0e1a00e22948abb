// SPDX-License-Identifier: Apache-2.0
// The oldest chip of the family: one chain, no calibration texts but a raw block.
#include "chips/vq2040/profile.h"

#include "chips/vq2040/state.h"
#include "common/channel.h"
#include "common/driver.h"
#include "common/receive.h"
#include "common/transmit.h"
#include "common/weld.h"

namespace orva {

// clang-format off

namespace {

constexpr chip_commands command = {
    .pmu_check = NO_COMMAND, .wakeup_io = NO_COMMAND, .pcie = NO_COMMAND, .conn_info = 27,
    .dyn_interval = NO_COMMAND, .selfcali_interval = NO_COMMAND, .power_test = NO_COMMAND,
    .tas_antenna = NO_COMMAND, .bss_expire_age = 26, .calibration_query = NO_COMMAND};

constexpr value_command value_commands[] = {
    {COMMAND_ANTENNA, store_u32}, {COMMAND_CONNECTION_POWER, store_u32}, {command.bss_expire_age, store_u32}};

// Driver mode, AT mode. A row that repeats an AT mode is never chosen.
constexpr at_mode g_ast_atcmdsrv_mode_table_vq2040[] = {{0, 1}, {1, 2}, {2, 6}, {3, 0}, {4, 3}, {5, 6}, {6,
                                                        5}, {7, 4}, {8, 6}, {9, 6}, {12, 6}};
constexpr mode_remap remaps[] = {{7, 10}, {8, 11}};
constexpr rate_code rate_codes[] = {{12150, 11}};

constexpr const start_step *tx_steps[] = {&tx_power_save, &tx_mode, &tx_bandwidth, &tx_channel, &tx_rate,
                                          &tx_power};
constexpr const start_step *rx_steps[] = {&rx_power_save, &rx_mode, &rx_bandwidth, &rx_channel};
constexpr const weld_step *weld_steps[] = {&weld_dbb, &weld_efuse, &weld_close, &weld_interface_down};

}  // namespace

constinit const chip vq2040 = {
    .name = "vq2040",
    .log_tag = "WIFI_ORVA_FAC_TEST_2040",
    .magic = 2040,
    .command = command,
    .line = {.socket_failed = 114, .second_socket_failed = 121, .ioctl_fail = 221, .retry_fail = 225,
             .unknown_command = 282},
    .value_commands = value_commands,
    .mode = {.at_modes = g_ast_atcmdsrv_mode_table_vq2040, .remaps = remaps,
             .unknown = "wifi_set_mode::mode[%d].\n"},
    .channel_of = channel_by_band,
    .power_divisor = 100,
    .mode_logs_every_call = false,
    .query_logs_wrong_type = false,
    .sdio_loop_stops_wifi = false,
    .tx = {.steps = tx_steps, .rate_codes = rate_codes, .raises_flag_at_start = false,
           .stops_only_when_started = false, .final_pause_us = 0},
    .rx = {.steps = rx_steps},
    .testmode = {.logs_country_failure = country_failure::not_logged, .sets_selfcali_interval = false,
                 .sets_dyn_interval = false, .clears_flags_at_stop = false, .power_test_message = nullptr},
    .probe = {.dbb_line = 912, .pmu = {}, .pin = {}, .wakeup_io = {}, .pcie = {},
              .wakeup_logs_low_half = false},
    .die_id = {.words = 8, .logs_characters = true, .names_boot_failure = false, .boots_as = "wifi_get_die_id"},
    .weld_steps = weld_steps,
    .utilities = {.roam_format_error = "cmd str format err.",
                  .conn_info_copy_failure = "vq2040_wifi_conn_info:: memcpy_s failed.\n",
                  .conn_info_copy_failure_ends = true, .checks_expire_age_format = false,
                  .upc_without_socket = 1, .selcal_logged_as = nullptr, .powermode_logged_as = "vq2050"},
    .calibration = nullptr,
    .state = vq2040_state,
};

// clang-format on

}  // namespace orva
