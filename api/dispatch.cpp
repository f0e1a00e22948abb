#include "api/dispatch.h"

#include "include/vq2040.h"
#include "include/vq2040a.h"
#include "include/vq2050.h"
#include "include/vq2070.h"
#include "platform/platform.h"

namespace orva {

// Spelt out in the table, so that it is laid down at build time.
#define FUNC(name) reinterpret_cast<wifi_func_t>(name)

const func_row g_func[OPERATIONS + 1] = {
    {0,
     {FUNC(vq2040_wifi_set_power), FUNC(vq2050_wifi_set_power), FUNC(vq2040a_wifi_set_power),
      FUNC(vq2070_wifi_set_power)}},
    {1,
     {FUNC(vq2040_wifi_set_mode), FUNC(vq2050_wifi_set_mode), FUNC(vq2040a_wifi_set_mode),
      FUNC(vq2070_wifi_set_mode)}},
    {2,
     {FUNC(vq2040_wifi_set_rate), FUNC(vq2050_wifi_set_rate), FUNC(vq2040a_wifi_set_rate),
      FUNC(vq2070_wifi_set_rate)}},
    {3,
     {FUNC(vq2040_wifi_set_band), FUNC(vq2050_wifi_set_band), FUNC(vq2040a_wifi_set_band),
      FUNC(vq2070_wifi_set_band)}},
    {4,
     {FUNC(vq2040_wifi_set_channel), FUNC(vq2050_wifi_set_channel), FUNC(vq2040a_wifi_set_channel),
      FUNC(vq2070_wifi_set_channel)}},
    {5,
     {FUNC(vq2040_wifi_setmimo_channel), FUNC(vq2050_wifi_setmimo_channel), nullptr,
      FUNC(vq2070_wifi_setmimo_channel)}},
    {6,
     {FUNC(vq2040_wifi_start_tx), FUNC(vq2050_wifi_start_tx), FUNC(vq2040a_wifi_start_tx),
      FUNC(vq2070_wifi_start_tx)}},
    {7,
     {FUNC(vq2040_wifi_stop_tx), FUNC(vq2050_wifi_stop_tx), FUNC(vq2040a_wifi_stop_tx),
      FUNC(vq2070_wifi_stop_tx)}},
    {8,
     {FUNC(vq2040_wifi_set_antenna), FUNC(vq2050_wifi_set_antenna), FUNC(vq2040a_wifi_set_antenna),
      FUNC(vq2070_wifi_set_antenna)}},
    {9,
     {FUNC(vq2040_wifi_start_rx), FUNC(vq2050_wifi_start_rx), FUNC(vq2040a_wifi_start_rx),
      FUNC(vq2070_wifi_start_rx)}},
    {10,
     {FUNC(vq2040_wifi_stop_rx), FUNC(vq2050_wifi_stop_rx), FUNC(vq2040a_wifi_stop_rx),
      FUNC(vq2070_wifi_stop_rx)}},
    {11,
     {FUNC(vq2040_wifi_get_rx_rssi), FUNC(vq2050_wifi_get_rx_rssi), FUNC(vq2040a_wifi_get_rx_rssi),
      FUNC(vq2070_wifi_get_rx_rssi)}},
    {12,
     {FUNC(vq2040_wifi_get_rx_pckg), FUNC(vq2050_wifi_get_rx_pckg), FUNC(vq2040a_wifi_get_rx_pckg),
      FUNC(vq2070_wifi_get_rx_pckg)}},
    {13,
     {FUNC(vq2040_wifi_hw_get), FUNC(vq2050_wifi_hw_get), FUNC(vq2040a_wifi_hw_get),
      FUNC(vq2070_wifi_hw_get)}},
    {14,
     {FUNC(vq2040_wifi_test_weld), FUNC(vq2050_wifi_test_weld), FUNC(vq2040a_wifi_test_weld),
      FUNC(vq2070_wifi_test_weld)}},
    {15,
     {FUNC(vq2040_wifi_start_testmode), FUNC(vq2050_wifi_start_testmode), FUNC(vq2040a_wifi_start_testmode),
      FUNC(vq2070_wifi_start_testmode)}},
    {16,
     {FUNC(vq2040_wifi_pt_power_test), FUNC(vq2050_wifi_pt_power_test), FUNC(vq2040a_wifi_pt_power_test),
      FUNC(vq2070_wifi_pt_power_test)}},
    {17,
     {FUNC(vq2040_wifi_stop_testmode), FUNC(vq2050_wifi_stop_testmode), FUNC(vq2040a_wifi_stop_testmode),
      FUNC(vq2070_wifi_stop_testmode)}},
    {18,
     {FUNC(vq2040_wifi_query_setting), FUNC(vq2050_wifi_query_setting), FUNC(vq2040a_wifi_query_setting),
      FUNC(vq2070_wifi_query_setting)}},
    {19,
     {FUNC(vq2040_conn_test_chipcheck), FUNC(vq2050_conn_test_chipcheck), FUNC(vq2040a_conn_test_chipcheck),
      FUNC(vq2070_conn_test_chipcheck)}},
    {20,
     {FUNC(vq2040_conn_test_get_chipcheck_result), FUNC(vq2050_conn_test_get_chipcheck_result),
      FUNC(vq2040a_conn_test_get_chipcheck_result), FUNC(vq2070_conn_test_get_chipcheck_result)}},
    {21,
     {FUNC(vq2040_conn_test_get_checktime_of_chipcheck), FUNC(vq2050_conn_test_get_checktime_of_chipcheck),
      FUNC(vq2040a_conn_test_get_checktime_of_chipcheck), FUNC(vq2070_conn_test_get_checktime_of_chipcheck)}},
    {22,
     {FUNC(vq2040_conn_test_uart_loop), FUNC(vq2050_conn_test_uart_loop), FUNC(vq2040a_conn_test_uart_loop),
      FUNC(vq2070_conn_test_uart_loop)}},
    {23,
     {FUNC(vq2040_conn_test_sdio_loop), FUNC(vq2050_conn_test_sdio_loop), FUNC(vq2040a_conn_test_sdio_loop),
      FUNC(vq2070_conn_test_sdio_loop)}},
    {24,
     {FUNC(vq2040_wifi_nvram_set), FUNC(vq2050_wifi_nvram_set), FUNC(vq2040a_wifi_nvram_set),
      FUNC(vq2070_wifi_nvram_set)}},
    {25,
     {FUNC(vq2040_wifi_nvram_calibrate_clean), FUNC(vq2050_wifi_nvram_calibrate_clean),
      FUNC(vq2040a_wifi_nvram_calibrate_clean), FUNC(vq2070_wifi_nvram_calibrate_clean)}},
    {26,
     {FUNC(vq2040_wifi_nvram_calibrate_get), FUNC(vq2050_wifi_nvram_calibrate_get),
      FUNC(vq2040a_wifi_nvram_calibrate_get), FUNC(vq2070_wifi_nvram_calibrate_get)}},
    {27,
     {FUNC(vq2040_wifi_nvram_calibrate_set), FUNC(vq2050_wifi_nvram_calibrate_set),
      FUNC(vq2040a_wifi_nvram_calibrate_set), FUNC(vq2070_wifi_nvram_calibrate_set)}},
    {28,
     {FUNC(vq2040_wifi_get_upc_code), FUNC(vq2050_wifi_get_upc_code), FUNC(vq2040a_wifi_get_upc_code),
      FUNC(vq2070_wifi_get_upc_code)}},
    {29,
     {FUNC(vq2040_wifi_set_powermode), FUNC(vq2050_wifi_set_powermode), FUNC(vq2040a_wifi_set_powermode),
      FUNC(vq2070_wifi_set_powermode)}},
    {30,
     {nullptr, FUNC(vq2050_wifi_set_tas_ant_switch), FUNC(vq2040a_wifi_set_tas_ant_switch),
      FUNC(vq2070_wifi_set_tas_ant_switch)}},
    {31,
     {FUNC(vq2040_wifi_start_roam), FUNC(vq2050_wifi_start_roam), FUNC(vq2040a_wifi_start_roam),
      FUNC(vq2070_wifi_start_roam)}},
    {32,
     {FUNC(vq2040_wifi_start_roam_scan), FUNC(vq2050_wifi_start_roam_scan),
      FUNC(vq2040a_wifi_start_roam_scan), FUNC(vq2070_wifi_start_roam_scan)}},
    {33,
     {FUNC(vq2040_wifi_set_bss_expire_age), FUNC(vq2050_wifi_set_bss_expire_age),
      FUNC(vq2040a_wifi_set_bss_expire_age), FUNC(vq2070_wifi_set_bss_expire_age)}},
    {34,
     {FUNC(vq2040_wifi_conn_info), FUNC(vq2050_wifi_conn_info), FUNC(vq2040a_wifi_conn_info),
      FUNC(vq2070_wifi_conn_info)}},
    {35,
     {FUNC(vq2040_wifi_power_set_range), FUNC(vq2050_wifi_power_set_range),
      FUNC(vq2040a_wifi_power_set_range), FUNC(vq2070_wifi_power_set_range)}},
    {36,
     {nullptr, FUNC(vq2050_wifi_selcal_disable_set), FUNC(vq2040a_wifi_selcal_disable_set),
      FUNC(vq2070_wifi_selcal_disable_set)}},
    {37, {nullptr, nullptr, nullptr, FUNC(vq2070_wifi_ru_set)}},
    {38,
     {nullptr, FUNC(vq2050_wifi_nvram_calibrate_clean_new), nullptr,
      FUNC(vq2070_wifi_nvram_calibrate_clean_new)}},
    {39, {nullptr, nullptr, FUNC(vq2040a_wifi_test_broadcast_loop), nullptr}},
    {40, {nullptr, nullptr, nullptr, nullptr}},
};

#undef FUNC

namespace {

const func_row &find_row(uint8_t op_id) {
  uint32_t i = 0;
  while (i < OPERATIONS && g_func[i].op_id != op_id) i++;
  return g_func[i];
}

wifi_func_t fitted_func(uint32_t op_id) {
  const func_row &row = find_row(static_cast<uint8_t>(op_id));
  const uint32_t subchip = get_orva_connectivity_subchip();
  return subchip < CHIPS ? row.func[subchip] : nullptr;
}

/// Calls the fitted chip's back end; logs `missing` where there is none.
template <typename Result, typename... Arguments>
Result call(uint8_t op_id, const char *missing, Arguments... arguments) {
  const wifi_func_t func = fitted_func(op_id);
  if (func == nullptr) {
    __android_log_print(ORVA_LOG_ERROR, "WIFI_ORVA_FAC_TEST", "%s", missing);
    return 0;
  }
  return reinterpret_cast<Result (*)(Arguments...)>(func)(arguments...);
}

}  // namespace

}  // namespace orva

