// SPDX-License-Identifier: Apache-2.0
/* The last call's contacts with the phone, one a line, and its log. */
#ifndef CONSOLE_TRACE_VIEW_H
#define CONSOLE_TRACE_VIEW_H

#include <string>

namespace console {

/** The first contacts of the last call, so many. */
std::string trace_text(size_t count);
/** Log lines of the last call from this priority on, as logcat's brief format shows them. */
std::string log_text(int least_priority);

}  // namespace console

#endif
