// SPDX-License-Identifier: Apache-2.0
// What the fault sweep knows about each operation: how to call it, what must be true before, which results it
// may give.
#ifndef TESTS_FAULT_SWEEP_H
#define TESTS_FAULT_SWEEP_H

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/support/bench.h"

namespace sweep {

/// Room for what operations write, each followed by a margin that must stay untouched.
struct outputs {
  static constexpr uint8_t margin_byte = 0xC5;
  static constexpr size_t margin = 64;
  static constexpr size_t largest = 16 * 104;

  std::array<uint8_t, largest + margin> text;
  std::array<std::array<uint8_t, 36 + margin>, 3> small;
  uint32_t socket;  // the caller's own driver socket

  void clear();
  /// Whether the margins after the given sizes are untouched.
  bool intact(size_t text_size, std::array<size_t, 3> small_sizes) const;
};

using support::before;

using call_operation = std::function<int64_t(void *function, outputs &)>;

struct operation {
  const char *name;  // of a public function, or of a back-end function without its chip's prefix
  bool back_end;
  before needs;
  std::vector<int64_t> good, bad;  // results that its description lists; empty good: whatever a good run gave
  call_operation call;
  size_t text_size = 0;
  std::array<size_t, 3> small_sizes{};
  bool says_nothing = false;   // fails without a line in the log
  bool closes_socket = false;  // of its caller's
  bool varies = false;         // the good result changes with the clock
  // The chip exports this function too, or does not: where the same name has different arguments.
  const char *beside = nullptr, *without = nullptr;
};

const std::vector<operation> &operations();

}  // namespace sweep

#endif
