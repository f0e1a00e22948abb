// SPDX-License-Identifier: Apache-2.0
// Correcting stored calibration by a measured error.
#ifndef ORVA_CALIBRATION_WRITE_H
#define ORVA_CALIBRATION_WRITE_H

#include "common/chip.h"

namespace orva {

/// Applies one measured error to every parameter that the request selects.
/// @param delta_gain the error in tenths of a dB, as text
/// @return false at the first parameter that could not be corrected; those before it stay corrected
uint32_t wifi_nvram_calibrate_set(const chip &chip, int32_t cal_type, int32_t chain, int32_t mode,
                                  int32_t band, int32_t bandwidth, int32_t freq, const char *delta_gain);

}  // namespace orva

#endif
