// SPDX-License-Identifier: Apache-2.0
// The priorities of log lines, as Android numbers them.
#ifndef CONSOLE_LOG_PRIORITY_H
#define CONSOLE_LOG_PRIORITY_H

#include <cstdint>
#include <string>
#include <vector>

namespace console {

enum log_priority : int { LOG_VERBOSE = 2, LOG_DEBUG, LOG_INFO, LOG_WARN, LOG_ERROR, LOG_FATAL };

/** The number of a priority's name or letter, LOG_DEBUG for ""; throws usage_error. */
int parse_log_priority(const std::string &name);
/** The letter that logcat prints; '?' for a number that is no priority. */
char log_letter(int64_t priority);
/** The names to offer: debug, info, warn, error. */
std::vector<std::string> log_priority_names();

}  // namespace console

#endif
