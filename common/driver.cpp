// SPDX-License-Identifier: Apache-2.0
#include "common/driver.h"

#include <net/if.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include "common/log.h"

namespace orva {

namespace {

static_assert(sizeof(struct ifreq) == 40, "the interface request is 40 bytes: build for a 64-bit system");

constexpr unsigned long PRIVATE_REQUEST = 0x89F2;  // the second device-private ioctl
constexpr useconds_t RETRY_PAUSE_US = 10000;
constexpr useconds_t VALUE_COMMAND_PAUSE_US = 1000;

int driver_socket() { return socket(AF_INET, SOCK_DGRAM, 0); }

uint32_t socket_or_log(const chip &chip, int socket, int line) {
  if (socket >= 0) return static_cast<uint32_t>(socket);
  LOG_ERROR(chip, "%s_wl_config_sockets_open[%d]:socket failed:%d\n", chip.name, line, socket);
  return 0;
}

constexpr value_command common_value_commands[] = {
    {COMMAND_CHANNEL, store_u32}, {COMMAND_POWER, store_u32},     {COMMAND_MODE, store_u32},
    {COMMAND_RATE, store_u32},    {COMMAND_BANDWIDTH, store_u32}, {COMMAND_TX, store_u32},
    {COMMAND_RX, store_u32},      {COMMAND_POWER_SAVE, store_u32}};

const value_command *find_command(const list<value_command> &commands, uint32_t id) {
  for (const value_command &row : commands) {
    if (row.id == id) return &row;
  }
  return nullptr;
}

const value_command *find_value_command(const chip &chip, uint32_t id) {
  const value_command *common = find_command(common_value_commands, id);
  return common != nullptr ? common : find_command(chip.value_commands, id);
}

bool send_value(const chip &chip, uint32_t socket, uint32_t command, uint32_t value) {
  ioctl_data record = record_of(command);
  const value_command *row = find_value_command(chip, command);
  if (row == nullptr) {
    LOG_DEBUG(chip, "wl_config_test:%s_wl_config_enabled_set[%d]:unknow ioctl cmd[%d] for enabled set \n",
              chip.name, chip.line.unknown_command, command);
    return false;
  }
  row->set(record.pri_data, value);
  return send_record(chip, socket, record);
}

}  // namespace

uint32_t wl_config_sockets_open(const chip &chip) {
  const int first = driver_socket();
  if (first != 0) return socket_or_log(chip, first, chip.line.socket_failed);
  // Callers read 0 as failure, so descriptor 0 is replaced by another.
  const int second = driver_socket();
  close(first);
  return socket_or_log(chip, second, chip.line.second_socket_failed);
}

int32_t wl_config_sockets_close(uint32_t socket) { return close(static_cast<int>(socket)); }

uint32_t open_socket(const chip &chip) {
  const uint32_t socket = wl_config_sockets_open(chip);
  if (socket == 0) LOG_ERROR(chip, "socket create fail.\n");
  return socket;
}

bool wl_config_cmd_to_driver(const chip &chip, uint32_t socket, const char *interface, ioctl_data &record) {
  record.magic = chip.magic;
  struct ifreq request = {};
  strncpy_s(request.ifr_name, IFNAMSIZ, interface, IFNAMSIZ - 1);
  request.ifr_data = reinterpret_cast<char *>(&record);

  const int result = ioctl(static_cast<int>(socket), PRIVATE_REQUEST, &request);
  if (result >= 0) return true;
  LOG_ERROR(chip, "%s_wl_config_cmd_to_driver[%d]:wl_config test: ioctl fail:ret %d\n", chip.name,
            chip.line.ioctl_fail, result);
  usleep(RETRY_PAUSE_US);
  const int retry = ioctl(static_cast<int>(socket), PRIVATE_REQUEST, &request);
  if (retry >= 0) return true;
  LOG_ERROR(chip, "%s_wl_config_cmd_to_driver[%d]:wl_config test: retry ioctl fail:ret %d\n", chip.name,
            chip.line.retry_fail, retry);
  return false;
}

bool send_record(const chip &chip, uint32_t socket, ioctl_data &record) {
  return wl_config_cmd_to_driver(chip, socket, "wlan0", record);
}

bool exchange(const chip &chip, ioctl_data &record) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return false;
  const bool accepted = send_record(chip, socket, record);
  wl_config_sockets_close(socket);
  return accepted;
}

bool send_and_report(const chip &chip, uint32_t socket, ioctl_data &record, const char *success,
                     const char *failure) {
  if (!send_record(chip, socket, record)) {
    log_named(chip, ORVA_LOG_ERROR, failure);
    wl_config_sockets_close(socket);
    return false;
  }
  wl_config_sockets_close(socket);
  log_named(chip, ORVA_LOG_ERROR, success);
  return true;
}

bool wl_config_sockets_send(const chip &chip, uint32_t command, uint32_t value) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return false;
  const bool accepted = send_value(chip, socket, command, value);
  wl_config_sockets_close(socket);
  usleep(VALUE_COMMAND_PAUSE_US);
  return accepted;
}

void store_u32(uint8_t *pri_data, uint32_t value) { memcpy(pri_data, &value, sizeof value); }

void store_u16(uint8_t *pri_data, uint32_t value) {
  const uint16_t low = static_cast<uint16_t>(value);
  memcpy(pri_data, &low, sizeof low);
}

uint32_t answer_u32(const ioctl_data &record) {
  uint32_t value;
  memcpy(&value, record.pri_data, sizeof value);
  return value;
}

}  // namespace orva
