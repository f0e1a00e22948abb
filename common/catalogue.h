// The calibration catalogue of the chips with two chains.
#ifndef ORVA_CATALOGUE_H
#define ORVA_CATALOGUE_H

#include "common/calibration.h"

namespace orva {

extern const cal_row two_chain_per_channel[6];
extern const cal_row two_chain_power[12];
extern const nv_item two_chain_items[16];
extern const driver_param two_chain_params[10];

}  // namespace orva

#endif
