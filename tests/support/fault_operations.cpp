// SPDX-License-Identifier: Apache-2.0
#include "tests/support/fault_operations.h"

#include <unistd.h>

#include <utility>

#include "include/calibration_types.h"

namespace sweep {
namespace {

using enum before;
using pointer = const void *;

const pointer null = nullptr;
constexpr int32_t nothing32 = 0;

/// Calls with these arguments.
template <typename Result, typename... Arguments> call_operation with(Arguments... arguments) {
  return [=](void *function, outputs &) -> int64_t {
    auto *typed = reinterpret_cast<Result (*)(Arguments...)>(function);
    if constexpr (std::is_void_v<Result>) {
      typed(arguments...);
      return 1;
    } else {
      return static_cast<int64_t>(typed(arguments...));
    }
  };
}

template <typename... Arguments> call_operation u32(Arguments... arguments) {
  return with<uint32_t>(arguments...);
}

/// The first outputs as pointers of the wanted types.
template <typename... Outputs, size_t... I> call_operation filling(std::index_sequence<I...>) {
  return [](void *function, outputs &out) -> int64_t {
    return reinterpret_cast<uint32_t (*)(Outputs...)>(function)(
        reinterpret_cast<Outputs>(out.small[I].data())...);
  };
}
template <typename... Outputs> call_operation filling() {
  return filling<Outputs...>(std::index_sequence_for<Outputs...>{});
}

int64_t fill_check_time(void *function, outputs &out) {
  return reinterpret_cast<uint32_t (*)(pointer, uint32_t *, uint8_t *)>(function)(
      nullptr, reinterpret_cast<uint32_t *>(out.small[0].data()), out.small[1].data());
}

int64_t fill_calibration(void *function, outputs &out) {
  return reinterpret_cast<uint32_t (*)(char *, int32_t)>(function)(reinterpret_cast<char *>(out.text.data()),
                                                                   104);
}

int64_t fill_command_output(void *function, outputs &out) {
  return reinterpret_cast<int32_t (*)(const char *, char *, uint32_t)>(function)(
      "netcfg", reinterpret_cast<char *>(out.text.data()), 40);
}

int64_t fill_item(void *function, outputs &out) {
  return reinterpret_cast<int32_t (*)(char *, uint32_t, uint32_t, const char *)>(function)(
      reinterpret_cast<char *>(out.text.data()), 104, 367, "WITXCCK");
}

int64_t fill_one_channel(void *function, outputs &out) {
  return reinterpret_cast<uint32_t (*)(int32_t, int32_t, uint32_t *)>(function)(
      5180, 0, reinterpret_cast<uint32_t *>(out.small[0].data()));
}

int64_t fill_target_channel(void *function, outputs &out) {
  return reinterpret_cast<uint32_t (*)(uint32_t, int32_t, uint32_t, uint32_t *)>(function)(
      0, 0, 2412, reinterpret_cast<uint32_t *>(out.small[0].data()));
}

constexpr uint32_t values[] = {1, 4294967295, 3};

int64_t fill_parameter(void *function, outputs &out) {
  out.text[0] = 0;
  reinterpret_cast<void (*)(char *, uint32_t, const char *, const uint32_t *, uint32_t)>(function)(
      reinterpret_cast<char *>(out.text.data()), 104, "pa2ga0", values, 3);
  return 1;
}

/// One instance for each mode.
template <uint32_t mode> int64_t fill_entry(void *function, outputs &out) {
  const orva_nvbuf_request request = {367, "WITXCCK", ORVA_NV_ITEM_SIZE, "pa2gccka0", 3, values};
  out.text[0] = 0;
  reinterpret_cast<void (*)(char *, uint32_t, const orva_nvbuf_request *, uint32_t)>(function)(
      reinterpret_cast<char *>(out.text.data()), 104, &request, mode);
  return 1;
}

/// Chips with one chain take no chain.
template <typename... Chain> call_operation look_up(Chain... chain) {
  return [=](void *function, outputs &) -> int64_t {
    auto *typed =
        reinterpret_cast<orva_cal_lookup (*)(Chain..., uint32_t, uint32_t, uint32_t, int32_t)>(function);
    return typed(chain..., 0, 1, 0, 5180).count;
  };
}

int64_t store_value(void *function, outputs &out) {
  reinterpret_cast<void (*)(uint8_t *, uint32_t)>(function)(out.small[0].data(), 0x01020304);
  return 1;
}

/// Opens a socket and closes it.
int64_t open_and_close(void *function, outputs &) {
  const uint32_t socket = reinterpret_cast<uint32_t (*)()>(function)();
  if (socket == 0) return 0;
  close(static_cast<int>(socket));
  return 1;
}

int64_t close_opened(void *function, outputs &out) {
  return reinterpret_cast<int32_t (*)(uint32_t)>(function)(out.socket);
}

int64_t probe(void *function, outputs &out) {
  return reinterpret_cast<int32_t (*)(uint32_t, const char *)>(function)(out.socket, "wlan0");
}

const std::vector<int64_t> yes = {1}, no = {0}, zero = {0}, one = {1}, any = {};
constexpr uint32_t all_flags[] = {1, 1, 1, 1};

void add_settings(std::vector<operation> &all, bool back_end) {
  const auto add = [&](const char *name, before needs, const call_operation &call) {
    all.push_back({name, back_end, needs, yes, no, call});
  };
  add("wifi_set_power", nothing, u32(int32_t{155}));
  add("wifi_set_power", test_mode, u32(int32_t{155}));
  add("wifi_set_mode", nothing, u32(int32_t{4}));
  add("wifi_set_rate", nothing, u32(int32_t{6500}));
  add("wifi_set_band", nothing, u32(int32_t{1}));
  add("wifi_set_channel", nothing, u32(int32_t{2437}));
  all.push_back({"wifi_setmimo_channel", back_end, nothing, any, no, u32(int32_t{2})});
  all.push_back({"wifi_set_antenna", back_end, nothing, any, no, u32(int32_t{1})});
  all.push_back({"wifi_query_setting", back_end, settings, any, {}, with<int32_t>(int32_t{3})});
}

void add_rf_test(std::vector<operation> &all, bool back_end) {
  const auto add = [&](const char *name, before needs, const call_operation &call) {
    all.push_back({name, back_end, needs, yes, no, call});
  };
  add("wifi_start_testmode", nothing, u32());
  add("wifi_start_testmode", test_mode, u32());
  add("wifi_stop_testmode", test_mode, u32());
  add("wifi_stop_testmode", receiving, u32());
  add("wifi_start_tx", test_mode, u32());
  add("wifi_stop_tx", transmitting, u32());
  add("wifi_start_rx", test_mode, u32(static_cast<const char *>("0a1B2c3D4e5F"), null));
  add("wifi_start_rx", ru_test, u32(static_cast<const char *>(nullptr), null));
  add("wifi_stop_rx", receiving, u32());
  all.push_back({"wifi_get_rx_rssi", back_end, receiving, yes, no, filling<uint32_t *>(), 0, {4}});
  all.push_back({.name = "wifi_get_rx_pckg",
                 .back_end = back_end,
                 .needs = receiving,
                 .good = any,
                 .bad = {0, 0xFFFFFFFF},
                 .call = u32(),
                 .varies = true});
  add("wifi_ru_set", nothing, u32(int32_t{2}, static_cast<const char *>("0a5")));
  add("wifi_set_powermode", nothing, u32(int32_t{1}, int32_t{0}));
  add("wifi_pt_power_test", nothing, u32(int32_t{1}));
}

void add_self_checks(std::vector<operation> &all, bool back_end) {
  const auto add = [&](const char *name, const std::vector<int64_t> &good, const std::vector<int64_t> &bad,
                       const call_operation &call) {
    all.push_back({name, back_end, nothing, good, bad, call});
  };
  add("wifi_hw_get", yes, no, u32(null));
  add("wifi_test_weld", yes, no, u32());
  add("conn_test_chipcheck", zero, one, u32(null, null, null));
  add("conn_test_get_chipcheck_result", zero, one, u32(null, null, null));
  all.push_back(
      {"conn_test_get_checktime_of_chipcheck", back_end, nothing, zero, one, fill_check_time, 0, {4, 36}});
  add("conn_test_uart_loop", zero, one, u32(null));
  add("conn_test_sdio_loop", zero, one, u32(null));
}

void add_calibration(std::vector<operation> &all, bool back_end) {
  const auto add = [&](const char *name, const call_operation &call) {
    all.push_back({name, back_end, calibrated, yes, no, call});
  };
  const auto correct = [](int32_t group, int32_t mode, int32_t band, int32_t bandwidth, int32_t freq,
                          const char *error) {
    return u32(nothing32, group, mode, band, bandwidth, freq, error);
  };
  all.push_back({"wifi_nvram_set", back_end, nothing, any, no, u32(null, null, nothing32)});
  for (int32_t scope = 1; scope <= 5; scope++) add("wifi_nvram_calibrate_clean", u32(scope));
  add("wifi_nvram_calibrate_clean_new", u32(static_cast<const uint32_t *>(all_flags)));
  all.push_back({"wifi_nvram_calibrate_get", back_end, calibrated, yes, no, fill_calibration, 16 * 104});
  add("wifi_nvram_calibrate_set", correct(0, 2, 0, 0, 2442, "1.5"));
  // With nothing stored the driver is asked, or a start text is corrected.
  for (const before needs : {nothing, calibrated}) {
    all.push_back({"wifi_nvram_calibrate_set", back_end, needs, any, no, correct(0, 0, 0, 0, 2442, "12")});
    all.push_back({"wifi_nvram_calibrate_set", back_end, needs, any, no, correct(0, 0, 0, 0, 2412, "-7")});
    all.push_back({"wifi_nvram_calibrate_set", back_end, needs, any, no, correct(0, 0, 1, 0, 5180, "12")});
    all.push_back({"wifi_nvram_calibrate_set", back_end, needs, any, no, correct(1, 0, 1, 3, 5250, "3")});
  }
}

void add_station(std::vector<operation> &all, bool back_end) {
  const auto add = [&](const char *name, const call_operation &call) {
    all.push_back({name, back_end, nothing, yes, no, call});
  };
  all.push_back({"wifi_get_upc_code",
                 back_end,
                 nothing,
                 any,
                 {0, 1},
                 filling<uint8_t *, uint8_t *, uint8_t *>(),
                 0,
                 {1, 1, 1}});
  add(back_end ? "wifi_set_tas_ant_switch" : "wifi_set_tas_ant_mode", u32(int32_t{1}));
  add("wifi_start_roam", u32(static_cast<const char *>("02:00:5E:10:20:31")));
  add("wifi_start_roam_scan", u32());
  add("wifi_set_bss_expire_age", u32(int32_t{60}));
  all.push_back(
      {"wifi_conn_info", back_end, nothing, yes, no, filling<char *, uint8_t *, uint8_t *>(), 0, {33, 6, 1}});
  all.push_back(
      {"wifi_power_set_range", back_end, nothing, yes, {}, filling<uint8_t *, uint8_t *>(), 0, {1, 1}});
  add("wifi_selcal_disable_set", u32(int32_t{1}));
  add("wifi_test_broadcast_loop", u32(int32_t{1}));
}

/// Functions that only back ends export.
void add_driver_and_shell(std::vector<operation> &all) {
  const auto add = [&](const char *name, const std::vector<int64_t> &good, const std::vector<int64_t> &bad,
                       const call_operation &call) {
    all.push_back({name, true, nothing, good, bad, call});
  };
  add("wl_config_sockets_open", yes, no, open_and_close);
  all.push_back({.name = "wl_config_sockets_close",
                 .back_end = true,
                 .needs = open_socket,
                 .good = zero,
                 .bad = {-1},
                 .call = close_opened,
                 .says_nothing = true,
                 .closes_socket = true});
  all.push_back({"system_call",
                 true,
                 nothing,
                 zero,
                 {-1, 1 << 8, 127 << 8},
                 with<int32_t>(static_cast<const char *>("ifconfig wlan0 up")),
                 0,
                 {},
                 true});
  all.push_back({"run_cmd_by_stream", true, nothing, yes, no, fill_command_output, 40});
  add("try_to_boot_up", zero, one, with<int32_t>());
  add("check_securef_ret", yes, no, with<void>(int32_t{1}));
  add("atoi", any, no, u32('a'));
  for (const char *name : {"freq", "pow", "mode", "rate", "band", "tx", "rx", "pm", "ant", "mimo", "bus_chan",
                           "pt", "tas_ant", "bss"}) {
    static std::vector<std::string> names;
    names.reserve(14);
    names.push_back(std::string("ioctl_data_") + name + "_set");
    all.push_back({names.back().c_str(), true, nothing, yes, no, store_value, 0, {4}});
  }
}

void add_single_steps(std::vector<operation> &all) {
  const auto add = [&](const char *name, before needs, const call_operation &call) {
    all.push_back({name, true, needs, yes, no, call});
  };
  add("wifi_ioctl_set_power", test_mode, u32(int32_t{155}));
  add("wifi_ioctl_set_mode", test_mode, u32(uint32_t{4}, int32_t{2412}));
  add("wifi_ioctl_set_band", test_mode, u32(uint32_t{2}));
  add("wifi_ioctl_set_channel", test_mode, u32(uint32_t{2412}));
  add("wifi_ioctl_setmimo_channel", test_mode, u32(uint32_t{1}));
  all.push_back({"wifi_get_channel_by_bw_freq", true, nothing, yes, no, fill_one_channel, 0, {4}});
  all.push_back({"get_target_channel", true, nothing, yes, no, fill_target_channel, 0, {4}});
  all.push_back({"get_5g_band", true, nothing, zero, {-1}, with<int32_t>(int32_t{5180})});
  add("wifi_set_country_all", test_mode, u32());
  add("wifi_set_dyn_interval", test_mode, u32());
  add("wifi_set_selfcali_interval", test_mode, u32());
  add("wifi_set_pm_switch", nothing, u32(uint32_t{0}));
  add("wifi_set_hw_mac_addr", test_mode, u32(static_cast<const char *>("0a1B2c3D4e5F")));
  add("wifi_ioctl_set_axru", ru_test, u32(uint16_t{0x0A5}));
  for (const char *name : {"wl_config_wifi_dbb_get", "wl_config_wifi_efuse_get", "wl_config_wipin_test",
                           "wl_config_pmu_check", "wl_config_wkup_io_test", "wl_config_pcie_test"}) {
    add(name, open_socket, probe);
  }
  add("wifi_check_pmu", nothing, u32());
  all.push_back({"wifi_get_die_id", true, nothing, zero, one, filling<uint8_t *, uint8_t *>(), 0, {1, 36}});
  add("wifi_set_pcie_sdio_mode", nothing, u32(uint32_t{1}));
}

void add_single_calibration_steps(std::vector<operation> &all) {
  const auto add = [&](const char *name, const call_operation &call) {
    all.push_back({name, true, calibrated, yes, no, call});
  };
  add("clean_all_nvparam", with<uint32_t>());
  for (const char *name : {"clean_nvparam_2G_C0", "clean_nvparam_2G_C1", "clean_nvparam_5G_C0",
                           "clean_nvparam_5G_C1", "clean_nvparam_by_rfcore", "clean_nvparam_by_rffreq"}) {
    add(name, with<uint32_t>(uint32_t{1}));
  }
  add("write_nvpattern_to_nv", with<void>(uint32_t{367}, static_cast<const char *>("WITXCCK"), uint32_t{104},
                                          static_cast<const char *>("pa2gccka1")));
  for (const call_operation call :
       {fill_entry<ORVA_NVBUF_READ>, fill_entry<ORVA_NVBUF_MERGE>, fill_entry<ORVA_NVBUF_KEEP_ONLY>}) {
    all.push_back({"get_nvbuf_by_name", true, calibrated, yes, no, call, 104});
  }
  all.push_back({"param_to_string", true, nothing, yes, no, fill_parameter, 104});
  constexpr const char *lookup = "wifi_get_nvnum_parname_from_at_param";
  all.push_back({.name = lookup,
                 .back_end = true,
                 .needs = nothing,
                 .good = {2},
                 .bad = no,
                 .call = look_up(uint32_t{0}),
                 .beside = "clean_nvparam_2G_C1"});
  all.push_back({.name = lookup,
                 .back_end = true,
                 .needs = nothing,
                 .good = {2},
                 .bad = no,
                 .call = look_up(),
                 .without = "clean_nvparam_2G_C1"});
  for (const char *name : {"check_nvname_2G_normal", "check_nvname_2G_mucal", "check_nvname_5G_normal",
                           "check_nvname_5G_160M"}) {
    all.push_back({name, true, nothing, any, no, u32(static_cast<const char *>("pa2ga0"))});
  }
  all.push_back({"write_wifi_caldata_to_nv",
                 true,
                 nothing,
                 {104},
                 {-1},
                 with<int32_t>(static_cast<pointer>(values), uint32_t{12}),
                 0,
                 {},
                 true});
  all.push_back({"read_wifi_nvram_param_from_nv", true, nothing, any, {-1}, fill_item, 104});
}

std::vector<operation> all_operations() {
  std::vector<operation> all;
  all.push_back({"wifi_get_func", false, nothing, any, {}, u32(uint32_t{0})});
  for (const bool back_end : {false, true}) {
    add_settings(all, back_end);
    add_rf_test(all, back_end);
    add_self_checks(all, back_end);
    add_calibration(all, back_end);
    add_station(all, back_end);
  }
  add_driver_and_shell(all);
  add_single_steps(all);
  add_single_calibration_steps(all);
  return all;
}

}  // namespace

const std::vector<operation> &operations() {
  static const std::vector<operation> all = all_operations();
  return all;
}

}  // namespace sweep
