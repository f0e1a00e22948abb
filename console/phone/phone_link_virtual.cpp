// SPDX-License-Identifier: Apache-2.0
#include "console/phone/phone_link.h"

#include "console/text/usage_error.h"
#include "platform.h"

#include <cerrno>
#include <fmt/format.h>
#include <sys/wait.h>
#include <unistd.h>

namespace console::phone_link {
namespace {

constexpr size_t message_size = 512;

template <class F> std::string message_of(F f) {
  char message[message_size] = "";
  return f(message) == 0 ? "" : *message ? message : "the virtual phone refused and gave no reason";
}

std::string nv_file;  // "" while NV is in memory

/** Reads to the end before waiting for the child, which may write more than a pipe holds. */
std::string read_all(int from) {
  std::string text;
  char piece[4096];
  for (ssize_t n; (n = read(from, piece, sizeof piece)) != 0;)
    if (n > 0)
      text.append(piece, static_cast<size_t>(n));
    else if (errno != EINTR)
      break;
  return text;
}

/** The child's end: its status says whether the whole text was written. */
[[noreturn]] void send_and_exit(int to, const std::string &text) {
  size_t sent = 0;
  for (ssize_t n = 0; sent < text.size();) {
    n = write(to, text.data() + sent, text.size() - sent);
    if (n > 0)
      sent += static_cast<size_t>(n);
    else if (errno != EINTR)
      break;
  }
  _exit(sent < text.size());
}

}  // namespace

bool is_virtual() { return true; }

void reset() {
  phone_reset();
  nv_file.clear();
}

std::string load(const std::string &path) {
  return message_of([&](char *m) { return phone_load(path.c_str(), m, message_size); });
}

std::string set(const std::string &key, const std::string &value) {
  return message_of([&](char *m) { return phone_set(key.c_str(), value.c_str(), m, message_size); });
}

std::string open_nv(const std::string &path) {
  auto message = message_of(
      [&](char *m) { return phone_nv_open(path.empty() ? nullptr : path.c_str(), m, message_size); });
  nv_file = message.empty() ? path : "";
  return message;
}

std::string get(const std::string &key) {
  char value[1024] = "";
  return phone_get(key.c_str(), value, sizeof value) == 0 ? value : "";
}

std::vector<std::pair<std::string, std::string>> keys() {
  std::vector<std::pair<std::string, std::string>> all;
  const char *meaning = "";
  while (auto *key = phone_key(all.size(), &meaning)) all.emplace_back(key, meaning);
  return all;
}

void use_real_clock(bool real) { phone_set_clock(real ? PHONE_CLOCK_REAL : PHONE_CLOCK_VIRTUAL); }
int64_t now_us() { return phone_now_us(); }

void wait_us(int64_t microseconds) { usleep(static_cast<useconds_t>(microseconds)); }

std::vector<const contact *> contacts() {
  std::vector<const contact *> all;
  for (size_t i = 0; i < phone_event_count(); ++i) all.push_back(phone_event(i));
  return all;
}

size_t contacts_dropped() { return phone_events_dropped(); }
void clear_contacts() { phone_events_clear(); }
void read_log(log_reading) {}
std::string complete_log() { return ""; }
std::vector<std::string> unseen_kinds() { return {}; }
std::vector<std::string> missing_functions() { return {}; }
void print_log(int least_priority) { phone_print_log(least_priority); }

std::vector<fault_place> fault_places() {
  std::vector<fault_place> all;
  const char *value = "", *meaning = "";
  while (auto *name = phone_fault_place(all.size(), &value, &meaning)) all.push_back({name, value, meaning});
  return all;
}

int plan_fault(const std::string &place, unsigned nth, unsigned times, int value) {
  return phone_fault(place.c_str(), nth, times, value);
}
unsigned fault_fired(int id) { return phone_fault_fired(id); }

std::vector<nv_item> nv_items() {
  std::vector<nv_item> all;
  nv_item item;
  char name[64], bytes[nv_item_size];
  int found;
  while ((found = phone_nv_at(all.size(), &item.number, name, sizeof name, bytes)) == 1) {
    item.name = name;
    item.bytes.assign(bytes, nv_item_size);
    all.push_back(item);
  }
  if (found < 0) throw usage_error{fmt::format("The NV store {} cannot be read.", nv_file)};
  return all;
}

std::vector<nv_item> readable_nv_items(std::vector<unread_item> *) { return nv_items(); }

bool put_nv(const nv_item &item) {
  auto bytes = item.bytes;
  bytes.resize(nv_item_size);
  return phone_nv_put(item.number, item.name.c_str(), bytes.data()) == 0;
}

bool begin_nv() { return phone_nv_begin() == 0; }
bool end_nv(bool keep) { return phone_nv_end(keep) == 0; }

void clear_nv() {
  if (phone_nv_clear() != 0) throw usage_error{fmt::format("The NV store {} cannot be cleared.", nv_file)};
}
std::string lasting_store() { return nv_file; }

std::optional<std::string> on_a_copy(const std::function<std::string()> &act) {
  int ends[2];
  auto items = nv_items();
  if (pipe(ends) != 0) return std::nullopt;
  pid_t child = _Fork();  // fork() is the virtual phone's
  if (child == 0) {
    phone_part();
    nv_file.clear();
    for (auto &item : items) put_nv(item);
    send_and_exit(ends[1], act());
  }
  close(ends[1]);
  auto text = child > 0 ? read_all(ends[0]) : "";
  close(ends[0]);
  int status = -1;
  while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {}
  return status == 0 ? std::optional(text) : std::nullopt;
}

unsigned chip() { return get_orva_connectivity_subchip(); }
bool interface_up() { return phone_interface_up() != 0; }

}  // namespace console::phone_link
