// SPDX-License-Identifier: Apache-2.0
// Ctrl-C ends what runs, not the console.
#ifndef CONSOLE_INTERRUPT_H
#define CONSOLE_INTERRUPT_H

#include <csignal>

namespace console {

/** Ctrl-C was pressed since this was last set to 0. */
extern volatile std::sig_atomic_t interrupted;

/** While one of these lives, Ctrl-C ends the script that runs. */
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
