// SPDX-License-Identifier: Apache-2.0
#include "console/line/unit_run.h"

#include "console/phone/chips.h"
#include "console/run/verdict.h"
#include "console/text/text.h"

#include <filesystem>
#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace console {
namespace {

using nlohmann::json;

std::optional<verdict> verdict_named(const std::string &word) {
  for (auto v : {verdict::pass, verdict::none, verdict::fail, verdict::broken})
    if (word == word_of(v)) return v;
  return std::nullopt;
}

/** "rf.tcl:12 wifi_get_rx_rssi: rssi -83, expected -60..-45 (2 times)" */
std::string first_failure(const json &end) {
  auto failures = end.at("failures");
  if (failures.empty()) return "";
  auto &first = failures[0];
  return fmt::format("{} {}", first.at("where").get<std::string>(), first.at("what").get<std::string>());
}

}  // namespace

bool unit_run::take(std::string_view line) try {
  auto said = json::parse(line);
  auto type = said.at("type").get<std::string>();
  if (type == "begin") {
    step = std::filesystem::path(said.at("session").get<std::string>()).stem().string();
    part.clear();
    if (auto chip = said.value("chip", ""); chip_index(chip)) tested_chip = chip;
  } else if (type == "step") {
    step = said.at("title").get<std::string>();
    part.clear();
  } else if (type == "progress")
    part = fmt::format(" {}/{}", said.at("done").get<size_t>(), said.at("total").get<size_t>());
  else if (type == "error" && reason.empty())
    reason = said.at("text").get<std::string>();
  else if (type == "end" && reason.empty())
    reason = first_failure(said);
  else if (type == "summary")
    summary = verdict_named(said.at("verdict").get<std::string>());
  return true;
} catch (const json::exception &) {
  constexpr size_t shown = 60;
  if (rubbish.empty()) rubbish = cut_to_columns(line, shown);
  return false;
}

std::string unit_run::doing() const { return step + part; }

run_outcome unit_run::outcome(const process_end &how) const {
  auto broken = [](const std::string &why) { return run_outcome{verdict::broken, why}; };
  if (!rubbish.empty())
    return broken(fmt::format("the console printed \"{}\", which is no line of --json", rubbish));
  if (!how.exited) return broken(how.trouble);
  if (summary && how.status == static_cast<int>(status_of(*summary))) return {*summary, reason};
  auto why = how.complaint.empty() ? reason : how.complaint;
  return broken(
      fmt::format("the console ended with status {}{}{}", how.status, why.empty() ? "" : ": ", why));
}

}  // namespace console
