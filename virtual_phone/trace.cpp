// Every contact with the phone, kept in memory shared with children: a fixed-size row per event, and a heap
// of bytes that only grows until the trace is cleared. The mappings are large and cost only what is touched.
#include "state.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
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
  shared_state shared;
  std::atomic<size_t> count, used;
  struct phone_event *events;
  char *bytes;
};

/// Fresh memory for this process and its children; in place of what is at `at`, where that is not null.
void *map_shared(size_t size, void *at = nullptr) {
  int flags = MAP_SHARED | MAP_ANONYMOUS | MAP_NORESERVE | (at ? MAP_FIXED : 0);
  void *memory = mmap(at, size, PROT_READ | PROT_WRITE, flags, -1, 0);
  if (memory == MAP_FAILED) {
    perror("virtual phone: no memory for its state");
    _exit(2);
  }
  madvise(memory, size, MADV_DONTDUMP);
  return memory;
}

trace_memory &memory() {
  static trace_memory *const mapped = [] {
    auto *trace = new (map_shared(sizeof(trace_memory))) trace_memory;
    trace->events = static_cast<struct phone_event *>(map_shared(max_events * sizeof(struct phone_event)));
    trace->bytes = static_cast<char *>(map_shared(max_bytes));
    return trace;
  }();
  return *mapped;
}

/// The same bytes at the same place, seen by this process and its children only.
void part(void *start, size_t size) {
  std::string bytes(static_cast<char *>(start), size);
  memcpy(map_shared(size, start), bytes.data(), size);
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

shared_state &state() { return memory().shared; }

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

}  // namespace phone

size_t phone_event_count(void) {
  size_t count = phone::memory().count;
  return count < phone::max_events ? count : phone::max_events;
}

const struct phone_event *phone_event(size_t i) {
  return i < phone_event_count() ? &phone::memory().events[i] : nullptr;
}

void phone_part(void) {
  auto &trace = phone::memory();
  phone::part(&trace, sizeof trace);
  phone::map_shared(phone::max_events * sizeof(struct phone_event), trace.events);
  phone::map_shared(phone::max_bytes, trace.bytes);
  trace.count = 0;
  trace.used = 0;
  phone::part_nv();
}

void phone_events_clear(void) {
  auto &trace = phone::memory();
  phone::return_pages(trace.events, phone_event_count() * sizeof(struct phone_event));
  phone::return_pages(trace.bytes, std::min(trace.used.load(), phone::max_bytes));
  trace.count = 0;
  trace.used = 0;
  for (auto &uses : trace.shared.uses) uses = 0;
}

void phone_trace_secure(int on) { phone::state().trace_secure = on; }
