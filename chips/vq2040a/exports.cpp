// SPDX-License-Identifier: Apache-2.0
// The exported functions that only forward, one line each. The chip's own procedures are in the other files
// of this folder.
#include "chips/vq2040a/profile.h"
#include "common/caldata.h"
#include "common/calibration_read.h"
#include "common/calibration_write.h"
#include "common/catalogue.h"
#include "common/channel.h"
#include "common/chip_check.h"
#include "common/die_id.h"
#include "common/driver.h"
#include "common/nv_text.h"
#include "common/param_family.h"
#include "common/power_save.h"
#include "common/probes.h"
#include "common/receive.h"
#include "common/settings.h"
#include "common/shell.h"
#include "common/testmode.h"
#include "common/transmit.h"
#include "common/utilities.h"
#include "common/weld.h"
#include "include/vq2040a.h"

using namespace orva;

// clang-format off

// Driver channel and shell
uint32_t vq2040a_wl_config_sockets_open() { return wl_config_sockets_open(vq2040a); }
int32_t vq2040a_wl_config_sockets_close(uint32_t socket) { return wl_config_sockets_close(socket); }
int32_t vq2040a_system_call(const char *command) { return system_call(vq2040a, command); }
int32_t vq2040a_run_cmd_by_stream(const char *command, char *output, uint32_t size) { return run_cmd_by_stream(vq2040a, command, output, size); }

// RF test settings
uint32_t vq2040a_wifi_set_power(int32_t power) { return wifi_set_power(vq2040a, power); }
uint32_t vq2040a_wifi_set_rate(int32_t rate) { return wifi_set_rate(vq2040a, rate); }
uint32_t vq2040a_wifi_set_band(int32_t band) { return wifi_set_bandwidth(vq2040a, band); }
uint32_t vq2040a_wifi_set_channel(int32_t channel) { return wifi_set_channel(vq2040a, channel); }
uint32_t vq2040a_wifi_set_antenna(int32_t antenna) { return wifi_set_antenna(vq2040a, antenna); }
uint32_t vq2040a_wifi_set_mode(int32_t at_mode) { return wifi_set_mode(vq2040a, at_mode); }
int32_t vq2040a_wifi_query_setting(int32_t item) { return wifi_query_setting(vq2040a, item); }
uint32_t vq2040a_wifi_ioctl_set_power(int32_t power) { return wifi_ioctl_set_power(vq2040a, power); }
uint32_t vq2040a_wifi_ioctl_set_mode(uint32_t mode, int32_t mhz) { return wifi_ioctl_set_mode(vq2040a, mode, mhz); }
uint32_t vq2040a_wifi_ioctl_set_band(uint32_t band) { return wifi_ioctl_set_bandwidth(vq2040a, band); }
uint32_t vq2040a_wifi_ioctl_set_channel(uint32_t mhz) { return wifi_ioctl_set_channel(vq2040a, mhz); }

// RF test
uint32_t vq2040a_wifi_start_testmode() { return wifi_start_testmode(vq2040a); }
uint32_t vq2040a_wifi_stop_testmode() { return wifi_stop_testmode(vq2040a); }
uint32_t vq2040a_wifi_set_country_all() { return wifi_set_country_all(vq2040a); }
uint32_t vq2040a_wifi_set_dyn_interval() { return wifi_set_dyn_interval(vq2040a); }
uint32_t vq2040a_wifi_set_selfcali_interval() { return wifi_set_selfcali_interval(vq2040a); }
uint32_t vq2040a_wifi_pt_power_test(int32_t mode) { return wifi_pt_power_test(vq2040a, mode); }
uint32_t vq2040a_wifi_start_tx() { return wifi_start_tx(vq2040a); }
uint32_t vq2040a_wifi_stop_tx() { return wifi_stop_tx(vq2040a); }
uint32_t vq2040a_wifi_set_pm_switch(uint32_t pm_switch) { return wifi_set_pm_switch(vq2040a, pm_switch); }
uint32_t vq2040a_wifi_set_powermode(int32_t mode, int32_t value) { return wifi_set_powermode(vq2040a, mode, value); }
uint32_t vq2040a_wifi_start_rx(const char *mac, const char *) { return wifi_start_rx(vq2040a, mac); }
uint32_t vq2040a_wifi_stop_rx() { return wifi_stop_rx(vq2040a); }
uint32_t vq2040a_wifi_get_rx_rssi(uint32_t *rssi) { return wifi_get_rx_rssi(vq2040a, rssi); }
uint32_t vq2040a_wifi_get_rx_pckg() { return wifi_get_rx_pckg(vq2040a); }
uint32_t vq2040a_wifi_set_hw_mac_addr(const char *mac) { return wifi_set_hw_mac_addr(vq2040a, mac); }

