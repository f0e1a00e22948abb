// SPDX-License-Identifier: Apache-2.0
// The verdict of a run. Every output and the exit status take it from here.
#ifndef CONSOLE_VERDICT_H
#define CONSOLE_VERDICT_H

#include "console/run/reporter.h"

#include <vector>

namespace console {

/** A session's. Only an expectation that held, or a single call that succeeded, makes a PASS. */
verdict verdict_of(const session_summary &summary);
/** The worst of all; NO VERDICT if nothing ran. */
verdict verdict_of(const std::vector<session_summary> &all);

/** "PASS", "FAIL", "NO VERDICT", "BROKEN" */
const char *word_of(verdict v);

enum class exit_status { passed = 0, failed = 1, misused = 2, unjudged = 3 };
exit_status status_of(verdict v);

inline constexpr const char *exit_status_help =
    "Exit status: 0 PASS, every expectation held, or a single call succeeded; 1 FAIL, an expectation or a call "
    "failed; 2 wrong usage, or BROKEN, a session stopped before its end; 3 NO VERDICT, nothing was expected.";

}  // namespace console

#endif
