// The vq2040's profile and what its files share.
#ifndef ORVA_VQ2040_PROFILE_H
#define ORVA_VQ2040_PROFILE_H

#include "common/chip.h"

namespace orva {

extern const chip vq2040;
}  // namespace orva

#endif
