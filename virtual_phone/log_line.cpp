// SPDX-License-Identifier: Apache-2.0
#include "log_line.h"

#include <algorithm>
#include <cstdio>
#include <time.h>
#include <unistd.h>

namespace phone {
namespace {

void print_line(int64_t wall_us, int priority, const char *tag, std::string_view line, log_writer writer) {
  time_t seconds = wall_us / 1000000;
  tm local{};
  localtime_r(&seconds, &local);
  char stamp[32];
  strftime(stamp, sizeof(stamp), "%m-%d %H:%M:%S", &local);
  char letter = "??VDIWEFS"[std::clamp(priority, 0, 8)];
  fprintf(stderr, "%s.%03d %5d %5d %c %-8s: %.*s\n", stamp, static_cast<int>(wall_us / 1000 % 1000),
          writer.process, writer.thread, letter, tag, static_cast<int>(line.size()), line.data());
}

}  // namespace

log_writer this_thread() { return {getpid(), gettid()}; }

void print_log(int64_t wall_us, int priority, const char *tag, std::string_view text, log_writer writer) {
  if (text.ends_with('\n')) text.remove_suffix(1);
  for (size_t end; (end = text.find('\n')) != text.npos; text.remove_prefix(end + 1)) {
    print_line(wall_us, priority, tag, text.substr(0, end), writer);
  }
  print_line(wall_us, priority, tag, text, writer);
}

}  // namespace phone
