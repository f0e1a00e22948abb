#include <stdlib.h>
#include <string.h>

#include "common/calibration.h"
#include "common/log.h"
#include "common/nv_item.h"

namespace orva {

namespace {

constexpr uint32_t TEXT_SIZE = 128;
constexpr uint32_t MOST_VALUES = 13;
constexpr int32_t REFERENCE_CHANNEL_MHZ = 2442;
constexpr uint32_t LAST_SUB_BAND = 3;

/// One measured error, in the forms that the corrections want.
struct measured_error {
  int32_t mhz;
  float shift;     // along a power curve: a tenth of the error
  int32_t offset;  // of a channel: the negated error, without its fraction
};

/// The values of one parameter, as far as its text gave them.
struct values {
  int32_t v[MOST_VALUES];
  int32_t count;
};

using correction = bool (*)(const chip &, const measured_error &, values &);

/// What the parameters of one name family have in common.
struct family {
  uint32_t (*has)(const char *name);
  const char *format;  // of its values
  const char *start;   // text to begin with when NV holds none; null: the driver knows it
  correction correct;
};

/// As the phone's processor converts: out of range saturates, no number gives 0.
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

/// Shifts the curve a x^2 + 64 b x + 65536 c along x.
void shift_curve(int32_t *curve, float s) {
  const float a = static_cast<float>(curve[0]);
  const float b = static_cast<float>(curve[1]);
  const float c = static_cast<float>(curve[2]);
  curve[1] = round_away((64.0F * b - 2.0F * s * a) / 64.0F);
  curve[2] = round_away((65536.0F * c + s * s * a - 64.0F * s * b) / 65536.0F);
}

uint32_t sub_band(int32_t mhz) {
  if (mhz >= 5180 && mhz <= 5320) return 0;
  if (mhz >= 5500 && mhz <= 5640) return 1;
  if (mhz >= 5660 && mhz <= 5720) return 2;
  return LAST_SUB_BAND;
}

bool correct_2g_curve(const chip &, const measured_error &error, values &values) {
  if (error.mhz != REFERENCE_CHANNEL_MHZ) return false;
  shift_curve(values.v, error.shift);
  return true;
}

bool correct_5g_curves(const chip &chip, const measured_error &error, values &values) {
  const uint32_t band = sub_band(error.mhz);
  if (band == LAST_SUB_BAND && (error.mhz < 5745 || error.mhz > 5825)) {
    LOG_ERROR(chip, "%s_calibrate_nvram_param 5G freq is not matched\n", chip.name);
    return false;
  }
  shift_curve(values.v + 3 * band, error.shift);
  return true;
}

bool is_channel_centre(int32_t mhz) {
  return mhz >= 2412 && mhz <= 2472 && (mhz - 2412) % 5 == 0 && mhz != REFERENCE_CHANNEL_MHZ;
}

bool correct_2g_offset(const chip &chip, const measured_error &error, values &values) {
  if (chip.calibration->centres_only) {
    if (!is_channel_centre(error.mhz)) {
      LOG_ERROR(chip, "%s_calibrate_nvram_param 2g freq is not matched\n", chip.name);
      return false;
    }
  } else if (error.mhz < 2408 || error.mhz > 2476) {
    return false;
  }
  // Truncation takes 2408 to 2411 MHz to channel 1 as well.
  values.v[(error.mhz - 2412) / 5] = error.offset;
  return true;
}

bool correct_160m_offset(const chip &chip, const measured_error &error, values &values) {
  switch (error.mhz) {
  case 5250: values.v[0] = error.offset; return true;
  case 5570: values.v[1] = error.offset; return true;
  default: LOG_ERROR(chip, "%s_calibrate_nvram_param invalid 160M freq\n", chip.name); return false;
  }
}

const family families[] = {
    {check_nvname_2G_normal, "%d,%d,%d", nullptr, correct_2g_curve},
    {check_nvname_5G_normal, "%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d", nullptr, correct_5g_curves},
    {check_nvname_2G_mucal, "%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d,%d", "0,0,0,0,0,0,0,0,0,0,0,0,0;",
     correct_2g_offset},
    {check_nvname_5G_160M, "%d,%d", "0,0;", correct_160m_offset},
};

const family *family_of(const char *param) {
  for (const family &row : families) {
    if (row.has(param) != 0) return &row;
  }
  return nullptr;
}

/// The stored text of a parameter, or what stands in for it.
bool load_text(const chip &chip, const cal_row &row, const family &family, char *text) {
  const orva_nvbuf_request request = {row.nv_number, row.nv_name, ORVA_NV_ITEM_SIZE, row.param, 0, nullptr};
  get_nvbuf_by_name(chip, text, TEXT_SIZE, request, ORVA_NVBUF_READ);
  if (*text != '\0') {
    LOG_DEBUG(chip, "%s_getparam_from_wifi_chip,varbuff=%s\n", chip.name, text);
    return true;
  }
  LOG_DEBUG(chip, "%s_getparam_from_wifi_chip,wifi chip param is loaded, name=%s, value=%s\n", chip.name,
            row.param, text);
  if (family.start == nullptr) return query_driver(chip, row, text, TEXT_SIZE) == 1;
  memcpy(text, family.start, strlen(family.start) + 1);
  return true;
}

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"

/// As many values as the text gives, at most the family's.
int32_t parse(const family &family, const char *text, int32_t *v) {
  return sscanf_s(text, family.format, v, v + 1, v + 2, v + 3, v + 4, v + 5, v + 6, v + 7, v + 8, v + 9,
                  v + 10, v + 11, v + 12);
}

#pragma GCC diagnostic pop

bool load_values(const chip &chip, const cal_row &row, const family &family, values &values) {
  char text[TEXT_SIZE] = {};
  if (load_text(chip, row, family, text)) values.count = parse(family, text, values.v);
  if (values.count >= 1) return true;
  LOG_ERROR(chip, "%s_wifi_nvram_calibrate_set ,get param num failed\n", chip.name);
  return false;
}

/// Merges values into their item. @return whether they stand there now.
bool store_values(const chip &chip, const cal_row &row, const values &values) {
  char item[ORVA_NV_ITEM_SIZE] = {};
  const orva_nvbuf_request request = {row.nv_number,
                                      row.nv_name,
                                      ORVA_NV_ITEM_SIZE,
                                      row.param,
                                      static_cast<uint32_t>(values.count),
                                      reinterpret_cast<const uint32_t *>(values.v)};
  get_nvbuf_by_name(chip, item, sizeof item, request, ORVA_NVBUF_MERGE);
  const bool merged = *item != '\0';
  // Where the item held a text without entries, the newer chip writes the empty text over it and fails only
  // then.
  if (!merged && chip.calibration->writes_nothing_without_entries) return false;
  const int32_t code = write_item(row.nv_number, row.nv_name, item);
  if (code == 0) return merged;
  LOG_ERROR(chip, "%s_write_wifi_nvram_param_to_nv,%d", chip.name, code);
  return false;
}

bool correct_row(const chip &chip, const cal_row &row, const measured_error &error) {
  const family *family = family_of(row.param);
  values values = {};
  if (!load_values(chip, row, *family, values)) return false;
  if (!family->correct(chip, error, values)) {
    LOG_ERROR(chip, "%s_wifi_nvram_calibrate_set ,calibrate_nvram_param handled failed\n", chip.name);
    return false;
  }
  if (!store_values(chip, row, values)) {
    LOG_ERROR(chip, "%s_wifi_nvram_calibrate_set write TX nvram param failed, VarName=%s\n", chip.name,
              row.param);
    return false;
  }
  LOG_DEBUG(chip, "%s_wifi_nvram_calibrate_set write TX nvram param success, VarName=%s\n", chip.name,
            row.param);
  return true;
}

/// Written so that no number (nan) is refused as well.
bool is_within(float error, float largest) {
  return largest == 0.0F || (error >= -largest && error <= largest);
}

}  // namespace

uint32_t wifi_nvram_calibrate_set(const chip &chip, int32_t cal_type, uint32_t group, uint32_t mode,
                                  uint32_t band, uint32_t bandwidth, int32_t freq, const char *delta_gain) {
  if (cal_type != 0) {
    LOG_ERROR(chip, "%s_wifi_nvram_calibrate_set AT parameter < cal_type > error, should be 0\n", chip.name);
    return 0;
  }
  const float d = static_cast<float>(atof(delta_gain));
  if (!is_within(d, chip.calibration->largest_error)) {
    LOG_ERROR(chip, "%s_wifi_nvram_calibrate_set , shift =%f , too big and not valid\n", chip.name,
              static_cast<double>(d));
    return 0;
  }
  const orva_cal_lookup found = find_rows(chip, group, mode, band, bandwidth, freq);
  if (found.count == 0) {
    LOG_ERROR(chip, "%s_wifi_nvram_calibrate_set, AT param wrong!", chip.name);
    return 0;
  }
  const measured_error error = {freq, d / 10.0F, truncate(-d)};
  for (uint32_t i = 0; i < found.count; i++) {
    if (!correct_row(chip, matched_row(chip, found, i), error)) return 0;
  }
  return 1;
}

}  // namespace orva
