// SPDX-License-Identifier: Apache-2.0
// The vq2040a's profile.
#ifndef ORVA_VQ2040A_PROFILE_H
#define ORVA_VQ2040A_PROFILE_H

#include "common/chip.h"

namespace orva {

extern const chip vq2040a;

}  // namespace orva

#endif
