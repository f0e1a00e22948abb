// SPDX-License-Identifier: Apache-2.0
#ifndef ORVA_VQ2040A_PROFILE_H
#define ORVA_VQ2040A_PROFILE_H

#include "common/chip.h"

namespace orva {

extern const chip vq2040a;
extern const weld_step vq2040a_announce_wakeup_io;

}  // namespace orva

#endif
