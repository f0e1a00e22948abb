#include "console/record/player.h"

namespace station::player {

bool available() { return false; }
void watch_all() {}
void plan(const recorded_call &) {}

}  // namespace station::player
