// SPDX-License-Identifier: Apache-2.0
// The vq2050's profile.
#ifndef ORVA_VQ2050_PROFILE_H
#define ORVA_VQ2050_PROFILE_H

#include "common/chip.h"

namespace orva {

extern const chip vq2050;

}  // namespace orva

#endif
