// SPDX-License-Identifier: Apache-2.0
#include "state.h"

#include "shared_memory.h"

#include <new>

namespace phone {

shared_state &state() {
  static auto *const shared = new (map_shared(sizeof(shared_state))) shared_state;
  return *shared;
}

void part_state() { part_shared(&state(), sizeof(shared_state)); }

}  // namespace phone
