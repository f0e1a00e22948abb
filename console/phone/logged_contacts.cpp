// SPDX-License-Identifier: Apache-2.0
#include "console/phone/logged_contacts.h"

#include "console/text/text.h"

#include <algorithm>
#include <iterator>
#include <unistd.h>

namespace console {
namespace {

/** The two clocks cannot be read at the same moment. */
constexpr int64_t clock_slack_us = 1000;

/** The log's daemon cuts an entry whose priority, tag and text exceed 4068 bytes. Texts near that may be cut.
 */
constexpr size_t least_cut = 4000;

bool same_text(std::string_view seen, const logcat_entry &e) {
  seen = trim_end(seen);
  auto logged = trim_end(e.text);
  bool cut = e.tag.size() + e.text.size() >= least_cut && seen.starts_with(logged);
  return cut || seen == logged;
}

bool shows(const contact &seen, const logcat_entry &e, int64_t ahead_us) {
  return seen.process == e.process && seen.number[0] == e.priority && seen.name == e.tag &&
         seen.time_us + ahead_us <= e.wall_us + clock_slack_us && same_text(seen.text, e);
}

}  // namespace

std::vector<int> library_processes(const contact_list &seen) {
  std::vector<int> all = {getpid()};
  for (auto *c : seen)
    if (c->kind == PHONE_FORK && c->result > 0) all.push_back(static_cast<int>(c->result));
  return all;
}

std::vector<logcat_entry> unseen_entries(const contact_list &seen, const std::vector<logcat_entry> &logged,
                                         const wall_span &call) {
  auto processes = library_processes(seen);
  contact_list rest;
  std::ranges::copy_if(seen, std::back_inserter(rest), [](auto *c) { return c->kind == PHONE_LOG; });
  std::vector<logcat_entry> unseen;
  for (auto &e : logged) {
    bool is_calls = e.wall_us >= call.start_us && e.wall_us <= call.end_us &&
                    std::ranges::find(processes, e.process) != processes.end();
    if (!is_calls) continue;
    auto same = std::ranges::find_if(rest, [&](auto *c) { return shows(*c, e, call.ahead_us); });
    if (same != rest.end())
      rest.erase(same);
    else
      unseen.push_back(e);
  }
  return unseen;
}

void logged_contacts::take(const std::vector<logcat_entry> &entries, int64_t ahead_us) {
  for (auto &entry : entries) {
    auto &e = texts.emplace_back(entry);
    contact c{};
    c.kind = PHONE_LOG;
    c.time_us = e.wall_us - ahead_us;
    c.result = static_cast<int64_t>(e.text.size());
    c.process = e.process;
    c.number[0] = e.priority;
    c.name = e.tag.c_str();
    c.text = e.text.c_str();
    contacts.push_back(c);
  }
  std::ranges::stable_sort(contacts, {}, &contact::time_us);
}

void logged_contacts::clear() {
  contacts.clear();
  texts.clear();
}

contact_list logged_contacts::merged_into(const contact_list &seen) const {
  contact_list all;
  auto next = contacts.begin();
  for (auto *c : seen) {
    for (; next != contacts.end() && next->time_us < c->time_us; ++next) all.push_back(&*next);
    all.push_back(c);
  }
  for (; next != contacts.end(); ++next) all.push_back(&*next);
  return all;
}

}  // namespace console
