// SPDX-License-Identifier: Apache-2.0
#include "common/utilities.h"

#include <unistd.h>

#include "common/driver.h"
#include "common/log.h"
#include "common/shell.h"

namespace orva {

namespace {

constexpr uint32_t COMMAND_LINE_SIZE = 100;
constexpr useconds_t EXPIRE_AGE_PAUSE_US = 1000;
constexpr uint32_t SSID_SIZE = 33;
constexpr uint32_t BSSID_SIZE = 6;
constexpr uint8_t POWER_LOWER = 0;
constexpr uint8_t POWER_UPPER = 14;

/// The driver's answer to the connection-info command, at the start of pri_data.
struct connection {
  uint8_t unread;
  char ssid[SSID_SIZE];
  uint8_t bssid[BSSID_SIZE];
  int8_t rssi;
};
static_assert(sizeof(connection) == 41, "the connection record is shared with the driver");

/// memcpy_s, with the chip's message if it fails. @return whether the operation continues.
bool copy_out(const chip &chip, void *to, const void *from, uint32_t size) {
  if (memcpy_s(to, size, from, size) == 0) return true;
  LOG_ERROR(chip, "%s", chip.utilities.conn_info_copy_failure);
  return !chip.utilities.conn_info_copy_failure_ends;
}

void log_connection(const chip &chip, const connection &info) {
  const uint8_t *b = info.bssid;
  LOG_ERROR(chip, "%s_wifi_conn_info:ssid:%.33s\n", chip.name, info.ssid);
  LOG_ERROR(chip, "%s_wifi_conn_info:bssid:%02X:%02X:%02X:%02X:%02X:%02X\n", chip.name, b[0], b[1], b[2],
            b[3], b[4], b[5]);
  LOG_ERROR(chip, "%s_wifi_conn_info:rssi:%d\n", chip.name, info.rssi);
}

}  // namespace

uint32_t wifi_start_roam(const chip &chip, const char *target) {
  LOG_ERROR(chip, "wpa_cli_orva roam start\n");
  if (target == nullptr) {
    LOG_ERROR(chip, "wpa_cli_orva roam mac is null\n");
    return 0;
  }
  char command[COMMAND_LINE_SIZE] = {};
  if (snprintf_s(command, sizeof command, sizeof command - 1, "%s%s", "wpa_cli_orva roam ", target) < 0) {
    LOG_ERROR(chip, "%s", chip.utilities.roam_format_error);  // the truncated command still runs
  }
  if (system_call(chip, command) == 0) return 1;
  LOG_ERROR(chip, "wpa_cli_orva roam failed\n");
  return 0;
}

uint32_t wifi_start_roam_scan(const chip &chip) {
  LOG_ERROR(chip, "wpa_cli_orva scan start\n");
  if (system_call(chip, "wpa_cli_orva scan") == 0) return 1;
  LOG_ERROR(chip, "wpa_cli_orva scan failed\n");
  return 0;
}

uint32_t wifi_set_bss_expire_age(const chip &chip, int32_t age) {
  LOG_DEBUG(chip, "%s_wifi_set_bss_expire_age::age[%d].\n", chip.name, age);
  const bool accepted = wl_config_sockets_send(chip, chip.command.bss_expire_age, static_cast<uint32_t>(age));
  char command[COMMAND_LINE_SIZE] = {};
  const int length =
      snprintf_s(command, sizeof command, sizeof command - 1, "%s%d", "wpa_cli_orva bss_expire_age ", age);
  if (length < 0 && chip.utilities.checks_expire_age_format) {
    LOG_ERROR(chip, "%s_param_to_string: snprintf_s failed.", chip.name);
  }
  if (system_call(chip, command) != 0) {
    LOG_ERROR(chip, "%s_wifi_set_bss_expire_age failed\n", chip.name);
    return 0;
  }
  usleep(EXPIRE_AGE_PAUSE_US);
  return accepted;
}

uint32_t wifi_conn_info(const chip &chip, char *ssid, uint8_t *bssid, uint8_t *rssi) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return 0;
  ioctl_data record = record_of(chip.command.conn_info);
  const bool accepted = send_record(chip, socket, record);
  wl_config_sockets_close(socket);

  // A refused command's record is copied too: zeros, and so an empty SSID, unless the driver wrote to it.
  const connection &info = reinterpret_cast<const connection &>(record.pri_data);
  if (!copy_out(chip, ssid, info.ssid, SSID_SIZE) || !copy_out(chip, bssid, info.bssid, BSSID_SIZE)) {
    return 0;
  }
  *rssi = static_cast<uint8_t>(info.rssi);
  log_connection(chip, info);
  return accepted;
}

uint32_t wifi_get_upc_code(const chip &chip, uint8_t *out1, uint8_t *out2, uint8_t *upc) {
  LOG_ERROR(chip, "enter wifi_get_upc_code\n");
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return chip.utilities.upc_without_socket;
  ioctl_data record = record_of(COMMAND_UPC_CODE);
  // A refusal is not an error here: the code is then 0 unless the driver wrote to the record.
  send_record(chip, socket, record);
  wl_config_sockets_close(socket);
  const uint32_t code = answer_u32(record);
  LOG_ERROR(chip, "ioctl_data.pri_data.upc_code.%d\n", code);
  *upc = static_cast<uint8_t>(code);
  *out2 = 0;
  *out1 = 0;
  return code;
}

uint32_t wifi_power_set_range(uint8_t *lower, uint8_t *upper) {
  *lower = POWER_LOWER;
  *upper = POWER_UPPER;
  return 1;
}

uint32_t wifi_set_tas_ant_switch(const chip &chip, int32_t value) {
  const bool accepted = wl_config_sockets_send(chip, chip.command.tas_antenna, static_cast<uint32_t>(value));
  LOG_DEBUG(chip, "%s_wl_config_sockets_send::tas_switch[%d], ret[%d].\n", chip.name, value, accepted);
  return accepted;
}

uint32_t wifi_set_pcie_sdio_mode(const chip &chip, uint32_t mode) {
  const bool accepted = wl_config_sockets_send(chip, COMMAND_BUS_MODE, mode);
  LOG_DEBUG(chip, "%s_wl_config_sockets_send::l_pcie_sdio_mode[%d], ret[%d].\n", chip.name, mode, accepted);
  return accepted;
}

uint32_t wifi_selcal_disable_set(const chip &chip, int32_t flag) {
  uint32_t &disable = *chip.state.selcal_disable_switch;
  disable = flag == 1 ? 0 : 1;
  LOG_DEBUG(chip, "%s_wifi_selcal_disable_set::flag[%d].\n", chip.utilities.selcal_logged_as, disable);
  return 1;
}

}  // namespace orva
