// SPDX-License-Identifier: Apache-2.0
/* The phone plays a recording: only the virtual phone can. */
#ifndef CONSOLE_PLAYER_H
#define CONSOLE_PLAYER_H

#include "console/record/recording.h"

namespace console::player {

bool available();
/** From here on failures of the bounds-checked functions count as contacts. */
void watch_all();
/** The coming call meets a phone that answers as it did then. */
void plan(const recorded_call &call);

}  // namespace console::player

#endif
