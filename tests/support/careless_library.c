/* SPDX-License-Identifier: Apache-2.0 */
/* Stands in for the library where the console must notice that a buffer was overrun. */
#include "wifi_factory_test_orva.h"

#include <string.h>

uint32_t wifi_conn_info(char *ssid, uint8_t *bssid, uint8_t *rssi) {
  strcpy(ssid, "line-7");
  memset(bssid, 1, 6 + 2);
  *rssi = 200;
  return 1;
}

uint32_t wifi_power_set_range(uint8_t *lower, uint8_t *upper) {
  lower[-1] = 0;
  *upper = 14;
  return 1;
}