using namespace orva;

wifi_func_t wifi_get_func(uint32_t op_id) { return fitted_func(op_id); }

uint32_t wifi_set_power(int32_t power) {
  return call<uint32_t>(0, "wifi_set_power::funcname is null.\n", power);
}

uint32_t wifi_set_mode(int32_t at_mode) {
  return call<uint32_t>(1, "wifi_set_mode::funcname is null.\n", at_mode);
}

uint32_t wifi_set_rate(int32_t rate) { return call<uint32_t>(2, "wifi_set_rate::funcname is null.\n", rate); }

uint32_t wifi_set_band(int32_t band) { return call<uint32_t>(3, "wifi_set_band::funcname is null.\n", band); }

uint32_t wifi_set_channel(int32_t channel) {
  return call<uint32_t>(4, "wifi_set_channel::funcname is null.\n", channel);
}

uint32_t wifi_setmimo_channel(int32_t chain) {
  return call<uint32_t>(5, "wifi_setmimo_channel::funcname is null.\n", chain);
}

uint32_t wifi_start_tx() { return call<uint32_t>(6, "wifi_start_tx::funcname is null.\n"); }

uint32_t wifi_stop_tx() { return call<uint32_t>(7, "wifi_stop_tx::funcname is null.\n"); }

uint32_t wifi_set_antenna(int32_t antenna) {
  return call<uint32_t>(8, "wifi_set_antenna::funcname is null.\n", antenna);
}

