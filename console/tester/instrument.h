// SPDX-License-Identifier: Apache-2.0
// A connection to an RF test set, driven through an instrument profile.
#ifndef CONSOLE_INSTRUMENT_H
#define CONSOLE_INSTRUMENT_H

#include "console/tester/filled_text.h"
#include "console/tester/instrument_profile.h"

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace console {

/** One measurement. */
struct reading {
  /** "", or why there are no values: nothing received, over or under range, a power that cannot be. */
  std::string trouble;
  /** By quantity, in the order of `quantities`; without those that the test set had no value for. */
  std::vector<std::pair<std::string, double>> values;

  std::optional<double> find(const std::string &quantity) const;
};

/** Frequencies are in MHz, levels in dBm, losses in dB. Everything throws usage_error, whose message names
 * the address and the cause. After a connection failed it stays closed. */
class test_set {
public:
  /** Connects and compares the identification with the profile. `stopped` ends a wait after a signal. */
  test_set(std::string address, instrument_profile with, bool (*stopped)() = nullptr);
  ~test_set() { hang_up(); }
  test_set(const test_set &) = delete;
  test_set &operator=(const test_set &) = delete;

  const instrument_profile &profile() const { return its; }
  /** What the test set answered when it was asked who it is. */
  const std::string &identity() const { return known_as; }
  double mhz() const { return tuned_mhz; }
  double bandwidth_mhz() const { return tuned_width; }

  /** Brings the test set to its defaults. Path losses are entered anew after it. */
  void reset();
  void select_port(int64_t port);
  /** Replaces the loss of the selected port's path: MHz to dB, a loss is positive. */
  void set_path_loss(const std::map<double, double> &table);
  /** Centre and bandwidth of analyzer and generator. */
  void channel(double centre, double width);
  /** Sets the analyzer's range for a power at the phone. */
  void expect_power(double dbm);
  /** How long a measurement waits for a burst. */
  void trigger_timeout(double seconds);
  /** Bursts that a measurement averages. */
  void average(int64_t count);
  /** Measures what the phone transmits. A power further than `within_db` from what the phone was set to is
   * trouble, whose text names the likely cause. */
  reading measure(std::optional<double> wanted_dbm = std::nullopt, double within_db = 3);
  /** Sends packets of this format and rate at a level at the phone; how many the test set says it sent. */
  int64_t generate(const std::string &format, const std::string &rate, double width, double dbm,
                   int64_t count);

private:
  void connect();
  void identify();
  void hang_up();
  [[noreturn]] void fail(const std::string &what) const;
  /** The connection is lost: an answer that comes late would be taken for the next one. */
  [[noreturn]] void lose(const std::string &what);
  void send(const std::string &text);
  std::string ask(const std::string &text);
  using answers = std::map<std::string, std::string>;
  std::string part(const profile_answer &wanted, answers &asked);
  std::vector<std::string> errors();
  void act(const std::string &action, const text_values &values = {});
  text_values numbered(double centre) const;
  std::optional<double> number(const std::string &name, answers &asked);
  std::string trouble_of(const std::string &text) const;
  std::string port_text() const;
  double entered_loss() const;
  std::string cause(double power, double wanted) const;

  std::string address;
  instrument_profile its;
  bool (*is_stopped)();
  int descriptor = -1;
  std::string known_as;
  double trigger_ms = 0, tuned_mhz = 0, tuned_width = 20;
  int64_t port = 0; /**< 0: none is selected */
  std::map<int64_t, std::map<double, double>> losses;
};

}  // namespace console

#endif
