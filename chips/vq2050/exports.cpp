// SPDX-License-Identifier: Apache-2.0
// The exported functions that only forward, one line each. The chip's own procedures are in the other files
// of this folder.
#include "chips/vq2050/profile.h"
#include "common/caldata.h"
#include "common/calibration_read.h"
#include "common/calibration_write.h"
#include "common/catalogue.h"
#include "common/channel.h"
#include "common/chip_check.h"
#include "common/die_id.h"
#include "common/driver.h"
#include "common/log.h"
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
#include "include/vq2050.h"

using namespace orva;

// clang-format off

// Driver channel and shell
uint32_t vq2050_wl_config_sockets_open() { return wl_config_sockets_open(vq2050); }
int32_t vq2050_wl_config_sockets_close(uint32_t socket) { return wl_config_sockets_close(socket); }
int32_t vq2050_system_call(const char *command) { return system_call(vq2050, command); }
int32_t vq2050_run_cmd_by_stream(const char *command, char *output, uint32_t size) { return run_cmd_by_stream(vq2050, command, output, size); }
int32_t vq2050_try_to_boot_up() { return try_to_boot_up(vq2050) ? 0 : 1; }
void vq2050_check_securef_ret(int32_t result) { check_securef_ret(vq2050, result); }

// RF test settings
uint32_t vq2050_wifi_set_power(int32_t power) { return wifi_set_power(vq2050, power); }
uint32_t vq2050_wifi_set_rate(int32_t rate) { return wifi_set_rate(vq2050, rate); }
uint32_t vq2050_wifi_set_band(int32_t band) { return wifi_set_bandwidth(vq2050, band); }
uint32_t vq2050_wifi_set_channel(int32_t channel) { return wifi_set_channel(vq2050, channel); }
uint32_t vq2050_wifi_set_antenna(int32_t antenna) { return wifi_set_antenna(vq2050, antenna); }
uint32_t vq2050_wifi_setmimo_channel(int32_t chain) { return wifi_setmimo_channel(vq2050, chain); }
uint32_t vq2050_wifi_set_mode(int32_t at_mode) { return wifi_set_mode(vq2050, at_mode); }
int32_t vq2050_wifi_query_setting(int32_t item) { return wifi_query_setting(vq2050, item); }
uint32_t vq2050_wifi_ioctl_set_power(int32_t power) { return wifi_ioctl_set_power(vq2050, power); }
uint32_t vq2050_wifi_ioctl_set_mode(uint32_t mode, int32_t mhz) { return wifi_ioctl_set_mode(vq2050, mode, mhz); }
uint32_t vq2050_wifi_ioctl_set_band(uint32_t band) { return wifi_ioctl_set_bandwidth(vq2050, band); }
uint32_t vq2050_wifi_ioctl_set_channel(uint32_t mhz) { return wifi_ioctl_set_channel(vq2050, mhz); }
uint32_t vq2050_wifi_ioctl_setmimo_channel(uint32_t chain) { return wifi_ioctl_setmimo_channel(vq2050, chain); }

// RF test
uint32_t vq2050_wifi_start_testmode() { return wifi_start_testmode(vq2050); }
uint32_t vq2050_wifi_stop_testmode() { return wifi_stop_testmode(vq2050); }
uint32_t vq2050_wifi_set_country_all() { return wifi_set_country_all(vq2050); }
uint32_t vq2050_wifi_set_dyn_interval() { return wifi_set_dyn_interval(vq2050); }
uint32_t vq2050_wifi_set_selfcali_interval() { return wifi_set_selfcali_interval(vq2050); }
uint32_t vq2050_wifi_pt_power_test(int32_t mode) { return wifi_pt_power_test(vq2050, mode); }
uint32_t vq2050_wifi_start_tx() { return wifi_start_tx(vq2050); }
uint32_t vq2050_wifi_stop_tx() { return wifi_stop_tx(vq2050); }
uint32_t vq2050_wifi_set_pm_switch(uint32_t pm_switch) { return wifi_set_pm_switch(vq2050, pm_switch); }
uint32_t vq2050_wifi_set_powermode(int32_t mode, int32_t value) { return wifi_set_powermode(vq2050, mode, value); }
uint32_t vq2050_wifi_start_rx(const char *mac, const char *) { return wifi_start_rx(vq2050, mac); }
uint32_t vq2050_wifi_stop_rx() { return wifi_stop_rx(vq2050); }
uint32_t vq2050_wifi_get_rx_rssi(uint32_t *rssi) { return wifi_get_rx_rssi(vq2050, rssi); }
uint32_t vq2050_wifi_get_rx_pckg() { return wifi_get_rx_pckg(vq2050); }
uint32_t vq2050_wifi_set_hw_mac_addr(const char *mac) { return wifi_set_hw_mac_addr(vq2050, mac); }

