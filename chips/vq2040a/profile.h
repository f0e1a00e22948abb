// The vq2040a's profile and what its files share.
#ifndef ORVA_VQ2040A_PROFILE_H
#define ORVA_VQ2040A_PROFILE_H

#include "common/chip.h"

namespace orva {

extern const chip vq2040a;
extern const struct calibration vq2040a_calibration;
}  // namespace orva

#endif
