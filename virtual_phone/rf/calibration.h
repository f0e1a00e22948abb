// SPDX-License-Identifier: Apache-2.0
// The calibration that the driver works with: what it loaded from NV when the interface came up, and the
// board's own values where NV held none.
#ifndef VIRTUAL_PHONE_RF_CALIBRATION_H
#define VIRTUAL_PHONE_RF_CALIBRATION_H

#include "setting.h"
#include "unit.h"

namespace phone::rf {

/// The parameters of one chain; those of the second chain follow.
enum parameter : unsigned {
  pa2gccka,
  pa2ga,
  pa2g40a,
  pa5ga,
  pa5glowa,
  mf2gccka,
  mf2ga,
  mf2g40a,
  dpn160c,
  parameters_of_chain
};
inline constexpr unsigned parameters = 2 * parameters_of_chain;
static_assert(error_of_parameters + parameters == error_of_block);

/// What NV held, value for value; count 0: nothing usable.
struct loaded_calibration {
  struct {
    unsigned count;
    int32_t value[most_values];
  } parameter[parameters];
  uint32_t has_block;
  uint8_t block[RADIO_BLOCK_SIZE];
};

/// Reads NV as the chip's driver does.
void load_calibration(uint32_t chip, loaded_calibration &loaded);

/// A detector's reading in counts at x dBm: (a x^2 + 64 b x + 65536 c) / 65536.
struct curve {
  double a, b, c;

  double at(double x) const;
  /// The x at which the curve reads this; at its lowest point for readings below that.
  double inverse(double reading) const;
};

/// The curve and the offset that apply to a transmission, and where they stand.
struct power_setting {
  unsigned curve_parameter;
  unsigned curve_index;  ///< sub-band of a 5 GHz parameter, else 0
  curve stored, nominal;
  unsigned offset_parameter;  ///< parameters: none applies
  unsigned offset_index;
  double offset_db;
};

/// For the chips with curves. power_dbm decides between the ordinary and the low-power curve of 5 GHz.
power_setting setting_for(const struct radio &radio, const loaded_calibration &loaded, const tuning &at,
                          format format, double power_dbm);

/// For the chip that works with a block of amplitude codes.
struct block_setting {
  unsigned mode;  ///< 0 to 7
  uint8_t stored, nominal;
};
bool uses_block(uint32_t chip);
block_setting block_setting_for(const struct radio &radio, const loaded_calibration &loaded, const tuning &at,
                                const modulation &sent);

}  // namespace phone::rf

#endif
