// SPDX-License-Identifier: Apache-2.0
// The power test is switched through a debug node instead of a driver command.
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "chips/vq2040/profile.h"
#include "common/log.h"
#include "common/shell.h"
#include "include/vq2040.h"

using namespace orva;

namespace {

/// Writes the test node. @return 0, or -1 if it cannot be opened.
int32_t vq2040_hw_pull_wifi_enable_gpio(const char *text, uint32_t length) {
  static const char path[] = "/sys/vq20x0_debug/bfgx_test";
  const int node = open(path, O_WRONLY);
  if (node < 0) {
    LOG_ERROR(vq2040, "%s open failed, error: %s", path, strerror(errno));
    return -1;
  }
  // A short write is not an error: the station checks the chip, not the count.
  [[maybe_unused]] const ssize_t count = write(node, text, length);
  close(node);
  return 0;
}

}  // namespace

uint32_t vq2040_wifi_pt_power_test(int32_t mode) {
  wl_config_disable_wifi(vq2040);
  return vq2040_hw_pull_wifi_enable_gpio(mode != 0 ? "4" : "5", 1) == 0;
}
