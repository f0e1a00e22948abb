// SPDX-License-Identifier: Apache-2.0
#include "console/phone/contact_kind.h"

#include "console/text/usage_error.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <iterator>

namespace console {

static constexpr const char *names[] = {"socket", "ioctl",   "close",   "fork",     "exec",  "wait",
                                        "popen",  "fread",   "pclose",  "open",     "write", "sleep",
                                        "log",    "subchip", "nv_read", "nv_write", "secure"};
static_assert(std::size(names) == PHONE_SECURE + 1, "each kind of event has its name");

const char *contact_name(phone_event_kind kind) { return kind < std::size(names) ? names[kind] : "?"; }

phone_event_kind contact_kind(const std::string &name) {
  auto found = std::ranges::find(names, name);
  if (found != std::end(names)) return static_cast<phone_event_kind>(found - names);
  throw usage_error{fmt::format("\"{}\" is no kind of contact: {}.", name, fmt::join(names, ", "))};
}

}  // namespace console
