// SPDX-License-Identifier: Apache-2.0
// An output of the library with bytes on both sides that it must not touch.
#ifndef TESTS_SUPPORT_MARGINS_H
#define TESTS_SUPPORT_MARGINS_H

#include <algorithm>
#include <cstdint>
#include <string>

template <size_t Room> struct guarded {
  static constexpr uint8_t untouched = 0xA7;
  uint8_t bytes[Room + 32];
  guarded() { std::fill(std::begin(bytes), std::end(bytes), untouched); }
  uint8_t *at() { return bytes + 16; }
  std::string text() const { return std::string(reinterpret_cast<const char *>(bytes) + 16, Room); }
  /// Whether the first `written` bytes are the only ones that changed.
  bool only(size_t written) const {
    for (size_t i = 0; i < sizeof bytes; i++) {
      if ((i < 16 || i >= 16 + written) && bytes[i] != untouched) return false;
    }
    return true;
  }
};

#endif
