#include "common/self_check.h"

#include <string.h>
#include <unistd.h>

#include "common/driver.h"
#include "common/log.h"
#include "common/probes.h"
#include "common/shell.h"

namespace orva {

namespace {

constexpr uint32_t CHECK_TIME = 100;
constexpr uint32_t WELD_PAUSE_S = 1;
constexpr uint32_t DIE_ID_PAUSE_S = 2;
constexpr char PIN_FAILURE[] = "wifi_test_weld:  pin of wifi test fail\n";

uint32_t inverted(int32_t result) { return result == 1 ? 0 : 1; }

/// Sends a chip-check command; on success stores and logs the firmware's code.
int32_t check_chip(const chip &chip, uint32_t command, uint32_t request, const char *success,
                   const char *failure) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return 0;
  ioctl_data record = record_of(command);
  store_u32(record.pri_data, request);
  if (send_record(chip, socket, record) != 1) {
    LOG_ERROR(chip, "%s", failure);
    wl_config_sockets_close(socket);
    return 0;
  }
  wl_config_sockets_close(socket);
  chip.state.chipcheck_result = static_cast<int32_t>(answer_u32(record));
  log_text(chip, ORVA_LOG_ERROR, success, chip.state.chipcheck_result);
  return 1;
}

void log_missing_argument(const chip &chip, const void *first, const void *second, const void *third) {
  if (first == nullptr || second == nullptr || third == nullptr) LOG_ERROR(chip, "begin to start socket\n");
}

int32_t bus_loop(const chip &chip, uint32_t command, const char *success, const char *failure) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return 0;
  ioctl_data record = record_of(command);
  return send_and_report(chip, socket, record, success, failure);
}

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
  // A refused command is read as well: its identifier is all zeros, and the station takes that for a result.
  send_record(chip, socket, record);
  write_die_id(chip, record, text);
  wl_config_sockets_close(socket);
  if (!interface_down(chip)) LOG_DEBUG(chip, "wifi_get_die_id:wifi down failed. continue.\n");
  return 0;
}

int32_t check_dbb(const chip &chip, uint32_t socket) {
  LOG_DEBUG(chip, "wifi_test_weld:get_dbb_num\n");
  return wl_config_wifi_dbb_get(chip, socket, "wlan0");
}

int32_t check_efuse(const chip &chip, uint32_t socket) {
  return wl_config_wifi_efuse_get(chip, socket, "wlan0");
}
int32_t check_pin(const chip &chip, uint32_t socket) { return wl_config_wipin_test(chip, socket, "wlan0"); }
int32_t check_wakeup_io(const chip &chip, uint32_t socket) {
  return wl_config_wkup_io_test(chip, socket, "wlan0");
}
int32_t check_pcie(const chip &chip, uint32_t socket) { return wl_config_pcie_test(chip, socket, "wlan0"); }

int32_t announce_wakeup_io(const chip &chip, uint32_t) {
  LOG_DEBUG(chip, "%s_wl_config_wkup_io_test begin!\n", chip.name);
  return 1;
}

int32_t take_interface_down(const chip &chip, uint32_t) {
  if (!interface_down(chip)) LOG_DEBUG(chip, "wl_config_test:wifi_test_weld:wifi down failed. continue.\n");
  return 1;
}

int32_t close_socket(const chip &, uint32_t socket) {
  wl_config_sockets_close(socket);
  return 1;
}

int32_t run_weld_steps(const chip &chip, uint32_t socket) {
  for (const weld_step *step : chip.self_check.steps) {
    if (step->run(chip, socket) == 1) continue;
    LOG_ERROR(chip, "%s", step->failure);
    wl_config_sockets_close(socket);
    return 0;
  }
  return 1;
}

}  // namespace

const weld_step weld_dbb = {check_dbb, "wifi_test_weld: can not get DBB number of WIFI\n"};
const weld_step weld_efuse = {check_efuse, "wifi_test_weld:  efuse status of wifi fail\n"};
const weld_step weld_pin = {check_pin, PIN_FAILURE};
const weld_step weld_wakeup_io = {check_wakeup_io, PIN_FAILURE};
const weld_step weld_pcie = {check_pcie, PIN_FAILURE};
const weld_step weld_announce_wakeup_io = {announce_wakeup_io, nullptr};
const weld_step weld_interface_down = {take_interface_down, nullptr};
const weld_step weld_close = {close_socket, nullptr};

uint32_t conn_test_chipcheck(const chip &chip, const void *first, const void *second, const void *third) {
  log_missing_argument(chip, first, second, third);
  const uint32_t request = chip.state.running_test != nullptr ? *chip.state.running_test : 0;
  return inverted(check_chip(chip, COMMAND_CHIP_CHECK, request, "conn_test_chipcheck.%d\n",
                             "conn_test_chipcheck fail.\n"));
}

uint32_t conn_test_get_chipcheck_result(const chip &chip, const void *first, const void *second,
                                        const void *third) {
  LOG_ERROR(chip, "enter conn_test_get_chipcheck_result\n");
  log_missing_argument(chip, first, second, third);
  // A firmware code of 1 cannot be told from a failure.
  return check_chip(chip, COMMAND_CHIP_CHECK_RESULT, 0, "conn_test_get_chipcheck_result.%d\n",
                    "conn_test_chipcheck getresult fail.\n") == 1
             ? static_cast<uint32_t>(chip.state.chipcheck_result)
             : 1;
}

uint32_t conn_test_get_checktime_of_chipcheck(const chip &chip, uint32_t *check_time, uint8_t *die_id) {
  *check_time = CHECK_TIME;
  uint8_t flag[4];
  return wifi_get_die_id(chip, flag, die_id);
}

uint32_t conn_test_uart_loop(const chip &chip) {
  return inverted(bus_loop(chip, COMMAND_UART_LOOP, "conn_test_uart_loop \n", "conn_test_uart_loop fail.\n"));
}

uint32_t conn_test_sdio_loop(const chip &chip) {
  if (chip.self_check.sdio_loop_stops_wifi) wl_config_disable_wifi(chip);
  return inverted(bus_loop(chip, COMMAND_SDIO_LOOP, "conn_test_sdio_loop \n", "conn_test_sdio_loop fail.\n"));
}

uint32_t wifi_get_die_id(const chip &chip, uint8_t *flag, uint8_t *text) {
  *flag = 0;
  wl_config_disable_wifi(chip);
  if (boot_up(chip, chip.die_id.boots_as, DIE_ID_PAUSE_S) == 0) return read_die_id(chip, text);
  if (chip.die_id.names_boot_failure) LOG_ERROR(chip, "%s_wifi_get_die_id::try_boot_up failed.\n", chip.name);
  return 1;
}

uint32_t wifi_test_weld(const chip &chip) {
  LOG_DEBUG(chip, "wifi_test_weld:wifi_test_weld\n");
  wl_config_disable_wifi(chip);
  if (boot_up(chip, "wifi_test_weld", WELD_PAUSE_S) != 0) return 0;
  sleep(WELD_PAUSE_S);
  const uint32_t socket = open_socket(chip);
  if (socket == 0 || run_weld_steps(chip, socket) != 1) return 0;
  chip.state.status = 0;
  return 1;
}

}  // namespace orva
