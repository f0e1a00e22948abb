// SPDX-License-Identifier: Apache-2.0
#include "console/line/scan.h"

#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <cwchar>
#include <fmt/format.h>

namespace console {

constexpr const char *blanks = " \t\r";

static std::string_view trim(std::string_view text) {
  auto first = text.find_first_not_of(blanks);
  return first == text.npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

scan parse_scan(std::string_view line, const std::vector<std::string> &slots) {
  auto text = trim(line);
  auto blank = text.find_first_of(blanks);
  if (blank == text.npos) return {"", std::string(text)};
  std::string first(text.substr(0, blank));
  if (std::ranges::find(slots, first) == slots.end())
    throw usage_error{fmt::format("\"{}\": there is no slot {}: scan SERIAL or SLOT SERIAL, with slot {}",
                                  text, first, either(slots))};
  return {first, std::string(trim(text.substr(blank)))};
}

std::string fault_of_serial(const std::string &) { return ""; }

}  // namespace console
