// SPDX-License-Identifier: Apache-2.0
// Two chains, PCIe.
#include "chips/vq2050/profile.h"

#include "chips/two_chain/catalogue.h"
#include "chips/vq2050/state.h"
#include "common/channel.h"
#include "common/driver.h"
#include "common/driver_param.h"
#include "common/receive.h"
#include "common/transmit.h"
#include "common/weld.h"

namespace orva {

// clang-format off

namespace {

constexpr chip_commands command = {
    .pmu_check = 26, .wakeup_io = 30, .pcie = 31, .conn_info = 38, .dyn_interval = 33,
    .selfcali_interval = 36, .power_test = 34, .tas_antenna = 35, .bss_expire_age = 37,
    .calibration_query = 29};

constexpr value_command value_commands[] = {
    {COMMAND_ANTENNA, store_u32}, {COMMAND_MIMO_CHAIN, store_u32}, {COMMAND_BUS_MODE, store_u16},
    {command.power_test, store_u32}, {command.tas_antenna, store_u32}, {command.bss_expire_age, store_u32}};

// Driver mode, AT mode. A row that repeats an AT mode is never chosen.
constexpr at_mode g_ast_atcmdsrv_mode_table_2050[] = {{0, 1}, {1, 2}, {2, 6}, {3, 0}, {4, 3}, {5, 6}, {6, 5},
                                                      {7, 4}, {8, 6}, {9, 6}, {12, 6}};
constexpr mode_remap remaps[] = {{7, 10}, {8, 11}};

constexpr const start_step *tx_steps[] = {&tx_power_save, &tx_mode, &tx_bandwidth, &tx_channel, &tx_chain,
                                          &tx_rate, &tx_power};
constexpr const start_step *rx_steps[] = {&rx_power_save, &rx_mode, &rx_bandwidth, &rx_channel, &rx_chain};
constexpr const weld_step *weld_steps[] = {&weld_dbb, &weld_efuse, &weld_pin, &weld_interface_down,
                                           &weld_wakeup_io, &weld_pcie, &weld_close};

constinit const calibration catalogue = {
    .per_channel = two_chain::per_channel, .power = two_chain::power, .items = two_chain::items,
    .driver_params = two_chain::driver_params, .param_number = listed_param_number, .has_chains = true,
    .largest_error = 500, .centres_only = true, .writes_nothing_without_entries = true,
    .checks_secure_calls = true,
    .reply_copy_failure = "%s_wifi_querry_nvram_parameter_from_driver: memcpy_s failed.\n",
};

}  // namespace

constinit const chip vq2050 = {
    .name = "vq2050",
    .log_tag = "WIFI_ORVA_FAC_TEST_2050",
    .magic = 2050,
    .command = command,
    .line = {.socket_failed = 344, .second_socket_failed = 351, .ioctl_fail = 451, .retry_fail = 455,
             .unknown_command = 521},
    .value_commands = value_commands,
    .mode = {.at_modes = g_ast_atcmdsrv_mode_table_2050, .remaps = remaps,
             .unknown = "wifi_set_mode::mode[%d].\n"},
    .channel_of = channel_by_band,
    .power_divisor = 10,
    .mode_logs_every_call = false,
    .query_logs_wrong_type = false,
    .sdio_loop_stops_wifi = true,
    .tx = {.steps = tx_steps, .rate_codes = {}, .raises_flag_at_start = true, .stops_only_when_started = true,
           .final_pause_us = 0},
    .rx = {.steps = rx_steps},
    .testmode = {.logs_country_failure = country_failure::of_country_code, .sets_selfcali_interval = true,
                 .sets_dyn_interval = true, .clears_flags_at_stop = true,
                 .power_test_message = "vq2050_wifi_pt_power_test:: mode = %d.\n"},
    .probe = {.dbb_line = 1307, .pmu = {1212, 1216}, .pin = {1236, 1240}, .wakeup_io = {1260, 1264},
              .pcie = {1284, 1288}, .wakeup_logs_low_half = false},
    .die_id = {.words = 9, .logs_characters = true, .names_boot_failure = true, .boots_as = "try_to_boot_up"},
    .weld_steps = weld_steps,
    .utilities = {.roam_format_error = "vq2050_wifi_start_roam:: cmd str format err.\n",
                  .conn_info_copy_failure = "vq2050_wifi_conn_info: memcpy_s failed.\n",
                  .conn_info_copy_failure_ends = true, .checks_expire_age_format = false,
                  .upc_without_socket = 1, .selcal_logged_as = "vq2050", .powermode_logged_as = "vq2050"},
    .calibration = &catalogue,
    .state = vq2050_state,
};

// clang-format on

}  // namespace orva
