// SPDX-License-Identifier: Apache-2.0
// Runs every operation of a chip with each of its contacts with the phone failing, once and for good.
//   fault_sweep CHIP              sweeps
//   fault_sweep --list CHIP       sweeps, and names each case
//   fault_sweep --sample CHIP     tries each eighth fault, for a build that is much slower
//   fault_sweep --session CHIP    runs the public operations once, for faults that come from outside
#include "tests/support/fault_operations.h"

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <regex>
#include <set>

#include "platform/platform.h"
#include "tests/support/chips.h"
#include "virtual_phone/phone.h"

namespace sweep {

using support::bench;
using support::store_calibration;

void outputs::clear() {
  text.fill(margin_byte);
  for (auto &one : small) one.fill(margin_byte);
}

bool outputs::intact(size_t text_size, std::array<size_t, 3> small_sizes) const {
  const auto untouched = [](const auto &bytes, size_t from) {
    return std::all_of(bytes.begin() + static_cast<ptrdiff_t>(from), bytes.end(),
                       [](uint8_t byte) { return byte == margin_byte; });
  };
  bool intact = untouched(text, text_size);
  for (size_t i = 0; i < small.size(); i++) intact = intact && untouched(small[i], small_sizes[i]);
  return intact;
}

namespace {

/// The settings as the library reports them.
std::vector<int32_t> settings_of(const bench &bench) {
  std::vector<int32_t> all;
  auto *query = reinterpret_cast<int32_t (*)(int32_t)>(bench.find("wifi_query_setting"));
  for (const int32_t item : {1, 2, 3, 5, 7, 9, 10, 11}) all.push_back(query(item));
  return all;
}

void *find(const bench &bench, const operation &op) {
  return bench.find(op.back_end ? bench.chip() + "_" + op.name : std::string(op.name));
}

// ---- The faults --------------------------------------------------------------------------------------

struct planned {
  std::string place;
  unsigned nth, times;
  int value;
  bool tolerated;  // the operation has to get over it
};

/// How a use of a place fails.
struct kind {
  const char *place;
  unsigned times;
  int value;
  bool tolerated;
};
constexpr int give_descriptor_0 = -1000;
constexpr kind kinds[] = {
    {"socket", 1, 0, false},       {"socket", 0, 0, false},        {"socket", 1, give_descriptor_0, true},
    {"ioctl", 1, 0, true},         {"ioctl", 2, 0, false},         {"ioctl", 0, 0, false},
    {"close", 1, 0, true},         {"close", 0, 0, true},          {"fork", 1, 0, false},
    {"fork", 0, 0, false},         {"execl", 1, 0, false},         {"execl", 0, 0, false},
    {"waitpid", 1, EINTR, true},   {"waitpid", 3, EINTR, true},    {"waitpid", 1, ECHILD, false},
    {"waitpid", 0, ECHILD, false}, {"popen", 1, 0, false},         {"popen", 0, 0, false},
    {"fread", 1, 0, false},        {"fread", 0, 0, false},         {"pclose", 1, 0, true},
    {"pclose", 0, 0, true},        {"open", 1, 0, false},          {"write", 1, 0, true},
    {"memcpy_s", 1, 0, false},     {"memcpy_s", 0, 0, false},      {"memset_s", 1, 0, false},
    {"strncpy_s", 1, 0, false},    {"strncpy_s", 0, 0, false},     {"snprintf_s", 1, 0, false},
    {"snprintf_s", 0, 0, false},   {"sprintf_s", 1, 0, false},     {"sscanf_s", 1, 0, false},
    {"sscanf_s", 0, 0, false},     {"kevoOperaNVWR", 1, 0, false}, {"kevoOperaNVWR", 0, 0, false},
};

/// Every fault that the last run's uses of the phone allow.
std::vector<planned> plan() {
  std::vector<planned> faults;
  for (const kind &kind : kinds) {
    const unsigned uses = phone_uses(kind.place);
    for (unsigned nth = 1; nth <= uses; nth++) {
      faults.push_back({kind.place, nth, kind.times, kind.value, kind.tolerated});
    }
  }
  std::map<std::string, unsigned> commands;
  for (size_t i = 0; i < phone_event_count(); i++) {
    const auto *event = phone_event(i);
    if (event->kind == PHONE_EXEC || event->kind == PHONE_POPEN) commands[event->text]++;
  }
  for (const auto &[command, uses] : commands) {
    for (unsigned nth = 1; nth <= uses; nth++) {
      for (const unsigned times : {1U, 0U}) faults.push_back({"shell:" + command, nth, times, 1, false});
    }
  }
  return faults;
}

// ---- What one run shows ------------------------------------------------------------------------------

using nv_texts = std::map<std::pair<uint32_t, std::string>, std::string>;

nv_texts read_nv() {
  nv_texts all;
  char name[64], item[104];
  uint32_t number;
  for (size_t i = 0; phone_nv_at(i, &number, name, sizeof name, item) == 1; i++) {
    all[{number, name}] = std::string(item, sizeof item);
  }
  return all;
}

size_t open_descriptors() {
  const std::filesystem::directory_iterator all("/proc/self/fd");
  return static_cast<size_t>(std::distance(begin(all), end(all)));
}

bool has_child() { return waitpid(-1, nullptr, WNOHANG) >= 0 || errno != ECHILD; }

bool logged_under_own_tag(const std::string &chip) {
  std::string tag = "WIFI_ORVA_FAC_TEST_" + chip.substr(2);
  std::transform(tag.begin(), tag.end(), tag.begin(), [](unsigned char c) { return toupper(c); });
  for (size_t i = 0; i < phone_event_count(); i++) {
    const auto *event = phone_event(i);
    if (event->kind == PHONE_LOG && tag == event->name) return true;
  }
  return false;
}

struct run {
  int64_t result;
  std::vector<int32_t> settings;
  nv_texts nv;
  std::vector<std::string> written;
  std::vector<planned> faults;  // that its uses of the phone allow
  bool margins, logged, leaked, fired;
};

/// A driver socket that belongs to the caller. Not counted as a contact of the library.
uint32_t own_socket() {
  const int socket = ::socket(AF_INET, SOCK_DGRAM, 0);
  phone_events_clear();
  return static_cast<uint32_t>(socket);
}

std::vector<std::string> written_items() {
  std::vector<std::string> all;
  for (size_t i = 0; i < phone_event_count(); i++) {
    const auto *event = phone_event(i);
    if (event->kind == PHONE_NV_WRITE) all.emplace_back(static_cast<const char *>(event->data), event->size);
  }
  return all;
}

run run_once(const bench &bench, const operation &op, const std::string &chip, const planned *fault) {
  outputs out;
  out.clear();
  const bool lends_socket = op.needs == before::open_socket;
  const size_t descriptors = open_descriptors();
  phone_events_clear();
  if (lends_socket) out.socket = own_socket();
  run seen = {};
  const int id =
      fault == nullptr ? -1 : phone_fault(fault->place.c_str(), fault->nth, fault->times, fault->value);
  seen.result = op.call(find(bench, op), out);
  seen.fired = id >= 0 && phone_fault_fired(id) > 0;
  seen.written = written_items();
  phone_faults_clear();
  seen.faults = plan();
  if (lends_socket && !op.closes_socket) close(static_cast<int>(out.socket));
  seen.leaked = phone_left_open() != 0 || has_child() || open_descriptors() != descriptors;
  seen.margins = out.intact(op.text_size, op.small_sizes);
  seen.logged = logged_under_own_tag(chip);
  seen.nv = read_nv();
  return seen;
}

// ---- Judging -----------------------------------------------------------------------------------------

template <typename T> bool is_one_of(const T &value, const std::vector<T> &list) {
  return std::find(list.begin(), list.end(), value) != list.end();
}

bool is_secure_call(const planned &fault) { return fault.place.ends_with("_s"); }
bool is_nv(const planned &fault) { return fault.place == "kevoOperaNVWR"; }

bool holds_entries_only(const std::string &item) {
  static const std::regex entries("([a-z0-9]+=-?[0-9]+(,-?[0-9]+)*;)*");
  return std::regex_match(item.c_str(), entries);
}

/// Every item holds what it held before or what a good run writes at some time. After a failed read entries
/// may be missing, because it counts as an empty item; a failed append leaves an incomplete text.
bool nv_as_documented(const planned &fault, const run &seen, const nv_texts &first, const run &good) {
  if (is_secure_call(fault)) return true;
  for (const auto &[key, item] : seen.nv) {
    const auto old = first.find(key);
    const bool known = (old != first.end() && old->second == item) || is_one_of(item, good.written);
    if (!known && !(is_nv(fault) && holds_entries_only(item))) return false;
  }
  return true;
}

bool settings_as_documented(const std::vector<int32_t> &now, const std::vector<int32_t> &first,
                            const std::vector<int32_t> &good) {
  for (size_t i = 0; i < now.size(); i++) {
    if (now[i] != first[i] && now[i] != good[i]) return false;
  }
  return true;
}

/// Test mode is on exactly if entering it returned 1, and off exactly if leaving it did.
bool test_mode_as_documented(const operation &op, int64_t result, int32_t status) {
  if (strcmp(op.name, "wifi_start_testmode") == 0) return status == result;
  if (strcmp(op.name, "wifi_stop_testmode") == 0) return status == (result == 1 ? 0 : 1);
  return true;
}

class sweeper {
public:
  sweeper(const std::string &chip, bool list, size_t step) : chip_(chip), list_(list), step_(step) {}
  bool has(const operation &op) const {
    const bench bench(chip_);
    const auto exported = [&](const char *name) { return bench.find(chip_ + "_" + name) != nullptr; };
    if (op.beside != nullptr && !exported(op.beside)) return false;
    if (op.without != nullptr && exported(op.without)) return false;
    return find(bench, op) != nullptr;
  }
  void sweep(const operation &op);
  int report() const;

private:
  void try_fault(const operation &op, const planned &fault);
  std::string judge(const operation &op, const planned &fault, const run &seen) const;
  std::string judge_result(const operation &op, const planned &fault, const run &seen) const;
  void complain(const operation &op, const std::string &fault, const std::string &what);
  int64_t varying(const operation &op, int64_t result) const { return op.varies ? good_.result : result; }

