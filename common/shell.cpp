// SPDX-License-Identifier: Apache-2.0
#include "common/shell.h"

#include <errno.h>
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

#include "common/log.h"

namespace orva {

namespace {

constexpr uint32_t OUTPUT_SIZE = 2048;
constexpr uint32_t BOOT_UP_PAUSE_S = 2;

int32_t wait_for(const chip &chip, pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno == EINTR) continue;
    LOG_ERROR(chip, "%s_system_call: execute error, %s\n", chip.name, strerror(errno));
    return -1;
  }
  return status;
}

bool names_running_wlan0(const char *line) {
  return strstr(line, "wlan0") != nullptr && strstr(line, "UP") != nullptr;
}

bool is_wlan_up(const chip &chip, char *output) {
  char *rest = nullptr;
  for (const char *line = strtok_r(output, "\n", &rest); line != nullptr;
       line = strtok_r(nullptr, "\n", &rest)) {
    LOG_DEBUG(chip, "%s_is_wlan_up: %s", chip.name, line);
    if (names_running_wlan0(line)) return true;
  }
  return false;
}

}  // namespace

int32_t system_call(const chip &chip, const char *command) {
  if (command == nullptr) return 1;
  const pid_t child = fork();
  if (child < 0) return -1;
  if (child == 0) {
    execl("/system/bin/sh", "sh", "-c", command, static_cast<char *>(nullptr));
    _exit(127);
  }
  return wait_for(chip, child);
}

bool run_cmd_by_stream(const chip &chip, const char *command, char *output, uint32_t size) {
  FILE *stream = popen(command, "r");
  if (stream == nullptr) {
    LOG_ERROR(chip, "%s_run_cmd_by_stream: stream is null\n", chip.name);
    return false;
  }
  LOG_INFO(chip, "%s_run_cmd_by_stream:exec command:%s", chip.name, command);
  const size_t count = fread(output, 1, size == 0 ? 0 : size - 1, stream);
  if (count == 0) LOG_ERROR(chip, "%s_run_cmd_by_stream: fread fail\n", chip.name);
  pclose(stream);
  return count > 0;
}

void wl_config_disable_wifi(const chip &chip) {
  LOG_DEBUG(chip, "wl_config_test:%s_wl_config_disable_wifi enter\n", chip.name);
  char output[OUTPUT_SIZE] = {};
  const bool ran = run_cmd_by_stream(chip, "/system/bin/netcfg |grep wlan0", output, OUTPUT_SIZE);
  output[OUTPUT_SIZE - 1] = '\0';
  if (!ran || !is_wlan_up(chip, output)) {
    LOG_INFO(chip, "wlan0 is not up, go through");
    return;
  }
  LOG_DEBUG(chip, "wl_config_test:svc wifi disable\n");
  if (system_call(chip, "svc wifi disable") != 0) LOG_ERROR(chip, "svc wifi disable failed.\n");
  sleep(2);
}

bool boot_up(const chip &chip, const char *function, uint32_t pause_s) {
  if (system_call(chip, "ifconfig wlan0 up") == 0) return true;
  // The message says 5 s although the pauses total less, and the ones below name the weld test whoever calls:
  // the station matches these texts.
  LOG_DEBUG(chip, "wl_config_test:%s_%s:ifconfig wlan0 up failed, wait 5s, and retry again.\n", chip.name,
            function);
  sleep(pause_s);
  if (system_call(chip, "ifconfig wlan0 down") != 0) {
    LOG_DEBUG(chip, "wl_config_test:wifi_test_weld:wifi down failed. continue.\n");
  }
  sleep(pause_s);
  if (system_call(chip, "ifconfig wlan0 up") == 0) return true;
  LOG_ERROR(chip, "wifi_test_weld:wifi boot up failed.\n");
  return false;
}

bool try_to_boot_up(const chip &chip) { return boot_up(chip, "try_to_boot_up", BOOT_UP_PAUSE_S); }

}  // namespace orva
