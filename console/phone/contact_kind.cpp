// SPDX-License-Identifier: Apache-2.0
#include "console/phone/contact_kind.h"

#include "console/text/usage_error.h"

#include <fmt/format.h>
#include <fmt/ranges.h>
#include <vector>

namespace console {

const char *contact_name(phone_event_kind kind) { return phone_event_word(kind, nullptr, nullptr); }

phone_event_kind contact_kind(const std::string &name) {
  std::vector<std::string> words;
  for (int kind = 0; kind < PHONE_EVENT_KINDS; ++kind) {
    words.emplace_back(phone_event_word(static_cast<size_t>(kind), nullptr, nullptr));
    if (name == words.back()) return static_cast<phone_event_kind>(kind);
  }
  throw usage_error{fmt::format("\"{}\" is no kind of contact: {}.", name, fmt::join(words, ", "))};
}

}  // namespace console
