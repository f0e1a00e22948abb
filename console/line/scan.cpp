// SPDX-License-Identifier: Apache-2.0
#include "console/line/scan.h"

#include "console/run/identity.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <fmt/format.h>

namespace console {

constexpr const char *blanks = " \t\r";

static std::string_view trim(std::string_view text) {
  auto first = text.find_first_not_of(blanks);
  return first == text.npos ? "" : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

static std::string checked_serial(std::string_view text) {
  identity unit;
  auto &key = identity_keys[0];
  static_assert(std::string_view(identity_keys[0].name) == "serial");
  set_identity(unit, key, std::string(text), std::string(text));
  if (unit.serial == from_die_id || unit.serial == from_upc)
    throw usage_error{
        fmt::format("{}: a line has to know the unit before its run: scan its serial number", text)};
  return unit.serial;
}

scan parse_scan(std::string_view line, const std::vector<std::string> &slots) {
  auto text = trim(line);
  if (text.empty()) return {};
  auto blank = text.find_first_of(blanks);
  if (blank == text.npos) return {"", checked_serial(text)};
  std::string first(text.substr(0, blank));
  if (std::ranges::find(slots, first) == slots.end())
    throw usage_error{fmt::format("\"{}\": there is no slot {}: scan SERIAL or SLOT SERIAL, with slot {}",
                                  text, first, either(slots))};
  return {first, checked_serial(trim(text.substr(blank)))};
}

}  // namespace console