uint32_t wifi_start_rx(const char *mac, const char *unused) {
  return call<uint32_t>(9, "wifi_start_rx::funcname is null.\n", mac, unused);
}

uint32_t wifi_stop_rx() { return call<uint32_t>(10, "wifi_stop_rx::funcname is null.\n"); }

uint32_t wifi_get_rx_rssi(uint32_t *rssi) {
  return call<uint32_t>(11, "wifi_get_rx_rssi::funcname is null.\n", rssi);
}

uint32_t wifi_get_rx_pckg() { return call<uint32_t>(12, "wifi_get_rx_pckg::funcname is null.\n"); }

uint32_t wifi_hw_get(const void *unused) {
  return call<uint32_t>(13, "wifi_hw_get::funcname is null.\n", unused);
}

uint32_t wifi_test_weld() { return call<uint32_t>(14, "wifi_test_weld::funcname is null.\n"); }

uint32_t wifi_start_testmode() { return call<uint32_t>(15, "wifi_start_testmode::funcname is null.\n"); }

uint32_t wifi_pt_power_test(int32_t mode) {
  return call<uint32_t>(16, "wifi_pt_power_test::funcname is null.\n", mode);
}

uint32_t wifi_stop_testmode() { return call<uint32_t>(17, "wifi_stop_testmode::funcname is null.\n"); }

