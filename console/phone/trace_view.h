// SPDX-License-Identifier: Apache-2.0
// The last call's contacts with the phone and its log, as text.
#ifndef CONSOLE_TRACE_VIEW_H
#define CONSOLE_TRACE_VIEW_H

#include <string>

namespace console {

/** The first `count` contacts of the last call. */
std::string trace_text(size_t count);
/** Log lines of the last call of at least this priority, in logcat's brief format. */
std::string log_text(int least_priority);

}  // namespace console

#endif