  std::string chip_;
  bool list_;
  size_t step_, seen_ = 0;
  run good_;
  std::vector<int32_t> first_settings_;
  nv_texts first_nv_;
  unsigned operations_ = 0, faults_ = 0, survived_ = 0;
  std::map<std::string, unsigned> by_place_;
  std::set<std::string> names_;
};

void sweeper::complain(const operation &op, const std::string &fault, const std::string &what) {
  printf("FAILED %s %s%s%s%s: %s\n", chip_.c_str(), op.back_end ? (chip_ + "_").c_str() : "", op.name,
         fault.empty() ? "" : ", ", fault.c_str(), what.c_str());
}

std::string sweeper::judge_result(const operation &op, const planned &fault, const run &seen) const {
  const bool good = seen.result == good_.result || (op.varies && !is_one_of(seen.result, op.bad));
  if (fault.tolerated && !op.closes_socket && !good) {
    return "does not get over it: result " + std::to_string(seen.result);
  }
  if (!good && !is_one_of(seen.result, op.bad))
    return "result " + std::to_string(seen.result) + " is not documented";
  if (!good && !seen.logged && !op.says_nothing) return "fails without a line in the log";
  return "";
}

std::string sweeper::judge(const operation &op, const planned &fault, const run &seen) const {
  const std::string result = judge_result(op, fault, seen);
  if (!result.empty()) return result;
  if (seen.leaked) return "leaves a descriptor, child or stream behind";
  if (!seen.margins) return "writes beyond its outputs";
  if (!settings_as_documented(seen.settings, first_settings_, good_.settings)) return "leaves other settings";
  if (!test_mode_as_documented(op, seen.result, seen.settings[0])) return "test mode is not as documented";
  if (!nv_as_documented(fault, seen, first_nv_, good_)) return "leaves a spoilt NV item";
  return "";
}

void sweeper::try_fault(const operation &op, const planned &fault) {
  const std::string name = fault.place + " " + std::to_string(fault.nth) + " times " +
                           std::to_string(fault.times) + " value " + std::to_string(fault.value);
  if (list_) printf("%s %s, %s\n", chip_.c_str(), op.name, name.c_str());
  bench bench(chip_);
  bench.prepare(op.needs);
  run seen = run_once(bench, op, chip_, &fault);
  seen.settings = settings_of(bench);
  std::string wrong = seen.fired ? judge(op, fault, seen) : "the fault never fired";
  // The next call gets a fresh store: what was lost in NV stays lost.
  phone_nv_clear();
  if (op.needs == before::calibrated) store_calibration();
  if (wrong.empty() && varying(op, run_once(bench, op, chip_, nullptr).result) != good_.result) {
    wrong = "the next call fails";
  }
  faults_++;
  by_place_[fault.place.substr(0, fault.place.find(':'))]++;
  if (wrong.empty())
    survived_++;
  else
    complain(op, name, wrong);
}

void sweeper::sweep(const operation &op) {
  {
    bench bench(chip_);
    bench.prepare(op.needs);
    first_settings_ = settings_of(bench);
    first_nv_ = read_nv();
    good_ = run_once(bench, op, chip_, nullptr);
    good_.settings = settings_of(bench);
  }
  operations_++;
  names_.insert(op.back_end ? chip_ + "_" + op.name : std::string(op.name));
  const bool expected = op.good.empty() || is_one_of(good_.result, op.good) ||
                        (!op.back_end && is_one_of(good_.result, op.bad) && good_.faults.empty());
  std::string wrong = expected ? "" : "result " + std::to_string(good_.result);
  if (good_.leaked) wrong = "leaves a descriptor, child or stream behind";
  if (!good_.margins) wrong = "writes beyond its outputs";
  if (!wrong.empty()) {
    complain(op, "", "without a fault: " + wrong);
    faults_++;
  }
  for (const planned &fault : good_.faults)
    if (seen_++ % step_ == 0) try_fault(op, fault);
}

int sweeper::report() const {
  printf("%s: %zu functions in %u situations, %u faults tried, %u survived\n", chip_.c_str(), names_.size(),
         operations_, faults_, survived_);
  for (const auto &[place, count] : by_place_) printf("  %-14s %u\n", place.c_str(), count);
  bool all = true;
  std::ifstream exports(EXPORTS);
  for (std::string word; exports >> word;) {
    if (!word.ends_with(";") || word == "*;" || word == "};") continue;
    word.pop_back();
    const bool ours = word.starts_with(chip_ + "_") || !word.starts_with("vq");
    if (!ours || names_.contains(word)) continue;
    printf("FAILED %s: %s is exported and was not swept\n", chip_.c_str(), word.c_str());
    all = false;
  }
  return all && faults_ == survived_ && faults_ > 0 ? 0 : 1;
}

// ---- One run through, for faults from outside --------------------------------------------------------

/// Only checks that each result is a documented one: which call failed is unknown here.
int run_session(const std::string &chip) {
  bench bench(chip);
  store_calibration();
  puts("session begins");
  unsigned failed = 0, wrong = 0;
  for (const operation &op : operations()) {
    if (op.back_end) continue;
    outputs out;
    out.clear();
    const int64_t result = op.call(find(bench, op), out);
    const bool documented = op.good.empty() || is_one_of(result, op.good) || is_one_of(result, op.bad);
    if (!documented || phone_left_open() != 0 || !out.intact(op.text_size, op.small_sizes)) {
      printf("FAILED %s: result %lld, %u left open\n", op.name, static_cast<long long>(result),
             phone_left_open());
      wrong++;
    } else if (is_one_of(result, op.bad)) {
      failed++;
    }
  }
  printf("session ends: %u operations failed as documented, %u otherwise\n", failed, wrong);
  return wrong == 0 ? 0 : 1;
}

int usage() {
  std::string names;
  for (const char *chip : chip_names) names += (names.empty() ? "" : " | ") + std::string(chip);
  fprintf(stderr, "usage: fault_sweep [--session | --list | --sample] %s\n", names.c_str());
  return 2;
}

}  // namespace
}  // namespace sweep

int main(int count, char **words) {
  using namespace sweep;
  const std::string option = count == 3 ? words[1] : "";
  const std::string chip = count >= 2 ? words[count - 1] : "";
  static const std::set<std::string> chips(std::begin(chip_names), std::end(chip_names));
  static const std::set<std::string> options = {"", "--session", "--list", "--sample"};
  if (count > 3 || !chips.contains(chip) || !options.contains(option)) return usage();
  if (option == "--session") return run_session(chip);
  sweeper sweeper(chip, option == "--list", option == "--sample" ? 8 : 1);
  for (const operation &op : operations()) {
    if (sweeper.has(op)) sweeper.sweep(op);
  }
  return sweeper.report();
}