int32_t wifi_query_setting(int32_t item) {
  return call<int32_t>(18, "wifi_query_setting::funcname is null.\n", item);
}

uint32_t conn_test_chipcheck(const void *first, const void *second, const void *third) {
  return call<uint32_t>(19, "conn_test_chipcheck::funcname is null.\n", first, second, third);
}

uint32_t conn_test_get_chipcheck_result(uint8_t *first, uint8_t *second, uint32_t *third) {
  return call<uint32_t>(20, "conn_test_get_chipcheck_result::funcname is null.\n", first, second, third);
}

uint32_t conn_test_get_checktime_of_chipcheck(const void *unused, uint32_t *check_time, uint8_t *die_id) {
  return call<uint32_t>(21, "conn_test_get_checktime_of_chipcheck::funcname is null.\n", unused, check_time,
                        die_id);
}

uint32_t conn_test_uart_loop(const void *unused) {
  return call<uint32_t>(22, "conn_test_uart_loop::funcname is null.\n", unused);
}

uint32_t conn_test_sdio_loop(const void *unused) {
  return call<uint32_t>(23, "conn_test_sdio_loop::funcname is null.\n", unused);
}

uint32_t wifi_nvram_set(const void *first, const void *second, int32_t third) {
  return call<uint32_t>(24, "wifi_nvram_set::funcname is null.\n", first, second, third);
}

uint32_t wifi_nvram_calibrate_clean(int32_t scope) {
  return call<uint32_t>(25, "wifi_nvram_calibrate_clean::funcname is null.\n", scope);
}

uint32_t wifi_nvram_calibrate_get(char *out, int32_t size) {
  return call<uint32_t>(26, "wifi_nvram_calibrate_get::funcname is null.\n", out, size);
}

uint32_t wifi_nvram_calibrate_set(int32_t cal_type, int32_t group, int32_t mode, int32_t band,
                                  int32_t bandwidth, int32_t freq, const char *delta_gain) {
  return call<uint32_t>(27, "wifi_nvram_calibrate_set::funcname is null.\n", cal_type, group, mode, band,
                        bandwidth, freq, delta_gain);
}

uint32_t wifi_get_upc_code(uint8_t *out1, uint8_t *out2, uint8_t *upc) {
  return call<uint32_t>(28, "wifi_get_upc_code::funcname is null.\n", out1, out2, upc);
}

uint32_t wifi_set_powermode(int32_t mode, int32_t value) {
  return call<uint32_t>(29, "wifi_set_powermode::funcname is null.\n", mode, value);
}

uint32_t wifi_set_tas_ant_mode(int32_t value) {
  return call<uint32_t>(30, "wifi_set_tas_ant_mode::funcname is null.\n", value);
}

uint32_t wifi_start_roam(const char *target) {
  return call<uint32_t>(31, "wifi_start_roam::funcname is null.\n", target);
}

uint32_t wifi_start_roam_scan() { return call<uint32_t>(32, "wifi_start_roam_scan::funcname is null.\n"); }

uint32_t wifi_set_bss_expire_age(int32_t age) {
  return call<uint32_t>(33, "wifi_set_bss_expire_age::funcname is null.\n", age);
}

uint32_t wifi_conn_info(char *ssid, uint8_t *bssid, uint8_t *rssi) {
  return call<uint32_t>(34, "wifi_conn_info::funcname is null.\n", ssid, bssid, rssi);
}

uint32_t wifi_power_set_range(uint8_t *lower, uint8_t *upper) {
  return call<uint32_t>(35, "wifi_power_set_range::funcname is null.\n", lower, upper);
}

uint32_t wifi_selcal_disable_set(int32_t flag) {
  return call<uint32_t>(36, "wifi_selcal_disable_set::funcname is null.\n", flag);
}

uint32_t wifi_ru_set(int32_t en_set, const char *aid) {
  return call<uint32_t>(37, "wifi_ru_set::funcname is null.\n", en_set, aid);
}

uint32_t wifi_nvram_calibrate_clean_new(const uint32_t *flags) {
  return call<uint32_t>(38, "wifi_nvram_clean_new::funcname is null.\n", flags);
}

// Not through the table: the other chips answer success without doing anything.
uint32_t wifi_test_broadcast_loop(int32_t value) {
  return get_orva_connectivity_subchip() == 2 ? vq2040a_wifi_test_broadcast_loop(value) : 1;
}
