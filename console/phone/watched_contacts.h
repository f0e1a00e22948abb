// SPDX-License-Identifier: Apache-2.0
// The contacts with a phone that is not the virtual one, as the watcher sees them. Implements what
// phone_link.h says of contacts, but clear_contacts.
#ifndef CONSOLE_WATCHED_CONTACTS_H
#define CONSOLE_WATCHED_CONTACTS_H

namespace console {

/** Begins to watch this thread, with no contacts yet. */
void begin_watching();

/** While it exists, this thread uses the phone without being watched. */
class unwatched {
public:
  unwatched();
  unwatched(const unwatched &) = delete;
  unwatched &operator=(const unwatched &) = delete;
  ~unwatched();

private:
  int before;
};

}  // namespace console

#endif
