// SPDX-License-Identifier: Apache-2.0
#include "common/caldata.h"

#include "common/driver.h"
#include "common/log.h"
#include "common/nv_item.h"

namespace orva {

namespace {

constexpr nv_item WINVRAM = {340, "WINVRAM"};

/// Fetches the block. @return whether the driver accepted the command and the block is not empty.
bool fetch(const chip &chip, uint32_t socket, const char *copy_failure, caldata &block) {
  ioctl_data record = record_of(COMMAND_CALDATA_FETCH);
  const bool accepted = send_record(chip, socket, record);
  if (record.pri_data[0] == 0) {
    LOG_ERROR(chip, "%s_read_wifi_caldata_from_dts ioctl fail or fetch caldata fail, wifi caldata is: %s\n",
              chip.name, "");
    return false;
  }
  if (memcpy_s(block.code, sizeof block.code, record.pri_data, sizeof block.code) != 0) {
    LOG_ERROR(chip, "%s", copy_failure);
  }
  print_data(chip, block);
  return accepted;
}

}  // namespace

uint32_t copy_caldata_to_nv(const chip &chip, const char *copy_failure) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return 0;
  caldata block = {};
  const bool fetched = fetch(chip, socket, copy_failure, block);
  wl_config_sockets_close(socket);
  if (!fetched) return 0;
  if (write_caldata(&block, sizeof block) == 0) {
    LOG_DEBUG(chip, "%s_read_wifi_caldata_from_dts write cal data to nvm success\n", chip.name);
    return 1;
  }
  LOG_ERROR(chip, "%s_read_wifi_caldata_from_dts write cal data to nvm failed\n", chip.name);
  return 0;
}

uint32_t refuse_caldata(const chip &chip) {
  LOG_ERROR(chip, "%s_wifi_nvram_set cal_type = 1, not adapt for orva\n", chip.name);
  return 0;
}

void print_data(const chip &chip, const caldata &block) {
  LOG_DEBUG(chip, "%s_print_data wifi caldata:[\n", chip.name);
  for (uint32_t i = 0; i < sizeof block.code && block.code[i] != 0; i += 4) {
    const uint8_t *b = block.code + i;
    LOG_DEBUG(chip, "0x%x",
              static_cast<uint32_t>(b[0]) << 24 | static_cast<uint32_t>(b[1]) << 16 |
                  static_cast<uint32_t>(b[2]) << 8 | b[3]);
  }
  LOG_DEBUG(chip, "]\n");
}

int32_t read_caldata(caldata &block) { return read_item(WINVRAM, block.code, sizeof block.code); }

int32_t write_caldata(const void *block, uint32_t size) { return write_item(WINVRAM, block, size); }

}  // namespace orva
