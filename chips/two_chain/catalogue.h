// SPDX-License-Identifier: Apache-2.0
#ifndef ORVA_TWO_CHAIN_CATALOGUE_H
#define ORVA_TWO_CHAIN_CATALOGUE_H

#include "common/catalogue.h"

namespace orva::two_chain {

extern const cal_row per_channel[6];
extern const cal_row power[12];
extern const nv_item items[16];
extern const driver_param driver_params[10];

}  // namespace orva::two_chain

#endif
