// SPDX-License-Identifier: Apache-2.0
#include "console/line/teardown_record.h"

#include "console/record/record_file.h"
#include "console/run/identity.h"

#include <algorithm>
#include <filesystem>

namespace console {
namespace {

using json = record_file::json;

identity identity_of(const line_plan &plan, const slot_plan &slot, const unit_in_slot &unit) {
  identity who;
  who.serial = unit.serial;
  who.attempt = unit.attempt;
  who.station = plan.station;
  who.slot = slot.name;
  who.operator_name = plan.operator_name;
  who.plan = plan_of_session(plan.teardown);
  who.plan_version = plan.version;
  who.console = who.library = "unknown";  // only the console knows them
  who.run = new_run_id();
  return who;
}

/** What a console said may be long, or hold what no record can. */
std::string text_of(std::string reason) {
  constexpr size_t most = 5000;
  std::ranges::replace(reason, '\0', '?');
  return reason.substr(0, most);
}

}  // namespace

void record_failed_teardown(const line_plan &plan, const slot_plan &slot, const unit_in_slot &unit,
                            const std::string &chip, const teardown &of, const std::string &reason) {
  auto who = identity_of(plan, slot, unit);
  who.started = of.started;
  json begin = {{"type", "begin"}, {"schema", 1}};
  begin.update(identity_json(who));
  begin["chip"] = chip;
  auto path = (std::filesystem::path(plan.spool) / (who.run + ".jsonl")).string();
  record_file file(path, path, begin);
  std::chrono::duration<double> spent = std::chrono::steady_clock::now() - of.began;
  json duration = {{"total_s", spent.count()}};
  for (auto *part : {"pauses_s", "driver_s", "shell_s", "library_s"}) duration[part] = 0.0;
  file.finish({{"type", "end"}, {"verdict", "BROKEN"}, {"reason", text_of(reason)}, {"duration", duration}});
}

}  // namespace console
