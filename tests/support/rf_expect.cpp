// SPDX-License-Identifier: Apache-2.0
#include "tests/support/rf_expect.h"

const channel_lines &lines_of(const chip_case &chip) {
  static const channel_lines vq2040 = {114, 121, 221, 225, 282}, vq2050 = {344, 351, 451, 455, 521},
                             vq2040a = {208, 215, 315, 319, 385}, vq2070 = {374, 381, 481, 485, 633};
  if (&chip == &vq2040_case) return vq2040;
  if (&chip == &vq2050_case) return vq2050;
  return &chip == &vq2040a_case ? vq2040a : vq2070;
}

std::string said(int priority, const std::string &text) {
  std::string line = "log " + std::to_string(priority) + " ";
  for (char c : text) line += c == '\n' ? std::string("\\n") : std::string(1, c);
  return line + "\n";
}

std::string opening(const chip_case &chip, outcome how) {
  if (how != NO_SOCKET) return "socket\n";
  return "socket!\n" +
         said(6, std::string(chip.name) + "_wl_config_sockets_open[" +
                     std::to_string(lines_of(chip).first_socket) + "]:socket failed:-1\n") +
         said(6, "socket create fail.\n");
}

std::string attempts(const chip_case &chip, uint32_t id, uint32_t value, outcome how) {
  if (how == NO_SOCKET) return "";
  char record[40];
  snprintf(record, sizeof record, "%u %02x%02x%02x%02x\n", id, value & 255, value >> 8 & 255,
           value >> 16 & 255, value >> 24);
  if (how == GOOD) return std::string("ioctl ") + record;
  const std::string name = std::string(chip.name) + "_wl_config_cmd_to_driver[";
  const channel_lines &lines = lines_of(chip);
  std::string text = std::string("ioctl! ") + record +
                     said(6, name + std::to_string(lines.ioctl) + "]:wl_config test: ioctl fail:ret -1\n") +
                     "sleep 10000\n";
  if (how == RETRIED) return text + "ioctl " + record;
  return text + "ioctl! " + record +
         said(6, name + std::to_string(lines.retry) + "]:wl_config test: retry ioctl fail:ret -1\n");
}

std::string direct(const chip_case &chip, uint32_t id, uint32_t value, outcome how) {
  return opening(chip, how) + attempts(chip, id, value, how) + (how == NO_SOCKET ? "" : "close\n");
}

std::string value_command(const chip_case &chip, uint32_t id, uint32_t value, outcome how) {
  return direct(chip, id, value, how) + (how == NO_SOCKET ? "" : "sleep 1000\n");
}

std::string interface_taken(const chip_case &chip, const std::string &line) {
  const std::string name = chip.name;
  return said(3, "wl_config_test:" + name + "_wl_config_disable_wifi enter\n") +
         "popen /system/bin/netcfg |grep wlan0\n" +
         said(4, name + "_run_cmd_by_stream:exec command:/system/bin/netcfg |grep wlan0") +
         said(3, name + "_is_wlan_up: " + line) + said(3, "wl_config_test:svc wifi disable\n") +
         "sh svc wifi disable = 0\nsleep 2000000\n";
}

std::string with_result(const std::string &text, outcome how) {
  std::string out;
  for (char c : text) out += c != '$' ? c : how == GOOD || how == RETRIED ? '1' : '0';
  return out;
}

void plan(uint32_t id, unsigned nth, outcome how) {
  if (how == GOOD) return;
  const std::string place = how == NO_SOCKET ? "socket" : "ioctl:" + std::to_string(id);
  const unsigned times = how == REFUSED ? 2 : 1;
  ASSERT_GE(phone_fault(place.c_str(), how == NO_SOCKET ? nth : 1, times, 0), 0);
}
