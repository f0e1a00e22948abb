// SPDX-License-Identifier: Apache-2.0
// The unit's RF as the rest of the virtual phone uses it. Without a unit and a cable nothing here has any
// effect.
#ifndef VIRTUAL_PHONE_RF_RF_H
#define VIRTUAL_PHONE_RF_RF_H

#include "../radio_chips.h"
#include "cable.h"
#include "calibration.h"
#include "random.h"

#include <string>

namespace phone::rf {

/// How the receiver is set.
struct reception {
  bool on;
  tuning at;
  milli loss_db;  ///< between antenna and chip, beyond the design's
};

/// What the RF keeps in the phone's shared state.
struct rf_state {
  loaded_calibration loaded;
  bool must_load;  ///< the driver has come up and has not read NV yet
  random_stream losses;
  cable_end cable;
  reception before;    ///< as it was when the test set was last asked
  int32_t last_level;  ///< reported for the last packet, or for noise
};

/// A phone that was just switched on, without a cable.
void switch_on();

/// The driver came up, and reads its calibration from NV. It does so no later than at its first transmission
/// or the next change of NV, always in the process that has the store: the interface is taken up in a forked
/// one.
void driver_came_up();
void before_nv_changes();

/// Call after anything but a driver command that may change what the radio sends or receives.
void radio_changed();
/// Call around each driver command.
void before_command(enum radio_cmd command);
void after_command(enum radio_cmd command);

/// What leaves the antenna, as the cable carries it (docs/reference/cable.md); "null" for nothing.
std::string emission_text();

/// Plugs a cable, or unplugs for "". Returns "" or what is wrong; then the cable that there was is plugged
/// again.
std::string plug(const std::string &address);
/// In a forked child that goes on with a phone of its own: the cable stays with the parent.
void part();

}  // namespace phone::rf

#endif
