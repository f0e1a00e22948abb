// SPDX-License-Identifier: Apache-2.0
// The steps that transmit and receive starts share.
#ifndef ORVA_START_STEPS_H
#define ORVA_START_STEPS_H

#include "common/chip.h"

namespace orva {

/// Runs a start's steps up to the first refused one, which is logged. @return whether all were accepted.
bool run_steps(const chip &chip, const list<const start_step *> &steps);

/// Switches transmit or receive on, then pauses as the chip requires. @return whether the driver accepted it.
bool switch_on(const chip &chip, uint32_t command);

/// Each sends one recorded setting. @return whether the driver accepted it.
bool send_power_save_off(const chip &chip);
bool send_mode(const chip &chip);
bool send_bandwidth(const chip &chip);
bool send_channel(const chip &chip);
bool send_chain(const chip &chip);

}  // namespace orva

#endif
