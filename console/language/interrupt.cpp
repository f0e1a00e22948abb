// SPDX-License-Identifier: Apache-2.0
#include "console/language/interrupt.h"

#include "console/language/interpreter.h"

namespace console {

volatile std::sig_atomic_t interrupted;

interrupt_guard::interrupt_guard() {
  struct sigaction catching = {};
  catching.sa_handler = [](int) {
    interrupted = 1;
    interpreter::interrupt();
  };
  sigaction(SIGINT, &catching, &before);
}

interrupt_guard::~interrupt_guard() { sigaction(SIGINT, &before, nullptr); }

}  // namespace console
