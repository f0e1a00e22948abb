// SPDX-License-Identifier: Apache-2.0
#include "common/die_id.h"

#include <string.h>

#include "common/driver.h"
#include "common/log.h"
#include "common/shell.h"

namespace orva {

namespace {

constexpr uint32_t CHECK_TIME = 100;
constexpr uint32_t BOOT_PAUSE_S = 2;

uint8_t hex_character(uint32_t nibble) {
  return static_cast<uint8_t>(nibble < 10 ? '0' + nibble : 'A' + nibble - 10);
}

void write_word(const chip &chip, uint16_t word, uint8_t *text) {
  for (uint32_t i = 0; i < 4; i++) {
    text[i] = hex_character(word >> (12 - 4 * i) & 0xFU);
    if (chip.die_id.logs_characters) LOG_ERROR(chip, "wifi_get_die_id:0x%x\n", text[i]);
  }
}

void write_die_id(const chip &chip, const ioctl_data &record, uint8_t *text) {
  for (uint32_t i = 0; i < chip.die_id.words; i++) {
    uint16_t word;
    memcpy(&word, record.pri_data + sizeof word * i, sizeof word);
    write_word(chip, word, text + 4 * i);
  }
}

bool interface_down(const chip &chip) { return system_call(chip, "ifconfig wlan0 down") == 0; }

uint32_t no_die_id_socket(const chip &chip) {
  if (!interface_down(chip)) LOG_ERROR(chip, "wifi_test_weld:wifi shut down failed.\n");
  return 1;
}

uint32_t read_die_id(const chip &chip, uint8_t *text) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return no_die_id_socket(chip);
  ioctl_data record = record_of(COMMAND_DIE_ID);
  // A refusal is not an error here: the record then holds zeros unless the driver wrote to it, and the
  // station accepts them as the identifier.
  send_record(chip, socket, record);
  write_die_id(chip, record, text);
  wl_config_sockets_close(socket);
  if (!interface_down(chip)) LOG_DEBUG(chip, "wifi_get_die_id:wifi down failed. continue.\n");
  return 0;
}

}  // namespace

uint32_t wifi_get_die_id(const chip &chip, uint8_t *flag, uint8_t *text) {
  *flag = 0;
  wl_config_disable_wifi(chip);
  if (boot_up(chip, chip.die_id.boots_as, BOOT_PAUSE_S)) return read_die_id(chip, text);
  if (chip.die_id.names_boot_failure) LOG_ERROR(chip, "%s_wifi_get_die_id::try_boot_up failed.\n", chip.name);
  return 1;
}

uint32_t conn_test_get_checktime_of_chipcheck(const chip &chip, uint32_t *check_time, uint8_t *die_id) {
  *check_time = CHECK_TIME;
  uint8_t flag;
  return wifi_get_die_id(chip, &flag, die_id);
}

}  // namespace orva