// Self-checks
uint32_t vq2050_conn_test_chipcheck(const void *first, const void *second, const void *third) { return conn_test_chipcheck(vq2050, first, second, third); }
uint32_t vq2050_conn_test_get_chipcheck_result(uint8_t *first, uint8_t *second, uint32_t *third) { return conn_test_get_chipcheck_result(vq2050, first, second, third); }
uint32_t vq2050_conn_test_get_checktime_of_chipcheck(const void *, uint32_t *check_time, uint8_t *die_id) { return conn_test_get_checktime_of_chipcheck(vq2050, check_time, die_id); }
uint32_t vq2050_conn_test_uart_loop(const void *) { return conn_test_uart_loop(vq2050); }
uint32_t vq2050_conn_test_sdio_loop(const void *) { return conn_test_sdio_loop(vq2050); }
int32_t vq2050_wl_config_wifi_dbb_get(uint32_t socket, const char *interface) { return wl_config_wifi_dbb_get(vq2050, socket, interface); }
int32_t vq2050_wl_config_wifi_efuse_get(uint32_t socket, const char *interface) { return wl_config_wifi_efuse_get(vq2050, socket, interface); }
int32_t vq2050_wl_config_wipin_test(uint32_t socket, const char *interface) { return wl_config_wipin_test(vq2050, socket, interface); }
int32_t vq2050_wl_config_pmu_check(uint32_t socket, const char *interface) { return wl_config_pmu_check(vq2050, socket, interface); }
int32_t vq2050_wl_config_wkup_io_test(uint32_t socket, const char *interface) { return wl_config_wkup_io_test(vq2050, socket, interface); }
int32_t vq2050_wl_config_pcie_test(uint32_t socket, const char *interface) { return wl_config_pcie_test(vq2050, socket, interface); }
uint32_t vq2050_wifi_hw_get(const void *) { return wifi_hw_get(vq2050); }
uint32_t vq2050_wifi_check_pmu() { return wifi_check_pmu(vq2050); }
uint32_t vq2050_wifi_get_die_id(uint8_t *flag, uint8_t *text) { return wifi_get_die_id(vq2050, flag, text); }
uint32_t vq2050_wifi_test_weld() { return wifi_test_weld(vq2050); }

// Calibration
uint32_t vq2050_wifi_nvram_set(const void *, const void *, int32_t) { return refuse_caldata(vq2050); }
uint32_t vq2050_wifi_nvram_calibrate_set(int32_t cal_type, int32_t chain, int32_t mode, int32_t band, int32_t bandwidth, int32_t freq, const char *delta_gain) { return wifi_nvram_calibrate_set(vq2050, cal_type, chain, mode, band, bandwidth, freq, delta_gain); }
uint32_t vq2050_wifi_nvram_calibrate_get(char *out, int32_t size) { return wifi_nvram_calibrate_get(vq2050, out, size); }
uint32_t vq2050_wifi_nvram_calibrate_clean(int32_t scope) { return two_chain::clean_by_scope(vq2050_cleaner, scope); }
uint32_t vq2050_wifi_nvram_calibrate_clean_new(const uint32_t *flags) { return two_chain::clean_by_flags(vq2050_cleaner, flags); }
uint32_t vq2050_clean_all_nvparam() { return two_chain::clean_all(vq2050_cleaner); }
uint32_t vq2050_clean_nvparam_2G_C0(uint32_t enable) { return two_chain::clean_2g(vq2050_cleaner, enable, two_chain::scope_2g_c0); }
uint32_t vq2050_clean_nvparam_2G_C1(uint32_t enable) { return two_chain::clean_2g(vq2050_cleaner, enable, two_chain::scope_2g_c1); }
uint32_t vq2050_clean_nvparam_5G_C0(uint32_t enable) { return two_chain::clean_5g(vq2050_cleaner, enable, two_chain::scope_5g_c0); }
uint32_t vq2050_clean_nvparam_5G_C1(uint32_t enable) { return two_chain::clean_5g(vq2050_cleaner, enable, two_chain::scope_5g_c1); }
void vq2050_param_to_string(char *out, uint32_t out_size, const char *name, const uint32_t *values, uint32_t count) { param_to_string(vq2050, out, out_size, name, values, count); }
orva_cal_lookup vq2050_wifi_get_nvnum_parname_from_at_param(uint32_t chain, uint32_t mode, uint32_t band, uint32_t bandwidth, int32_t freq) { return find_rows(vq2050, {chain, mode, band, bandwidth, freq}); }
uint32_t vq2050_check_nvname_2G_normal(const char *name) { return check_nvname_2G_normal(name); }
uint32_t vq2050_check_nvname_2G_mucal(const char *name) { return check_nvname_2G_mucal(name); }
uint32_t vq2050_check_nvname_5G_normal(const char *name) { return check_nvname_5G_normal(name); }
uint32_t vq2050_check_nvname_5G_160M(const char *name) { return check_nvname_5G_160M(name); }

// Station utilities
uint32_t vq2050_wifi_start_roam(const char *target) { return wifi_start_roam(vq2050, target); }
uint32_t vq2050_wifi_start_roam_scan() { return wifi_start_roam_scan(vq2050); }
uint32_t vq2050_wifi_set_bss_expire_age(int32_t age) { return wifi_set_bss_expire_age(vq2050, age); }
uint32_t vq2050_wifi_conn_info(char *ssid, uint8_t *bssid, uint8_t *rssi) { return wifi_conn_info(vq2050, ssid, bssid, rssi); }
uint32_t vq2050_wifi_get_upc_code(uint8_t *out1, uint8_t *out2, uint8_t *upc) { return wifi_get_upc_code(vq2050, out1, out2, upc); }
uint32_t vq2050_wifi_power_set_range(uint8_t *lower, uint8_t *upper) { return wifi_power_set_range(lower, upper); }
uint32_t vq2050_wifi_set_tas_ant_switch(int32_t value) { return wifi_set_tas_ant_switch(vq2050, value); }
uint32_t vq2050_wifi_selcal_disable_set(int32_t flag) { return wifi_selcal_disable_set(vq2050, flag); }
uint32_t vq2050_wifi_set_pcie_sdio_mode(uint32_t mode) { return wifi_set_pcie_sdio_mode(vq2050, mode); }

// clang-format on
