// SPDX-License-Identifier: Apache-2.0
#include "api/dispatch.h"

#include "include/vq2040.h"
#include "include/vq2040a.h"
#include "include/vq2050.h"
#include "include/vq2070.h"

namespace orva {

// A back end's function as the table stores it. Does not compile if its signature is not the wrapper's.
#define FUNC(wrapper, func) reinterpret_cast<wifi_func_t>(static_cast<decltype(&(wrapper))>(func))
#define ROW(op, wrapper, vq2040, vq2050, vq2040a, vq2070)                                                    \
  {                                                                                                          \
    op, { FUNC(wrapper, vq2040), FUNC(wrapper, vq2050), FUNC(wrapper, vq2040a), FUNC(wrapper, vq2070) }      \
  }

const func_row g_func[OPERATIONS + 1] = {
    ROW(OP_SET_POWER, wifi_set_power, vq2040_wifi_set_power, vq2050_wifi_set_power, vq2040a_wifi_set_power,
        vq2070_wifi_set_power),
    ROW(OP_SET_MODE, wifi_set_mode, vq2040_wifi_set_mode, vq2050_wifi_set_mode, vq2040a_wifi_set_mode,
        vq2070_wifi_set_mode),
    ROW(OP_SET_RATE, wifi_set_rate, vq2040_wifi_set_rate, vq2050_wifi_set_rate, vq2040a_wifi_set_rate,
        vq2070_wifi_set_rate),
    ROW(OP_SET_BAND, wifi_set_band, vq2040_wifi_set_band, vq2050_wifi_set_band, vq2040a_wifi_set_band,
        vq2070_wifi_set_band),
    ROW(OP_SET_CHANNEL, wifi_set_channel, vq2040_wifi_set_channel, vq2050_wifi_set_channel,
        vq2040a_wifi_set_channel, vq2070_wifi_set_channel),
    ROW(OP_SETMIMO_CHANNEL, wifi_setmimo_channel, vq2040_wifi_setmimo_channel, vq2050_wifi_setmimo_channel,
        nullptr, vq2070_wifi_setmimo_channel),
    ROW(OP_START_TX, wifi_start_tx, vq2040_wifi_start_tx, vq2050_wifi_start_tx, vq2040a_wifi_start_tx,
        vq2070_wifi_start_tx),
    ROW(OP_STOP_TX, wifi_stop_tx, vq2040_wifi_stop_tx, vq2050_wifi_stop_tx, vq2040a_wifi_stop_tx,
        vq2070_wifi_stop_tx),
    ROW(OP_SET_ANTENNA, wifi_set_antenna, vq2040_wifi_set_antenna, vq2050_wifi_set_antenna,
        vq2040a_wifi_set_antenna, vq2070_wifi_set_antenna),
    ROW(OP_START_RX, wifi_start_rx, vq2040_wifi_start_rx, vq2050_wifi_start_rx, vq2040a_wifi_start_rx,
        vq2070_wifi_start_rx),
    ROW(OP_STOP_RX, wifi_stop_rx, vq2040_wifi_stop_rx, vq2050_wifi_stop_rx, vq2040a_wifi_stop_rx,
        vq2070_wifi_stop_rx),
    ROW(OP_GET_RX_RSSI, wifi_get_rx_rssi, vq2040_wifi_get_rx_rssi, vq2050_wifi_get_rx_rssi,
        vq2040a_wifi_get_rx_rssi, vq2070_wifi_get_rx_rssi),
    ROW(OP_GET_RX_PCKG, wifi_get_rx_pckg, vq2040_wifi_get_rx_pckg, vq2050_wifi_get_rx_pckg,
        vq2040a_wifi_get_rx_pckg, vq2070_wifi_get_rx_pckg),
    ROW(OP_HW_GET, wifi_hw_get, vq2040_wifi_hw_get, vq2050_wifi_hw_get, vq2040a_wifi_hw_get,
        vq2070_wifi_hw_get),
    ROW(OP_TEST_WELD, wifi_test_weld, vq2040_wifi_test_weld, vq2050_wifi_test_weld, vq2040a_wifi_test_weld,
        vq2070_wifi_test_weld),
    ROW(OP_START_TESTMODE, wifi_start_testmode, vq2040_wifi_start_testmode, vq2050_wifi_start_testmode,
        vq2040a_wifi_start_testmode, vq2070_wifi_start_testmode),
    ROW(OP_PT_POWER_TEST, wifi_pt_power_test, vq2040_wifi_pt_power_test, vq2050_wifi_pt_power_test,
        vq2040a_wifi_pt_power_test, vq2070_wifi_pt_power_test),
    ROW(OP_STOP_TESTMODE, wifi_stop_testmode, vq2040_wifi_stop_testmode, vq2050_wifi_stop_testmode,
        vq2040a_wifi_stop_testmode, vq2070_wifi_stop_testmode),
    ROW(OP_QUERY_SETTING, wifi_query_setting, vq2040_wifi_query_setting, vq2050_wifi_query_setting,
        vq2040a_wifi_query_setting, vq2070_wifi_query_setting),
    ROW(OP_CHIPCHECK, conn_test_chipcheck, vq2040_conn_test_chipcheck, vq2050_conn_test_chipcheck,
        vq2040a_conn_test_chipcheck, vq2070_conn_test_chipcheck),
    ROW(OP_GET_CHIPCHECK_RESULT, conn_test_get_chipcheck_result, vq2040_conn_test_get_chipcheck_result,
        vq2050_conn_test_get_chipcheck_result, vq2040a_conn_test_get_chipcheck_result,
        vq2070_conn_test_get_chipcheck_result),
    ROW(OP_GET_CHECKTIME_OF_CHIPCHECK, conn_test_get_checktime_of_chipcheck,
        vq2040_conn_test_get_checktime_of_chipcheck, vq2050_conn_test_get_checktime_of_chipcheck,
        vq2040a_conn_test_get_checktime_of_chipcheck, vq2070_conn_test_get_checktime_of_chipcheck),
    ROW(OP_UART_LOOP, conn_test_uart_loop, vq2040_conn_test_uart_loop, vq2050_conn_test_uart_loop,
        vq2040a_conn_test_uart_loop, vq2070_conn_test_uart_loop),
    ROW(OP_SDIO_LOOP, conn_test_sdio_loop, vq2040_conn_test_sdio_loop, vq2050_conn_test_sdio_loop,
        vq2040a_conn_test_sdio_loop, vq2070_conn_test_sdio_loop),
    ROW(OP_NVRAM_SET, wifi_nvram_set, vq2040_wifi_nvram_set, vq2050_wifi_nvram_set, vq2040a_wifi_nvram_set,
        vq2070_wifi_nvram_set),
    ROW(OP_NVRAM_CALIBRATE_CLEAN, wifi_nvram_calibrate_clean, vq2040_wifi_nvram_calibrate_clean,
        vq2050_wifi_nvram_calibrate_clean, vq2040a_wifi_nvram_calibrate_clean,
        vq2070_wifi_nvram_calibrate_clean),
    ROW(OP_NVRAM_CALIBRATE_GET, wifi_nvram_calibrate_get, vq2040_wifi_nvram_calibrate_get,
        vq2050_wifi_nvram_calibrate_get, vq2040a_wifi_nvram_calibrate_get, vq2070_wifi_nvram_calibrate_get),
    ROW(OP_NVRAM_CALIBRATE_SET, wifi_nvram_calibrate_set, vq2040_wifi_nvram_calibrate_set,
        vq2050_wifi_nvram_calibrate_set, vq2040a_wifi_nvram_calibrate_set, vq2070_wifi_nvram_calibrate_set),
    ROW(OP_GET_UPC_CODE, wifi_get_upc_code, vq2040_wifi_get_upc_code, vq2050_wifi_get_upc_code,
        vq2040a_wifi_get_upc_code, vq2070_wifi_get_upc_code),
    ROW(OP_SET_POWERMODE, wifi_set_powermode, vq2040_wifi_set_powermode, vq2050_wifi_set_powermode,
        vq2040a_wifi_set_powermode, vq2070_wifi_set_powermode),
    ROW(OP_SET_TAS_ANT_MODE, wifi_set_tas_ant_mode, nullptr, vq2050_wifi_set_tas_ant_switch,
        vq2040a_wifi_set_tas_ant_switch, vq2070_wifi_set_tas_ant_switch),
    ROW(OP_START_ROAM, wifi_start_roam, vq2040_wifi_start_roam, vq2050_wifi_start_roam,
        vq2040a_wifi_start_roam, vq2070_wifi_start_roam),
    ROW(OP_START_ROAM_SCAN, wifi_start_roam_scan, vq2040_wifi_start_roam_scan, vq2050_wifi_start_roam_scan,
        vq2040a_wifi_start_roam_scan, vq2070_wifi_start_roam_scan),
    ROW(OP_SET_BSS_EXPIRE_AGE, wifi_set_bss_expire_age, vq2040_wifi_set_bss_expire_age,
        vq2050_wifi_set_bss_expire_age, vq2040a_wifi_set_bss_expire_age, vq2070_wifi_set_bss_expire_age),
    ROW(OP_CONN_INFO, wifi_conn_info, vq2040_wifi_conn_info, vq2050_wifi_conn_info, vq2040a_wifi_conn_info,
        vq2070_wifi_conn_info),
    ROW(OP_POWER_SET_RANGE, wifi_power_set_range, vq2040_wifi_power_set_range, vq2050_wifi_power_set_range,
        vq2040a_wifi_power_set_range, vq2070_wifi_power_set_range),
    ROW(OP_SELCAL_DISABLE_SET, wifi_selcal_disable_set, nullptr, vq2050_wifi_selcal_disable_set,
        vq2040a_wifi_selcal_disable_set, vq2070_wifi_selcal_disable_set),
    ROW(OP_RU_SET, wifi_ru_set, nullptr, nullptr, nullptr, vq2070_wifi_ru_set),
    ROW(OP_NVRAM_CALIBRATE_CLEAN_NEW, wifi_nvram_calibrate_clean_new, nullptr,
        vq2050_wifi_nvram_calibrate_clean_new, nullptr, vq2070_wifi_nvram_calibrate_clean_new),
    ROW(OP_TEST_BROADCAST_LOOP, wifi_test_broadcast_loop, nullptr, nullptr, vq2040a_wifi_test_broadcast_loop,
        nullptr),
    {OPERATIONS, {nullptr, nullptr, nullptr, nullptr}},
};

#undef ROW
#undef FUNC

namespace {

const func_row &find_row(uint8_t op_id) {
  const func_row *row = g_func;
  while (row < g_func + OPERATIONS && row->op_id != op_id) row++;
  return *row;
}

wifi_func_t fitted_func(uint32_t op_id) {
  const func_row &row = find_row(static_cast<uint8_t>(op_id));
  const uint32_t subchip = get_orva_connectivity_subchip();
  return subchip < ORVA_SUBCHIPS ? row.func[subchip] : nullptr;
}

/// Calls the fitted chip's function; if it has none, logs `missing` and returns 0.
template <typename Result, typename... Arguments>
Result call(op_id op, const char *missing, Arguments... arguments) {
  const wifi_func_t func = fitted_func(op);
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
  return call<uint32_t>(OP_SET_POWER, "wifi_set_power::funcname is null.\n", power);
}

uint32_t wifi_set_mode(int32_t at_mode) {
  return call<uint32_t>(OP_SET_MODE, "wifi_set_mode::funcname is null.\n", at_mode);
}

uint32_t wifi_set_rate(int32_t rate) {
  return call<uint32_t>(OP_SET_RATE, "wifi_set_rate::funcname is null.\n", rate);
}

uint32_t wifi_set_band(int32_t band) {
  return call<uint32_t>(OP_SET_BAND, "wifi_set_band::funcname is null.\n", band);
}

uint32_t wifi_set_channel(int32_t channel) {
  return call<uint32_t>(OP_SET_CHANNEL, "wifi_set_channel::funcname is null.\n", channel);
}

uint32_t wifi_setmimo_channel(int32_t chain) {
  return call<uint32_t>(OP_SETMIMO_CHANNEL, "wifi_setmimo_channel::funcname is null.\n", chain);
}

uint32_t wifi_start_tx() { return call<uint32_t>(OP_START_TX, "wifi_start_tx::funcname is null.\n"); }

uint32_t wifi_stop_tx() { return call<uint32_t>(OP_STOP_TX, "wifi_stop_tx::funcname is null.\n"); }

uint32_t wifi_set_antenna(int32_t antenna) {
  return call<uint32_t>(OP_SET_ANTENNA, "wifi_set_antenna::funcname is null.\n", antenna);
}

uint32_t wifi_start_rx(const char *mac, const char *unused) {
  return call<uint32_t>(OP_START_RX, "wifi_start_rx::funcname is null.\n", mac, unused);
}

uint32_t wifi_stop_rx() { return call<uint32_t>(OP_STOP_RX, "wifi_stop_rx::funcname is null.\n"); }

uint32_t wifi_get_rx_rssi(uint32_t *rssi) {
  return call<uint32_t>(OP_GET_RX_RSSI, "wifi_get_rx_rssi::funcname is null.\n", rssi);
}

uint32_t wifi_get_rx_pckg() {
  return call<uint32_t>(OP_GET_RX_PCKG, "wifi_get_rx_pckg::funcname is null.\n");
}

uint32_t wifi_hw_get(const void *unused) {
  return call<uint32_t>(OP_HW_GET, "wifi_hw_get::funcname is null.\n", unused);
}

uint32_t wifi_test_weld() { return call<uint32_t>(OP_TEST_WELD, "wifi_test_weld::funcname is null.\n"); }

uint32_t wifi_start_testmode() {
  return call<uint32_t>(OP_START_TESTMODE, "wifi_start_testmode::funcname is null.\n");
}

uint32_t wifi_pt_power_test(int32_t mode) {
  return call<uint32_t>(OP_PT_POWER_TEST, "wifi_pt_power_test::funcname is null.\n", mode);
}

uint32_t wifi_stop_testmode() {
  return call<uint32_t>(OP_STOP_TESTMODE, "wifi_stop_testmode::funcname is null.\n");
}

int32_t wifi_query_setting(int32_t item) {
  return call<int32_t>(OP_QUERY_SETTING, "wifi_query_setting::funcname is null.\n", item);
}

uint32_t conn_test_chipcheck(const void *first, const void *second, const void *third) {
  return call<uint32_t>(OP_CHIPCHECK, "conn_test_chipcheck::funcname is null.\n", first, second, third);
}

uint32_t conn_test_get_chipcheck_result(uint8_t *first, uint8_t *second, uint32_t *third) {
  return call<uint32_t>(OP_GET_CHIPCHECK_RESULT, "conn_test_get_chipcheck_result::funcname is null.\n", first,
                        second, third);
}

uint32_t conn_test_get_checktime_of_chipcheck(const void *unused, uint32_t *check_time, uint8_t *die_id) {
  return call<uint32_t>(OP_GET_CHECKTIME_OF_CHIPCHECK,
                        "conn_test_get_checktime_of_chipcheck::funcname is null.\n", unused, check_time,
                        die_id);
}

uint32_t conn_test_uart_loop(const void *unused) {
  return call<uint32_t>(OP_UART_LOOP, "conn_test_uart_loop::funcname is null.\n", unused);
}

uint32_t conn_test_sdio_loop(const void *unused) {
  return call<uint32_t>(OP_SDIO_LOOP, "conn_test_sdio_loop::funcname is null.\n", unused);
}

uint32_t wifi_nvram_set(const void *first, const void *second, int32_t third) {
  return call<uint32_t>(OP_NVRAM_SET, "wifi_nvram_set::funcname is null.\n", first, second, third);
}

uint32_t wifi_nvram_calibrate_clean(int32_t scope) {
  return call<uint32_t>(OP_NVRAM_CALIBRATE_CLEAN, "wifi_nvram_calibrate_clean::funcname is null.\n", scope);
}

uint32_t wifi_nvram_calibrate_get(char *out, int32_t size) {
  return call<uint32_t>(OP_NVRAM_CALIBRATE_GET, "wifi_nvram_calibrate_get::funcname is null.\n", out, size);
}

uint32_t wifi_nvram_calibrate_set(int32_t cal_type, int32_t chain, int32_t mode, int32_t band,
                                  int32_t bandwidth, int32_t freq, const char *delta_gain) {
  return call<uint32_t>(OP_NVRAM_CALIBRATE_SET, "wifi_nvram_calibrate_set::funcname is null.\n", cal_type,
                        chain, mode, band, bandwidth, freq, delta_gain);
}

uint32_t wifi_get_upc_code(uint8_t *out1, uint8_t *out2, uint8_t *upc) {
  return call<uint32_t>(OP_GET_UPC_CODE, "wifi_get_upc_code::funcname is null.\n", out1, out2, upc);
}

uint32_t wifi_set_powermode(int32_t mode, int32_t value) {
  return call<uint32_t>(OP_SET_POWERMODE, "wifi_set_powermode::funcname is null.\n", mode, value);
}

uint32_t wifi_set_tas_ant_mode(int32_t value) {
  return call<uint32_t>(OP_SET_TAS_ANT_MODE, "wifi_set_tas_ant_mode::funcname is null.\n", value);
}

uint32_t wifi_start_roam(const char *target) {
  return call<uint32_t>(OP_START_ROAM, "wifi_start_roam::funcname is null.\n", target);
}

uint32_t wifi_start_roam_scan() {
  return call<uint32_t>(OP_START_ROAM_SCAN, "wifi_start_roam_scan::funcname is null.\n");
}

uint32_t wifi_set_bss_expire_age(int32_t age) {
  return call<uint32_t>(OP_SET_BSS_EXPIRE_AGE, "wifi_set_bss_expire_age::funcname is null.\n", age);
}

uint32_t wifi_conn_info(char *ssid, uint8_t *bssid, uint8_t *rssi) {
  return call<uint32_t>(OP_CONN_INFO, "wifi_conn_info::funcname is null.\n", ssid, bssid, rssi);
}

uint32_t wifi_power_set_range(uint8_t *lower, uint8_t *upper) {
  return call<uint32_t>(OP_POWER_SET_RANGE, "wifi_power_set_range::funcname is null.\n", lower, upper);
}

uint32_t wifi_selcal_disable_set(int32_t flag) {
  return call<uint32_t>(OP_SELCAL_DISABLE_SET, "wifi_selcal_disable_set::funcname is null.\n", flag);
}

uint32_t wifi_ru_set(int32_t en_set, const char *aid) {
  return call<uint32_t>(OP_RU_SET, "wifi_ru_set::funcname is null.\n", en_set, aid);
}

uint32_t wifi_nvram_calibrate_clean_new(const uint32_t *flags) {
  return call<uint32_t>(OP_NVRAM_CALIBRATE_CLEAN_NEW, "wifi_nvram_clean_new::funcname is null.\n", flags);
}

// Bypasses the table: the other chips return success without doing anything.
uint32_t wifi_test_broadcast_loop(int32_t value) {
  return get_orva_connectivity_subchip() == ORVA_SUBCHIP_VQ2040A ? vq2040a_wifi_test_broadcast_loop(value)
                                                                 : 1;
}
