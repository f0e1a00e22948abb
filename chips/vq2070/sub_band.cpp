// SPDX-License-Identifier: Apache-2.0
// A 5 GHz parameter has one power curve for each sub-band; a sub-band is named by its curve's first value.
#include "common/param_family.h"
#include "include/vq2070.h"

using namespace orva;

int32_t vq2070_get_5g_band(int32_t mhz) {
  const int32_t sub_band = sub_band_5g(mhz);
  return sub_band < 0 ? -1 : CURVE_VALUES * sub_band;
}
