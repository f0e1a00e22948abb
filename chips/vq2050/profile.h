// The vq2050's profile and what its files share.
#ifndef ORVA_VQ2050_PROFILE_H
#define ORVA_VQ2050_PROFILE_H

#include "common/chip.h"

namespace orva {

extern const chip vq2050;
extern const struct calibration vq2050_calibration;
}  // namespace orva

#endif
