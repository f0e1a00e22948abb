// SPDX-License-Identifier: Apache-2.0
// The measured operations. The same calls are recorded for the floor, compared with it and measured.
#ifndef BENCH_OPERATIONS_H
#define BENCH_OPERATIONS_H

#include "include/vq2050.h"
#include "include/wifi_factory_test_orva.h"
#include "virtual_phone/phone.h"

namespace bench {

inline void setter() { wifi_set_rate(6500); }
inline void value_command() { wifi_set_antenna(1); }
inline void transmit_start() { wifi_start_tx(); }

inline void settings() {
  wifi_set_mode(4);
  wifi_set_band(0);
  wifi_set_channel(2412);
  wifi_set_rate(6500);
  wifi_set_power(155);
  wifi_setmimo_channel(1);
}

inline void receive() {
  uint32_t rssi = 0;
  wifi_start_rx("0a1b2c3d4e5f", nullptr);
  wifi_get_rx_rssi(&rssi);
  wifi_get_rx_pckg();
  wifi_stop_rx();
}

inline void session() {
  wifi_start_testmode();
  settings();
  wifi_start_tx();
  wifi_stop_tx();
  receive();
  wifi_stop_testmode();
}

/// The cheapest public function and its back end called directly: the difference is the cost of dispatch.
inline constexpr const char *dispatch_chip = "vq2050";
inline void dispatched_call() {
  uint8_t lower, upper;
  wifi_power_set_range(&lower, &upper);
}
inline void direct_call() {
  uint8_t lower, upper;
  vq2050_wifi_power_set_range(&lower, &upper);
}

inline void nothing() {}

inline void prepare_test_mode() {
  wifi_start_testmode();
  settings();
}

/// Test mode off, on a fresh phone with the same chip: wlan0 is up.
inline void prepare_session() {
  wifi_stop_testmode();
  char chip[16], error[200];
  phone_get("chip", chip, sizeof chip);
  phone_reset();
  phone_set("chip", chip, error, sizeof error);
}

struct operation {
  const char *name;
  void (*prepare)();
  void (*run)();
  bool prepare_each;  // before every run, not only before the first
  bool uses_shell;    // forking is nearly all of its cost, so its instructions are not compared
};

inline constexpr operation operations[] = {
    {"setter", nothing, setter, false, false},
    {"value_command", nothing, value_command, false, false},
    {"transmit_start", prepare_test_mode, transmit_start, false, false},
    {"receive", prepare_test_mode, receive, false, false},
    {"session", prepare_session, session, true, true},
};

}  // namespace bench

#endif
