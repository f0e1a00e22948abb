// SPDX-License-Identifier: Apache-2.0
// The newest chip: two chains, PCIe, 802.11ax with its RU test.
#include "chips/vq2070/profile.h"

#include "chips/two_chain/catalogue.h"
#include "chips/vq2070/state.h"
#include "common/channel.h"
#include "common/driver.h"
#include "common/driver_param.h"
#include "common/receive.h"
#include "common/transmit.h"
#include "common/weld.h"
#include "include/vq2070.h"

namespace orva {

// clang-format off

namespace {

constexpr chip_commands command = {
    .pmu_check = 26, .wakeup_io = 30, .pcie = 31, .conn_info = 38, .dyn_interval = 33,
    .selfcali_interval = 36, .power_test = 34, .tas_antenna = 35, .bss_expire_age = 37,
    .calibration_query = 29};

constexpr value_command g_ast_config_ioctl_data[] = {
    {COMMAND_ANTENNA, vq2070_ioctl_data_ant_set}, {COMMAND_MIMO_CHAIN, vq2070_ioctl_data_mimo_set},
    {COMMAND_BUS_MODE, vq2070_ioctl_data_bus_chan_set}, {command.power_test, vq2070_ioctl_data_pt_set},
    {command.tas_antenna, vq2070_ioctl_data_tas_ant_set}, {command.bss_expire_age, vq2070_ioctl_data_bss_set}};

// Driver mode, AT mode. A row that repeats an AT mode is never chosen.
constexpr at_mode g_ast_atcmdsrv_mode_table_2070[] = {{0, 1}, {1, 2}, {2, 7}, {3, 0}, {4, 3}, {5, 7}, {6, 5},
                                                      {7, 4}, {8, 7}, {9, 7}, {10, 7}, {12, 6}, {14, 7}};
constexpr mode_remap remaps[] = {{7, 10}, {8, 11}, {12, 13}};

constexpr start_step rx_chain_and_ru = {vq2070_send_chain_and_ru,
                                        "wifi_ioctl_setmimo_channel fail, ret[%d].\n"};

constexpr const start_step *tx_steps[] = {&tx_power_save, &tx_mode, &tx_bandwidth, &tx_channel, &tx_chain,
                                          &tx_rate, &tx_power};
constexpr const start_step *rx_steps[] = {&rx_power_save, &rx_mode, &rx_bandwidth, &rx_channel,
                                          &rx_chain_and_ru};
constexpr const weld_step *weld_steps[] = {&weld_dbb, &weld_efuse, &weld_pin, &weld_interface_down,
                                           &weld_wakeup_io, &weld_pcie, &weld_close};

constinit const calibration catalogue = {
    .per_channel = two_chain::per_channel, .power = two_chain::power, .items = two_chain::items,
    .driver_params = two_chain::driver_params, .param_number = listed_param_number, .has_chains = true,
    .largest_error = 0, .centres_only = false, .writes_nothing_without_entries = false,
    .checks_secure_calls = true,
    .answer_copy_failure = "%s_wifi_querry_nvram_parameter_from_driver: memcpy_s failed.\n",
};

}  // namespace

constinit const chip vq2070 = {
    .name = "vq2070",
    .log_tag = "WIFI_ORVA_FAC_TEST_2070",
    .magic = 2070,
    .command = command,
    .line = {.socket_failed = 374, .second_socket_failed = 381, .ioctl_fail = 481, .retry_fail = 485,
             .unknown_command = 633},
    .value_commands = g_ast_config_ioctl_data,
    .mode = {.at_modes = g_ast_atcmdsrv_mode_table_2070, .remaps = remaps,
             .unknown = "vq2070_wifi_set_mode::not invalid mode idx"},
    .channel_of = vq2070_channel_of,
    .power_divisor = 10,
    .mode_logs_every_call = true,
    .query_logs_wrong_type = true,
    .sdio_loop_stops_wifi = true,
    .tx = {.steps = tx_steps, .rate_codes = {}, .raises_flag_at_start = true, .stops_only_when_started = true,
           .final_pause_us = 5000},
    .rx = {.steps = rx_steps},
    .testmode = {.logs_country_failure = country_failure::of_country_code, .sets_selfcali_interval = true,
                 .sets_dyn_interval = true, .clears_flags_at_stop = true,
                 .power_test_message = "vq2070_wifi_pt_power_test:: mode = %d.\n"},
    .probe = {.dbb_line = 1436, .pmu = {1341, 1345}, .pin = {1365, 1369}, .wakeup_io = {1389, 1393},
              .pcie = {1413, 1417}, .wakeup_logs_low_half = false},
    .die_id = {.words = 9, .logs_characters = false, .names_boot_failure = true, .boots_as = "try_to_boot_up"},
    .weld_steps = weld_steps,
    .utilities = {.roam_format_error = "vq2070_wifi_start_roam:: cmd str format err.\n",
                  .conn_info_copy_failure = "vq2070_wifi_conn_info: memcpy_s failed.\n",
                  .conn_info_copy_failure_ends = true, .checks_expire_age_format = true,
                  .upc_without_socket = 1, .selcal_logged_as = "vq2070", .powermode_logged_as = "vq2070"},
    .calibration = &catalogue,
    .state = vq2070_state,
};

// clang-format on

}  // namespace orva
