// SPDX-License-Identifier: Apache-2.0
// The weld test logs the wake-up IO test before it takes wlan0 down for it.
#include "chips/vq2040a/profile.h"
#include "common/log.h"

namespace orva {

namespace {

bool announce_wakeup_io(const chip &chip, uint32_t, const char *) {
  LOG_DEBUG(chip, "%s_wl_config_wkup_io_test begin!\n", chip.name);
  return true;
}

}  // namespace

const weld_step vq2040a_announce_wakeup_io = {announce_wakeup_io, nullptr};

}  // namespace orva
