// SPDX-License-Identifier: Apache-2.0
#include "console/language/option_words.h"

#include "console/text/tcl_list.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <fmt/format.h>

namespace console {

static std::string known_options(const std::vector<std::string> &known) {
  std::vector<std::string> all;
  for (auto &name : known) all.push_back("-" + name);
  return either(all);
}

given_options parse_options(const std::string &command, std::span<const std::string> words,
                            const std::vector<std::string> &known) {
  given_options given;
  for (size_t i = 0; i < words.size(); i += 2) {
    auto &word = words[i];
    bool is_known = word.starts_with('-') && std::ranges::count(known, word.substr(1)) > 0;
    if (!is_known)
      throw usage_error{
          fmt::format("{}: \"{}\" is no option: give {}.", command, word, known_options(known))};
    if (i + 1 == words.size()) throw usage_error{fmt::format("{}: {} has no value.", command, word)};
    if (!given.emplace(word.substr(1), words[i + 1]).second)
      throw usage_error{fmt::format("{}: {} is given twice: give it once.", command, word)};
  }
  return given;
}

std::vector<std::pair<std::string, std::string>> parse_condition(const std::string &command,
                                                                 const std::string &list) {
  auto words = list_words(list);
  if (words.size() % 2 != 0)
    throw usage_error{fmt::format("{}: \"{}\" are no names with a value each, as in: {{mhz 2442 rate mcs7}}.",
                                  command, list)};
  std::vector<std::pair<std::string, std::string>> all;
  for (size_t i = 0; i < words.size(); i += 2) {
    if (words[i].empty() || std::ranges::count(all, words[i], [](auto &pair) { return pair.first; }) > 0)
      throw usage_error{
          fmt::format("{}: the name \"{}\" in \"{}\" is empty or given twice.", command, words[i], list)};
    all.emplace_back(words[i], words[i + 1]);
  }
  return all;
}

}  // namespace console
