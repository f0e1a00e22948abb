// SPDX-License-Identifier: Apache-2.0
#include "common/weld.h"

#include <unistd.h>

#include "common/driver.h"
#include "common/log.h"
#include "common/probes.h"
#include "common/shell.h"

namespace orva {

namespace {

constexpr uint32_t PAUSE_S = 1;
constexpr char PIN_FAILURE[] = "wifi_test_weld:  pin of wifi test fail\n";

bool check_dbb(const chip &chip, uint32_t socket, const char *interface) {
  LOG_DEBUG(chip, "wifi_test_weld:get_dbb_num\n");
  return wl_config_wifi_dbb_get(chip, socket, interface);
}

bool take_interface_down(const chip &chip, uint32_t, const char *) {
  if (system_call(chip, "ifconfig wlan0 down") != 0) {
    LOG_DEBUG(chip, "wl_config_test:wifi_test_weld:wifi down failed. continue.\n");
  }
  return true;
}

bool close_socket(const chip &, uint32_t socket, const char *) {
  wl_config_sockets_close(socket);
  return true;
}

bool run_weld_steps(const chip &chip, uint32_t socket) {
  for (const weld_step *step : chip.weld_steps) {
    if (step->run(chip, socket, "wlan0")) continue;
    LOG_ERROR(chip, "%s", step->failure);
    wl_config_sockets_close(socket);
    return false;
  }
  return true;
}

}  // namespace

const weld_step weld_dbb = {check_dbb, "wifi_test_weld: can not get DBB number of WIFI\n"};
const weld_step weld_efuse = {wl_config_wifi_efuse_get, "wifi_test_weld:  efuse status of wifi fail\n"};
const weld_step weld_pin = {wl_config_wipin_test, PIN_FAILURE};
const weld_step weld_wakeup_io = {wl_config_wkup_io_test, PIN_FAILURE};
const weld_step weld_pcie = {wl_config_pcie_test, PIN_FAILURE};
const weld_step weld_interface_down = {take_interface_down, nullptr};
const weld_step weld_close = {close_socket, nullptr};

uint32_t wifi_test_weld(const chip &chip) {
  LOG_DEBUG(chip, "wifi_test_weld:wifi_test_weld\n");
  wl_config_disable_wifi(chip);
  if (!boot_up(chip, "wifi_test_weld", PAUSE_S)) return 0;
  sleep(PAUSE_S);
  const uint32_t socket = open_socket(chip);
  if (socket == 0 || !run_weld_steps(chip, socket)) return 0;
  chip.state.status = 0;
  return 1;
}

}  // namespace orva
