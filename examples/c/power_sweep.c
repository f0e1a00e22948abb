/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Transmits on one channel at rising powers, as a calibration bench does between two readings of its power
 * meter. Exit status 0 when every transmission started and stopped.
 */
#include <stdint.h>
#include <stdio.h>
#include <unistd.h>
#include <wifi_factory_test_orva.h>

enum { CHANNEL_MHZ = 5180, MODE = 4, RATE = 6500, MEASURE_US = 100000 };

/* Test start sends the settings; a power set before it waits for it. */
static int transmit_at(int32_t power) {
  if (!wifi_set_power(power) || !wifi_start_tx()) return 0;
  usleep(MEASURE_US); /* the power meter's time */
  return wifi_stop_tx() == 1;
}

static int sweep(void) {
  int failed = 0;
  for (int32_t power = 100; power <= 180; power += 20) {
    int good = transmit_at(power);
    printf("power %3d at %d MHz: %s\n", (int)power, CHANNEL_MHZ, good ? "transmitted" : "FAILED");
    failed += !good;
  }
  return failed;
}

int main(void) {
  if (!wifi_start_testmode()) {
    fputs("power_sweep: no test mode: wlan0 did not come up\n", stderr);
    return 2;
  }
  wifi_set_mode(MODE);
  wifi_set_band(0);
  wifi_set_channel(CHANNEL_MHZ);
  wifi_set_rate(RATE);
  int failed = sweep();
  if (!wifi_stop_testmode()) failed++;
  puts(failed == 0 ? "PASS" : "FAIL");
  return failed == 0 ? 0 : 1;
}
