// SPDX-License-Identifier: Apache-2.0
#include "common/testmode.h"

#include <string.h>
#include <unistd.h>

#include "common/driver.h"
#include "common/log.h"
#include "common/power_save.h"
#include "common/receive.h"
#include "common/shell.h"

namespace orva {

namespace {

constexpr useconds_t INTERFACE_DOWN_PAUSE_US = 1000;

bool country_failed(const chip &chip, bool power_save, bool country) {
  switch (chip.testmode.logs_country_failure) {
  case country_failure::of_country_code: return !country;
  case country_failure::of_power_save: return !power_save;
  case country_failure::not_logged: break;
  }
  return false;
}

/// Logs refused commands; test mode stays on.
void set_up_driver(const chip &chip) {
  const bool power_save = wifi_set_pm_switch(chip, 0);
  if (!power_save) LOG_ERROR(chip, "wifi_set_pm_switch stop failed\n");
  const bool country = wifi_set_country_all(chip);
  if (country_failed(chip, power_save, country)) LOG_ERROR(chip, "wifi_set_country all failed\n");
  if (chip.testmode.sets_dyn_interval && !wifi_set_dyn_interval(chip)) {
    LOG_ERROR(chip, "%s_wifi_set_dyn_interval failed\n", chip.name);
  }
}

}  // namespace

uint32_t wifi_start_testmode(const chip &chip) {
  if (chip.state.status != 0) {
    LOG_DEBUG(chip, "wl_config_test:wifi test mode has enable.\n");
    return 1;
  }
  wl_config_disable_wifi(chip);
  if (chip.testmode.sets_selfcali_interval && !wifi_set_selfcali_interval(chip)) {
    LOG_ERROR(chip, "%s_wifi_start_testmode::set selfcali_interval failed\n", chip.name);
  }
  if (system_call(chip, "ifconfig wlan0 up") != 0) {
    LOG_ERROR(chip, "ifconfig wlan0 up failed\n");
    return 0;
  }
  chip.state.status = 1;
  set_up_driver(chip);
  LOG_DEBUG(chip, "wl_config_test:wifi test mode enable sucess\n");
  return 1;
}

uint32_t wifi_stop_testmode(const chip &chip) {
  if (chip.state.status == 0) {
    LOG_DEBUG(chip, "wl_config_test:wifi test mode is disable\n");
    return 1;
  }
  if (chip.state.rx == 1 && !stop_receiving(chip)) LOG_ERROR(chip, "wifi_stop_rx failed\n");
  if (system_call(chip, "ifconfig wlan0 down") != 0) {
    LOG_ERROR(chip, "ifconfig wlan0 down failed\n");
    return 0;
  }
  usleep(INTERFACE_DOWN_PAUSE_US);
  chip.state.status = 0;
  if (chip.testmode.clears_flags_at_stop) {
    chip.state.tx = 0;
    chip.state.rx = 0;
  }
  LOG_DEBUG(chip, "wl_config_test:disable wifi test mode is sucess\n");
  return 1;
}

uint32_t wifi_set_country_all(const chip &chip) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return 0;
  ioctl_data record = record_of(COMMAND_COUNTRY);
  memcpy(record.pri_data, "99", sizeof "99");
  return send_and_report(chip, socket, record, "set country code 99 successful.\n",
                         "set country code 99 fail.\n");
}

uint32_t wifi_set_dyn_interval(const chip &chip) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return 0;
  ioctl_data record = record_of(chip.command.dyn_interval);
  if (memcpy_s(record.pri_data, sizeof record.pri_data, "11", sizeof "11") != 0) {
    LOG_ERROR(chip, "memcpy_s error.\n");
    wl_config_sockets_close(socket);
    return 0;
  }
  return send_and_report(chip, socket, record, "set dyn_cali_intervel successful.\n",
                         "set dyn_cali_intervel fail.\n");
}

uint32_t wifi_set_selfcali_interval(const chip &chip) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return 0;
  ioctl_data record = record_of(chip.command.selfcali_interval);
  store_u32(record.pri_data, *chip.state.selcal_disable_switch);
  return send_and_report(chip, socket, record, "%s_wifi_set_selfcali_interval successful.\n",
                         "%s_wifi_set_selfcali_interval fail.\n");
}

uint32_t wifi_pt_power_test(const chip &chip, int32_t mode) {
  log_text(chip, ORVA_LOG_DEBUG, chip.testmode.power_test_message, mode);
  wl_config_disable_wifi(chip);
  return wl_config_sockets_send(chip, chip.command.power_test, static_cast<uint32_t>(mode));
}

}  // namespace orva
