// SPDX-License-Identifier: Apache-2.0
// The driver command channel: one private ioctl on wlan0 carries one command record.
#ifndef ORVA_DRIVER_H
#define ORVA_DRIVER_H

#include "common/chip.h"

namespace orva {

/// Commands with the same id on every chip that has them.
enum driver_command : uint32_t {
  COMMAND_CHANNEL = 0,
  COMMAND_POWER = 1,
  COMMAND_MODE = 2,
  COMMAND_RATE = 3,
  COMMAND_BANDWIDTH = 4,
  COMMAND_TX = 5,
  COMMAND_DBB_NUMBER = 6,
  COMMAND_FEM_PA_STATUS = 7,
  COMMAND_RX = 8,
  COMMAND_HW_MAC = 9,
  COMMAND_RX_PACKETS = 10,
  COMMAND_POWER_SAVE = 11,
  COMMAND_RSSI = 12,
  COMMAND_CHIP_CHECK = 13,
  COMMAND_CHIP_CHECK_RESULT = 14,
  COMMAND_UART_LOOP = 16,
  COMMAND_SDIO_LOOP = 17,
  COMMAND_CALDATA_FETCH = 18,
  COMMAND_CALDATA_PUSH = 19,
  COMMAND_EFUSE_STATUS = 20,
  COMMAND_ANTENNA = 21,
  COMMAND_DIE_ID = 22,
  COMMAND_COUNTRY = 23,
  COMMAND_UPC_CODE = 24,
  COMMAND_PIN_TEST = 25,
  COMMAND_MIMO_CHAIN = 27,
  COMMAND_BUS_MODE = 32,
};

/// The driver command record. Queries find the driver's answer in pri_data.
struct ioctl_data {
  uint32_t magic;
  uint32_t cmd;
  uint8_t pri_data[256];
};
static_assert(sizeof(ioctl_data) == 264, "the record is shared with the driver");

/// A zeroed record with the command id set.
inline ioctl_data record_of(uint32_t command) {
  ioctl_data record = {};
  record.cmd = command;
  return record;
}

/// @return a socket to the driver, never descriptor 0; 0 if none could be opened (logged).
uint32_t wl_config_sockets_open(const chip &chip);

/// @return the result of close.
int32_t wl_config_sockets_close(uint32_t socket);

/// wl_config_sockets_open for an operation: also logs "socket create fail." if none could be opened.
uint32_t open_socket(const chip &chip);

/// Sets the magic and issues the command, once more after 10 ms if refused. @return whether the driver
/// accepted it. After a refusal the data area holds what the driver left in it, usually what was sent.
bool wl_config_cmd_to_driver(const chip &chip, uint32_t socket, const char *interface, ioctl_data &record);

/// Issues the command on wlan0.
bool send_record(const chip &chip, uint32_t socket, ioctl_data &record);

/// Opens a socket, issues the command on wlan0 and closes. @return false if refused or without a socket.
bool exchange(const chip &chip, ioctl_data &record);

/// Issues the command on an open socket and closes it: before the success message, after the failure
/// message. The messages take the chip's name or no argument. @return whether the driver accepted it.
bool send_and_report(const chip &chip, uint32_t socket, ioctl_data &record, const char *success,
                     const char *failure);

/// Sends one value on a socket of its own and pauses 1 ms. @return whether the driver accepted it; false
/// without a socket, and for an id that the chip does not list.
bool wl_config_sockets_send(const chip &chip, uint32_t command, uint32_t value);

/// Stores a value in a record's data area.
void store_u32(uint8_t *pri_data, uint32_t value);
void store_u16(uint8_t *pri_data, uint32_t value);

/// The driver's answer at the start of the data area.
uint32_t answer_u32(const ioctl_data &record);

}  // namespace orva

#endif
