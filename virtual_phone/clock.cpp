// SPDX-License-Identifier: Apache-2.0
#include "clock.h"

#include "phone.h"
#include "radio_driver.h"
#include "state.h"

#include <time.h>

namespace phone {
namespace {

int64_t clock_us(clockid_t clock) {
  timespec now{};
  clock_gettime(clock, &now);
  return now.tv_sec * int64_t{1000000} + now.tv_nsec / 1000;
}

}  // namespace

void reset_clock() {
  auto &shared = state();
  shared.clock = PHONE_CLOCK_VIRTUAL;
  shared.virtual_us = 0;
  shared.origin_us = clock_us(CLOCK_MONOTONIC);
  shared.wall_origin_us = clock_us(CLOCK_REALTIME);
}

bool sleep_virtually(int64_t us) {
  if (state().clock != PHONE_CLOCK_VIRTUAL) return false;
  state().virtual_us += us;
  return true;
}

struct radio &radio_now() {
  auto &radio = state().radio;
  radio_advance(&radio, static_cast<uint64_t>(phone_now_us()));
  return radio;
}

}  // namespace phone

using namespace phone;

void phone_set_clock(enum phone_clock clock) { state().clock = clock; }

int64_t phone_now_us(void) {
  auto &shared = state();
  return shared.clock == PHONE_CLOCK_VIRTUAL ? shared.virtual_us.load()
                                             : clock_us(CLOCK_MONOTONIC) - shared.origin_us;
}
