// SPDX-License-Identifier: Apache-2.0
#include "console/phone/watched_contacts.h"

#include "console/phone/phone_link.h"
#include "watcher/watcher.h"

namespace console {

/** Far more than any call of the library makes. */
constexpr size_t most_contacts = size_t{1} << 16, most_bytes = size_t{1} << 24;

void begin_watching() {
  [[maybe_unused]] static const bool opened = (watcher_open(most_contacts, most_bytes), true);
  watcher_use_clock(phone_link::now_us);
  watcher_clear();
  watcher_watch(1);
}

unwatched::unwatched() : before(watcher_watch(0)) {}
unwatched::~unwatched() { watcher_watch(before); }

namespace phone_link {

std::vector<const contact *> contacts() {
  std::vector<const contact *> all;
  for (size_t i = 0; i < watcher_count(); ++i) all.push_back(watcher_contact(i));
  return all;
}

size_t contacts_dropped() { return watcher_dropped(); }

/** Bounds-checked functions only touch the caller's memory, and the variadic ones cannot be passed on. */
std::vector<std::string> unseen_kinds() { return {phone_event_word(PHONE_SECURE, nullptr, nullptr)}; }

std::vector<std::string> missing_functions() {
  std::vector<std::string> all;
  while (auto *name = watcher_missing(all.size())) all.emplace_back(name);
  return all;
}

}  // namespace phone_link
}  // namespace console
