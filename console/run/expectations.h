// SPDX-License-Identifier: Apache-2.0
/* What may be expected of a call, and whether it came. */
#ifndef CONSOLE_EXPECTATIONS_H
#define CONSOLE_EXPECTATIONS_H

#include "console/nv/nv_view.h"
#include "console/run/reporter.h"

namespace console {

struct wanted {
  std::string name; /**< "result", or an output's name */
  std::string limits;
};

/**
 * Takes "-> RESULT ?NAME LIMITS ...?" off the end of the words behind a function's name.
 * Throws usage_error for an unknown name or limits that are none.
 */
std::vector<wanted> take_wanted(const function &f, std::vector<std::string> &words);

std::vector<expectation> judge_result(const call_result &result, const std::vector<wanted> &wants);

/** A value that was written to NV and reads as another. */
expectation not_kept(const nv_change &change);

/** {11=0 mode=7 12 27=1!}: exactly these driver commands in this order; "!" for a refused one. */
expectation expect_driver(const call_step &step, const std::vector<std::string> &wants, unsigned chip);
/** Exactly these shell commands in this order; each a text or glob, with "!" before it for a failed one. */
expectation expect_shell(const call_step &step, const std::vector<std::string> &wants);
/** A line that contains the text or matches the glob; or none. */
expectation expect_log(const call_step &step, const std::string &pattern, bool present);

/** What the virtual phone's description or state has come to. */
expectation expect_phone(const std::string &key, const std::string &limits);

}  // namespace console

#endif
