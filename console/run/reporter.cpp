// SPDX-License-Identifier: Apache-2.0
#include "console/run/reporter.h"

#include <algorithm>
#include <fmt/format.h>
#include <utility>

namespace console {

static std::string file_line(const place &where) {
  return where.file.empty() ? "" : fmt::format("{}:{}", where.file, where.line);
}

std::string place::text() const {
  auto at = file_line(*this);
  return at + (at.empty() || point.empty() ? "" : ", ") + point;
}

std::string expectation::title() const {
  auto text = what;
  const char *before = " at";
  for (auto &[name, value] : condition)
    text += fmt::format("{} {} {}", std::exchange(before, ""), name, value);
  return text;
}

std::string expectation::with_unit(const std::string &value) const {
  if (value.empty()) return "nothing";
  return unit.empty() ? value : fmt::format("{} {}", value, unit);
}

static std::string failure_text(const call_step *step, const expectation &e) {
  auto text = fmt::format("expected {} {}, got {}", e.title(), e.with_unit(e.limits), e.with_unit(e.got));
  if (!step) return text;
  text = fmt::format("{}: {}", step->called->name, text);
  for (auto &c : step->causes()) text += fmt::format("; {}: {}", c.what, c.name);
  return text;
}

void session_summary::add_failure(const call_step *step, const expectation &e, const place &where) {
  ++failed;
  auto what = failure_text(step, e), line = file_line(where);
  auto [known, added] = group_of.try_emplace(line + "\n" + what, failures.size());
  if (added) failures.push_back({what, line, 0, where.point, where.point});
  auto &group = failures[known->second];
  ++group.count;
  group.last = where.point;
}

bool call_step::held() const { return std::ranges::all_of(expectations, &expectation::held); }

std::vector<likely_cause> call_step::causes() const {
  return held() ? std::vector<likely_cause>{} : likely_causes(seen);
}

}  // namespace console
