// SPDX-License-Identifier: Apache-2.0
#include "rf_tester/instrument/instrument.h"

#include <cmath>
#include <fmt/format.h>
#include <limits>

namespace rf_tester {
namespace {

constexpr double no_reading = std::numeric_limits<double>::quiet_NaN();

/** How far an emission may be off the analyzer's centre and still trigger. */
constexpr double capture_mhz = 1;
/** Relative to the expected power: clipping, too few bits for good figures, no trigger. */
constexpr double headroom_db = 6, good_range_db = 25, trigger_range_db = 45;
/** The analyzer's own EVM at the expected power. It gets worse by each dB below. */
constexpr double own_evm_db = -48;

// Bits of the condition registers; the standard gives bit 3 to power and bit 4 to measuring, and leaves 9
// free.
constexpr uint16_t questionable_power = 1U << 3, questionable_trigger = 1U << 9;
constexpr uint16_t operation_measuring = 1U << 4;

double milliwatts(double dbm) { return std::pow(10, dbm / 10); }
double decibels(double ratio) { return 10 * std::log10(ratio); }

uint16_t questions_about(outcome how) {
  if (how == outcome::timeout) return questionable_trigger;
  return how == outcome::over_range || how == outcome::under_range ? questionable_power : uint16_t{0};
}

}  // namespace

test_set::test_set(uint64_t seed, const bounds &errors_of, std::function<clock::time_point()> now)
    : errors(seed, errors_of), now_(std::move(now)) {}

void test_set::reset() {
  abort_measurement();
  forget_completion();
  set = {};
  last_.reset();
  sent_ = 0;
  status.questionable.set_condition(0);
  for (port &p : ports) p.correction = {};
}

void test_set::start_measurement() {
  settle();
  if (measuring()) throw scpi::failure(scpi::init_ignored);
  deadline_ = now_() + std::chrono::microseconds(std::llround(set.timeout_s * 1e6));
  status.operation.set_condition(operation_measuring);
  settle();
}

void test_set::abort_measurement() {
  deadline_.reset();
  status.operation.set_condition(0);
}

void test_set::settle() {
  if (measuring()) {
    const auto &heard = selected().emits;
    if (heard && triggers(*heard)) {
      finish(measured(*heard));
    } else if (now_() >= *deadline_) {
      finish({outcome::timeout,
              set.analyzer_hz / 1e6,
              no_reading,
              no_reading,
              no_reading,
              no_reading,
              no_reading,
              {}});
    }
  }
  if (announced_ && !measuring()) {
    announced_ = false;
    status.set_event(scpi::operation_complete);
  }
}

void test_set::announce_completion() {
  announced_ = true;
  settle();
}

void test_set::finish(const reading &r) {
  last_ = r;
  deadline_.reset();
  status.operation.set_condition(0);
  status.questionable.set_condition(questions_about(r.how));
}

const reading &test_set::last() const {
  if (!last_) throw scpi::failure(scpi::data_stale, "no measurement was made");
  return *last_;
}

double test_set::level_at_port(const emission &heard) const {
  double sum = 0;
  for (const chain_emission &c : heard.chains) sum += milliwatts(c.power_dbm);
  return decibels(sum) - ports[static_cast<size_t>(set.port) - 1].cable.at(heard.mhz);
}

double test_set::expected_at_port() const {
  return set.expected_dbm - ports[static_cast<size_t>(set.port) - 1].correction.at(set.analyzer_hz / 1e6);
}

bool test_set::triggers(const emission &heard) const {
  if (std::abs(heard.mhz - set.analyzer_hz / 1e6) > capture_mhz) return false;
  return level_at_port(heard) > expected_at_port() - trigger_range_db;
}

reading test_set::measured(const emission &heard) {
  const double mhz = heard.mhz, level = level_at_port(heard), above = level - expected_at_port();
  reading r{outcome::good, mhz, no_reading, no_reading, no_reading, no_reading, no_reading, {}};
  if (above > headroom_db) {
    r.how = outcome::over_range;
    return r;
  }
  const auto error = [&](quantity q) { return errors.error(q, set.port, mhz, set.bursts); };
  const double shift = entered_loss(mhz) - selected().cable.at(mhz) + error(quantity::power);
  double all_chains = 0;
  for (const chain_emission &c : heard.chains) all_chains += milliwatts(c.power_dbm);
  r.power_dbm = decibels(all_chains) + shift;
  if (heard.bandwidth_mhz * 1e6 > set.bandwidth_hz) {
    r.how = outcome::no_sync;
    return r;
  }
  if (above < -good_range_db) r.how = outcome::under_range;
  read_chains(heard, shift, r);
  r.frequency_error_ppm = heard.frequency_error_ppm + error(quantity::frequency);
  r.mask_margin_db = heard.mask_margin_db + error(quantity::mask);
  r.leakage_dbc = heard.leakage_dbc + error(quantity::leakage);
  return r;
}

void test_set::read_chains(const emission &heard, double shift_db, reading &into) {
  const double floor_db = own_evm_db + std::max(0.0, expected_at_port() - level_at_port(heard));
  double all = 0, wrong = 0;
  for (const chain_emission &c : heard.chains) {
    const double evm = decibels(milliwatts(c.evm_db) + milliwatts(floor_db)) +
                       errors.error(quantity::evm, set.port, heard.mhz, set.bursts);
    into.chains.push_back({c.chain, c.power_dbm + shift_db, evm});
    all += milliwatts(c.power_dbm);
    wrong += milliwatts(c.power_dbm + evm);
  }
  into.evm_db = decibels(wrong / all);
}

void test_set::send() {
  if (!set.packets) throw scpi::failure(scpi::settings_conflict, "no waveform is loaded");
  const double mhz = set.generator_hz / 1e6, output = set.level_dbm + entered_loss(mhz);
  if (output < limits::least_output_dbm || output > limits::most_output_dbm)
    throw scpi::failure(scpi::settings_conflict,
                        fmt::format("the level with the path loss needs {:.1f} dBm at the port: {} to {}",
                                    output, limits::least_output_dbm, limits::most_output_dbm));
  port &to = selected();
  if (to.phone)
    to.deliver({mhz, static_cast<double>(set.packets->bandwidth_mhz), set.packets->format, set.packets->rate,
                std::round((output - to.cable.at(mhz)) * 1000) / 1000, set.packet_count});
  sent_ = set.packet_count;
}

}  // namespace rf_tester
