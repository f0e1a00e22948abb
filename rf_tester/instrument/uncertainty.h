// SPDX-License-Identifier: Apache-2.0
// The error of what the test set reads: bounded, stated, and the same for the same seed.
#ifndef RF_TESTER_INSTRUMENT_UNCERTAINTY_H
#define RF_TESTER_INSTRUMENT_UNCERTAINTY_H

#include <array>
#include <cstddef>
#include <cstdint>

namespace rf_tester {

enum class quantity { power, evm, frequency, mask, leakage };
constexpr int quantity_count = 5;

/** The largest error of each quantity: dB, dB, ppm, dB, dB. */
using bounds = std::array<double, quantity_count>;
constexpr bounds usual_bounds = {0.3, 0.3, 0.05, 0.5, 0.5};

class uncertainty {
public:
  uncertainty(uint64_t seed, const bounds &limits) : seed_(seed), state_(seed), limits_(limits) {}

  double bound(quantity q) const { return limits_[static_cast<size_t>(q)]; }
  uint64_t seed() const { return seed_; }
  /**
   * The error of a mean of `count` readings. Most of it belongs to this test set and stays the same at a port
   * and frequency; the rest is drawn for each reading and averages out.
   */
  double error(quantity q, int port, double mhz, int count);

private:
  /** From -1 to 1. */
  double draw();

  uint64_t seed_, state_;
  bounds limits_;
};

}  // namespace rf_tester

#endif
