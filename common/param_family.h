// SPDX-License-Identifier: Apache-2.0
// Families of calibration parameters: their names, the layout of their values, and how a measured error
// corrects them.
#ifndef ORVA_PARAM_FAMILY_H
#define ORVA_PARAM_FAMILY_H

#include "common/chip.h"

namespace orva {

constexpr uint32_t MOST_PARAM_VALUES = 13;

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
  bool (*has)(const char *name);
  const char *format;  ///< of its values, for sscanf
  const char *start;   ///< text to start from if NV holds none; null: the driver has it
  /// @return false if the frequency does not belong to the family; some families log that.
  bool (*correct)(const chip &, const measured_error &, param_values &);
};

/// The family that a parameter's name belongs to; null if there is none.
const param_family *family_of(const char *param);

/// @return the number of values parsed, at most the family's; 0 or less if there are none.
int32_t parse_values(const param_family &family, const char *text, param_values &values);

/// Name tests. A prefix of a member counts, so the empty name is in every family.
bool check_nvname_2G_normal(const char *name);
bool check_nvname_2G_mucal(const char *name);
bool check_nvname_5G_normal(const char *name);
bool check_nvname_5G_160M(const char *name);

}  // namespace orva

#endif
