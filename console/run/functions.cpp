// SPDX-License-Identifier: Apache-2.0
#include "console/run/functions.h"

#include "console/text/text.h"
#include "wifi_factory_test_orva.h"

#include <algorithm>
#include <charconv>
#include <fmt/format.h>
#include <tuple>
#include <type_traits>
#include <utility>

namespace console {
namespace {

template <class T> T from_slot(const slot &s) {
  if constexpr (std::is_pointer_v<T>)
    return static_cast<T>(s.pointer);
  else
    return static_cast<T>(static_cast<uint32_t>(s.number));
}

template <class R, class... A, size_t... I>
returned call_typed(void *symbol, const slot *slots, std::index_sequence<I...>) {
  auto *f = reinterpret_cast<R (*)(A...)>(symbol);
  if constexpr (std::is_integral_v<R>)
    return {.number = f(from_slot<A>(slots[I])...)};
  else
    return {.pointer = reinterpret_cast<void *>(f(from_slot<A>(slots[I])...))};
}

template <class F> struct typed;
template <class R, class... A> struct typed<R(A...)> {
  static returned call(void *symbol, const slot *slots) {
    return call_typed<R, A...>(symbol, slots, std::index_sequence_for<A...>{});
  }
};

using enum argument_kind;
using enum result_kind;

constexpr known_value known_modes[] = {{"0", ""}, {"1", ""}, {"2", ""}, {"3", ""},
                                       {"4", ""}, {"5", ""}, {"6", ""}, {"7", "vq2070 only"}};
constexpr known_value known_bands[] = {{"0", "20 MHz"}, {"1", "40 MHz"}, {"2", "80 MHz"}, {"3", "160 MHz"}};
constexpr known_value known_channels[] = {
    {"2412", "channel 1"},   {"2437", "channel 6"},   {"2442", "channel 7"},
    {"2472", "channel 13"},  {"2484", "channel 14"},  {"5180", "channel 36"},
    {"5500", "channel 100"}, {"5745", "channel 149"}, {"5825", "channel 165"}};
constexpr known_value known_rates[] = {
    {"1200", ""}, {"6500", ""}, {"12150", "sent as 11 on vq2040 and vq2040a"}};
constexpr known_value known_chains[] = {{"1", "first chain"}, {"2", "second chain"}};
constexpr known_value known_antennas[] = {{"1", "sent as 0"}, {"2", "sent as 1"}};
constexpr known_value known_items[] = {{"1", "test mode on"},   {"2", "mode"},
                                       {"3", "channel in MHz"}, {"4", "frequency"},
                                       {"5", "power"},          {"7", "rate"},
                                       {"9", "transmit on"},    {"10", "receive on"},
                                       {"11", "antenna"},       {"13", "memory test time"}};
constexpr known_value known_ru[] = {{"0", "none"}, {"1", "transmit"}, {"2", "receive"}};
constexpr known_value known_switch[] = {{"0", "off"}, {"1", "on"}};
constexpr known_value known_scopes[] = {
    {"1", "all"}, {"2", "chain 0"}, {"3", "chain 1"}, {"4", "2.4 GHz"}, {"5", "5 GHz"}};
constexpr known_value known_cal_bands[] = {{"0", "2.4 GHz"}, {"1", "5 GHz"}};
constexpr known_value known_cal_modes[] = {{"0", "OFDM"}, {"2", "CCK"}};
constexpr known_value known_cal_chains[] = {{"0", "chain 0"}, {"1", "chain 1"}};
constexpr known_value known_macs[] = {{"001122334455", "the default"}, {"null", "the default"}};
constexpr known_value known_selfcal[] = {{"1", "self-calibration on"}, {"0", "self-calibration off"}};

constexpr argument unread = {
    .name = "unused", .kind = ignored, .help = "passed on and not read: null or scratch", .fallback = "null"};
constexpr argument power_args[] = {{.name = "power",
                                    .kind = number,
                                    .help = "transmit power; the driver gets a tenth (vq2040: a hundredth)",
                                    .unit = "tenths of the driver's step",
                                    .range = "-990..3300"}};
constexpr argument mode_args[] = {{.name = "mode",
                                   .kind = number,
                                   .help = "the station's protocol mode",
                                   .range = "0..7",
                                   .known = known_modes}};
constexpr argument rate_args[] = {{.name = "rate",
                                   .kind = number,
                                   .help = "the driver gets a hundredth",
                                   .unit = "hundredths",
                                   .range = "65,100..999999",
                                   .known = known_rates}};
constexpr argument band_args[] = {
    {.name = "band", .kind = number, .help = "bandwidth", .range = "0..3", .known = known_bands}};
constexpr argument channel_args[] = {{.name = "channel",
                                      .kind = number,
                                      .help = "centre frequency, in steps of 5 (or 2484)",
                                      .unit = "MHz",
                                      .range = "2412..2472,2484,5180..5825",
                                      .known = known_channels}};
constexpr argument chain_args[] = {
    {.name = "chain", .kind = number, .help = "MIMO chain", .range = "1..2", .known = known_chains}};
constexpr argument antenna_args[] = {
    {.name = "antenna", .kind = number, .help = "antenna", .range = "0..2", .known = known_antennas}};
constexpr argument query_args[] = {{.name = "item",
                                    .kind = number,
                                    .help = "which setting",
                                    .range = "1..5,7,9..11,13",
                                    .known = known_items}};
constexpr argument rx_args[] = {{.name = "mac",
                                 .kind = text,
                                 .help = "12 hexadecimal digits without separators, or null",
                                 .known = known_macs,
                                 .fallback = "null"},
                                unread};
constexpr argument rssi_args[] = {
    {.name = "rssi", .kind = out_i32, .help = "signal strength as the driver gives it", .unit = "dBm"}};
constexpr argument ru_args[] = {{.name = "en_set",
                                 .kind = number,
                                 .help = "which RU test the next receive start arms",
                                 .range = "0..2",
                                 .known = known_ru},
                                {.name = "aid",
                                 .kind = text,
                                 .help = "association id, three hexadecimal digits, or null for 1",
                                 .fallback = "null"}};
constexpr argument powermode_args[] = {
    {.name = "mode", .kind = number, .help = "1; anything else sends nothing", .range = "1"},
    {.name = "value", .kind = number, .help = "power save", .range = "0..1", .known = known_switch}};
constexpr argument pt_args[] = {{.name = "mode",
                                 .kind = number,
                                 .help = "passed to the driver; vq2040 only distinguishes 0 from the rest"}};
constexpr argument unused_args[] = {unread};
constexpr argument chipcheck_args[] = {{.name = "first",
                                        .kind = ignored,
                                        .help = "only compared with null: null or scratch",
                                        .fallback = "scratch"},
                                       {.name = "second",
                                        .kind = ignored,
                                        .help = "only compared with null: null or scratch",
                                        .fallback = "scratch"},
                                       {.name = "third",
                                        .kind = ignored,
                                        .help = "only compared with null: null or scratch",
                                        .fallback = "scratch"}};
constexpr argument checktime_args[] = {unread,
                                       {.name = "check_time", .kind = out_u32, .help = "always 100"},
                                       {.name = "die_id",
                                        .kind = out_chars,
                                        .help = "32 digits (vq2040, vq2040a) or 36 (vq2050, vq2070)",
                                        .room = 36}};
constexpr argument nvram_set_args[] = {
    {.name = "first", .kind = ignored, .help = "passed on and not read: null or scratch", .fallback = "null"},
    {.name = "second",
     .kind = ignored,
     .help = "passed on and not read: null or scratch",
     .fallback = "null"},
    {.name = "third", .kind = number, .help = "passed on and not read", .fallback = "0"}};
constexpr argument scope_args[] = {
    {.name = "scope", .kind = number, .help = "what to clear", .range = "1..5", .known = known_scopes}};
constexpr argument cal_get_args[] = {{.name = "text",
                                      .kind = out_sized,
                                      .help = "all stored calibration, one entry after the other",
                                      .room = 16},
                                     {.name = "size",
                                      .kind = number,
                                      .help = "bytes for each item",
                                      .unit = "bytes",
                                      .range = "104",
                                      .hard_range = "0..65535",
                                      .fallback = "104"}};
constexpr argument cal_set_args[] = {
    {.name = "cal_type", .kind = number, .help = "0; others are refused", .range = "0"},
    {.name = "chain", .kind = number, .help = "RF chain", .range = "0..1", .known = known_cal_chains},
    {.name = "mode",
     .kind = number,
     .help = "0 or 2 for CCK; vq2040: 1 to 5",
     .range = "0..5",
     .known = known_cal_modes},
    {.name = "band", .kind = number, .help = "frequency band", .range = "0..1", .known = known_cal_bands},
    {.name = "bandwidth", .kind = number, .help = "bandwidth", .range = "0..3", .known = known_bands},
    {.name = "freq",
     .kind = number,
     .help = "centre frequency; 2442 is the reference channel at 2.4 GHz",
     .unit = "MHz",
     .range = "2400..2484,5180..5825"},
    {.name = "delta_gain",
     .kind = text,
     .help = "measured error: tenths of the shift, -500 to 500; vq2040: a gain in dB, -5 to 5",
     .decimal = true}};
constexpr argument clean_new_args[] = {
    {.name = "flags",
     .kind = flags,
     .help = "2.4 GHz chain 0, 5 GHz chain 0, 2.4 GHz chain 1, 5 GHz chain 1: non-zero clears, as 1,0,0,0"}};
constexpr argument upc_args[] = {{.name = "out1", .kind = out_u8, .help = "always 0"},
                                 {.name = "out2", .kind = out_u8, .help = "always 0"},
                                 {.name = "upc", .kind = out_u8, .help = "the low 8 bits of the code"}};
constexpr argument tas_args[] = {
    {.name = "value", .kind = number, .help = "switch value, passed to the driver"}};
constexpr argument roam_args[] = {
    {.name = "target",
     .kind = text,
     .help = "BSSID, up to 81 characters; inserted into a shell command unchanged"}};
constexpr argument age_args[] = {{.name = "age",
                                  .kind = number,
                                  .help = "how long scan results stay valid",
                                  .unit = "s (the supplicant's)"}};
constexpr argument conn_args[] = {{.name = "ssid", .kind = out_text, .help = "network name", .room = 33},
                                  {.name = "bssid", .kind = out_mac, .help = "access point", .room = 6},
                                  {.name = "rssi", .kind = out_i8, .help = "signal strength", .unit = "dBm"}};
constexpr argument range_args[] = {{.name = "lower", .kind = out_u8, .help = "always 0"},
                                   {.name = "upper", .kind = out_u8, .help = "always 14"}};
constexpr argument selcal_args[] = {{.name = "flag",
                                     .kind = number,
                                     .help = "1 turns self-calibration on, any other off",
                                     .range = "0..1",
                                     .known = known_selfcal}};
constexpr argument loop_args[] = {
    {.name = "value", .kind = number, .help = "loop value, passed to the driver"}};
constexpr argument op_args[] = {
    {.name = "op_id", .kind = number, .help = "number of the operation", .range = "0..39"}};

constexpr result_meaning query_means[] = {{-1, false, "not set, or no such item"}};
constexpr result_meaning packet_means[] = {{0xFFFFFFFF, false, "the driver refused"}};
constexpr result_meaning result_means[] = {{0, true, "the firmware found no fault"},
                                           {1, false, "the firmware's code 1, or the driver refused"}};

constexpr chip_note power_notes[] = {
    {VQ2040, "outside test mode this is the connection power (command 25), a hundredth is sent"},
    {VQ2050 | VQ2040A | VQ2070, "outside test mode a tenth goes to the driver at once (command 1)"}};
constexpr chip_note mode_notes[] = {{VQ2040 | VQ2050 | VQ2040A, "knows modes 0 to 6"},
                                    {VQ2070, "knows modes 0 to 7"}};
constexpr chip_note rate_notes[] = {{VQ2040, "12150 is sent as 11"},
                                    {VQ2040A, "12150 is sent as 11, 65 as 0"}};
constexpr chip_note chain_notes[] = {{VQ2040, "refuses every chain"}, {VQ2040A, "has no such operation"}};
constexpr chip_note antenna_notes[] = {{VQ2040A, "the library knows no such driver command and gives 0"}};
constexpr chip_note stop_notes[] = {{VQ2050 | VQ2070, "already stopped: success, nothing is sent"},
                                    {VQ2040 | VQ2040A, "sends the command every time"}};
constexpr chip_note tx_notes[] = {{VQ2050 | VQ2070, "sends the chain as well (command 27)"},
                                  {VQ2070, "pauses 5 ms after the last command"}};
constexpr chip_note rx_notes[] = {
    {VQ2050 | VQ2070, "sends the chain as well (command 27)"},
    {VQ2070, "sends the RU setting once after wifi_ru_set; pauses 5 ms at the end"}};
constexpr chip_note query_notes[] = {
    {VQ2050 | VQ2070, "reading item 13 makes the next chip check report a running test to the firmware"}};
constexpr chip_note testmode_notes[] = {
    {VQ2050 | VQ2070, "sends self-calibration (36) and dynamic calibration interval (33) too"},
    {VQ2040A, "sends self-calibration (31) too"}};
constexpr chip_note pt_notes[] = {{VQ2040, "writes 4 or 5 to the test node instead of a driver command"}};
constexpr chip_note weld_notes[] = {{VQ2040, "DBB number, efuse status"},
                                    {VQ2050 | VQ2070, "DBB number, efuse status, pins, wake-up IO, PCIe"},
                                    {VQ2040A, "DBB number, wake-up IO"}};
constexpr chip_note check_notes[] = {{VQ2050 | VQ2070, "sends 1 once setting 13 was queried, else 0"}};
constexpr chip_note sdio_notes[] = {{VQ2050 | VQ2040A | VQ2070, "stops the WLAN service first"}};
constexpr chip_note nvram_notes[] = {{VQ2050 | VQ2070, "logs a line and gives 0"}};
constexpr chip_note clean_notes[] = {
    {VQ2040, "clears its block whatever the scope; 0 when it could not be written"},
    {VQ2040A, "knows only scope 1"}};
constexpr chip_note cal_get_notes[] = {
    {VQ2040, "the raw block in hexadecimal; 0 below 104 bytes or when unread"}};
constexpr chip_note cal_set_notes[] = {{VQ2040, "reads only mode, band, bandwidth and the gain in dB"},
                                       {VQ2050 | VQ2040A, "an error beyond -500 to 500 is refused"}};
constexpr chip_note upc_notes[] = {{VQ2040A, "0, not 1, when no socket could be opened"}};
constexpr chip_note tas_notes[] = {{VQ2040, "has no such operation"}};
constexpr chip_note age_notes[] = {
    {VQ2040, "driver command 26"}, {VQ2050 | VQ2070, "driver command 37"}, {VQ2040A, "driver command 32"}};
constexpr chip_note loop_notes[] = {{VQ2040 | VQ2050 | VQ2070, "1 without doing anything"}};

constexpr const char *RF_SET = "RF test settings";
constexpr const char *RF = "RF test";
constexpr const char *CHECK = "Hardware self-checks";
constexpr const char *CAL = "Calibration data in NV";
constexpr const char *STATION = "Station utilities";
constexpr const char *ONE = "1 success, 0 failure";
constexpr const char *ZERO = "0 success, 1 failure";

#define CALL(f) .call = typed<decltype(f)>::call

constexpr function table[] = {
    {.name = "wifi_set_power",
     .op = 0,
     .subject = RF_SET,
     .help = "Sets the transmit power.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = ONE,
     .arguments = power_args,
     .meanings = {},
     .notes = power_notes,
     .example = "wifi_set_power 155 -> 1",
     CALL(wifi_set_power)},
    {.name = "wifi_set_mode",
     .op = 1,
     .subject = RF_SET,
     .help = "Sets the protocol mode.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = "1 success, 0 unknown mode",
     .arguments = mode_args,
     .meanings = {},
     .notes = mode_notes,
     .example = "wifi_set_mode 4 -> 1",
     CALL(wifi_set_mode)},
    {.name = "wifi_set_rate",
     .op = 2,
     .subject = RF_SET,
     .help = "Sets the rate.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = "always 1",
     .arguments = rate_args,
     .meanings = {},
     .notes = rate_notes,
     .example = "wifi_set_rate 6500 -> 1",
     CALL(wifi_set_rate)},
    {.name = "wifi_set_band",
     .op = 3,
     .subject = RF_SET,
     .help = "Sets the bandwidth.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = "always 1",
     .arguments = band_args,
     .meanings = {},
     .notes = {},
     .example = "wifi_set_band 1 -> 1",
     CALL(wifi_set_band)},
    {.name = "wifi_set_channel",
     .op = 4,
     .subject = RF_SET,
     .help = "Sets the channel by its centre frequency.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = "always 1",
     .arguments = channel_args,
     .meanings = {},
     .notes = {},
     .example = "wifi_set_channel 2437 -> 1",
     CALL(wifi_set_channel)},
    {.name = "wifi_setmimo_channel",
     .op = 5,
     .subject = RF_SET,
     .help = "Selects the MIMO chain.",
     .chips = VQ2040 | VQ2050 | VQ2070,
     .result = one_is_good,
     .result_help = "1 success, 0 another chain or chip",
     .arguments = chain_args,
     .meanings = {},
     .notes = chain_notes,
     .example = "wifi_setmimo_channel 1 -> 1",
     CALL(wifi_setmimo_channel)},
    {.name = "wifi_set_antenna",
     .op = 8,
     .subject = RF_SET,
     .help = "Selects the antenna; sent at once.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = ONE,
     .arguments = antenna_args,
     .meanings = {},
     .notes = antenna_notes,
     .example = "wifi_set_antenna 1 -> 1",
     CALL(wifi_set_antenna)},
    {.name = "wifi_query_setting",
     .op = 18,
     .subject = RF_SET,
     .help = "Reads a setting back; sends nothing.",
     .chips = ALL_CHIPS,
     .result = value,
     .result_help = "the value; -1 not set or unknown item",
     .arguments = query_args,
     .meanings = query_means,
     .notes = query_notes,
     .example = "wifi_query_setting 5 -> 155",
     CALL(wifi_query_setting)},
    {.name = "wifi_start_testmode",
     .op = 15,
     .subject = RF,
     .help = "Enters test mode and brings wlan0 up.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = "1, also when on already; 0 wlan0 did not come up",
     .arguments = {},
     .meanings = {},
     .notes = testmode_notes,
     .example = "wifi_start_testmode -> 1",
     CALL(wifi_start_testmode)},
    {.name = "wifi_stop_testmode",
     .op = 17,
     .subject = RF,
     .help = "Leaves test mode and takes wlan0 down.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = "1, also when off already; 0 wlan0 did not go down",
     .arguments = {},
     .meanings = {},
     .notes = {},
     .example = "wifi_stop_testmode -> 1",
     CALL(wifi_stop_testmode)},
    {.name = "wifi_start_tx",
     .op = 6,
     .subject = RF,
     .help = "Sends the settings and starts to transmit.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = "1 success, 0 a refusal or no such channel",
     .arguments = {},
     .meanings = {},
     .notes = tx_notes,
     .example = "wifi_start_tx -> 1",
     CALL(wifi_start_tx)},
    {.name = "wifi_stop_tx",
     .op = 7,
     .subject = RF,
     .help = "Stops transmitting.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = ONE,
     .arguments = {},
     .meanings = {},
     .notes = stop_notes,
     .example = "wifi_stop_tx -> 1",
     CALL(wifi_stop_tx)},
    {.name = "wifi_start_rx",
     .op = 9,
     .subject = RF,
     .help = "Sets the address filter and starts to receive.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = "1 success, 0 an illegal digit, no channel or refusal",
     .arguments = rx_args,
     .meanings = {},
     .notes = rx_notes,
     .example = "wifi_start_rx 001122334455 -> 1",
     CALL(wifi_start_rx)},
    {.name = "wifi_stop_rx",
     .op = 10,
     .subject = RF,
     .help = "Stops receiving.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = ONE,
     .arguments = {},
     .meanings = {},
     .notes = stop_notes,
     .example = "wifi_stop_rx -> 1",
     CALL(wifi_stop_rx)},
    {.name = "wifi_get_rx_rssi",
     .op = 11,
     .subject = RF,
     .help = "Reads the signal strength.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = ONE,
     .arguments = rssi_args,
     .meanings = {},
     .notes = {},
     .example = "wifi_get_rx_rssi -> 1 rssi -70..-40",
     CALL(wifi_get_rx_rssi)},
    {.name = "wifi_get_rx_pckg",
     .op = 12,
     .subject = RF,
     .help = "Reads the number of packets received.",
     .chips = ALL_CHIPS,
     .result = value,
     .result_help = "packets; 4294967295 refused; 0 also without a socket",
     .arguments = {},
     .meanings = packet_means,
     .notes = {},
     .example = "wifi_get_rx_pckg -> 1..100000",
     CALL(wifi_get_rx_pckg)},
    {.name = "wifi_ru_set",
     .op = 37,
     .subject = RF,
     .help = "Arms an RU test for the next receive start.",
     .chips = VQ2070,
     .result = one_is_good,
     .result_help = "1 success, 0 for 3 and above",
     .arguments = ru_args,
     .meanings = {},
     .notes = {},
     .example = "wifi_ru_set 2 1a3 -> 1",
     CALL(wifi_ru_set)},
    {.name = "wifi_set_powermode",
     .op = 29,
     .subject = RF,
     .help = "Switches the driver's power save.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = ONE,
     .arguments = powermode_args,
     .meanings = {},
     .notes = {},
     .example = "wifi_set_powermode 1 0 -> 1",
     CALL(wifi_set_powermode)},
    {.name = "wifi_pt_power_test",
     .op = 16,
     .subject = RF,
     .help = "Power test: switches a test mode in the driver.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = ONE,
     .arguments = pt_args,
     .meanings = {},
     .notes = pt_notes,
     .example = "wifi_pt_power_test 1 -> 1",
     CALL(wifi_pt_power_test)},
    {.name = "wifi_hw_get",
     .op = 13,
     .subject = CHECK,
     .help = "FEM/PA status.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = "1 the status is 0, else 0",
     .arguments = unused_args,
     .meanings = {},
     .notes = {},
     .example = "wifi_hw_get -> 1",
     CALL(wifi_hw_get)},
    {.name = "wifi_test_weld",
     .op = 14,
     .subject = CHECK,
     .help = "Solder-joint check; restarts wlan0.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = "1 all passed, 0 at the first failure",
     .arguments = {},
     .meanings = {},
     .notes = weld_notes,
     .example = "wifi_test_weld -> 1",
     CALL(wifi_test_weld)},
    {.name = "conn_test_chipcheck",
     .op = 19,
     .subject = CHECK,
     .help = "Starts the firmware's chip check.",
     .chips = ALL_CHIPS,
     .result = zero_is_good,
     .result_help = ZERO,
     .arguments = chipcheck_args,
     .meanings = {},
     .notes = check_notes,
     .example = "conn_test_chipcheck -> 0",
     CALL(conn_test_chipcheck)},
    {.name = "conn_test_get_chipcheck_result",
     .op = 20,
     .subject = CHECK,
     .help = "Fetches the chip check's result.",
     .chips = ALL_CHIPS,
     .result = zero_is_good,
     .result_help = "the firmware's code; 1 also when refused",
     .arguments = chipcheck_args,
     .meanings = result_means,
     .notes = {},
     .example = "conn_test_get_chipcheck_result -> 0",
     CALL(conn_test_get_chipcheck_result)},
    {.name = "conn_test_get_checktime_of_chipcheck",
     .op = 21,
     .subject = CHECK,
     .help = "Check time and die identifier; restarts wlan0.",
     .chips = ALL_CHIPS,
     .result = zero_is_good,
     .result_help = ZERO,
     .arguments = checktime_args,
     .meanings = {},
     .notes = {},
     .example = "conn_test_get_checktime_of_chipcheck -> 0 check_time 100",
     CALL(conn_test_get_checktime_of_chipcheck)},
    {.name = "conn_test_uart_loop",
     .op = 22,
     .subject = CHECK,
     .help = "UART loop.",
     .chips = ALL_CHIPS,
     .result = zero_is_good,
     .result_help = ZERO,
     .arguments = unused_args,
     .meanings = {},
     .notes = {},
     .example = "conn_test_uart_loop -> 0",
     CALL(conn_test_uart_loop)},
    {.name = "conn_test_sdio_loop",
     .op = 23,
     .subject = CHECK,
     .help = "SDIO loop.",
     .chips = ALL_CHIPS,
     .result = zero_is_good,
     .result_help = ZERO,
     .arguments = unused_args,
     .meanings = {},
     .notes = sdio_notes,
     .example = "conn_test_sdio_loop -> 0",
     CALL(conn_test_sdio_loop)},
    {.name = "wifi_nvram_set",
     .op = 24,
     .subject = CAL,
     .help = "Copies the driver's calibration block to NV.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = ONE,
     .arguments = nvram_set_args,
     .meanings = {},
     .notes = nvram_notes,
     .example = "wifi_nvram_set -> 1",
     CALL(wifi_nvram_set),
     .writes_nv = true},
    {.name = "wifi_nvram_calibrate_clean",
     .op = 25,
     .subject = CAL,
     .help = "Clears stored calibration by scope.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = "1, also when items could not be cleared",
     .arguments = scope_args,
     .meanings = {},
     .notes = clean_notes,
     .example = "wifi_nvram_calibrate_clean 1 -> 1",
     CALL(wifi_nvram_calibrate_clean),
     .writes_nv = true},
    {.name = "wifi_nvram_calibrate_get",
     .op = 26,
     .subject = CAL,
     .help = "Reads all stored calibration as one text.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = "1; vq2040: 0 when nothing could be read",
     .arguments = cal_get_args,
     .meanings = {},
     .notes = cal_get_notes,
     .example = "wifi_nvram_calibrate_get -> 1 text *pa2ga0=*",
     CALL(wifi_nvram_calibrate_get)},
    {.name = "wifi_nvram_calibrate_set",
     .op = 27,
     .subject = CAL,
     .help = "Corrects stored calibration by a measured error.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = "1 every matching parameter was written, else 0",
     .arguments = cal_set_args,
     .meanings = {},
     .notes = cal_set_notes,
     .example = "wifi_nvram_calibrate_set 0 0 0 0 0 2442 10 -> 1",
     CALL(wifi_nvram_calibrate_set),
     .writes_nv = true,
     .merges_nv = true},
    {.name = "wifi_nvram_calibrate_clean_new",
     .op = 38,
     .subject = CAL,
     .help = "Clears stored calibration by flags.",
     .chips = VQ2050 | VQ2070,
     .result = one_is_good,
     .result_help = "always 1",
     .arguments = clean_new_args,
     .meanings = {},
     .notes = {},
     .example = "wifi_nvram_calibrate_clean_new 1,0,0,0 -> 1",
     CALL(wifi_nvram_calibrate_clean_new),
     .writes_nv = true},
    {.name = "wifi_get_upc_code",
     .op = 28,
     .subject = STATION,
     .help = "Reads the UPC code.",
     .chips = ALL_CHIPS,
     .result = value,
     .result_help = "the code; 0 when refused; 1 without a socket",
     .arguments = upc_args,
     .meanings = {},
     .notes = upc_notes,
     .example = "wifi_get_upc_code -> 1..65535",
     CALL(wifi_get_upc_code)},
    {.name = "wifi_set_tas_ant_mode",
     .op = 30,
     .subject = STATION,
     .help = "Switches the TAS antenna.",
     .chips = VQ2050 | VQ2040A | VQ2070,
     .result = one_is_good,
     .result_help = ONE,
     .arguments = tas_args,
     .meanings = {},
     .notes = tas_notes,
     .example = "wifi_set_tas_ant_mode 1 -> 1",
     CALL(wifi_set_tas_ant_mode)},
    {.name = "wifi_start_roam",
     .op = 31,
     .subject = STATION,
     .help = "Roams to an access point.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = ONE,
     .arguments = roam_args,
     .meanings = {},
     .notes = {},
     .example = "wifi_start_roam 02:00:00:00:01:00 -> 1",
     CALL(wifi_start_roam)},
    {.name = "wifi_start_roam_scan",
     .op = 32,
     .subject = STATION,
     .help = "Starts a scan.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = ONE,
     .arguments = {},
     .meanings = {},
     .notes = {},
     .example = "wifi_start_roam_scan -> 1",
     CALL(wifi_start_roam_scan)},
    {.name = "wifi_set_bss_expire_age",
     .op = 33,
     .subject = STATION,
     .help = "Sets how long scan results stay valid, in driver and supplicant.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = "1 both took it, else 0",
     .arguments = age_args,
     .meanings = {},
     .notes = age_notes,
     .example = "wifi_set_bss_expire_age 180 -> 1",
     CALL(wifi_set_bss_expire_age)},
    {.name = "wifi_conn_info",
     .op = 34,
     .subject = STATION,
     .help = "Reads the connection.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = ONE,
     .arguments = conn_args,
     .meanings = {},
     .notes = {},
     .example = "wifi_conn_info -> 1 ssid * rssi -80..-30",
     CALL(wifi_conn_info)},
    {.name = "wifi_power_set_range",
     .op = 35,
     .subject = STATION,
     .help = "The power range.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = "always 1",
     .arguments = range_args,
     .meanings = {},
     .notes = {},
     .example = "wifi_power_set_range -> 1 lower 0 upper 14",
     CALL(wifi_power_set_range)},
    {.name = "wifi_selcal_disable_set",
     .op = 36,
     .subject = STATION,
     .help = "Records the self-calibration switch for the next start of test mode.",
     .chips = VQ2050 | VQ2040A | VQ2070,
     .result = one_is_good,
     .result_help = "always 1",
     .arguments = selcal_args,
     .meanings = {},
     .notes = tas_notes,
     .example = "wifi_selcal_disable_set 1 -> 1",
     CALL(wifi_selcal_disable_set)},
    {.name = "wifi_test_broadcast_loop",
     .op = 39,
     .subject = STATION,
     .help = "Broadcast loop.",
     .chips = ALL_CHIPS,
     .result = one_is_good,
     .result_help = ONE,
     .arguments = loop_args,
     .meanings = {},
     .notes = loop_notes,
     .example = "wifi_test_broadcast_loop 1 -> 1",
     CALL(wifi_test_broadcast_loop)},
    {.name = "wifi_get_func",
     .op = -1,
     .subject = "Dispatch",
     .help = "Names the fitted chip's back-end function for an operation.",
     .chips = ALL_CHIPS,
     .result = function_pointer,
     .result_help = "the function's name; null for none",
     .arguments = op_args,
     .meanings = {},
     .notes = {},
     .example = "wifi_get_func 0 -> *_wifi_set_power",
     CALL(wifi_get_func)},
};

}  // namespace

size_t function::most_inputs() const {
  return static_cast<size_t>(std::ranges::count_if(arguments, [](auto &a) { return !a.is_output(); }));
}

size_t function::least_inputs() const {
  return static_cast<size_t>(
      std::ranges::count_if(arguments, [](auto &a) { return !a.is_output() && !a.fallback; }));
}

std::span<const function> functions() { return table; }

const function *find_function(std::string_view name) {
  auto found = std::ranges::find(table, name, &function::name);
  return found == std::end(table) ? nullptr : found;
}

judgement judge(const function &f, const returned &result) {
  for (auto &m : f.meanings)
    if (m.value == result.number) return {m.good ? outcome::good : outcome::bad, m.text};
  bool one = f.result == one_is_good;
  switch (f.result) {
  case value: return {outcome::plain, ""};
  case function_pointer: return {result.pointer ? outcome::good : outcome::plain, ""};
  default: break;
  }
  if (result.number == (one ? 1 : 0)) return {outcome::good, "success"};
  if (result.number == (one ? 0 : 1)) return {outcome::bad, "failure"};
  return {outcome::bad, "a code that is neither success nor failure"};
}

std::string usage(const function &f) {
  std::string line = f.name;
  for (auto &a : f.arguments)
    if (!a.is_output())
      line += a.fallback ? fmt::format(" [{}]", upper(a.name)) : fmt::format(" {}", upper(a.name));
  return line;
}

}  // namespace console
