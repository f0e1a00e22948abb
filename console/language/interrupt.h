// SPDX-License-Identifier: Apache-2.0
// Signals that end the running script, not the console: Ctrl-C, SIGTERM and SIGHUP.
#ifndef CONSOLE_INTERRUPT_H
#define CONSOLE_INTERRUPT_H

#include <csignal>
#include <string>

namespace console {

/** The signal's number once one arrived. */
extern volatile std::sig_atomic_t interrupted;

/** After a signal that has done what it was to do: the next script runs. */
void forget_interruption();
/** The signals that a guard catches, for sigprocmask. */
sigset_t interrupting_signals();
/** "SIGTERM" */
std::string interruption_name();

/** While it exists, a signal ends the running script. */
class interrupt_guard {
public:
  /** With once, a second signal of the kind ends the console, should the first one's clean-up hang. */
  explicit interrupt_guard(bool once);
  ~interrupt_guard();
  interrupt_guard(const interrupt_guard &) = delete;
  interrupt_guard &operator=(const interrupt_guard &) = delete;

private:
  struct sigaction before[3];
};

}  // namespace console

#endif
