// SPDX-License-Identifier: Apache-2.0
// Ctrl-C ends the running script, not the console.
#ifndef CONSOLE_INTERRUPT_H
#define CONSOLE_INTERRUPT_H

#include <csignal>

namespace console {

/** Set when Ctrl-C is pressed. */
extern volatile std::sig_atomic_t interrupted;

/** While it exists, Ctrl-C ends the running script. */
class interrupt_guard {
public:
  interrupt_guard();
  ~interrupt_guard();
  interrupt_guard(const interrupt_guard &) = delete;
  interrupt_guard &operator=(const interrupt_guard &) = delete;

private:
  struct sigaction before;
};

}  // namespace console

#endif
