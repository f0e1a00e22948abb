// SPDX-License-Identifier: Apache-2.0
// The Android log: kept in the trace, and on request printed as `logcat -v threadtime` prints it.
#include "faults.h"
#include "phone.h"
#include "state.h"
#include "trace.h"

#include "platform/platform.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <time.h>
#include <unistd.h>

namespace phone {
namespace {

constexpr size_t longest = 4096;

void print_line(FILE *out, int priority, const char *tag, std::string_view line) {
  int64_t now = state().wall_origin_us + phone_now_us();
  time_t seconds = now / 1000000;
  tm local{};
  localtime_r(&seconds, &local);
  char stamp[32];
  strftime(stamp, sizeof(stamp), "%m-%d %H:%M:%S", &local);
  char letter = "??VDIWEFS"[std::clamp(priority, 0, 8)];
  fprintf(out, "%s.%03d %5d %5d %c %-8s: %.*s\n", stamp, static_cast<int>(now / 1000 % 1000), getpid(),
          gettid(), letter, tag, static_cast<int>(line.size()), line.data());
}

void print_log(int priority, const char *tag, std::string_view text) {
  if (text.ends_with('\n')) text.remove_suffix(1);
  for (size_t end; (end = text.find('\n')) != text.npos; text.remove_prefix(end + 1)) {
    print_line(stderr, priority, tag, text.substr(0, end));
  }
  print_line(stderr, priority, tag, text);
}

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
  if (least && prio >= least) print_log(prio, tag, kept);
  return length;
}
