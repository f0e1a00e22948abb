// SPDX-License-Identifier: Apache-2.0
// The vq2050's profile.
#ifndef ORVA_VQ2050_PROFILE_H
#define ORVA_VQ2050_PROFILE_H

#include "chips/two_chain/clean.h"
#include "common/chip.h"

namespace orva {

extern const chip vq2050;
extern const two_chain::cleaner vq2050_cleaner;

}  // namespace orva

#endif
