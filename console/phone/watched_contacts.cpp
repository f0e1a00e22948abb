// SPDX-License-Identifier: Apache-2.0
#include "console/phone/watched_contacts.h"

#include "console/phone/bounded_run.h"
#include "console/phone/logcat.h"
#include "console/phone/logged_contacts.h"
#include "console/phone/phone_link.h"
#include "virtual_phone/log_line.h"
#include "watcher/watcher.h"

#include <algorithm>
#include <fmt/format.h>
#include <time.h>
#include <utility>

namespace console {

/** Far more than any call of the library makes. */
constexpr size_t most_contacts = size_t{1} << 16, most_bytes = size_t{1} << 24;

/** For one run of logcat. */
constexpr run_limits most_of_logcat = {std::chrono::seconds(2), size_t{1} << 24};

namespace {

/** What the phone's log adds to the watched contacts. */
struct {
  phone_link::log_reading when = phone_link::log_reading::never;
  bool remarked = false;
  int least_printed = 0;
  int64_t call_start_us = 0; /**< since 1970 */
  logged_contacts lines;
} from_log;

int64_t wall_us() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return now.tv_sec * int64_t{1'000'000} + now.tv_nsec / 1000;
}

contact_list watched() {
  contact_list all;
  for (size_t i = 0; i < watcher_count(); ++i) all.push_back(watcher_contact(i));
  return all;
}

bool is_wanted(const contact_list &seen) {
  using enum phone_link::log_reading;
  if (from_log.when != missing) return from_log.when == always;
  return std::ranges::none_of(seen, [](auto *c) { return c->kind == PHONE_LOG; });
}

std::string remark_on(const bounded_output &done, const std::string &unknown) {
  auto printed = unknown.substr(0, 200);
  if (done.trouble.empty())
    return fmt::format("logcat printed a line that is not understood: \"{}\". Log lines may be missing",
                       printed);
  return fmt::format(
      "the phone's log cannot be read, log lines may be missing from here on: logcat: {}{}. It takes logcat in PATH, "
      "a user of the group log, and a domain that may read logd",
      done.trouble, printed.empty() ? "" : fmt::format("; it printed \"{}\"", printed));
}

void print(const std::vector<logcat_entry> &lines) {
  for (auto &e : lines)
    if (from_log.least_printed && e.priority >= from_log.least_printed)
      phone::print_log(e.wall_us, e.priority, e.tag.c_str(), e.text, {e.process, e.thread});
}

}  // namespace

void begin_watching() {
  [[maybe_unused]] static const bool opened = (watcher_open(most_contacts, most_bytes), true);
  watcher_use_clock(phone_link::now_us);
  clear_watched();
  watcher_watch(1);
}

void clear_watched() {
  watcher_clear();
  from_log.lines.clear();
  from_log.call_start_us = wall_us();
}

void print_watched_log(int least_priority) {
  from_log.least_printed = least_priority;
  watcher_print_log(least_priority);
}

unwatched::unwatched() : before(watcher_watch(0)) {}
unwatched::~unwatched() { watcher_watch(before); }

namespace phone_link {

std::vector<const contact *> contacts() { return from_log.lines.merged_into(watched()); }

size_t contacts_dropped() { return watcher_dropped(); }

void read_log(log_reading when) {
  from_log.when = when;
  from_log.remarked = false;
}

/**
 * A child has its own process id, so after a fork the entries of all processes are asked for. A logcat that
 * failed is not run again: each further call would take as long.
 */
std::string complete_log() {
  auto seen = watched();
  if (!is_wanted(seen)) return "";
  unwatched here;
  auto now = wall_us();
  wall_span call = {from_log.call_start_us, now, now - now_us()};
  auto processes = library_processes(seen);
  auto done =
      run_bounded(logcat_words(call.start_us, processes.size() == 1 ? processes[0] : 0), most_of_logcat);
  auto found = parse_logcat(done.text);
  auto unseen = unseen_entries(seen, found.entries, call);
  from_log.lines.take(unseen, call.ahead_us);
  print(unseen);
  if (!done.trouble.empty()) from_log.when = log_reading::never;
  bool failed = !done.trouble.empty() || !found.unknown.empty();
  return failed && !std::exchange(from_log.remarked, true) ? remark_on(done, found.unknown) : "";
}

/** Bounds-checked functions only touch the caller's memory, and the variadic ones cannot be passed on. */
std::vector<std::string> unseen_kinds() { return {phone_event_word(PHONE_SECURE, nullptr, nullptr)}; }

std::vector<std::string> missing_functions() {
  std::vector<std::string> all;
  while (auto *name = watcher_missing(all.size())) all.emplace_back(name);
  return all;
}

}  // namespace phone_link
}  // namespace console
