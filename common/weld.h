// SPDX-License-Identifier: Apache-2.0
// The weld test: checks the chip's solder joints.
#ifndef ORVA_WELD_H
#define ORVA_WELD_H

#include "common/chip.h"

namespace orva {

/// Disables Wi-Fi, brings wlan0 up and runs the chip's steps. @return whether all passed; test mode is then
/// off.
uint32_t wifi_test_weld(const chip &chip);

extern const weld_step weld_dbb, weld_efuse, weld_pin, weld_wakeup_io, weld_pcie;
extern const weld_step weld_interface_down, weld_close;

}  // namespace orva

#endif
