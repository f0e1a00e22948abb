// SPDX-License-Identifier: Apache-2.0
#include "faults.h"

#include "phone.h"
#include "state.h"

#include <cstring>

namespace phone {
namespace {

std::optional<unsigned> find_named(std::string_view name) {
  auto &shared = state();
  for (unsigned i = 0; i < shared.named_count; i++) {
    if (name == shared.named[i]) return first_named + i;
  }
  return std::nullopt;
}

/// The number of a named place, which it gets at its first use or fault.
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

/// The number of a function or of a driver command.
std::optional<unsigned> fixed_place(std::string_view name) {
  if (auto id = ioctl_id(name)) return first_ioctl + *id;
  return find_function(name);
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
  if (command >= first_named - first_ioctl) return any;
  verdict this_one = use_place(first_ioctl + command);
  return any.fails ? any : this_one;
}

verdict use_named(std::string_view place) {
  auto number = intern(place);
  return number ? use_place(*number) : verdict{false, 0};
}

int default_value(function place) { return fault_place_at(place)->default_value; }

void reset_faults() {
  state().fault_count = 0;
  state().first_fault = 0;
  state().named_count = 0;
}

void clear_uses() {
  for (auto &uses : state().uses) uses = 0;
}

}  // namespace phone

using namespace phone;

int phone_fault(const char *place, unsigned nth, unsigned times, int value) {
  auto &shared = state();
  std::string_view name = place ? place : "";
  auto *row = find_fault_place(name);
  if (!row || nth == 0 || shared.fault_count == max_faults) return -1;
  auto number = fixed_place(name);
  if (!number) number = intern(name);
  if (!number) return -1;
  fault &planned = shared.faults[shared.fault_count];
  planned.place = *number;
  planned.nth = nth;
  planned.times = times;
  planned.value = value ? value : row->default_value;
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
  auto number = fixed_place(name);
  if (!number) number = find_named(name);
  return number ? state().uses[*number].load() : 0;
}
