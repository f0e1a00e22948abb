// SPDX-License-Identifier: Apache-2.0
#include "console/language/subcommand.h"

#include "console/text/text.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace console {

static std::vector<std::string> words_of(std::string_view arguments) {
  return arguments.empty() ? std::vector<std::string>{} : split(arguments, ' ');
}

size_t subcommand::most_arguments() const { return words_of(arguments).size(); }

size_t subcommand::least_arguments() const {
  auto all = words_of(arguments);
  return static_cast<size_t>(std::ranges::count_if(all, [](auto &a) { return !a.starts_with('?'); }));
}

static std::string shown(const subcommand &word) {
  return std::string(trim_end(fmt::format("{} {}", word.name, word.arguments)));
}

std::vector<std::string> names_of(const std::vector<subcommand> &all) {
  std::vector<std::string> names;
  for (auto &word : all) names.emplace_back(word.name);
  return names;
}

std::string usage_of(const std::vector<subcommand> &all) {
  std::vector<std::string> parts;
  for (auto &word : all) parts.push_back(shown(word));
  return fmt::format("{}", fmt::join(parts, " | "));
}

std::string sentence_of(const std::vector<subcommand> &all) {
  std::vector<std::string> parts;
  for (auto &word : all) {
    auto part = shown(word);
    if (auto open = part.find('?'); open != part.npos) part[open] = '[', part.back() = ']';
    parts.push_back(part);
  }
  return either(parts);
}

}  // namespace console
