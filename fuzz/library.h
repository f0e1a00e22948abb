// What the fuzzing targets share: a phone and a library as they are at start, and bytes to draw from.
#ifndef FUZZ_LIBRARY_H
#define FUZZ_LIBRARY_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "common/chip.h"

namespace fuzz {

/// Draws values from the front of the input; zeros when it is used up.
class input {
public:
  input(const uint8_t *bytes, size_t size) : bytes_(bytes), left_(size) {}
  bool empty() const { return left_ == 0; }
  uint8_t byte();
  uint32_t word();
  /// A number that is often a useful one.
  int32_t number();
  std::vector<uint8_t> some(size_t most);
  std::string rest();

private:
  const uint8_t *bytes_;
  size_t left_;
};

constexpr size_t chips = 4;
const orva::chip &chip_at(size_t i);

/// A phone just switched on with this chip, and the library's test state as it is when loaded.
void begin(size_t chip);

/// Ends the process, as a finding, unless the phone got everything back.
void end();

/// Ends the process, as a finding, unless this is so.
void expect(bool so, const char *what);

/// A text in memory of its own, so that one byte read too many is seen.
class text {
public:
  explicit text(std::string_view bytes);
  const char *get() const { return bytes_.data(); }

private:
  std::vector<char> bytes_;
};

}  // namespace fuzz

#endif
