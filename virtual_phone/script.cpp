// Planned outcomes. The plan is written before any child exists; only how far it is used is shared with
// children.
#include "script.h"

#include "state.h"

#include <deque>
#include <string>

#include <sys/mman.h>

namespace phone {
namespace {

constexpr size_t kinds = PHONE_SECURE + 1;

struct planned {
  std::string name, text, data;
  struct phone_event event;
};

/// Made when first asked for: the phone clears it before this file's variables are.
std::deque<planned> &plan(size_t kind) {
  static std::array<std::deque<planned>, kinds> all;
  return all[kind];
}

std::atomic<size_t> *places() {
  static auto *const shared =
      static_cast<std::atomic<size_t> *>(mmap(nullptr, kinds * sizeof(std::atomic<size_t>),
                                              PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  return shared;
}

}  // namespace

const struct phone_event *scripted(phone_event_kind kind) {
  auto &line = plan(kind);
  if (line.empty()) return nullptr;
  size_t at = places()[kind]++;
  return at < line.size() ? &line[at].event : nullptr;
}

}  // namespace phone

using namespace phone;

void phone_script(const struct phone_event *event) {
  if (places() == MAP_FAILED || static_cast<size_t>(event->kind) >= kinds) return;
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
    if (!plan(kind).empty()) places()[kind] = 0;
    plan(kind).clear();
  }
}
