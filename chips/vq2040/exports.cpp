// SPDX-License-Identifier: Apache-2.0
// The exported functions that only forward, one line each. The chip's own procedures are in the other files
// of this folder.
#include "chips/vq2040/profile.h"
#include "common/channel.h"
#include "common/chip_check.h"
#include "common/die_id.h"
#include "common/driver.h"
#include "common/power_save.h"
#include "common/probes.h"
#include "common/receive.h"
#include "common/settings.h"
#include "common/shell.h"
#include "common/testmode.h"
#include "common/transmit.h"
#include "common/utilities.h"
#include "common/weld.h"
#include "include/vq2040.h"

using namespace orva;

// clang-format off

// Driver channel and shell
uint32_t vq2040_wl_config_sockets_open() { return wl_config_sockets_open(vq2040); }
int32_t vq2040_wl_config_sockets_close(uint32_t socket) { return wl_config_sockets_close(socket); }
int32_t vq2040_system_call(const char *command) { return system_call(vq2040, command); }
int32_t vq2040_run_cmd_by_stream(const char *command, char *output, uint32_t size) { return run_cmd_by_stream(vq2040, command, output, size); }

// RF test settings
uint32_t vq2040_wifi_set_rate(int32_t rate) { return wifi_set_rate(vq2040, rate); }
uint32_t vq2040_wifi_set_band(int32_t band) { return wifi_set_bandwidth(vq2040, band); }
uint32_t vq2040_wifi_set_channel(int32_t channel) { return wifi_set_channel(vq2040, channel); }
uint32_t vq2040_wifi_set_antenna(int32_t antenna) { return wifi_set_antenna(vq2040, antenna); }
uint32_t vq2040_wifi_set_mode(int32_t at_mode) { return wifi_set_mode(vq2040, at_mode); }
int32_t vq2040_wifi_query_setting(int32_t item) { return wifi_query_setting(vq2040, item); }
uint32_t vq2040_wifi_ioctl_set_power(int32_t power) { return wifi_ioctl_set_power(vq2040, power); }
uint32_t vq2040_wifi_ioctl_set_mode(uint32_t mode, int32_t mhz) { return wifi_ioctl_set_mode(vq2040, mode, mhz); }
uint32_t vq2040_wifi_ioctl_set_band(uint32_t band) { return wifi_ioctl_set_bandwidth(vq2040, band); }
uint32_t vq2040_wifi_ioctl_set_channel(uint32_t mhz) { return wifi_ioctl_set_channel(vq2040, mhz); }

// RF test
uint32_t vq2040_wifi_start_testmode() { return wifi_start_testmode(vq2040); }
uint32_t vq2040_wifi_stop_testmode() { return wifi_stop_testmode(vq2040); }
uint32_t vq2040_wifi_set_country_all() { return wifi_set_country_all(vq2040); }
uint32_t vq2040_wifi_start_tx() { return wifi_start_tx(vq2040); }
uint32_t vq2040_wifi_stop_tx() { return wifi_stop_tx(vq2040); }
uint32_t vq2040_wifi_set_pm_switch(uint32_t pm_switch) { return wifi_set_pm_switch(vq2040, pm_switch); }
uint32_t vq2040_wifi_set_powermode(int32_t mode, int32_t value) { return wifi_set_powermode(vq2040, mode, value); }
uint32_t vq2040_wifi_start_rx(const char *mac, const char *) { return wifi_start_rx(vq2040, mac); }
uint32_t vq2040_wifi_stop_rx() { return wifi_stop_rx(vq2040); }
uint32_t vq2040_wifi_get_rx_rssi(uint32_t *rssi) { return wifi_get_rx_rssi(vq2040, rssi); }
uint32_t vq2040_wifi_get_rx_pckg() { return wifi_get_rx_pckg(vq2040); }
uint32_t vq2040_wifi_set_hw_mac_addr(const char *mac) { return wifi_set_hw_mac_addr(vq2040, mac); }

// Self-checks
uint32_t vq2040_conn_test_chipcheck(const void *first, const void *second, const void *third) { return conn_test_chipcheck(vq2040, first, second, third); }
uint32_t vq2040_conn_test_get_chipcheck_result(uint8_t *first, uint8_t *second, uint32_t *third) { return conn_test_get_chipcheck_result(vq2040, first, second, third); }
uint32_t vq2040_conn_test_get_checktime_of_chipcheck(const void *, uint32_t *check_time, uint8_t *die_id) { return conn_test_get_checktime_of_chipcheck(vq2040, check_time, die_id); }
uint32_t vq2040_conn_test_uart_loop(const void *) { return conn_test_uart_loop(vq2040); }
uint32_t vq2040_conn_test_sdio_loop(const void *) { return conn_test_sdio_loop(vq2040); }
int32_t vq2040_wl_config_wifi_dbb_get(uint32_t socket, const char *interface) { return wl_config_wifi_dbb_get(vq2040, socket, interface); }
int32_t vq2040_wl_config_wifi_efuse_get(uint32_t socket, const char *interface) { return wl_config_wifi_efuse_get(vq2040, socket, interface); }
uint32_t vq2040_wifi_hw_get(const void *) { return wifi_hw_get(vq2040); }
uint32_t vq2040_wifi_get_die_id(uint8_t *flag, uint8_t *text) { return wifi_get_die_id(vq2040, flag, text); }
uint32_t vq2040_wifi_test_weld() { return wifi_test_weld(vq2040); }

// Station utilities
uint32_t vq2040_wifi_start_roam(const char *target) { return wifi_start_roam(vq2040, target); }
uint32_t vq2040_wifi_start_roam_scan() { return wifi_start_roam_scan(vq2040); }
uint32_t vq2040_wifi_set_bss_expire_age(int32_t age) { return wifi_set_bss_expire_age(vq2040, age); }
uint32_t vq2040_wifi_conn_info(char *ssid, uint8_t *bssid, uint8_t *rssi) { return wifi_conn_info(vq2040, ssid, bssid, rssi); }
uint32_t vq2040_wifi_get_upc_code(uint8_t *out1, uint8_t *out2, uint8_t *upc) { return wifi_get_upc_code(vq2040, out1, out2, upc); }
uint32_t vq2040_wifi_power_set_range(uint8_t *lower, uint8_t *upper) { return wifi_power_set_range(lower, upper); }

// clang-format on
