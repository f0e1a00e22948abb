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
    : input(io, fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 0)), to(std::move(listens)), keys(with_keys),
      at_terminal(isatty(STDIN_FILENO)) {
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
    if (stopped) return;
    // A regular file is always ready, and cannot be waited for.
    if (error && error != asio::error::operation_not_supported) return finish(error.value());
    read();
  });
}

void scanner::read() {
  char piece[4096];
  auto count = ::read(input.native_handle(), piece, sizeof piece);
  if (count < 0 && (errno == EINTR || errno == EAGAIN)) return wait();
  int error = count < 0 ? errno : 0;
  for (ssize_t i = 0; i < count && !stopped; ++i) keys ? take_key(piece[i]) : take(piece[i]);
  if (stopped) return;
  if (count > 0) return wait();
  // A terminal that is gone reads as ended, and is no terminal any longer.
  if (count == 0 && at_terminal && !isatty(input.native_handle())) error = errno;
  finish(error);
}

/** What came before an error may be half a serial number. */
void scanner::finish(int error) {
  if (!error && !text.empty()) take('\n');
  stop();
  to.end(error);
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
  if (c == key::end_of_input && text.empty()) return finish(0);
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
