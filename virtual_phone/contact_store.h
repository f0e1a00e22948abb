// SPDX-License-Identifier: Apache-2.0
// Keeps contacts with a phone in memory that this process shares with the children it forks. Bounded: once a
// contact does not fit, the later ones are only counted.
#ifndef VIRTUAL_PHONE_CONTACT_STORE_H
#define VIRTUAL_PHONE_CONTACT_STORE_H

#include "phone.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include <sys/types.h>

namespace phone {

struct note {
  phone_event_kind kind;
  int64_t result = 0;
  int error = 0;
  std::array<int64_t, 3> number{};
  std::string_view name{}, text{}, data{};
  int64_t time_us = -1;  // -1: now
};

class contact_store {
public:
  /// Room for this many contacts, and for this many bytes of their names, texts and data. Memory is used as
  /// contacts come.
  contact_store(size_t most_contacts, size_t most_bytes);

  /// Keeps a contact of this process and returns its place, or at least `most_contacts` if it was dropped.
  size_t record(const note &what, int64_t time_us);
  /// Completes a contact whose result was unknown when it was recorded.
  void amend(size_t contact, int64_t result, int error);
  /// The same for the shell command that a child ran, once its exit status is known.
  void amend_exec(pid_t child, int64_t status);

  size_t count() const;
  /// The i-th contact; null past the last.
  const struct phone_event *at(size_t i) const;
  /// Contacts since the last clear that did not fit.
  size_t dropped() const;
  void clear();

  /// Gives this process an empty store of its own.
  void part();

private:
  struct counters;

  bool reserve(const note &what, size_t &contact, size_t &bytes);
  const char *keep(size_t &at, std::string_view bytes);

  size_t most_contacts_, most_bytes_;
  counters *counters_;
  struct phone_event *contacts_;
  char *bytes_;
};

}  // namespace phone

#endif