// Self-checks
uint32_t vq2040a_conn_test_chipcheck(const void *first, const void *second, const void *third) { return conn_test_chipcheck(vq2040a, first, second, third); }
uint32_t vq2040a_conn_test_get_chipcheck_result(uint8_t *first, uint8_t *second, uint32_t *third) { return conn_test_get_chipcheck_result(vq2040a, first, second, third); }
uint32_t vq2040a_conn_test_get_checktime_of_chipcheck(const void *, uint32_t *check_time, uint8_t *die_id) { return conn_test_get_checktime_of_chipcheck(vq2040a, check_time, die_id); }
uint32_t vq2040a_conn_test_uart_loop(const void *) { return conn_test_uart_loop(vq2040a); }
uint32_t vq2040a_conn_test_sdio_loop(const void *) { return conn_test_sdio_loop(vq2040a); }
int32_t vq2040a_wl_config_wifi_dbb_get(uint32_t socket, const char *interface) { return wl_config_wifi_dbb_get(vq2040a, socket, interface); }
int32_t vq2040a_wl_config_wifi_efuse_get(uint32_t socket, const char *interface) { return wl_config_wifi_efuse_get(vq2040a, socket, interface); }
int32_t vq2040a_wl_config_wipin_test(uint32_t socket, const char *interface) { return wl_config_wipin_test(vq2040a, socket, interface); }
int32_t vq2040a_wl_config_pmu_check(uint32_t socket, const char *interface) { return wl_config_pmu_check(vq2040a, socket, interface); }
int32_t vq2040a_wl_config_wkup_io_test(uint32_t socket, const char *interface) { return wl_config_wkup_io_test(vq2040a, socket, interface); }
uint32_t vq2040a_wifi_hw_get(const void *) { return wifi_hw_get(vq2040a); }
uint32_t vq2040a_wifi_check_pmu() { return wifi_check_pmu(vq2040a); }
uint32_t vq2040a_wifi_get_die_id(uint8_t *flag, uint8_t *text) { return wifi_get_die_id(vq2040a, flag, text); }
uint32_t vq2040a_wifi_test_weld() { return wifi_test_weld(vq2040a); }

// Calibration
uint32_t vq2040a_wifi_nvram_set(const void *, const void *, int32_t) { return copy_caldata_to_nv(vq2040a, "vq2040a_read_wifi_caldata_from_dts: memcpy_s failed.\n"); }
uint32_t vq2040a_wifi_nvram_calibrate_set(int32_t cal_type, int32_t, int32_t mode, int32_t band, int32_t bandwidth, int32_t freq, const char *delta_gain) { return wifi_nvram_calibrate_set(vq2040a, cal_type, 0, mode, band, bandwidth, freq, delta_gain); }
uint32_t vq2040a_wifi_nvram_calibrate_get(char *out, int32_t size) { return wifi_nvram_calibrate_get(vq2040a, out, size); }
void vq2040a_param_to_string(char *out, uint32_t out_size, const char *name, const uint32_t *values, uint32_t count) { param_to_string(vq2040a, out, out_size, name, values, count); }
orva_cal_lookup vq2040a_wifi_get_nvnum_parname_from_at_param(uint32_t mode, uint32_t band, uint32_t bandwidth, int32_t freq) { return find_rows(vq2040a, {0, mode, band, bandwidth, freq}); }
uint32_t vq2040a_check_nvname_2G_normal(const char *name) { return check_nvname_2G_normal(name); }
uint32_t vq2040a_check_nvname_2G_mucal(const char *name) { return check_nvname_2G_mucal(name); }
uint32_t vq2040a_check_nvname_5G_normal(const char *name) { return check_nvname_5G_normal(name); }
uint32_t vq2040a_check_nvname_5G_160M(const char *name) { return check_nvname_5G_160M(name); }
int32_t vq2040a_write_wifi_caldata_to_nv(const void *buf, uint32_t size) { return write_caldata(buf, size) == 0 ? ORVA_NV_ITEM_SIZE : -1; }
int32_t vq2040a_read_wifi_nvram_param_from_nv(char *out, uint32_t size, uint32_t nv_num, const char *nv_name) { return read_wifi_nvram_param_from_nv(vq2040a, out, size, {nv_num, nv_name}); }

// Station utilities
uint32_t vq2040a_wifi_start_roam(const char *target) { return wifi_start_roam(vq2040a, target); }
uint32_t vq2040a_wifi_start_roam_scan() { return wifi_start_roam_scan(vq2040a); }
uint32_t vq2040a_wifi_set_bss_expire_age(int32_t age) { return wifi_set_bss_expire_age(vq2040a, age); }
uint32_t vq2040a_wifi_conn_info(char *ssid, uint8_t *bssid, uint8_t *rssi) { return wifi_conn_info(vq2040a, ssid, bssid, rssi); }
uint32_t vq2040a_wifi_get_upc_code(uint8_t *out1, uint8_t *out2, uint8_t *upc) { return wifi_get_upc_code(vq2040a, out1, out2, upc); }
uint32_t vq2040a_wifi_power_set_range(uint8_t *lower, uint8_t *upper) { return wifi_power_set_range(lower, upper); }
uint32_t vq2040a_wifi_selcal_disable_set(int32_t flag) { return wifi_selcal_disable_set(vq2040a, flag); }

// clang-format on
