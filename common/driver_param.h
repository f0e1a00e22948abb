// SPDX-License-Identifier: Apache-2.0
// Calibration parameters as the driver holds them.
#ifndef ORVA_DRIVER_PARAM_H
#define ORVA_DRIVER_PARAM_H

#include "common/catalogue.h"

namespace orva {

/// Fetches the text of a parameter's current values from the driver. @return whether it was fetched.
bool query_driver(const chip &chip, const cal_row &row, char *text, uint32_t text_size);

/// A param_number_of over the chip's driver_params. The first listed name that begins with the parameter's
/// name matches.
int32_t listed_param_number(const chip &chip, const cal_row &row);

void log_no_param_number(const chip &chip, const cal_row &row);

}  // namespace orva

#endif
