// SPDX-License-Identifier: Apache-2.0
// Counts the uses of places and decides which of them fail.
#ifndef VIRTUAL_PHONE_FAULTS_H
#define VIRTUAL_PHONE_FAULTS_H

#include "places.h"

#include <cstdint>
#include <string_view>

namespace phone {

/// What becomes of a use. value: of the planned fault, or the place's default where the plan gave 0.
struct verdict {
  bool fails;
  int value;
};

/// Counts a use of a function and judges it.
verdict use(function place);
/// The same for "ioctl" and "ioctl:ID" together; a fault on "ioctl" comes first.
verdict use_ioctl(uint32_t command);
/// The same for a place of another family, by its name.
verdict use_named(std::string_view place);

/// The value with which a function fails if nobody gave one.
int default_value(function place);

void reset_faults();
void clear_uses();

}  // namespace phone

#endif
