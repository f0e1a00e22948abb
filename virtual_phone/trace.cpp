// SPDX-License-Identifier: Apache-2.0
#include "trace.h"

#include "faults.h"
#include "state.h"

namespace phone {
namespace {

constexpr size_t max_events = size_t{1} << 22;
constexpr size_t max_bytes = size_t{1} << 30;

contact_store &trace() {
  static contact_store store(max_events, max_bytes);
  return store;
}

}  // namespace

size_t record(const note &what) {
  return trace().record(what, what.time_us < 0 ? phone_now_us() : what.time_us);
}

void amend(size_t event, int64_t result, int error) { trace().amend(event, result, error); }

void part_trace() { trace().part(); }

}  // namespace phone

using namespace phone;

size_t phone_event_count(void) { return trace().count(); }
size_t phone_events_dropped(void) { return trace().dropped(); }
const struct phone_event *phone_event(size_t i) { return trace().at(i); }

void phone_events_clear(void) {
  trace().clear();
  clear_uses();
}

void phone_trace_secure(int on) { state().trace_secure = on; }
