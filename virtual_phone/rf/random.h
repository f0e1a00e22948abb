// SPDX-License-Identifier: Apache-2.0
// Random numbers that are the same on every machine: integer arithmetic only, no libm and no std::
// distribution.
#ifndef VIRTUAL_PHONE_RF_RANDOM_H
#define VIRTUAL_PHONE_RF_RANDOM_H

#include <cstdint>
#include <string_view>

namespace phone::rf {

/// SplitMix64. Its whole state is one number, so that it can live in shared memory.
struct random_stream {
  uint64_t state;

  uint64_t next() {
    uint64_t z = state += 0x9E3779B97F4A7C15;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
    return z ^ (z >> 31);
  }

  /// Nearly normal with mean 0 and standard deviation 2^32: the sum of twelve uniform numbers less its mean.
  /// Never beyond 6 deviations.
  int64_t normal() {
    int64_t sum = -6 * (int64_t{1} << 32);
    for (int i = 0; i < 12; i++) sum += static_cast<int64_t>(next() >> 32);
    return sum;
  }
};

/// The stream for one purpose. Streams of other purposes do not depend on how much of this one is used.
inline random_stream stream_of(uint64_t seed, std::string_view purpose) {
  uint64_t hash = 0xCBF29CE484222325;  // FNV-1a
  for (char c : purpose) hash = (hash ^ static_cast<unsigned char>(c)) * 0x100000001B3;
  random_stream stream{seed};
  stream.state = stream.next() ^ hash;
  return stream;
}

}  // namespace phone::rf

#endif
