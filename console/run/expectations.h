// SPDX-License-Identifier: Apache-2.0
// Parses and judges what a script expects of a call.
#ifndef CONSOLE_EXPECTATIONS_H
#define CONSOLE_EXPECTATIONS_H

#include "console/nv/nv_safe.h"
#include "console/run/reporter.h"

namespace console {

struct wanted {
  std::string name; /**< "result", or an output's name */
  std::string limits;
};

/** Removes "-> RESULT ?NAME LIMITS ...?" from the end of a call's words and returns it parsed. Throws
 * usage_error for an unknown name or bad limits. */
std::vector<wanted> take_wanted(const function &f, std::vector<std::string> &words);

std::vector<expectation> judge_result(const call_result &result, const std::vector<wanted> &wants);

/** The failed expectation of a call whose result nobody judged. */
expectation unexpected_failure(const call_result &result);

/** The failed expectation of a value written to NV that reads as another. */
expectation not_kept(const nv_change &change);

/** The failed expectation of an item that was written but not read. */
expectation written_unread(const blind_write &item);

/** Exactly these driver commands in this order, as {11=0 mode=7 12 27=1!}; "!" for a refused one. */
expectation expect_driver(const call_step &step, const std::vector<std::string> &wants, unsigned chip);
/** Exactly these shell commands in this order, each a text or glob; "!" in front for a failed one. */
expectation expect_shell(const call_step &step, const std::vector<std::string> &wants);
/** A log line that contains the text or matches the glob, or the absence of one. */
expectation expect_log(const call_step &step, const std::string &pattern, bool present);

/** A value of the virtual phone's description or state. Throws usage_error for a key that it does not have.
 */
std::string value_of_phone(const std::string &key);
expectation expect_phone(const std::string &key, const std::string &limits);

}  // namespace console

#endif
