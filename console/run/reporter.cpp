// SPDX-License-Identifier: Apache-2.0
#include "console/run/reporter.h"

#include <algorithm>
#include <fmt/format.h>

namespace console {

std::string place::text() const { return file.empty() ? "" : fmt::format("{}:{}", file, line); }

bool call_step::held() const { return std::ranges::all_of(expectations, &expectation::held); }

bool call_step::failed() const {
  return expectations.empty() ? result.means.verdict == outcome::bad : !held();
}

std::vector<likely_cause> call_step::causes() const {
  return failed() ? likely_causes(seen) : std::vector<likely_cause>{};
}

}  // namespace console
