// SPDX-License-Identifier: Apache-2.0
// The raw calibration block of the older chips, NV item 340 "WINVRAM".
#ifndef ORVA_CALDATA_H
#define ORVA_CALDATA_H

#include "common/chip.h"
#include "include/calibration_types.h"

namespace orva {

struct caldata {
  uint8_t code[ORVA_NV_ITEM_SIZE];
};

/// Copies the driver's block to NV. copy_failure: the chip's message for a failed copy, which is not an
/// error.
bool copy_caldata_to_nv(const chip &chip, const char *copy_failure);

/// What a chip without a block does instead: logs that. @return false.
bool refuse_caldata(const chip &chip);

/// Logs the block as big-endian words, up to the first that begins with 0.
void print_data(const chip &chip, const caldata &block);

/// @return 0, or the NV service's error code.
int32_t read_caldata(caldata &block);
int32_t write_caldata(const void *block, uint32_t size);

}  // namespace orva

#endif
