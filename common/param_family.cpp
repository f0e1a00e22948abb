// SPDX-License-Identifier: Apache-2.0
#include "common/param_family.h"

#include <string.h>

#include "common/catalogue.h"
#include "common/log.h"

namespace orva {

namespace {

struct sub_band {
  int32_t first_mhz, last_mhz;
};
constexpr sub_band sub_bands_5g[] = {{5180, 5320}, {5500, 5640}, {5660, 5720}, {5745, 5825}};

bool is_prefix_of_any(const list<const char *> &members, const char *name) {
  for (const char *member : members) {
    if (strncmp(name, member, strlen(name)) == 0) return true;
  }
  return false;
}

/// Converts as the phone's processor does: saturates out of range, 0 for NaN.
int32_t truncate(float value) {
  if (value >= 2147483648.0F) return INT32_MAX;
  if (value < -2147483648.0F) return INT32_MIN;
  return value == value ? static_cast<int32_t>(value) : 0;
}

/// Rounds half away from zero.
int32_t round_away(float value) {
  if (value > 0.0F) return truncate(value + 0.5F);
  if (value < 0.0F) return truncate(value - 0.5F);
  return 0;
}

/// Shifts the curve a x^2 + 64 b x + 65536 c along x by the error in dB.
void shift_curve(int32_t *curve, const measured_error &error) {
  const float s = error.tenths_db / 10.0F;
  const float a = static_cast<float>(curve[0]);
  const float b = static_cast<float>(curve[1]);
  const float c = static_cast<float>(curve[2]);
  curve[1] = round_away((64.0F * b - 2.0F * s * a) / 64.0F);
  curve[2] = round_away((65536.0F * c + s * s * a - 64.0F * s * b) / 65536.0F);
}

/// The offset, in whole tenths of a dB, that cancels the error.
int32_t offset_for(const measured_error &error) { return truncate(-error.tenths_db); }

bool correct_2g_curve(const chip &, const measured_error &error, param_values &values) {
  if (error.mhz != REFERENCE_CHANNEL_MHZ) return false;
  shift_curve(values.v, error);
  return true;
}

bool correct_5g_curves(const chip &chip, const measured_error &error, param_values &values) {
  const int32_t sub_band = sub_band_5g(error.mhz);
  if (sub_band < 0) {
    LOG_ERROR(chip, "%s_calibrate_nvram_param 5G freq is not matched\n", chip.name);
    return false;
  }
  shift_curve(values.v + CURVE_VALUES * sub_band, error);
  return true;
}

bool is_channel_centre(int32_t mhz) {
  return mhz >= 2412 && mhz <= 2472 && (mhz - 2412) % 5 == 0 && mhz != REFERENCE_CHANNEL_MHZ;
}

bool correct_2g_offset(const chip &chip, const measured_error &error, param_values &values) {
  if (chip.calibration->centres_only) {
    if (!is_channel_centre(error.mhz)) {
      LOG_ERROR(chip, "%s_calibrate_nvram_param 2g freq is not matched\n", chip.name);
      return false;
    }
  } else if (error.mhz < 2408 || error.mhz > 2476) {
    return false;
  }
  // Division truncates, so 2408 to 2411 MHz count as channel 1 as well.
  values.v[(error.mhz - 2412) / 5] = offset_for(error);
  return true;
}

bool correct_160m_offset(const chip &chip, const measured_error &error, param_values &values) {
  switch (error.mhz) {
  case 5250: values.v[0] = offset_for(error); return true;
  case 5570: values.v[1] = offset_for(error); return true;
  default: LOG_ERROR(chip, "%s_calibrate_nvram_param invalid 160M freq\n", chip.name); return false;
  }
}

// Searched in this order.
const param_family families[] = {
    {check_nvname_2G_normal, "%d,%d,%d", nullptr, correct_2g_curve},
    {check_nvname_5G_normal, "%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d", nullptr, correct_5g_curves},
    {check_nvname_2G_mucal, "%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d", "0,0,0,0,0,0,0,0,0,0,0,0,0;",
     correct_2g_offset},
    {check_nvname_5G_160M, "%d,%d", "0,0;", correct_160m_offset},
};

}  // namespace

int32_t sub_band_5g(int32_t mhz) {
  int32_t index = 0;
  for (const sub_band &row : sub_bands_5g) {
    if (mhz >= row.first_mhz && mhz <= row.last_mhz) return index;
    index++;
  }
  return -1;
}

const param_family *family_of(const char *param) {
  for (const param_family &row : families) {
    if (row.has(param) != 0) return &row;
  }
  return nullptr;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

int32_t parse_values(const param_family &family, const char *text, param_values &values) {
  int32_t *v = values.v;
  return sscanf_s(text, family.format, v, v + 1, v + 2, v + 3, v + 4, v + 5, v + 6, v + 7, v + 8, v + 9,
                  v + 10, v + 11, v + 12);
}

#pragma GCC diagnostic pop

uint32_t check_nvname_2G_normal(const char *name) {
  static const char *const members[] = {"pa2gccka0", "pa2gccka1", "pa2ga0", "pa2ga1", "pa2g40a0", "pa2g40a1"};
  return is_prefix_of_any(members, name);
}

uint32_t check_nvname_2G_mucal(const char *name) {
  static const char *const members[] = {"mf2ga0", "mf2ga1", "mf2gccka0", "mf2gccka1", "mf2g40a0", "mf2g40a1"};
  return is_prefix_of_any(members, name);
}

uint32_t check_nvname_5G_normal(const char *name) {
  static const char *const members[] = {"pa5ga0", "pa5ga1", "pa5glowa0", "pa5glowa1"};
  return is_prefix_of_any(members, name);
}

uint32_t check_nvname_5G_160M(const char *name) {
  static const char *const members[] = {"dpn160c0", "dpn160c1"};
  return is_prefix_of_any(members, name);
}

}  // namespace orva
