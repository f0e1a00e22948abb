// SPDX-License-Identifier: Apache-2.0
#include "console/phone/abilities.h"

#include "console/phone/phone_link.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>
#include <regex>

namespace console {
namespace {

/** What the phone must allow or have beyond calls of the library. The last is a real phone's only. */
enum class ability { set_up, copy, replay, describe, line, own_log };

constexpr const char *reasons[] = {
    "a real phone cannot be set up; the console with the virtual phone can do this",
    "only the virtual phone can be copied; here take nv backup FILE before, and nv diff FILE afterwards",
    "a real phone plays no recording; the console with the virtual phone can do this",
    "only the virtual phone is described by a file; the console with the virtual phone can do this",
    "a line runs on the station's computer; use orva-station there",
    "the virtual phone's log is always seen; the console for a real phone can read that phone's",
};
static_assert(std::size(reasons) == static_cast<size_t>(ability::own_log) + 1);

struct limited_feature {
  std::string_view name;
  ability wants;
};

/** What is not listed works on every phone. */
constexpr limited_feature limited[] = {
    {"--chip", ability::set_up},
    {"--phone", ability::set_up},
    {"--clock", ability::set_up},
    {"--nv", ability::set_up},
    {"phone", ability::set_up},
    {"fault", ability::set_up},
    {"expect phone", ability::set_up},
    {"chip CHIP", ability::set_up},
    {"preview", ability::copy},
    {"replay", ability::replay},
    {"trace to-phone", ability::describe},
    {"line", ability::line},
    {"--unit", ability::set_up},
    {"--logcat", ability::own_log},
};

/** Null for what works here. */
const limited_feature *obstacle(std::string_view name) {
  auto row = std::ranges::find(limited, name, &limited_feature::name);
  bool hinders = row != std::end(limited) && (row->wants == ability::own_log) == phone_link::is_virtual();
  return hinders ? row : nullptr;
}

}  // namespace

bool works_here(std::string_view name) { return !obstacle(name); }

void require_works_here(std::string_view name) {
  if (auto *row = obstacle(name))
    throw usage_error{fmt::format("{}: {}.", name, reasons[static_cast<size_t>(row->wants)])};
}

std::string_view own_name() { return phone_link::is_virtual() ? "orva-station" : "orva-station-phone"; }

std::string with_own_name(std::string text) {
  if (phone_link::is_virtual()) return text;
  static const std::regex name(R"((^|[^/A-Za-z0-9.-])orva(\\?-)station(?![\w./-]))");
  return std::regex_replace(text, name, "$1orva$2station$2phone");
}

}  // namespace console
