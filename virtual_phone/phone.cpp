// SPDX-License-Identifier: Apache-2.0
// The phone as a whole: reset, parting from a parent process, and what belongs to no other part.
#include "phone.h"

#include "clock.h"
#include "faults.h"
#include "given.h"
#include "keys.h"
#include "nv.h"
#include "radio_driver.h"
#include "radio_keys.h"
#include "script.h"
#include "state.h"
#include "trace.h"

#include "platform/platform.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

using namespace phone;

void phone_reset(void) {
  auto &shared = state();
  radio_init(&shared.radio);
  default_config(shared.config);
  reset_clock();
  rf::switch_on();
  shared.print_log = 0;
  shared.trace_secure = 0;
  phone_events_clear();
  reset_faults();
  phone_script_clear();
  reset_nv();
  forget_all_given();
}

void phone_part(void) {
  part_state();
  rf::part();
  part_trace();
  part_nv();
}

int phone_driver_answer(uint32_t command, const void *bytes, size_t size) {
  return radio_answer(&state().radio, command, bytes, size) == 0 ? 0 : -1;
}

void phone_driver_answers_clear(void) { radio_answers_clear(&state().radio); }

int phone_interface_up(void) { return state().radio.driver_loaded && state().radio.up; }

unsigned phone_left_open(void) { return count_given(); }

uint32_t get_orva_connectivity_subchip(void) {
  auto &shared = state();
  use(fn_subchip);
  auto *plan = phone_scripted(PHONE_SUBCHIP);
  int64_t index = plan                        ? plan->result
                  : shared.config.subchip < 0 ? int64_t{shared.radio.chip}
                                              : shared.config.subchip;
  record({.kind = PHONE_SUBCHIP, .result = index});
  return static_cast<uint32_t>(index);
}

namespace {

// The phone is ready when the library is loaded; the environment may name a description.
__attribute__((constructor)) void start() {
  phone_reset();
  const char *description = getenv("ORVA_PHONE");
  char error[512];
  if (!description || phone_load(description, error, sizeof(error)) == 0) return;
  fprintf(stderr, "ORVA_PHONE: %s\n", error);
  _exit(2);
}

}  // namespace
