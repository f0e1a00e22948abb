// SPDX-License-Identifier: Apache-2.0
// The ports, and what passes through a cable: a phone's emission to the analyzer, bursts to the phone.
#ifndef RF_TESTER_INSTRUMENT_CABLE_H
#define RF_TESTER_INSTRUMENT_CABLE_H

#include "rf_tester/instrument/loss_table.h"

#include <array>
#include <deque>
#include <optional>
#include <string>
#include <vector>

namespace rf_tester {

constexpr int port_count = 8;

struct chain_emission {
  int chain = 0;
  double power_dbm = 0, evm_db = 0;
};

/** What a phone emits, at its antenna connector. */
struct emission {
  double mhz = 0, bandwidth_mhz = 0;
  std::string format, rate;
  double frequency_error_ppm = 0, leakage_dbc = 0, mask_margin_db = 0;
  std::vector<chain_emission> chains;
};

/** Packets that reach a phone, with the level at its antenna connector. */
struct burst {
  double mhz = 0, bandwidth_mhz = 0;
  std::string format, rate;
  double level_dbm = 0;
  long packets = 0;
};

struct port {
  /** The name of the phone that is plugged in, if there is one. */
  std::optional<std::string> phone;
  std::optional<emission> emits;
  /** What the cable really loses. */
  loss_table cable;
  /** What the user entered as its loss. */
  loss_table correction;

  /** Keeps a burst until the phone asks. Of a phone that never asks, the oldest are dropped. */
  void deliver(const burst &sent);
  std::vector<burst> take_bursts();
  void unplug();

private:
  std::deque<burst> waiting_;
};

using ports = std::array<port, port_count>;

}  // namespace rf_tester

#endif
