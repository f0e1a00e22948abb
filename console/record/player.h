// SPDX-License-Identifier: Apache-2.0
// Makes the virtual phone answer as recorded. Other phones cannot.
#ifndef CONSOLE_PLAYER_H
#define CONSOLE_PLAYER_H

#include "console/record/recording.h"

namespace console::player {

bool available();
/** Counts failures of bounds-checked functions as contacts from now on. */
void watch_all();
/** Prepares the phone's answers for the next call. */
void plan(const recorded_call &call);

}  // namespace console::player

#endif
