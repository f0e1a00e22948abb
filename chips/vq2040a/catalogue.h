// SPDX-License-Identifier: Apache-2.0
#ifndef ORVA_VQ2040A_CATALOGUE_H
#define ORVA_VQ2040A_CATALOGUE_H

#include "common/catalogue.h"

namespace orva {

extern const cal_row vq2040a_per_channel[3];
extern const cal_row vq2040a_power[5];
extern const nv_item vq2040a_items[9];
extern const driver_param g_ast_nvram_pro_line_config_ini_2040a[14];

/// Looks a parameter up in g_ast_nvram_pro_line_config_ini_2040a; see param_number_of.
int32_t vq2040a_param_number(const chip &chip, const cal_row &row);

}  // namespace orva

#endif
