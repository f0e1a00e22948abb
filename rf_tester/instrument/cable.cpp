// SPDX-License-Identifier: Apache-2.0
#include "rf_tester/instrument/cable.h"

namespace rf_tester {
namespace {

constexpr size_t most_waiting = 256;

}  // namespace

void port::deliver(const burst &sent) {
  if (waiting_.size() == most_waiting) waiting_.pop_front();
  waiting_.push_back(sent);
}

std::vector<burst> port::take_bursts() {
  std::vector<burst> taken(waiting_.begin(), waiting_.end());
  waiting_.clear();
  return taken;
}

void port::unplug() {
  phone.reset();
  emits.reset();
  waiting_.clear();
}

}  // namespace rf_tester
