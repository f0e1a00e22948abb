// SPDX-License-Identifier: Apache-2.0
#include "common/probes.h"

#include "common/driver.h"
#include "common/log.h"

namespace orva {

namespace {

struct answer {
  bool accepted;
  uint32_t value;  // of a refused command: what the driver left, usually 0
};

answer ask(const chip &chip, uint32_t socket, const char *interface, uint32_t command) {
  ioctl_data record = record_of(command);
  const bool accepted = wl_config_cmd_to_driver(chip, socket, interface, record);
  return {accepted, answer_u32(record)};
}

bool all_bits_clear(const answer &answer) { return answer.accepted && answer.value == 0; }
bool low_half_clear(const answer &answer) {
  return answer.accepted && static_cast<uint16_t>(answer.value) == 0;
}

int priority_of(bool pass) { return pass ? ORVA_LOG_DEBUG : ORVA_LOG_ERROR; }
int line_of(const probe_lines &lines, bool pass) { return pass ? lines.pass : lines.fail; }

}  // namespace

bool wl_config_wifi_dbb_get(const chip &chip, uint32_t socket, const char *interface) {
  ioctl_data record = record_of(COMMAND_DBB_NUMBER);
  const bool accepted = wl_config_cmd_to_driver(chip, socket, interface, record);
  // The driver terminates its text; the precision guards against one that does not.
  LOG_DEBUG(chip, "wl_config_test:%s_wl_config_wifi_dbb_get[%d]:The DBB number of WIFI is : %.256s\n",
            chip.name, chip.probe.dbb_line, reinterpret_cast<const char *>(record.pri_data));
  return accepted;
}

bool wl_config_wifi_efuse_get(const chip &chip, uint32_t socket, const char *interface) {
  const answer efuse = ask(chip, socket, interface, COMMAND_EFUSE_STATUS);
  LOG_DEBUG(chip, "wl_config_test:The efuse status of wifi is : %d\n", efuse.value);
  return all_bits_clear(efuse);
}

bool wl_config_wipin_test(const chip &chip, uint32_t socket, const char *interface) {
  const answer pin = ask(chip, socket, interface, COMMAND_PIN_TEST);
  const bool pass = all_bits_clear(pin);
  __android_log_print(
      priority_of(pass), chip.log_tag,
      "wl_config_wifi_pin_test:%s_wl_config_wipin_test[%d]:The pin test of WIFI result is : %d\n", chip.name,
      line_of(chip.probe.pin, pass), pin.value);
  return pass;
}

bool wl_config_pmu_check(const chip &chip, uint32_t socket, const char *interface) {
  const answer pmu = ask(chip, socket, interface, chip.command.pmu_check);
  if (all_bits_clear(pmu)) {
    // This message names the DBB number; the station matches it.
    LOG_DEBUG(chip, "wl_config_test:%s_wl_config_pmu_check[%d]:The DBB number of WIFI is : %d\n", chip.name,
              chip.probe.pmu.pass, 0);
    return true;
  }
  LOG_DEBUG(chip, "wl_config_test:%s_wl_config_pmu_check[%d]:The PMU Check Result is: %d\n", chip.name,
            chip.probe.pmu.fail, static_cast<uint8_t>(pmu.value));
  return false;
}

bool wl_config_wkup_io_test(const chip &chip, uint32_t socket, const char *interface) {
  const answer wakeup = ask(chip, socket, interface, chip.command.wakeup_io);
  const bool pass = low_half_clear(wakeup);
  const int32_t logged = chip.probe.wakeup_logs_low_half ? static_cast<int16_t>(wakeup.value)
                                                         : static_cast<int32_t>(wakeup.value);
  __android_log_print(
      priority_of(pass), chip.log_tag,
      "wl_config_wkup_io_test:%s_wl_config_wkup_io_test[%d]:The pin test of WIFI result is : %d\n", chip.name,
      line_of(chip.probe.wakeup_io, pass), logged);
  return pass;
}

bool wl_config_pcie_test(const chip &chip, uint32_t socket, const char *interface) {
  const answer pcie = ask(chip, socket, interface, chip.command.pcie);
  const bool pass = low_half_clear(pcie);
  __android_log_print(priority_of(pass), chip.log_tag,
                      "wl_config_pcie_test:%s_wl_config_pcie_test[%d]:The pin test of WIFI result is : %d\n",
                      chip.name, line_of(chip.probe.pcie, pass), pcie.value);
  return pass;
}

uint32_t wifi_hw_get(const chip &chip) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return 0;
  const answer fem = ask(chip, socket, "wlan0", COMMAND_FEM_PA_STATUS);
  // A bad status closes the socket before its message, a good one after it.
  if (fem.value != 0) wl_config_sockets_close(socket);
  LOG_DEBUG(chip, "wl_config_test:The fem_pa status of WIFI is : %d\n", fem.value);
  if (fem.value == 0) wl_config_sockets_close(socket);
  return all_bits_clear(fem);
}

uint32_t wifi_check_pmu(const chip &chip) {
  LOG_DEBUG(chip, "wl_config_pmu_check:enter\n");
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return 0;
  const bool pass = wl_config_pmu_check(chip, socket, "wlan0");
  if (!pass) LOG_ERROR(chip, "wifi_test_weld:  pin of wifi test fail\n");
  wl_config_sockets_close(socket);
  return pass;
}

}  // namespace orva
