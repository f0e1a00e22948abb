// SPDX-License-Identifier: Apache-2.0
// The weld test: are the chip's solder joints sound?
#ifndef ORVA_WELD_H
#define ORVA_WELD_H

#include "common/chip.h"

namespace orva {

/// Restarts wlan0 and runs the chip's weld steps. @return whether all passed; only then test mode is off.
bool wifi_test_weld(const chip &chip);

// The steps, for the chips' sequences.
extern const weld_step weld_dbb, weld_efuse, weld_pin, weld_wakeup_io, weld_pcie;
extern const weld_step weld_announce_wakeup_io, weld_interface_down, weld_close;

}  // namespace orva

#endif
