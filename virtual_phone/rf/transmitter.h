// SPDX-License-Identifier: Apache-2.0
// What leaves the unit's antenna.
#ifndef VIRTUAL_PHONE_RF_TRANSMITTER_H
#define VIRTUAL_PHONE_RF_TRANSMITTER_H

#include "calibration.h"
#include "setting.h"
#include "unit.h"

#include <optional>

namespace phone::rf {

/// Rounded to thousandths, so that it is the same on every machine.
struct emission {
  tuning at;
  modulation sent;
  milli power_dbm, evm_db, frequency_error_ppm, leakage_dbc, mask_margin_db;
};

/// The emission of a radio that transmits; nothing while it does not. faults: the board's, as bits.
std::optional<emission> emission_of(const struct radio &radio, const unit &unit, uint32_t faults,
                                    const loaded_calibration &loaded);

/// The loss in dB between antenna and chip beyond the design's, for transmission and reception alike.
double path_loss(const struct radio &radio, const unit &unit, uint32_t faults, unsigned chain);

}  // namespace phone::rf

#endif
