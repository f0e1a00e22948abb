// SPDX-License-Identifier: Apache-2.0
#include "console/prompt/quoting.h"

#include <fmt/format.h>

namespace console {

std::string replaced(std::string text, const std::string &from, const std::string &to) {
  for (size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size())
    text.replace(at, from.size(), to);
  return text;
}

std::string quoted(const std::string &text) { return fmt::format("'{}'", replaced(text, "'", "'\\''")); }

std::vector<const argument *> inputs(const function &f) {
  std::vector<const argument *> all;
  for (auto &a : f.arguments)
    if (!a.is_output()) all.push_back(&a);
  return all;
}

}  // namespace console
