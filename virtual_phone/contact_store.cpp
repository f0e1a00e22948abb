// SPDX-License-Identifier: Apache-2.0
// A fixed-size row per contact, and a heap of bytes that only grows until the store is cleared. Both mappings
// cost only the pages that are touched.
#include "contact_store.h"

#include "shared_memory.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <new>

#include <sys/mman.h>
#include <unistd.h>

namespace phone {
namespace {

constexpr size_t worth_returning = size_t{16} << 20;

/// Room for a text with its end; nothing for an empty one.
size_t room_for(std::string_view bytes) { return bytes.empty() ? 0 : (bytes.size() + 1 + 15) & ~size_t{15}; }

void return_pages(void *start, size_t used) {
  if (used > worth_returning) madvise(start, used & ~size_t{4095}, MADV_REMOVE);
}

}  // namespace

struct contact_store::counters {
  std::atomic<size_t> contacts, bytes, dropped;
};

contact_store::contact_store(size_t most_contacts, size_t most_bytes)
    : most_contacts_(most_contacts), most_bytes_(most_bytes),
      counters_(new (map_shared(sizeof(counters))) counters),
      contacts_(static_cast<struct phone_event *>(map_shared(most_contacts * sizeof(struct phone_event)))),
      bytes_(static_cast<char *>(map_shared(most_bytes))) {}

/// A contact without room for its data is dropped as a whole, and so are all after it: what is kept has no
/// gaps.
bool contact_store::reserve(const note &what, size_t &contact, size_t &bytes) {
  size_t room = room_for(what.name) + room_for(what.text) + room_for(what.data);
  bool fits = counters_->dropped == 0;
  if (fits) {
    bytes = room == 0 ? 0 : counters_->bytes.fetch_add(room);
    fits = bytes + room <= most_bytes_;
  }
  if (fits) {
    contact = counters_->contacts.fetch_add(1);
    fits = contact < most_contacts_;
  }
  if (!fits) counters_->dropped++;
  return fits;
}

const char *contact_store::keep(size_t &at, std::string_view bytes) {
  if (bytes.empty()) return "";
  char *kept = bytes_ + at;
  memcpy(kept, bytes.data(), bytes.size());
  kept[bytes.size()] = 0;
  at += room_for(bytes);
  return kept;
}

size_t contact_store::record(const note &what, int64_t time_us) {
  size_t at = most_contacts_, bytes = 0;
  if (!reserve(what, at, bytes)) return most_contacts_;
  struct phone_event &event = contacts_[at];
  event.kind = what.kind;
  event.time_us = time_us;
  event.result = what.result;
  event.error = what.error;
  event.process = getpid();
  for (size_t i = 0; i < what.number.size(); i++) event.number[i] = what.number[i];
  event.name = keep(bytes, what.name);
  event.text = keep(bytes, what.text);
  event.data = keep(bytes, what.data);
  event.size = what.data.size();
  return at;
}

void contact_store::amend(size_t contact, int64_t result, int error) {
  if (contact >= most_contacts_) return;
  contacts_[contact].result = result;
  contacts_[contact].error = error;
}

void contact_store::amend_exec(pid_t child, int64_t status) {
  for (size_t i = count(); i-- > 0;) {
    struct phone_event &event = contacts_[i];
    if (event.kind != PHONE_EXEC || event.process != child) continue;
    if (event.error == 0) event.result = status;
    return;
  }
}

size_t contact_store::count() const { return std::min(counters_->contacts.load(), most_contacts_); }

const struct phone_event *contact_store::at(size_t i) const { return i < count() ? &contacts_[i] : nullptr; }

size_t contact_store::dropped() const { return counters_->dropped; }

void contact_store::clear() {
  return_pages(contacts_, count() * sizeof(struct phone_event));
  return_pages(bytes_, std::min(counters_->bytes.load(), most_bytes_));
  counters_->contacts = 0;
  counters_->bytes = 0;
  counters_->dropped = 0;
}

void contact_store::part() {
  part_shared(counters_, sizeof(counters));
  map_shared(most_contacts_ * sizeof(struct phone_event), contacts_);
  map_shared(most_bytes_, bytes_);
  counters_->contacts = 0;
  counters_->bytes = 0;
  counters_->dropped = 0;
}

}  // namespace phone
