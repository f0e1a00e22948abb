// SPDX-License-Identifier: Apache-2.0
// Reading from a person or a pipe until a signal comes.
#ifndef CONSOLE_INPUT_H
#define CONSOLE_INPUT_H

#include <csignal>
#include <optional>
#include <string>

namespace console {

/** While it exists, the signals that end a script are blocked. */
class interruption_blocked {
public:
  interruption_blocked();
  ~interruption_blocked();
  interruption_blocked(const interruption_blocked &) = delete;
  interruption_blocked &operator=(const interruption_blocked &) = delete;

private:
  sigset_t before;
};

/** Waits for a byte; EOF at the end of the input, after an error, which errno tells, and after a signal. None
 * is missed if the signals are blocked: they are let through only while it waits. */
int read_byte(int from);

/** Reads a line without its end; nothing at the end of the input, or after a signal. Reads no byte beyond it.
 * Throws usage_error for an input that cannot be read. */
std::optional<std::string> read_line(int from);

}  // namespace console

#endif
