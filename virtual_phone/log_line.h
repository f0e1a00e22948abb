// SPDX-License-Identifier: Apache-2.0
// Log lines as `logcat -v threadtime` prints them.
#ifndef VIRTUAL_PHONE_LOG_LINE_H
#define VIRTUAL_PHONE_LOG_LINE_H

#include <cstdint>
#include <string_view>

namespace phone {

/// Who wrote a line.
struct log_writer {
  int process, thread;
};
log_writer this_thread();

/// Prints a message to stderr, a line for each of its lines. The time is in microseconds since 1970.
void print_log(int64_t wall_us, int priority, const char *tag, std::string_view text,
               log_writer writer = this_thread());

}  // namespace phone

#endif
