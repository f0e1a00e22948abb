// SPDX-License-Identifier: Apache-2.0
// The vq2040's profile, and its own command.
#ifndef ORVA_VQ2040_PROFILE_H
#define ORVA_VQ2040_PROFILE_H

#include "common/chip.h"

namespace orva {

extern const chip vq2040;

constexpr uint32_t COMMAND_CONNECTION_POWER = 25;

}  // namespace orva

#endif
