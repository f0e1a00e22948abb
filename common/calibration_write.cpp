// SPDX-License-Identifier: Apache-2.0
#include "common/calibration_write.h"

#include <stdlib.h>
#include <string.h>

#include "common/catalogue.h"
#include "common/driver_param.h"
#include "common/log.h"
#include "common/nv_text.h"
#include "common/param_family.h"

namespace orva {

namespace {

constexpr uint32_t TEXT_SIZE = 128;

orva_nvbuf_request request_for(const cal_row &row) {
  return {row.item.number, row.item.name, ORVA_NV_ITEM_SIZE, row.param, 0, nullptr};
}

/// The stored text of a parameter, or the driver's, or the family's start text.
bool load_text(const chip &chip, const cal_row &row, const param_family &family, char *text) {
  get_nvbuf_by_name(chip, text, TEXT_SIZE, request_for(row), ORVA_NVBUF_READ);
  if (*text != '\0') {
    LOG_DEBUG(chip, "%s_getparam_from_wifi_chip,varbuff=%s\n", chip.name, text);
    return true;
  }
  LOG_DEBUG(chip, "%s_getparam_from_wifi_chip,wifi chip param is loaded, name=%s, value=%s\n", chip.name,
            row.param, text);
  if (family.initial_text == nullptr) return query_driver(chip, row, text, TEXT_SIZE);
  memcpy(text, family.initial_text, strlen(family.initial_text) + 1);
  return true;
}

bool load_values(const chip &chip, const cal_row &row, const param_family &family, param_values &values) {
  char text[TEXT_SIZE] = {};
  if (load_text(chip, row, family, text)) values.count = parse_values(family, text, values);
  if (values.count >= 1) return true;
  LOG_ERROR(chip, "%s_wifi_nvram_calibrate_set ,get param num failed\n", chip.name);
  return false;
}

/// Merges values into their item. @return whether the item holds them now.
bool store_values(const chip &chip, const cal_row &row, const param_values &values) {
  char item[ORVA_NV_ITEM_SIZE] = {};
  orva_nvbuf_request request = request_for(row);
  request.count = static_cast<uint32_t>(values.count);
  request.values = reinterpret_cast<const uint32_t *>(values.v);
  get_nvbuf_by_name(chip, item, sizeof item, request, ORVA_NVBUF_MERGE);
  const bool merged = *item != '\0';
  // If the stored text has no complete entry, the merge yields an empty item. Some chips write it; the call
  // fails either way.
  if (!merged && chip.calibration->writes_nothing_without_entries) return false;
  const int32_t code = write_item(row.item, item, sizeof item);
  if (code == 0) return merged;
  LOG_ERROR(chip, "%s_write_wifi_nvram_param_to_nv,%d", chip.name, code);
  return false;
}

bool correct_row(const chip &chip, const cal_row &row, const measured_error &error) {
  const param_family *family = family_of(row.param);
  param_values values = {};
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

bool correct_rows(const chip &chip, const orva_cal_lookup &found, const measured_error &error) {
  for (uint32_t i = 0; i < found.count; i++) {
    if (!correct_row(chip, matched_row(chip, found, i), error)) return false;
  }
  return true;
}

/// Parses the error; false if it exceeds the chip's bound or is NaN. A text that is no number counts as 0.
bool parse_error(const chip &chip, const char *text, float &error) {
  error = static_cast<float>(atof(text));
  const float largest = chip.calibration->largest_error;
  if (largest == 0.0F || (error >= -largest && error <= largest)) return true;
  LOG_ERROR(chip, "%s_wifi_nvram_calibrate_set , shift =%f , too big and not valid\n", chip.name,
            static_cast<double>(error));
  return false;
}

}  // namespace

uint32_t wifi_nvram_calibrate_set(const chip &chip, int32_t cal_type, int32_t chain, int32_t mode,
                                  int32_t band, int32_t bandwidth, int32_t freq, const char *delta_gain) {
  if (cal_type != 0) {
    LOG_ERROR(chip, "%s_wifi_nvram_calibrate_set AT parameter < cal_type > error, should be 0\n", chip.name);
    return 0;
  }
  float error;
  if (!parse_error(chip, delta_gain, error)) return 0;
  const cal_request request = {static_cast<uint32_t>(chain), static_cast<uint32_t>(mode),
                               static_cast<uint32_t>(band), static_cast<uint32_t>(bandwidth), freq};
  const orva_cal_lookup found = find_rows(chip, request);
  if (found.count == 0) {
    LOG_ERROR(chip, "%s_wifi_nvram_calibrate_set, AT param wrong!", chip.name);
    return 0;
  }
  return correct_rows(chip, found, {freq, error});
}

}  // namespace orva
