// SPDX-License-Identifier: Apache-2.0
// Joins what was seen of a call with what the phone's log has of it.
#ifndef CONSOLE_LOGGED_CONTACTS_H
#define CONSOLE_LOGGED_CONTACTS_H

#include "console/phone/logcat.h"
#include "console/phone/phone_link.h"

#include <deque>
#include <string>
#include <vector>

namespace console {

using contact_list = std::vector<const contact *>;

/** When a call was made, on the clock of the log. */
struct wall_span {
  int64_t start_us, end_us;
  int64_t ahead_us; /**< of the phone's clock, which dates contacts */
};

/** This process and the children that it forked in these contacts. */
std::vector<int> library_processes(const contact_list &seen);

/**
 * The entries of the call by these processes, without those that the contacts show already. One log line of a
 * contact accounts for one entry.
 */
std::vector<logcat_entry> unseen_entries(const contact_list &seen, const std::vector<logcat_entry> &logged,
                                         const wall_span &call);

/** Entries as contacts. They stay where they are until clear. */
class logged_contacts {
public:
  void take(const std::vector<logcat_entry> &entries, int64_t ahead_us);
  void clear();
  /** All contacts. Those given keep their order; an entry comes before the first that began later. */
  contact_list merged_into(const contact_list &seen) const;

private:
  std::deque<logcat_entry> texts;
  std::deque<contact> contacts;
};

}  // namespace console

#endif
