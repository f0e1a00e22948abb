/* A caller in plain C99: every header together, every public entry point called once on each chip, linked as
 * any program would link the library. Results are those of a phone in good order. */
#include "include/wifi_factory_test_orva.h"

#include "include/vq2040.h"
#include "include/vq2040a.h"
#include "include/vq2050.h"
#include "include/vq2070.h"
#include "platform/platform.h"
#include "virtual_phone/phone.h"

#include <stdio.h>
#include <string.h>

static const char *chip;
static int failures;

enum { VQ2040 = 1, VQ2050 = 2, VQ2040A = 4, VQ2070 = 8, ALL = 15 };

static int chip_bit(void) {
  static const char *const names[] = {"vq2040", "vq2050", "vq2040a", "vq2070"};
  int i = 0;
  while (strcmp(chip, names[i]) != 0) i++;
  return 1 << i;
}

static void check(const char *name, uint32_t result, uint32_t expected) {
  if (result == expected) return;
  printf("%s on %s: result %u, expected %u\n", name, chip, result, expected);
  failures++;
}

/* A call that gives `good` on the chips named and 0 on the others. */
#define CALL(function, arguments, good, chips)                                                               \
  check(#function, (uint32_t)function arguments, (chip_bit() & (chips)) ? (uint32_t)(good) : 0)

static void settings_and_tests(void) {
  uint32_t signal = 0;
  CALL(wifi_start_testmode, (), 1, ALL);
  CALL(wifi_set_mode, (4), 1, ALL);
  CALL(wifi_set_band, (0), 1, ALL);
  CALL(wifi_set_channel, (2412), 1, ALL);
  CALL(wifi_set_rate, (6500), 1, ALL);
  CALL(wifi_set_power, (155), 1, ALL);
  CALL(wifi_set_antenna, (1), 1, ALL & ~VQ2040A);
  CALL(wifi_setmimo_channel, (1), 1, VQ2050 | VQ2070);
  CALL(wifi_start_tx, (), 1, ALL);
  CALL(wifi_stop_tx, (), 1, ALL);
  CALL(wifi_ru_set, (2, "1a3"), 1, VQ2070);
  CALL(wifi_start_rx, ("001122334455", NULL), 1, ALL);
  CALL(wifi_get_rx_rssi, (&signal), 1, ALL);
  check("wifi_get_rx_pckg, refused", wifi_get_rx_pckg() == 0xFFFFFFFF, 0);
  CALL(wifi_stop_rx, (), 1, ALL);
  CALL(wifi_query_setting, (5), 155, ALL);
  CALL(wifi_set_powermode, (1, 0), 1, ALL);
  CALL(wifi_stop_testmode, (), 1, ALL);
  CALL(wifi_pt_power_test, (1), 1, ALL);
}

static void self_checks(void) {
  uint8_t first = 0, second = 0, die_id[64] = {0};
  uint32_t third = 0, time = 0;
  CALL(wifi_hw_get, (NULL), 1, ALL);
  CALL(wifi_test_weld, (), 1, ALL);
  CALL(conn_test_chipcheck, (NULL, NULL, NULL), 0, ALL);
  CALL(conn_test_get_chipcheck_result, (&first, &second, &third), 0, ALL);
  CALL(conn_test_get_checktime_of_chipcheck, (NULL, &time, die_id), 0, ALL);
  check("check time", time, 100);
  CALL(conn_test_uart_loop, (NULL), 0, ALL);
  CALL(conn_test_sdio_loop, (NULL), 0, ALL);
}

static void calibration(void) {
  static char text[16 * 104];
  const uint32_t flags[4] = {1, 1, 1, 1};
  CALL(wifi_nvram_set, (NULL, NULL, 0), 1, VQ2040 | VQ2040A);
  CALL(wifi_nvram_calibrate_get, (text, 104), 1, ALL);
  CALL(wifi_nvram_calibrate_clean, (1), 1, ALL);
  CALL(wifi_nvram_calibrate_clean_new, (flags), 1, VQ2050 | VQ2070);
  check("wifi_nvram_calibrate_set", wifi_nvram_calibrate_set(1, 0, 0, 0, 0, 2442, "x"), 0);
}

static void utilities(void) {
  char ssid[33];
  uint8_t bssid[6], rssi, low = 9, high = 0, upc = 0;
  uint32_t code = wifi_get_upc_code(&low, &high, &upc);
  check("wifi_get_upc_code", code & 0xFF, upc);
  CALL(wifi_start_roam, ("02:00:5E:00:00:09"), 1, ALL);
  CALL(wifi_start_roam_scan, (), 1, ALL);
  CALL(wifi_set_bss_expire_age, (180), 1, ALL);
  CALL(wifi_conn_info, (ssid, bssid, &rssi), 1, ALL);
  CALL(wifi_power_set_range, (&low, &high), 1, ALL);
  check("upper end of the power range", high, 14);
  CALL(wifi_set_tas_ant_mode, (1), 1, ALL & ~VQ2040);
  CALL(wifi_selcal_disable_set, (1), 1, ALL & ~VQ2040);
  CALL(wifi_test_broadcast_loop, (1), 1, ALL);
}

int main(void) {
  static const char *const chips[] = {"vq2040", "vq2050", "vq2040a", "vq2070"};
  char error[200];
  for (int i = 0; i < 4; i++) {
    chip = chips[i];
    phone_reset();
    if (phone_set("chip", chip, error, sizeof error) != 0) return 2;
    check("wifi_get_func(40)", wifi_get_func(40) == NULL, 1);
    settings_and_tests();
    self_checks();
    if (phone_set("interface.up", "true", error, sizeof error) != 0) return 2;
    utilities();
    calibration();
  }
  return failures != 0;
}
