// SPDX-License-Identifier: Apache-2.0
#include "rf_tester/instrument/loss_table.h"

#include <iterator>

namespace rf_tester {

double loss_table::at(double mhz) const {
  if (points_.empty()) return 0;
  const auto above = points_.lower_bound(mhz);
  if (above == points_.end()) return points_.rbegin()->second;
  if (above == points_.begin()) return above->second;
  const auto below = std::prev(above);
  const double part = (mhz - below->first) / (above->first - below->first);
  return below->second + part * (above->second - below->second);
}

}  // namespace rf_tester
