// SPDX-License-Identifier: Apache-2.0
// The loss of a path over frequency.
#ifndef RF_TESTER_INSTRUMENT_LOSS_TABLE_H
#define RF_TESTER_INSTRUMENT_LOSS_TABLE_H

#include <cstddef>
#include <map>

namespace rf_tester {

class loss_table {
public:
  static constexpr size_t most_points = 100;

  loss_table() = default;
  /** MHz to dB. No points: no loss. */
  explicit loss_table(std::map<double, double> points) : points_(std::move(points)) {}
  /** Between two points the loss is on the line that joins them; outside, that of the nearest point. */
  double at(double mhz) const;
  const std::map<double, double> &points() const { return points_; }

private:
  std::map<double, double> points_;
};

}  // namespace rf_tester

#endif
