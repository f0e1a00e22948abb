// SPDX-License-Identifier: Apache-2.0
// Shared by the fuzzing targets: the phone and library in their initial state, and values drawn from the
// input.
#ifndef FUZZ_LIBRARY_H
#define FUZZ_LIBRARY_H

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "common/chip.h"
#include "fuzz/chips.h"

namespace fuzz {

/// Draws values from the front of the input, and zeros when it is used up.
class input {
public:
  input(const uint8_t *bytes, size_t size) : bytes_(bytes), left_(size) {}
  bool empty() const { return left_ == 0; }
  uint8_t byte();
  uint32_t word();
  /// One of the numbers that the library treats specially, or any other.
  int32_t number();
  std::vector<uint8_t> some(size_t most);
  std::string rest();

private:
  const uint8_t *bytes_;
  size_t left_;
};

constexpr size_t chips = std::size(profiles);

/// A fresh phone with this chip, and the library's test state as when it was loaded.
void begin(size_t chip);

/// Ends the process with a finding if a descriptor, child or stream is still open.
void end();

/// Ends the process with a finding unless the condition holds.
void expect(bool condition, const char *what);

/// A text in its own allocation, so that the sanitizer detects a read past its end.
class text {
public:
  explicit text(std::string_view bytes);
  const char *get() const { return bytes_.data(); }

private:
  std::vector<char> bytes_;
};

}  // namespace fuzz

#endif
