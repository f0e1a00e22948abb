// SPDX-License-Identifier: Apache-2.0
// A constant table and its length.
#ifndef ORVA_LIST_H
#define ORVA_LIST_H

#include <stdint.h>

namespace orva {

template <typename T> struct list {
  const T *rows = nullptr;
  uint32_t count = 0;

  constexpr list() = default;
  template <uint32_t N> constexpr list(const T (&table)[N]) : rows(table), count(N) {}
  constexpr const T *begin() const { return rows; }
  constexpr const T *end() const { return rows + count; }
};

}  // namespace orva

#endif
