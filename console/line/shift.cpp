// SPDX-License-Identifier: Apache-2.0
#include "console/line/shift.h"

#include "console/run/verdict.h"
#include "console/text/text.h"

#include <algorithm>
#include <fmt/format.h>

namespace console {

void shift::count(const std::string &serial, verdict found) {
  auto &tested = units[serial];
  ++tested.runs;
  ++runs;
  broken += found == verdict::broken;
  tested.latest = found;
  if (found != verdict::pass && found != verdict::fail) return;
  if (!tested.first) tested.first = found;
  tested.last = found;
}

void shift::count_failed_teardown(const std::string &serial) {
  units[serial].latest = verdict::broken;
  ++runs;
  ++broken;
}

unsigned shift::runs_of(const std::string &serial) const {
  auto found = units.find(serial);
  return found == units.end() ? 0 : found->second.runs;
}

std::string shift::text() const {
  size_t judged = 0, first = 0, last = 0;
  for (auto &[serial, tested] : units) {
    judged += tested.first.has_value();
    first += tested.first == verdict::pass;
    last += tested.last == verdict::pass;
  }
  auto share = [&](size_t part) {
    return judged ? fmt::format("{:.1f} %", 100.0 * static_cast<double>(part) / static_cast<double>(judged))
                  : "-";
  };
  auto text =
      fmt::format("{}: first-pass yield {}, final yield {}; {}, {} BROKEN", counted(units.size(), "unit"),
                  share(first), share(last), counted(runs, "run"), broken);
  return untested ? fmt::format("{}, {} not tested", text, untested) : text;
}

verdict shift::worst() const {
  if (untested) return verdict::broken;
  if (units.empty()) return verdict::none;
  return std::ranges::max_element(units, {}, [](auto &one) { return one.second.latest; })->second.latest;
}

}  // namespace console
