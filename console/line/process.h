// SPDX-License-Identifier: Apache-2.0
// A program that runs beside the line: its lines, and how it ends.
#ifndef CONSOLE_LINE_PROCESS_H
#define CONSOLE_LINE_PROCESS_H

#include <asio/io_context.hpp>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace console {

struct process_end {
  /** By itself, with this status. */
  bool exited = false;
  int status = 0;
  /** "ended by SIGSEGV", "cannot be started: …"; "" if it exited. */
  std::string trouble = {};
  /** The end of what it wrote to standard error, without trailing line ends. */
  std::string complaint = {};
};

class process {
public:
  virtual ~process() = default;
  process() = default;
  process(const process &) = delete;
  process &operator=(const process &) = delete;

  /** Sends a signal to the program and what it started. */
  virtual void signal(int number) = 0;
};

struct process_listener {
  /** A line of standard output, without its end. */
  std::function<void(std::string_view)> line;
  /** The last event. What the program printed came before. */
  std::function<void(const process_end &)> ended;
};

/** A line longer than this is handed over in pieces. */
inline constexpr size_t longest_line = size_t{64} << 20;

/**
 * Starts the program that PATH has for the first word: without input, in a process group of its own, so that
 * the terminal's Ctrl-C reaches it through the line only. A program that cannot be started ends at once.
 */
std::shared_ptr<process> start_process(asio::io_context &io, const std::vector<std::string> &words,
                                       process_listener to);

}  // namespace console

#endif
