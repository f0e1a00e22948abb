// SPDX-License-Identifier: Apache-2.0
// Families of calibration parameters: their names, the layout of their values, and how a measured error
// corrects them.
#ifndef ORVA_PARAM_FAMILY_H
#define ORVA_PARAM_FAMILY_H

#include "common/chip.h"

namespace orva {

constexpr uint32_t MOST_PARAM_VALUES = 13;

/// Values of one power curve.
constexpr int32_t CURVE_VALUES = 3;

/// The values of one parameter, as many as its text held.
struct param_values {
  int32_t v[MOST_PARAM_VALUES];
  int32_t count;
};

struct measured_error {
  int32_t mhz;
  float tenths_db;
};

struct param_family {
  uint32_t (*has)(const char *name);
  const char *format;        ///< of its values, for sscanf
  const char *initial_text;  ///< if NV holds none; null: ask the driver
  /// @return false if the frequency does not belong to the family; some families log that.
  bool (*correct)(const chip &, const measured_error &, param_values &);
};

/// @return the index, 0 to 3, of the 5 GHz sub-band that a curve serves: 5180 to 5320, 5500 to 5640, 5660 to
/// 5720, 5745 to 5825 MHz; -1 for any other frequency.
int32_t sub_band_5g(int32_t mhz);

/// The family that a parameter's name belongs to; null if there is none.
const param_family *family_of(const char *param);

/// @return the number of values parsed, at most the family's; 0 or less if there are none.
int32_t parse_values(const param_family &family, const char *text, param_values &values);

/// Whether a name is a member of the family or a prefix of one. The empty name belongs to every family.
uint32_t check_nvname_2G_normal(const char *name);
uint32_t check_nvname_2G_mucal(const char *name);
uint32_t check_nvname_5G_normal(const char *name);
uint32_t check_nvname_5G_160M(const char *name);

}  // namespace orva

#endif
