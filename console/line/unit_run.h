// SPDX-License-Identifier: Apache-2.0
// What a console's JSON lines say about the unit that it tests.
#ifndef CONSOLE_LINE_UNIT_RUN_H
#define CONSOLE_LINE_UNIT_RUN_H

#include "console/line/process.h"
#include "console/run/reporter.h"

#include <optional>
#include <string>
#include <string_view>

namespace console {

struct run_outcome {
  verdict found = verdict::broken;
  std::string reason = {};   /**< the first failure, or why the run is broken; "" for PASS and NO VERDICT */
  std::string teardown = {}; /**< why the teardown failed, which follows the run; "" if it did not */
};

class unit_run {
public:
  /** Returns false for a line that orva-station --json does not print. */
  bool take(std::string_view line);
  /** As the console named it; "unknown" before. */
  const std::string &chip() const { return tested_chip; }
  /** The step and, of a sweep, how far it is: "Transmit 12/54". */
  std::string doing() const;
  /** The verdict, if the lines and the way the console ended agree on it; otherwise BROKEN. */
  run_outcome outcome(const process_end &how) const;

private:
  std::string step, part, reason, rubbish, tested_chip = "unknown";
  std::optional<verdict> summary;
};

}  // namespace console

#endif
