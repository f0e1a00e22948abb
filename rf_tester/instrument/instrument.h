// SPDX-License-Identifier: Apache-2.0
// The test set itself: settings, ports, analyzer, generator and status. It knows no dialect.
#ifndef RF_TESTER_INSTRUMENT_INSTRUMENT_H
#define RF_TESTER_INSTRUMENT_INSTRUMENT_H

#include "rf_tester/instrument/cable.h"
#include "rf_tester/instrument/uncertainty.h"
#include "rf_tester/instrument/waveforms.h"
#include "rf_tester/scpi/status.h"

#include <chrono>
#include <functional>
#include <optional>

namespace rf_tester {

/** What *RST sets. Frequencies in Hz, levels in dBm, times in s. */
struct settings {
  int port = 1;
  double analyzer_hz = 2442e6, bandwidth_hz = 20e6, expected_dbm = 20, timeout_s = 0.5;
  int bursts = 1;
  double generator_hz = 2442e6, level_dbm = -60;
  std::optional<waveform> packets;
  int packet_count = 1000;
};

enum class outcome { good, timeout, over_range, under_range, no_sync };

struct chain_reading {
  int chain = 0;
  double power_dbm = 0, evm_db = 0;
};

/** Not a number: there is no such reading. */
struct reading {
  outcome how = outcome::good;
  double mhz = 0;
  double power_dbm = 0, evm_db = 0, frequency_error_ppm = 0, mask_margin_db = 0, leakage_dbc = 0;
  std::vector<chain_reading> chains;
};

namespace limits {
constexpr double least_hz = 2.4e9, most_hz = 7.2e9;
constexpr double least_bandwidth_hz = 20e6, most_bandwidth_hz = 160e6;
constexpr double least_expected_dbm = -60, most_expected_dbm = 40;
constexpr double least_timeout_s = 0.001, most_timeout_s = 30;
constexpr double least_level_dbm = -120, most_level_dbm = 10;
/** A loss is entered in dB, an amplifier as a negative one. */
constexpr double least_loss_db = -50, most_loss_db = 100;
constexpr int most_bursts = 1000, most_packets = 1000000;
/** What the generator's output gives at the port. */
constexpr double least_output_dbm = -130, most_output_dbm = 15;
}  // namespace limits

class test_set {
public:
  using clock = std::chrono::steady_clock;

  test_set(uint64_t seed, const bounds &errors, std::function<clock::time_point()> now);

  settings set;
  rf_tester::ports ports;
  scpi::status status;
  uncertainty errors;

  port &selected() { return ports[static_cast<size_t>(set.port) - 1]; }
  /** *RST: the settings and corrections; cables and the status stay. Ends a measurement. */
  void reset();

  /** Waits for a burst. Throws failure if it waits already. */
  void start_measurement();
  void abort_measurement();
  bool measuring() const { return deadline_.has_value(); }
  /** When a waiting measurement gives up. */
  clock::time_point deadline() const { return *deadline_; }
  /** Brings the measurement up to now: a burst may have come, or the time be over. */
  void settle();
  /** *OPC: the event follows when nothing is pending any more. */
  void announce_completion();
  void forget_completion() { announced_ = false; }
  /** The last measurement. Throws failure if there was none since *RST. */
  const reading &last() const;

  /** Sends the packets at once. Throws failure without a waveform, or if the output cannot give the level. */
  void send();
  /** Packets of the last transmission. */
  long sent() const { return sent_; }

private:
  bool triggers(const emission &heard) const;
  reading measured(const emission &heard);
  void read_chains(const emission &heard, double shift_db, reading &into);
  void finish(const reading &r);
  /** What the analyzer adds to the level at its port. */
  double entered_loss(double mhz) { return selected().correction.at(mhz); }
  double level_at_port(const emission &heard) const;
  double expected_at_port() const;

  std::function<clock::time_point()> now_;
  std::optional<clock::time_point> deadline_;
  std::optional<reading> last_;
  bool announced_ = false;
  long sent_ = 0;
};

}  // namespace rf_tester

#endif
