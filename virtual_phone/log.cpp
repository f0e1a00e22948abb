// SPDX-License-Identifier: Apache-2.0
// The Android log: kept in the trace, and on request printed as `logcat -v threadtime` prints it.
#include "faults.h"
#include "log_line.h"
#include "phone.h"
#include "state.h"
#include "trace.h"

#include "platform/platform.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

namespace phone {
namespace {

constexpr size_t longest = 4096;

}  // namespace
}  // namespace phone

void phone_print_log(int least_priority) { phone::state().print_log = least_priority; }

int __android_log_print(int prio, const char *tag, const char *fmt, ...) {
  using namespace phone;
  char text[longest];
  va_list arguments;
  va_start(arguments, fmt);
  int length = std::max(0, vsnprintf(text, sizeof(text), fmt, arguments));
  va_end(arguments);
  std::string_view kept{text, std::min(static_cast<size_t>(length), sizeof(text) - 1)};
  use(fn_log);
  record({.kind = PHONE_LOG, .result = length, .number = {prio}, .name = tag, .text = kept});
  int least = state().print_log;
  if (least && prio >= least) print_log(state().wall_origin_us + phone_now_us(), prio, tag, kept);
  return length;
}
