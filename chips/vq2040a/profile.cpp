// SPDX-License-Identifier: Apache-2.0
// One chain like the vq2040, with calibration texts under NV numbers of its own.
#include "chips/vq2040a/profile.h"

#include "chips/vq2040a/catalogue.h"
#include "chips/vq2040a/state.h"
#include "common/channel.h"
#include "common/driver.h"
#include "common/receive.h"
#include "common/transmit.h"
#include "common/weld.h"

namespace orva {

// clang-format off

namespace {

constexpr chip_commands command = {
    .pmu_check = 29, .wakeup_io = 27, .pcie = NO_COMMAND, .conn_info = 33, .dyn_interval = 28,
    .selfcali_interval = 31, .power_test = 30, .tas_antenna = 34, .bss_expire_age = 32,
    .calibration_query = 26};

// The packet count, RSSI, efuse and pin commands are accepted although they are only ever sent directly; the
// antenna command is not accepted, so the antenna setter always fails.
constexpr value_command value_commands[] = {
    {COMMAND_RX_PACKETS, store_u32}, {COMMAND_RSSI, store_u32}, {COMMAND_EFUSE_STATUS, store_u32},
    {COMMAND_PIN_TEST, store_u32}, {command.power_test, store_u32}, {command.bss_expire_age, store_u32}};

// Driver mode, AT mode. A row that repeats an AT mode is never chosen.
constexpr at_mode g_ast_atcmdsrv_mode_table_vq2040a[] = {{0, 1}, {1, 2}, {2, 6}, {3, 0}, {4, 3}, {5, 6}, {6,
                                                         5}, {7, 4}, {8, 6}, {9, 6}, {12, 6}};
constexpr mode_remap remaps[] = {{7, 10}, {8, 11}};
constexpr rate_code rate_codes[] = {{12150, 11}, {65, 0}};

constexpr const start_step *tx_steps[] = {&tx_power_save, &tx_mode, &tx_bandwidth, &tx_channel, &tx_rate,
                                          &tx_power};
constexpr const start_step *rx_steps[] = {&rx_power_save, &rx_mode, &rx_bandwidth, &rx_channel};
constexpr const weld_step *weld_steps[] = {&weld_dbb, &weld_announce_wakeup_io, &weld_interface_down,
                                           &weld_wakeup_io, &weld_close, &weld_interface_down};

constinit const calibration catalogue = {
    .per_channel = vq2040a_per_channel, .power = vq2040a_power, .items = vq2040a_items,
    .driver_params = g_ast_nvram_pro_line_config_ini_2040a, .param_number = vq2040a_param_number,
    .has_chains = false, .largest_error = 500, .centres_only = true, .writes_nothing_without_entries = true,
    .checks_secure_calls = false, .reply_copy_failure = "memcpy_s error.\n",
};

}  // namespace

constinit const chip vq2040a = {
    .name = "vq2040a",
    .log_tag = "WIFI_ORVA_FAC_TEST_2040A",
    .magic = 0x2040A,
    .command = command,
    .line = {.socket_failed = 208, .second_socket_failed = 215, .ioctl_fail = 315, .retry_fail = 319,
             .unknown_command = 385},
    .value_commands = value_commands,
    .mode = {.at_modes = g_ast_atcmdsrv_mode_table_vq2040a, .remaps = remaps,
             .unknown = "wifi_set_mode::mode[%d].\n"},
    .channel_of = channel_by_band,
    .power_divisor = 10,
    .mode_logs_every_call = false,
    .query_logs_wrong_type = false,
    .sdio_loop_stops_wifi = true,
    .tx = {.steps = tx_steps, .rate_codes = rate_codes, .raises_flag_at_start = false,
           .stops_only_when_started = false, .final_pause_us = 0},
    .rx = {.steps = rx_steps},
    .testmode = {.logs_country_failure = country_failure::of_power_save, .sets_selfcali_interval = true,
                 .sets_dyn_interval = false, .clears_flags_at_stop = false,
                 .power_test_message = "vq2040a_wifi_pt_power_test::mode[%d].\n"},
    .probe = {.dbb_line = 1062, .pmu = {992, 996}, .pin = {1015, 1019}, .wakeup_io = {1038, 1042}, .pcie = {},
              .wakeup_logs_low_half = true},
    .die_id = {.words = 8, .logs_characters = true, .names_boot_failure = false, .boots_as = "wifi_get_die_id"},
    .weld_steps = weld_steps,
    .utilities = {.roam_format_error = "vq2040a_wifi_start_roam: snprintf_s failed.",
                  .conn_info_copy_failure = "vq2040a_wifi_conn_info: memcpy_s faild.\n",
                  .conn_info_copy_failure_ends = false, .checks_expire_age_format = false,
                  .upc_without_socket = 0, .selcal_logged_as = "vq2050", .powermode_logged_as = "vq2050"},
    .calibration = &catalogue,
    .state = vq2040a_state,
};

// clang-format on

}  // namespace orva
