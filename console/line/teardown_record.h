// SPDX-License-Identifier: Apache-2.0
// Records a teardown that failed.
#ifndef CONSOLE_LINE_TEARDOWN_RECORD_H
#define CONSOLE_LINE_TEARDOWN_RECORD_H

#include "console/line/plan.h"

#include <chrono>
#include <string>

namespace console {

/** A teardown from its start on. */
struct teardown {
  std::string started; /**< wall-clock time with its zone */
  std::chrono::steady_clock::time_point began;
};

/**
 * Writes a BROKEN record of its own into the spool: the run before has its record and verdict already. Its
 * plan is the teardown's file. Throws usage_error if it cannot be written.
 */
void record_failed_teardown(const line_plan &plan, const slot_plan &slot, const unit_in_slot &unit,
                            const std::string &chip, const teardown &of, const std::string &reason);

}  // namespace console

#endif
