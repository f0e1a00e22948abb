// SPDX-License-Identifier: Apache-2.0
#include "console/prompt/input.h"

#include "console/language/interrupt.h"
#include "console/text/usage_error.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fmt/format.h>
#include <poll.h>
#include <unistd.h>

namespace console {

interruption_blocked::interruption_blocked() {
  sigset_t signals = interrupting_signals();
  sigprocmask(SIG_BLOCK, &signals, &before);
}

interruption_blocked::~interruption_blocked() { sigprocmask(SIG_SETMASK, &before, nullptr); }

int read_byte(int from) {
  sigset_t none;
  sigemptyset(&none);
  pollfd input = {.fd = from, .events = POLLIN, .revents = 0};
  unsigned char byte;
  while (!interrupted) {
    errno = 0;
    auto count = ppoll(&input, 1, nullptr, &none) > 0 ? read(from, &byte, 1) : -1;
    if (count > 0) return byte;
    if (count == 0 || (errno != EINTR && errno != EAGAIN)) return EOF;
  }
  return EOF;
}

std::optional<std::string> read_line(int from) {
  interruption_blocked here;
  std::string line;
  int byte;
  while ((byte = read_byte(from)) != EOF && byte != '\n') line += static_cast<char>(byte);
  if (interrupted) return std::nullopt;
  if (byte == EOF && errno)
    throw usage_error{fmt::format("The standard input cannot be read: {}.", strerror(errno))};
  return byte == EOF && line.empty() ? std::nullopt : std::optional(line);
}

}  // namespace console
