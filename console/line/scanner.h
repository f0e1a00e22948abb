// SPDX-License-Identifier: Apache-2.0
// The lines of standard input: what a bar code scanner or a person types, or what a pipe or file holds.
#ifndef CONSOLE_LINE_SCANNER_H
#define CONSOLE_LINE_SCANNER_H

#include <asio/io_context.hpp>
#include <asio/posix/stream_descriptor.hpp>
#include <functional>
#include <string>
#include <string_view>
#include <termios.h>

namespace console {

class scanner {
public:
  struct listener {
    std::function<void(const std::string &)> line;
    std::function<void()> typed;  /**< typed() has changed */
    std::function<void(int)> end; /**< with the errno if the input failed, otherwise 0 */
  };

  /** With keys, the terminal hands over each key as it is typed and does not show it. */
  scanner(asio::io_context &io, bool keys, listener to);
  ~scanner();
  scanner(const scanner &) = delete;
  scanner &operator=(const scanner &) = delete;

  /** What was typed of the next line. */
  const std::string &typed() const { return text; }
  void stop();

private:
  void wait();
  void read();
  void finish(int error);
  void take(char c);
  void take_key(char c);

  asio::posix::stream_descriptor input;
  listener to;
  bool keys, stopped = false;
  const bool at_terminal;
  termios before = {};
  std::string text;
};

}  // namespace console

#endif
