// SPDX-License-Identifier: Apache-2.0
/*
 * The console's link to a phone with a real kernel. The chip is set up through the driver's control files.
 * Log, NV and sub-chip are those of the virtual phone's platform half, which runs in this process. The
 * watcher tells of contacts; the lists that the driver and the shell keep by themselves are for whoever
 * compares.
 */
#include "console/phone/phone_link.h"

#include "console/phone/watched_contacts.h"
#include "console/text/usage_error.h"
#include "platform.h"
#include "radio_keys.h"
#include "watcher/watcher.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <fstream>
#include <optional>
#include <time.h>

namespace console::phone_link {
namespace {

constexpr auto radio_file = "/proc/orva_radio";
constexpr auto faults_file = "/proc/orva_faults";
constexpr auto commands_file = "/proc/orva_commands";
constexpr auto all_commands = "/tmp/all_commands";
constexpr auto services_folder = "/tmp/services/";
constexpr auto shell_faults = "/tmp/shell_faults/";
constexpr size_t message_size = 512, item_size = 104;

/** Commands print to the console's output; line buffering keeps them out of a line written in part. */
[[maybe_unused]] const int whole_lines = setvbuf(stdout, nullptr, _IOLBF, 0);

/** Faults in the order of their ids: who makes each fail, and its number there. */
enum class planner { driver, shell, platform };
struct planned {
  planner by;
  int number;
};
std::vector<planned> faults;

int faults_of(planner by) { return static_cast<int>(std::ranges::count(faults, by, &planned::by)); }

template <class F> std::string message_of(F f) {
  char message[message_size] = "";
  return f(message) == 0 ? "" : *message ? message : "the phone refused and gave no reason";
}

/** A key's value in this process. */
std::string value_of(const std::string &key) {
  char value[1024] = "";
  return phone_get(key.c_str(), value, sizeof value) == 0 ? value : "";
}

std::string write_file(const char *path, const std::string &text) {
  std::ofstream file(path);
  file << text << std::flush;
  return file ? "" : fmt::format("{} refused \"{}\": {}", path, text, std::strerror(errno));
}

std::vector<std::string> read_lines(const char *path) {
  std::ifstream file(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) lines.push_back(line);
  return lines;
}

/** A key's value in the driver; "" if the driver does not have the key or is not loaded. */
std::string driver_value(const std::string &key) {
  for (auto &line : read_lines(radio_file))
    if (line.starts_with(key + " = ")) return line.substr(key.size() + 3);
  return "";
}

bool is_driver_key(const std::string &name) {
  for (size_t i = 0; auto *key = radio_key(i); ++i)
    if (name == key->name) return true;
  return false;
}

/** Moves the driver's list, whose room is limited, to a file of our own. */
void take_commands() {
  auto lines = read_lines(commands_file);
  if (lines.empty()) return;
  std::ofstream(all_commands, std::ios::app) << fmt::format("{}\n", fmt::join(lines, "\n"));
  write_file(commands_file, "clear\n");
}

bool driver_there() { return std::ifstream(radio_file).good(); }

std::string run(const std::string &command) {
  return std::system(command.c_str()) == 0 ? "" : "this failed: " + command;
}

/** Reads the list of commands first: it goes with the driver. */
std::string remove_driver() {
  if (!driver_there()) return "";
  take_commands();
  return run("rmmod orva_wlan");
}

std::string give_description();

std::string insert_driver() {
  if (driver_there()) return "";
  phone_set("interface.up", "false", nullptr, 0);
  auto message = run("insmod /system/lib/orva_wlan.ko");
  return message.empty() ? give_description() : message;
}

/** Passes a key to the driver or to the phone's programs. A driver that is not loaded gets it when it is. */
std::string give_key(const std::string &key, const std::string &value) {
  static constexpr const char *services[] = {"wifi.service", "supplicant.running"};
  if (key == "driver.loaded") return value == "true" ? insert_driver() : remove_driver();
  if (is_driver_key(key))
    return driver_there() ? write_file(radio_file, fmt::format("{} = {}\n", key, value)) : "";
  if (std::ranges::count(services, key)) return write_file((services_folder + key).c_str(), value);
  return key == "subchip" ? "" : key + ": cannot be set in a phone with a real kernel";
}

/** Passes the whole description to the driver and to the phone's programs. */
std::string give_description() {
  std::vector<std::string> all = {"wifi.service", "supplicant.running"};
  for (size_t i = 0; auto *key = radio_key(i); ++i)
    if (key->initial && key->name != std::string_view("driver.loaded")) all.emplace_back(key->name);
  for (auto &key : all) {
    if (auto message = give_key(key, value_of(key)); !message.empty()) return message;
  }
  return "";
}

/** Reads back what changed in the driver: the interface, refusals that were used up. */
void take_description() {
  for (auto &line : read_lines(radio_file)) {
    auto at = line.find(" = ");
    auto key = line.substr(0, at);
    if (is_driver_key(key)) phone_set(key.c_str(), line.substr(at + 3).c_str(), nullptr, 0);
  }
}

int plan_in_driver(const std::string &place, unsigned nth, unsigned times, int value) {
  auto line = fmt::format("{} {} {} {}\n", place, nth, times, value ? value : EIO);
  return write_file(faults_file, line).empty() ? faults_of(planner::driver) : -1;
}

int plan_in_shell(const std::string &command, unsigned nth, unsigned times, int value) {
  int number = faults_of(planner::shell);
  auto text = fmt::format("{} {} {} 0 0\n{}\n", nth, times, value ? value & 255 : 1, command);
  return write_file((shell_faults + std::to_string(number)).c_str(), text).empty() ? number : -1;
}

/** What the description says of RF hardware, which the driver in the kernel knows nothing of. */
std::string rf_description() {
  std::string text;
  for (size_t i = 0; auto *key = phone_key(i, nullptr); ++i) {
    std::string_view name = key;
    if (name == "unit" || name == "cable" || name.starts_with("rf.")) text += value_of(key) + "\n";
  }
  return text;
}

/** Who makes a place fail; nobody for most system calls, because a real kernel serves them. */
std::optional<planner> planner_of(const std::string &place) {
  if (place == "ioctl" || place.starts_with("ioctl:")) return planner::driver;
  if (place.starts_with("shell:")) return planner::shell;
  bool of_platform = place.starts_with("nv_") || place.ends_with("_s") || place == "kevoOperaNVWR";
  return of_platform ? std::optional(planner::platform) : std::nullopt;
}

unsigned number_after(const std::vector<std::string> &lines, size_t line, const std::string &mark) {
  auto at = line < lines.size() ? lines[line].rfind(mark) : std::string::npos;
  return at == std::string::npos ? 0
                                 : static_cast<unsigned>(std::stoul(lines[line].substr(at + mark.size())));
}

}  // namespace

bool is_virtual() { return true; }

void reset() {
  phone_reset();
  phone_set_clock(PHONE_CLOCK_REAL);
  for (int i = 0; i < faults_of(planner::shell); ++i) std::remove((shell_faults + std::to_string(i)).c_str());
  faults.clear();
  insert_driver();
  write_file(radio_file, "reset\n");
  give_description();
  begin_watching();
}

std::string load(const std::string &path) {
  take_description();
  auto waiting = phone_faults_unfired();
  auto rf = rf_description();
  auto message = message_of([&](char *m) { return phone_load(path.c_str(), m, message_size); });
  if (message.empty() && phone_faults_unfired() != waiting)
    message = path + ": faults in a description reach only a virtual phone; plan them with the command fault";
  if (message.empty() && rf_description() != rf)
    message = path + ": unit, rf.* and cable belong to a virtual phone; a phone with a real kernel has no RF";
  if (message.empty()) message = give_key("driver.loaded", value_of("driver.loaded"));
  return message.empty() ? give_description() : message;
}

std::string set(const std::string &key, const std::string &value) {
  auto message = message_of([&](char *m) { return phone_set(key.c_str(), value.c_str(), m, message_size); });
  return message.empty() ? give_key(key, value) : message;
}

std::string open_nv(const std::string &path) {
  return message_of(
      [&](char *m) { return phone_nv_open(path.empty() ? nullptr : path.c_str(), m, message_size); });
}

std::string get(const std::string &key) { return is_driver_key(key) ? driver_value(key) : value_of(key); }

std::vector<std::pair<std::string, std::string>> keys() {
  std::vector<std::pair<std::string, std::string>> all;
  const char *meaning = "";
  while (auto *key = phone_key(all.size(), &meaning)) all.emplace_back(key, meaning);
  return all;
}

void use_real_clock(bool) {}
int64_t now_us() { return phone_now_us(); }

void wait_us(int64_t microseconds) {
  timespec rest = {.tv_sec = microseconds / 1'000'000, .tv_nsec = microseconds % 1'000'000 * 1000};
  nanosleep(&rest, nullptr);
}

void clear_contacts() {
  take_commands();
  clear_watched();
}

void print_log(int least_priority) { phone_print_log(least_priority); }

std::vector<fault_place> fault_places() {
  std::vector<fault_place> all;
  const char *value = "", *meaning = "";
  for (size_t i = 0; auto *name = phone_fault_place(i, &value, &meaning); ++i)
    if (planner_of(name)) all.push_back({name, value, meaning});
  return all;
}

int plan_fault(const std::string &place, unsigned nth, unsigned times, int value) {
  auto by = planner_of(place);
  if (!by) return -1;
  int number = *by == planner::driver  ? plan_in_driver(place, nth, times, value)
               : *by == planner::shell ? plan_in_shell(place.substr(6), nth, times, value)
                                       : phone_fault(place.c_str(), nth, times, value);
  if (number < 0) return -1;
  faults.push_back({*by, number});
  return static_cast<int>(faults.size()) - 1;
}

unsigned fault_fired(int id) {
  if (id < 0 || static_cast<size_t>(id) >= faults.size()) return 0;
  auto [by, number] = faults[static_cast<size_t>(id)];
  switch (by) {
  case planner::driver: return number_after(read_lines(faults_file), static_cast<size_t>(number), "fired=");
  case planner::shell:
    return number_after(read_lines((shell_faults + std::to_string(number)).c_str()), 0, " ");
  case planner::platform: return phone_fault_fired(number);
  }
  return 0;
}

std::vector<nv_item> nv_items() {
  std::vector<nv_item> all;
  nv_item item;
  char name[64], bytes[item_size];
  int found;
  while ((found = phone_nv_at(all.size(), &item.number, name, sizeof name, bytes)) == 1) {
    item.name = name;
    item.bytes.assign(bytes, item_size);
    all.push_back(item);
  }
  if (found < 0) throw usage_error{"The NV store cannot be read."};
  return all;
}

std::vector<nv_item> readable_nv_items(std::vector<unread_item> *) { return nv_items(); }

bool put_nv(const nv_item &item) {
  auto bytes = item.bytes;
  bytes.resize(item_size);
  return phone_nv_put(item.number, item.name.c_str(), bytes.data()) == 0;
}

bool begin_nv() { return true; }
bool end_nv(bool) { return true; }

void clear_nv() {
  if (phone_nv_clear() != 0) throw usage_error{"The NV store cannot be cleared."};
}
std::string lasting_store() { return ""; }
std::optional<std::string> on_a_copy(const std::function<std::string()> &) { return std::nullopt; }

unsigned chip() { return get_orva_connectivity_subchip(); }
bool interface_up() { return get("interface.up") == "true"; }

}  // namespace console::phone_link
