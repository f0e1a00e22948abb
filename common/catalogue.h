// SPDX-License-Identifier: Apache-2.0
// A chip's calibration parameters: the request that selects each, and the NV item that stores it.
#ifndef ORVA_CATALOGUE_H
#define ORVA_CATALOGUE_H

#include "common/chip.h"
#include "common/nv_item.h"

namespace orva {

/// The 2.4 GHz channel at which power curves are measured; per-channel offsets refer to it.
constexpr int32_t REFERENCE_CHANNEL_MHZ = 2442;

/// One calibration parameter: the request that selects it, its name in the driver, its NV item.
struct cal_row {
  uint8_t chain;
  uint8_t mode;       ///< 2 for CCK
  uint8_t band;       ///< 1 for 5 GHz
  uint8_t bandwidth;  ///< 0 = 20, 1 = 40, 3 = 160 MHz
  const char *param;
  nv_item item;
};

/// A driver parameter's name and number.
struct driver_param {
  const char *name;
  uint32_t number;
};

/// Finds the driver's number of a row's parameter, and logs it. @return the number, or -1 (logged).
using param_number_of = int32_t (*)(const chip &chip, const cal_row &row);

struct calibration {
  list<cal_row> per_channel, power;
  list<nv_item> items;  ///< read-all and clean-all, in order
  list<driver_param> driver_params;
  param_number_of param_number;
  bool has_chains;                      ///< two chains; the lookup logs the chain
  float largest_error;                  ///< of delta_gain, either sign; 0: no bound
  bool centres_only;                    ///< per-channel offsets accept exact channel centres only, not 2442
  bool writes_nothing_without_entries;  ///< an item without ";" is left alone instead of emptied
  bool checks_secure_calls;             ///< check_securef_ret after bounds-checked copies
  const char *answer_copy_failure;      ///< takes the chip's name or no argument
};

/// What a calibration request asks for; the fields as in cal_row, freq in MHz.
struct cal_request {
  uint32_t chain, mode, band, bandwidth;
  int32_t freq;
};

/// The rows for a request, in table order: per-channel offsets up to 2481 MHz except at the reference
/// channel, power curves otherwise. Logs the request and each match.
orva_cal_lookup find_rows(const chip &chip, const cal_request &request);

const cal_row &matched_row(const chip &chip, const orva_cal_lookup &found, uint32_t i);

}  // namespace orva

#endif
