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

/// Copies the driver's block to NV. A failed copy logs copy_failure and is otherwise ignored.
uint32_t copy_caldata_to_nv(const chip &chip, const char *copy_failure);

/// For chips without a block: logs the refusal. @return 0.
uint32_t refuse_caldata(const chip &chip);

/// Logs the block as big-endian words, up to the first word whose first byte is 0.
void print_data(const chip &chip, const caldata &block);

/// @return 0, or the NV service's error code.
int32_t read_caldata(caldata &block);
int32_t write_caldata(const void *block, uint32_t size);

}  // namespace orva

#endif
