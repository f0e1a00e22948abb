// What is measured: the same calls are recorded for the floor and timed.
#ifndef BENCH_OPERATIONS_H
#define BENCH_OPERATIONS_H

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

inline void session() {
  uint32_t rssi = 0;
  wifi_start_testmode();
  settings();
  wifi_start_tx();
  wifi_stop_tx();
  wifi_start_rx("0a1b2c3d4e5f", nullptr);
  wifi_get_rx_rssi(&rssi);
  wifi_get_rx_pckg();
  wifi_stop_rx();
  wifi_stop_testmode();
}

inline void prepare_transmit() {
  wifi_start_testmode();
  settings();
}

/// A phone in its owner's hands: wlan0 up, and test mode off.
inline void prepare_session() {
  phone_reset();  // another chip may be fitted, whose test mode is not meant
  wifi_stop_testmode();
  phone_reset();
}

inline void nothing() {}

struct operation {
  const char *name;
  void (*prepare)();
  void (*run)();
  bool prepare_each;  // before every run, not only before the first
};

inline constexpr operation operations[] = {
    {"setter", nothing, setter, false},
    {"value_command", nothing, value_command, false},
    {"transmit_start", prepare_transmit, transmit_start, false},
    {"session", prepare_session, session, true},
};

}  // namespace bench

#endif
