/* The phone plays a recording: only the virtual phone can. */
#ifndef STATION_PLAYER_H
#define STATION_PLAYER_H

#include "console/record/recording.h"

namespace station::player {

bool available();
/** From here on failures of the bounds-checked functions count as contacts. */
void watch_all();
/** The coming call meets a phone that answers as it did then. */
void plan(const recorded_call &call);

}  // namespace station::player

#endif
