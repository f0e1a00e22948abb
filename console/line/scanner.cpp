// SPDX-License-Identifier: Apache-2.0
#include "console/line/scanner.h"

#include <asio/post.hpp>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace console {

namespace key {
constexpr char end_of_input = 4, backspace = 8, clear_line = 21, erase = 127;
}

scanner::scanner(asio::io_context &io, bool with_keys, listener listens)
    : input(io, fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)), to(std::move(listens)), keys(with_keys) {
  if (keys && tcgetattr(STDIN_FILENO, &before) == 0) {
    auto now = before;
    now.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    tcsetattr(STDIN_FILENO, TCSANOW, &now);
  }
  wait();
}

scanner::~scanner() {
  if (keys) tcsetattr(STDIN_FILENO, TCSANOW, &before);
}

void scanner::stop() {
  stopped = true;
  input.close();
}

/** Not with async_read_some: that makes the descriptor non-blocking for everybody who shares it. */
void scanner::wait() {
  input.async_wait(asio::posix::stream_descriptor::wait_read, [this](asio::error_code error) {
    // A regular file is always ready, and cannot be waited for.
    if (!stopped && (!error || error == asio::error::operation_not_supported)) read();
  });
}

void scanner::read() {
  char piece[4096];
  auto count = ::read(input.native_handle(), piece, sizeof piece);
  if (count < 0 && errno == EINTR) return wait();
  for (ssize_t i = 0; i < count && !stopped; ++i) keys ? take_key(piece[i]) : take(piece[i]);
  if (stopped) return;
  if (count > 0) return wait();
  if (!text.empty()) take('\n');
  stop();
  to.end();
}

void scanner::take(char c) {
  constexpr size_t most = 4096;
  if (c != '\n') {
    if (text.size() < most) text += c;  // far too long for a serial number, and refused as that
    return;
  }
  auto line = std::move(text);
  text.clear();
  to.line(line);
}

void scanner::take_key(char c) {
  auto follows = [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80; };
  if (c == key::end_of_input && text.empty()) {
    stop();
    return to.end();
  }
  if (c == key::backspace || c == key::erase) {
    while (!text.empty() && follows(text.back())) text.pop_back();
    if (!text.empty()) text.pop_back();
  } else if (c == key::clear_line)
    text.clear();
  else
    take(c == '\r' ? '\n' : c);
  to.typed();
}

}  // namespace console
