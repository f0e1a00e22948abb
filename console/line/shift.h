// SPDX-License-Identifier: Apache-2.0
// What a shift counts: units, their verdicts and yields.
#ifndef CONSOLE_LINE_SHIFT_H
#define CONSOLE_LINE_SHIFT_H

#include "console/run/reporter.h"

#include <map>
#include <optional>
#include <string>

namespace console {

/** A unit's first judged run makes the first-pass yield, its last one the final yield. BROKEN and NO VERDICT
 * say nothing about the unit. */
class shift {
public:
  void count(const std::string &serial, verdict found);
  /** A teardown that failed is a BROKEN run of its own, as in the records. */
  void count_failed_teardown(const std::string &serial);
  /** How often a unit ran in this shift, teardowns apart. */
  unsigned runs_of(const std::string &serial) const;
  /** Something that was to be tested was not. */
  void add_untested() { ++untested; }
  /** "5 units: first-pass yield 60.0 %, final yield 80.0 %; 7 runs, 1 BROKEN" */
  std::string text() const;
  /** The worst of the units' last runs; BROKEN if one was not tested, NO VERDICT without a run. */
  verdict worst() const;

private:
  struct unit {
    unsigned runs = 0;
    std::optional<verdict> first, last; /**< judged */
    verdict latest = verdict::none;
  };
  std::map<std::string, unit> units;
  unsigned runs = 0, broken = 0, untested = 0;
};

}  // namespace console

#endif
