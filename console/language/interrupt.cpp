// SPDX-License-Identifier: Apache-2.0
#include "console/language/interrupt.h"

#include "console/language/interpreter.h"

#include <cstring>
#include <fmt/format.h>
#include <iterator>

namespace console {

volatile std::sig_atomic_t interrupted;

static constexpr int caught[] = {SIGINT, SIGTERM, SIGHUP};

sigset_t interrupting_signals() {
  sigset_t all;
  sigemptyset(&all);
  for (int number : caught) sigaddset(&all, number);
  return all;
}

void forget_interruption() {
  interrupted = 0;
  interpreter::forget_interruption();
}

std::string interruption_name() { return fmt::format("SIG{}", sigabbrev_np(interrupted)); }

interrupt_guard::interrupt_guard(bool once) {
  struct sigaction catching = {};
  catching.sa_flags = once ? static_cast<int>(SA_RESETHAND) : 0;
  catching.sa_handler = [](int number) {
    interrupted = number;
    interpreter::interrupt();
  };
  static_assert(std::size(caught) == std::size(decltype(before){}));
  for (size_t i = 0; i < std::size(caught); ++i) sigaction(caught[i], &catching, &before[i]);
}

interrupt_guard::~interrupt_guard() {
  for (size_t i = 0; i < std::size(caught); ++i) sigaction(caught[i], &before[i], nullptr);
}

}  // namespace console
