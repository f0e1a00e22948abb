// SPDX-License-Identifier: Apache-2.0
// The phone's clock, and the radio whose packet counter runs by it.
#ifndef VIRTUAL_PHONE_CLOCK_H
#define VIRTUAL_PHONE_CLOCK_H

#include "radio.h"

#include <cstdint>

namespace phone {

/// Starts the virtual clock at 0.
void reset_clock();
/// Advances the virtual clock. Returns false, and does nothing, on the real one.
bool sleep_virtually(int64_t us);
/// The radio, with its packets counted up to now.
struct radio &radio_now();

}  // namespace phone

#endif
