// SPDX-License-Identifier: Apache-2.0
#include "common/driver_param.h"

#include <string.h>

#include "common/driver.h"
#include "common/log.h"

namespace orva {

namespace {

/// The parameter's number is in the last byte of the data area that the answer will fill.
constexpr uint32_t PARAM_NUMBER_AT = ORVA_NV_ITEM_SIZE - 1;

bool copy_answer(const chip &chip, const ioctl_data &answer, char *text, uint32_t text_size) {
  const int32_t result = memcpy_s(text, text_size, answer.pri_data, ORVA_NV_ITEM_SIZE);
  if (chip.calibration->checks_secure_calls) check_securef_ret(chip, result);
  if (result != 0) log_named(chip, ORVA_LOG_ERROR, chip.calibration->answer_copy_failure);
  return result == 0;
}

/// Fills the query; false for a parameter that the driver does not number.
bool fill_query(const chip &chip, const cal_row &row, ioctl_data &query) {
  const int32_t number = chip.calibration->param_number(chip, row);
  if (number < 0) {
    LOG_ERROR(chip, "%s_wifi_querry_nvram_parameter_from_driver:invalid param_num", chip.name);
    return false;
  }
  LOG_ERROR(chip, "%s_wifi_querry_nvram_parameter_from_driver:param_num = %d", chip.name, number);
  query.pri_data[PARAM_NUMBER_AT] = static_cast<uint8_t>(number);
  return true;
}

bool send_query(const chip &chip, uint32_t socket, const cal_row &row, ioctl_data &query) {
  if (!fill_query(chip, row, query)) return false;
  if (send_record(chip, socket, query)) return true;
  LOG_ERROR(chip, "get_dp_init_from_driver failed, continue.\n");
  return false;
}

bool ask_driver(const chip &chip, const cal_row &row, char *text, uint32_t text_size) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) {
    LOG_DEBUG(chip, "varbuff = %s,name = %s", text, row.param);
    return false;
  }
  ioctl_data query = record_of(chip.command.calibration_query);
  const bool answered = send_query(chip, socket, row, query);
  wl_config_sockets_close(socket);
  if (!answered || !copy_answer(chip, query, text, text_size)) return false;
  LOG_DEBUG(chip, "querry nvram, nvram_var_name=%s, outbuff=%s\n", row.param, text);
  LOG_DEBUG(chip, "varbuff = %s,name = %s", text, row.param);
  return true;
}

}  // namespace

int32_t listed_param_number(const chip &chip, const cal_row &row) {
  for (const driver_param &listed : chip.calibration->driver_params) {
    if (strncmp(row.param, listed.name, strlen(row.param)) != 0) continue;
    LOG_INFO(chip, "%s_get_driver_param_num: nv_num is %d, nv_name is %s, param num is %d", chip.name,
             row.item.number, row.item.name, listed.number);
    return static_cast<int32_t>(listed.number);
  }
  log_no_param_number(chip, row);
  return -1;
}

void log_no_param_number(const chip &chip, const cal_row &row) {
  LOG_ERROR(chip, "%s_get_driver_param_num: nv_num is %d, nv_name is %s. cannot get param", chip.name,
            row.item.number, row.item.name);
}

bool query_driver(const chip &chip, const cal_row &row, char *text, uint32_t text_size) {
  if (ask_driver(chip, row, text, text_size)) return true;
  LOG_ERROR(chip, "%s_getparam_from_wifi_chip,wifi chip param get failed!\n", chip.name);
  return false;
}

}  // namespace orva
