// SPDX-License-Identifier: Apache-2.0
#include "rf_tester/instrument/uncertainty.h"

#include <cmath>

namespace rf_tester {
namespace {

constexpr double fixed_part = 0.7;
/** The fixed part changes from one such step of frequency to the next. */
constexpr double step_mhz = 20;

/** SplitMix64. Own arithmetic, because the standard's distributions differ between libraries. */
uint64_t mixed(uint64_t &state) {
  uint64_t z = (state += 0x9E3779B97F4A7C15U);
  z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9U;
  z = (z ^ (z >> 27)) * 0x94D049BB133111EBU;
  return z ^ (z >> 31);
}

double from_minus_one_to_one(uint64_t bits) { return static_cast<double>(bits >> 11) * 0x1p-52 - 1; }

}  // namespace

double uncertainty::draw() { return from_minus_one_to_one(mixed(state_)); }

double uncertainty::error(quantity q, int port, double mhz, int count) {
  uint64_t place = seed_ ^ (static_cast<uint64_t>(q) << 48 | static_cast<uint64_t>(port) << 40 |
                            static_cast<uint64_t>(std::lround(mhz / step_mhz)));
  mixed(place);
  const double fixed = from_minus_one_to_one(mixed(place));
  double sum = 0;
  for (int i = 0; i < count; i++) sum += draw();
  return bound(q) * (fixed_part * fixed + (1 - fixed_part) * sum / count);
}

}  // namespace rf_tester
