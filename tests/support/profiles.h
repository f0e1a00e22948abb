// SPDX-License-Identifier: Apache-2.0
// The profiles of all chips, in sub-chip order, for programs linked with the library's objects.
#ifndef TESTS_SUPPORT_PROFILES_H
#define TESTS_SUPPORT_PROFILES_H

#include "api/dispatch.h"
#include "chips/vq2040/profile.h"
#include "chips/vq2040a/profile.h"
#include "chips/vq2050/profile.h"
#include "chips/vq2070/profile.h"

namespace orva {
inline const chip *const profiles[ORVA_SUBCHIPS] = {&vq2040, &vq2050, &vq2040a, &vq2070};
}

#endif
