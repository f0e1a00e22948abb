/* SPDX-License-Identifier: Apache-2.0
 * A caller in plain C99: every header together, every public entry point called, linked as any program would
 * link the library. What each call does is in tests/golden; here it must compile, link and return. */
#include "include/wifi_factory_test_orva.h"

#include "include/vq2040.h"
#include "include/vq2040a.h"
#include "include/vq2050.h"
#include "include/vq2070.h"
#include "platform/platform.h"
#include "tests/support/chips.h"
#include "virtual_phone/phone.h"

#include <stdio.h>

static void settings_and_tests(void) {
  uint32_t signal;
  wifi_start_testmode();
  wifi_set_mode(4);
  wifi_set_band(0);
  wifi_set_channel(2412);
  wifi_set_rate(6500);
  wifi_set_power(155);
  wifi_set_antenna(1);
  wifi_setmimo_channel(1);
  wifi_start_tx();
  wifi_stop_tx();
  wifi_ru_set(2, "1a3");
  wifi_start_rx("001122334455", NULL);
  wifi_get_rx_rssi(&signal);
  wifi_get_rx_pckg();
  wifi_stop_rx();
  wifi_set_powermode(1, 0);
  wifi_stop_testmode();
  wifi_pt_power_test(1);
}

static void self_checks(void) {
  uint8_t first, second, die_id[36];
  uint32_t third, time;
  wifi_hw_get(NULL);
  wifi_test_weld();
  conn_test_chipcheck(NULL, NULL, NULL);
  conn_test_get_chipcheck_result(&first, &second, &third);
  conn_test_get_checktime_of_chipcheck(NULL, &time, die_id);
  conn_test_uart_loop(NULL);
  conn_test_sdio_loop(NULL);
}

static void calibration(void) {
  static char text[16 * 104];
  const uint32_t flags[4] = {1, 1, 1, 1};
  wifi_nvram_set(NULL, NULL, 0);
  wifi_nvram_calibrate_set(0, 0, 0, 0, 0, 2442, "10");
  wifi_nvram_calibrate_get(text, 104);
  wifi_nvram_calibrate_clean_new(flags);
  wifi_nvram_calibrate_clean(1);
}

static void utilities(void) {
  char ssid[33];
  uint8_t bssid[6], low, high, one;
  wifi_get_upc_code(&low, &high, &one);
  wifi_start_roam("02:00:5E:00:00:09");
  wifi_start_roam_scan();
  wifi_set_bss_expire_age(180);
  wifi_conn_info(ssid, bssid, &one);
  wifi_power_set_range(&low, &high);
  wifi_set_tas_ant_mode(1);
  wifi_selcal_disable_set(1);
  wifi_test_broadcast_loop(1);
}

int main(void) {
  char error[200];
  int i;
  for (i = 0; i < 4; i++) {
    phone_reset();
    if (phone_set("chip", chip_names[i], error, sizeof error) != 0) return 2;
    settings_and_tests();
    self_checks();
    calibration();
    utilities();
    if (wifi_query_setting(5) != 155 || wifi_get_func(40) != NULL) {
      printf("%s: the library did not keep the power or has a 41st function\n", chip_names[i]);
      return 1;
    }
  }
  return 0;
}
