// SPDX-License-Identifier: Apache-2.0
// A fixed-size row per event, and a heap of bytes that only grows until the trace is cleared. Both mappings
// are large and cost only the pages that are touched.
#include "trace.h"

#include "faults.h"
#include "shared_memory.h"
#include "state.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>

#include <sys/mman.h>
#include <unistd.h>

namespace phone {
namespace {

constexpr size_t max_events = size_t{1} << 22;
constexpr size_t max_bytes = size_t{1} << 30;
constexpr size_t worth_returning = size_t{16} << 20;

struct trace_memory {
  std::atomic<size_t> count, used;
  struct phone_event *events;
  char *bytes;
};

trace_memory &memory() {
  static trace_memory *const mapped = [] {
    auto *trace = new (map_shared(sizeof(trace_memory))) trace_memory;
    trace->events = static_cast<struct phone_event *>(map_shared(max_events * sizeof(struct phone_event)));
    trace->bytes = static_cast<char *>(map_shared(max_bytes));
    return trace;
  }();
  return *mapped;
}

const char *keep(trace_memory &trace, std::string_view bytes) {
  if (bytes.empty()) return "";
  size_t room = (bytes.size() + 1 + 15) & ~size_t{15};
  size_t at = trace.used.fetch_add(room);
  if (at + room > max_bytes) return "";
  memcpy(trace.bytes + at, bytes.data(), bytes.size());
  trace.bytes[at + bytes.size()] = 0;
  return trace.bytes + at;
}

void return_pages(void *start, size_t used) {
  if (used > worth_returning) madvise(start, used & ~size_t{4095}, MADV_REMOVE);
}

}  // namespace

size_t record(const note &what) {
  auto &trace = memory();
  size_t at = trace.count.fetch_add(1);
  if (at >= max_events) return at;
  struct phone_event &event = trace.events[at];
  event.kind = what.kind;
  event.time_us = what.time_us < 0 ? phone_now_us() : what.time_us;
  event.result = what.result;
  event.error = what.error;
  event.process = getpid();
  for (size_t i = 0; i < what.number.size(); i++) event.number[i] = what.number[i];
  event.name = keep(trace, what.name);
  event.text = keep(trace, what.text);
  event.data = keep(trace, what.data);
  event.size = what.data.size();
  return at;
}

void amend(size_t event, int64_t result, int error) {
  if (event >= max_events) return;
  memory().events[event].result = result;
  memory().events[event].error = error;
}

void part_trace() {
  auto &trace = memory();
  part_shared(&trace, sizeof(trace));
  map_shared(max_events * sizeof(struct phone_event), trace.events);
  map_shared(max_bytes, trace.bytes);
  trace.count = 0;
  trace.used = 0;
}

}  // namespace phone

using namespace phone;

size_t phone_event_count(void) { return std::min(memory().count.load(), max_events); }

const struct phone_event *phone_event(size_t i) {
  return i < phone_event_count() ? &memory().events[i] : nullptr;
}

void phone_events_clear(void) {
  auto &trace = memory();
  return_pages(trace.events, phone_event_count() * sizeof(struct phone_event));
  return_pages(trace.bytes, std::min(trace.used.load(), max_bytes));
  trace.count = 0;
  trace.used = 0;
  clear_uses();
}

void phone_trace_secure(int on) { state().trace_secure = on; }
