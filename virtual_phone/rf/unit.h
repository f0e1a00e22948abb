// SPDX-License-Identifier: Apache-2.0
// A unit's own RF hardware: what differs from one phone to the next. README.md describes the quantities.
#ifndef VIRTUAL_PHONE_RF_UNIT_H
#define VIRTUAL_PHONE_RF_UNIT_H

#include <cstdint>
#include <string>
#include <string_view>

namespace phone::rf {

/// Thousandths of a dB, dBm, dBc, ppm, percent, degree or dB/K.
using milli = int32_t;

inline constexpr unsigned channels_2g = 13, sub_bands_5g = 4, most_values = channels_2g;

/// The first ones are the power errors of the calibration parameters, in the order of enum parameter
/// (calibration.h).
enum quantity : unsigned {
  error_of_parameters,
  error_of_block = error_of_parameters + 18,
  detector_slope,
  saturation,
  evm_floor,
  leakage,
  crystal,
  noise_figure,
  implementation_loss,
  rssi_offset,
  antenna_loss,
  temperature,
  drift,
  quantities
};

/// Board faults, as bits.
enum fault : uint32_t { wrong_fem = 1, cold_joint = 2, open_antenna = 4, bad_crystal = 8 };

/// Part of the phone's description, so without a pointer.
struct unit {
  int64_t seed;    ///< -1: none was given
  uint64_t given;  ///< bit per quantity that the description sets; the others are typical or drawn
  uint32_t faults;
  milli value[quantities][most_values];

  /// Without a seed and without any key of its own a phone has no RF model.
  bool is_described() const { return seed >= 0 || given != 0 || faults != 0; }
};

/// No unit.
void clear_unit(struct unit &unit);

/// Values of a quantity that has several: one per chain, band, sub-band or channel.
unsigned count_of(unsigned quantity);

size_t unit_keys();
/// The i-th key of a unit ("unit", "rf.crystal") with its meaning; null past the last.
const char *unit_key(size_t i, const char **meaning);
/// Null if there is no such key.
const char *find_unit_key(std::string_view name);
/// Sets a key. Returns "", or what its value should be.
std::string set_unit_key(struct unit &unit, std::string_view key, std::string_view value);
std::string get_unit_key(const struct unit &unit, std::string_view key);

}  // namespace phone::rf

#endif
