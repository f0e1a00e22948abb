// SPDX-License-Identifier: Apache-2.0
// The plan is made before a child exists, so only the count of contacts used is shared with children.
#include "script.h"

#include "shared_memory.h"

#include <array>
#include <atomic>
#include <deque>
#include <string>

using namespace phone;

namespace {

constexpr size_t kinds = PHONE_EVENT_KINDS;

struct planned {
  std::string name, text, data;
  struct phone_event event;
};

/// Made at the first call: the phone clears the plan before this file's variables are initialised.
std::deque<planned> &plan(size_t kind) {
  static std::array<std::deque<planned>, kinds> all;
  return all[kind];
}

std::atomic<size_t> &used(size_t kind) {
  static auto *const shared =
      static_cast<std::atomic<size_t> *>(map_shared(kinds * sizeof(std::atomic<size_t>)));
  return shared[kind];
}

}  // namespace

const struct phone_event *phone_scripted(enum phone_event_kind kind) {
  auto &line = plan(kind);
  if (line.empty()) return nullptr;
  size_t at = used(kind)++;
  return at < line.size() ? &line[at].event : nullptr;
}

void phone_script(const struct phone_event *event) {
  if (static_cast<size_t>(event->kind) >= kinds) return;
  auto &kept =
      plan(event->kind)
          .emplace_back(planned{
              event->name, event->text,
              event->size ? std::string(static_cast<const char *>(event->data), event->size) : "", *event});
  kept.event.name = kept.name.c_str();
  kept.event.text = kept.text.c_str();
  kept.event.data = kept.data.data();
}

void phone_script_clear(void) {
  for (size_t kind = 0; kind < kinds; kind++) {
    if (!plan(kind).empty()) used(kind) = 0;
    plan(kind).clear();
  }
}
