// SPDX-License-Identifier: Apache-2.0
#include "console/phone/log_priority.h"

#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <fmt/format.h>

namespace console {
namespace {

struct row {
  const char *name;
  char letter;
};

constexpr row rows[] = {{"verbose", 'V'}, {"debug", 'D'}, {"info", 'I'},
                        {"warn", 'W'},    {"error", 'E'}, {"fatal", 'F'}};
static_assert(std::size(rows) == LOG_FATAL - LOG_VERBOSE + 1, "each priority has its row");

}  // namespace

int parse_log_priority(const std::string &name) {
  if (name.empty()) return LOG_DEBUG;
  for (int priority = LOG_VERBOSE; priority <= LOG_ERROR; ++priority) {
    auto &row = rows[priority - LOG_VERBOSE];
    if (name == row.name || name == std::string(1, row.letter)) return priority;
  }
  throw usage_error{
      fmt::format("There is no log priority \"{}\": give {}.", name, either(log_priority_names()))};
}

char log_letter(int64_t priority) {
  return priority < LOG_VERBOSE || priority > LOG_FATAL ? '?' : rows[priority - LOG_VERBOSE].letter;
}

std::vector<std::string> log_priority_names() {
  std::vector<std::string> names;
  for (int priority = LOG_DEBUG; priority <= LOG_ERROR; ++priority)
    names.emplace_back(rows[priority - LOG_VERBOSE].name);
  return names;
}

}  // namespace console
