// SPDX-License-Identifier: Apache-2.0
// The standard's limits of RF quantities, from a CSV file.
#ifndef CONSOLE_LIMIT_TABLE_H
#define CONSOLE_LIMIT_TABLE_H

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace console {

struct rf_limit {
  std::optional<double> low, high;
  std::string unit, source;

  /** "LOW..HIGH" of an expectation, each end tightened by `guard`. Throws usage_error if nothing is left. */
  std::string text(double guard) const;
};

/**
 * Columns: quantity, format, rate, band, bandwidth_mhz; low, high, unit, source. An empty cell fits anything,
 * or is no limit. The first row that fits counts.
 */
class limit_table {
public:
  /** Throws usage_error for a file that cannot be read or used; the message names file and line. */
  explicit limit_table(const std::string &file);
  /** `at` has the values of "format", "rate", "band" and "bandwidth_mhz", as far as they are known. Throws
   * usage_error if no row fits. */
  const rf_limit &find(const std::string &quantity, const std::map<std::string, std::string> &at) const;

private:
  struct row {
    std::map<std::string, std::string> cells;
    rf_limit limit;
  };
  row read(const std::vector<std::string> &names, const std::string &line, int number) const;

  std::string path;
  std::vector<row> rows;
};

}  // namespace console

#endif
