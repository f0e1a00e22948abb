// Faults on purpose: places have numbers, a fault waits for the n-th use of its place.
#include "state.h"

#include <charconv>
#include <cstring>
#include <optional>

namespace phone {
namespace {

constexpr const char *function_names[fn_count] = {"socket",
                                                  "ioctl",
                                                  "close",
                                                  "fork",
                                                  "execl",
                                                  "waitpid",
                                                  "popen",
                                                  "fread",
                                                  "pclose",
                                                  "open",
                                                  "write",
                                                  "memcpy_s",
                                                  "memset_s",
                                                  "strncpy_s",
                                                  "snprintf_s",
                                                  "sprintf_s",
                                                  "sscanf_s",
                                                  "kevoOperaNVWR",
                                                  "sleep",
                                                  "usleep",
                                                  "get_orva_connectivity_subchip",
                                                  "__android_log_print"};

std::optional<unsigned> find_named(std::string_view name) {
  auto &shared = state();
  for (unsigned i = 0; i < shared.named_count; i++) {
    if (name == shared.named[i]) return first_named + i;
  }
  return std::nullopt;
}

std::optional<unsigned> intern(std::string_view name) {
  auto &shared = state();
  if (auto known = find_named(name)) return known;
  unsigned at = shared.named_count;
  if (at == max_named_places || name.size() >= sizeof(shared.named[0])) return std::nullopt;
  memcpy(shared.named[at], name.data(), name.size());
  shared.named[at][name.size()] = 0;
  shared.named_count = at + 1;
  return first_named + at;
}

bool whole_number(std::string_view text, uint32_t &number) {
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc{} && end == text.data() + text.size();
}

std::optional<unsigned> ioctl_place(std::string_view command) {
  uint32_t number = 0;
  if (!whole_number(command, number) || first_ioctl + number >= first_named) return std::nullopt;
  return first_ioctl + number;
}

std::optional<unsigned> function_place(std::string_view name) {
  for (unsigned i = 0; i < fn_count; i++) {
    if (name == function_names[i]) return i;
  }
  return std::nullopt;
}

bool is_nv_place(std::string_view name) {
  uint32_t number = 0;
  for (std::string_view what : {"nv_read:", "nv_write:", "nv_lose:"})
    if (name.starts_with(what)) return whole_number(name.substr(what.size()), number);
  return false;
}

/// The number of a place a caller named, where there can be such a place.
std::optional<unsigned> named_place(std::string_view name) {
  if (name.starts_with("ioctl:")) return ioctl_place(name.substr(6));
  bool shell = name.starts_with("shell:") && name.size() > 6;
  if (shell || is_nv_place(name)) return intern(name);
  return function_place(name);
}

verdict use_place(unsigned place) {
  auto &shared = state();
  verdict judged{false, 0};
  shared.uses[place]++;
  for (unsigned i = shared.first_fault; i < shared.fault_count; i++) {
    fault &planned = shared.faults[i];
    if (planned.place != place) continue;
    unsigned seen = ++planned.seen;
    bool due = seen >= planned.nth && (planned.times == 0 || seen - planned.nth < planned.times);
    if (!due || judged.fails) continue;
    planned.fired++;
    judged = {true, planned.value};
  }
  return judged;
}

}  // namespace

verdict use(function place) { return use_place(place); }

verdict use_ioctl(uint32_t command) {
  verdict any = use_place(fn_ioctl);
  if (first_ioctl + command >= first_named) return any;
  verdict this_one = use_place(first_ioctl + command);
  return any.fails ? any : this_one;
}

verdict use_named(std::string_view place) {
  auto number = intern(place);
  return number ? use_place(*number) : verdict{false, 0};
}

}  // namespace phone

using namespace phone;

int phone_fault(const char *place, unsigned nth, unsigned times, int value) {
  auto &shared = state();
  auto number = named_place(place ? place : "");
  bool cannot_fail = number && *number >= fn_can_fail && *number < fn_count;
  if (!number || cannot_fail || nth == 0 || shared.fault_count == max_faults) return -1;
  fault &planned = shared.faults[shared.fault_count];
  planned.place = *number;
  planned.nth = nth;
  planned.times = times;
  planned.value = value;
  planned.seen = 0;
  planned.fired = 0;
  return static_cast<int>(shared.fault_count++);
}

unsigned phone_fault_fired(int id) {
  auto &shared = state();
  if (id < 0 || static_cast<unsigned>(id) >= shared.fault_count) return 0;
  return shared.faults[id].fired;
}

unsigned phone_faults_unfired(void) {
  auto &shared = state();
  unsigned unfired = 0;
  for (unsigned i = 0; i < shared.fault_count; i++) unfired += shared.faults[i].fired == 0;
  return unfired;
}

void phone_faults_clear(void) { state().first_fault = state().fault_count; }

unsigned phone_uses(const char *place) {
  std::string_view name = place ? place : "";
  auto number = name.starts_with("ioctl:") ? ioctl_place(name.substr(6)) : function_place(name);
  if (!number) number = find_named(name);
  return number ? state().uses[*number].load() : 0;
}
