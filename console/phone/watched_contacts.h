// SPDX-License-Identifier: Apache-2.0
// The contacts with a phone that is not the virtual one, as the watcher sees them. Implements what
// phone_link.h says of contacts and of the phone's log, but clear_contacts and print_log.
#ifndef CONSOLE_WATCHED_CONTACTS_H
#define CONSOLE_WATCHED_CONTACTS_H

namespace console {

/** Begins to watch this thread, with no contacts yet. */
void begin_watching();

/** Forgets the contacts so far. A call begins. */
void clear_watched();

/** Prints the library's log lines of at least this priority to stderr; 0: none. */
void print_watched_log(int least_priority);

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
