// SPDX-License-Identifier: Apache-2.0
#include "common/chip_check.h"

#include "common/driver.h"
#include "common/log.h"
#include "common/shell.h"

namespace orva {

namespace {

uint32_t zero_for_success(bool success) { return success ? 0 : 1; }

/// Sends a chip-check command; on success stores and logs the firmware's code.
bool check_chip(const chip &chip, uint32_t command, uint32_t request, const char *success,
                const char *failure) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return false;
  ioctl_data record = record_of(command);
  store_u32(record.pri_data, request);
  if (!send_record(chip, socket, record)) {
    LOG_ERROR(chip, "%s", failure);
    wl_config_sockets_close(socket);
    return false;
  }
  wl_config_sockets_close(socket);
  chip.state.chipcheck_result = static_cast<int32_t>(answer_u32(record));
  log_text(chip, ORVA_LOG_ERROR, success, chip.state.chipcheck_result);
  return true;
}

void log_missing_argument(const chip &chip, const void *first, const void *second, const void *third) {
  if (first == nullptr || second == nullptr || third == nullptr) LOG_ERROR(chip, "begin to start socket\n");
}

bool bus_loop(const chip &chip, uint32_t command, const char *success, const char *failure) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return false;
  ioctl_data record = record_of(command);
  return send_and_report(chip, socket, record, success, failure);
}

}  // namespace

uint32_t conn_test_chipcheck(const chip &chip, const void *first, const void *second, const void *third) {
  log_missing_argument(chip, first, second, third);
  const uint32_t request = chip.state.running_test != nullptr ? *chip.state.running_test : 0;
  return zero_for_success(check_chip(chip, COMMAND_CHIP_CHECK, request, "conn_test_chipcheck.%d\n",
                                     "conn_test_chipcheck fail.\n"));
}

uint32_t conn_test_get_chipcheck_result(const chip &chip, const void *first, const void *second,
                                        const void *third) {
  LOG_ERROR(chip, "enter conn_test_get_chipcheck_result\n");
  log_missing_argument(chip, first, second, third);
  const bool fetched = check_chip(chip, COMMAND_CHIP_CHECK_RESULT, 0, "conn_test_get_chipcheck_result.%d\n",
                                  "conn_test_chipcheck getresult fail.\n");
  // A firmware code of 1 looks like a failed fetch to the caller.
  return fetched ? static_cast<uint32_t>(chip.state.chipcheck_result) : 1;
}

uint32_t conn_test_uart_loop(const chip &chip) {
  return zero_for_success(
      bus_loop(chip, COMMAND_UART_LOOP, "conn_test_uart_loop \n", "conn_test_uart_loop fail.\n"));
}

uint32_t conn_test_sdio_loop(const chip &chip) {
  if (chip.sdio_loop_stops_wifi) wl_config_disable_wifi(chip);
  return zero_for_success(
      bus_loop(chip, COMMAND_SDIO_LOOP, "conn_test_sdio_loop \n", "conn_test_sdio_loop fail.\n"));
}

}  // namespace orva
