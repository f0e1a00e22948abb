// SPDX-License-Identifier: Apache-2.0
// Records contacts with the phone. phone.h reads them.
#ifndef VIRTUAL_PHONE_TRACE_H
#define VIRTUAL_PHONE_TRACE_H

#include "phone.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace phone {

struct note {
  phone_event_kind kind;
  int64_t result = 0;
  int error = 0;
  std::array<int64_t, 3> number{};
  std::string_view name{}, text{}, data{};
  int64_t time_us = -1;  // -1: now
};

/// Keeps an event and returns its place in the trace.
size_t record(const note &what);
/// Completes an event whose result was unknown when it was recorded.
void amend(size_t event, int64_t result, int error);

/// Gives this process an empty trace of its own.
void part_trace();

}  // namespace phone

#endif
