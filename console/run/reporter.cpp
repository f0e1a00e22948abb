// SPDX-License-Identifier: Apache-2.0
#include "console/run/reporter.h"

#include <algorithm>
#include <fmt/format.h>

namespace console {

std::string place::text() const { return file.empty() ? "" : fmt::format("{}:{}", file, line); }

bool call_step::held() const { return std::ranges::all_of(expectations, &expectation::held); }

std::vector<likely_cause> call_step::causes() const {
  return held() ? std::vector<likely_cause>{} : likely_causes(seen);
}

}  // namespace console
