// SPDX-License-Identifier: Apache-2.0
#include "console/language/completion.h"

#include "console/language/commands.h"
#include "console/phone/chips.h"
#include "console/phone/log_priority.h"
#include "console/phone/phone_link.h"
#include "console/text/text.h"

#include <algorithm>

namespace console {
namespace {

using names = std::vector<std::string>;

constexpr const char *tcl_words[] = {"append", "break",  "continue", "dict",    "expr",   "for",  "foreach",
                                     "format", "if",     "incr",     "lappend", "lindex", "list", "llength",
                                     "proc",   "return", "set",      "while",   "exit"};

names first_words() {
  auto all = all_command_names();
  all.insert(all.end(), std::begin(tcl_words), std::end(tcl_words));
  return all;
}

/** A place's name up to what the caller adds: "ioctl:ID" gives "ioctl:". */
names fault_places() {
  names all;
  for (auto &place : phone_link::fault_places()) {
    auto colon = place.name.find(':');
    all.push_back(colon == std::string::npos ? place.name : place.name.substr(0, colon + 1));
  }
  return all;
}

names phone_keys() {
  names all;
  for (auto &[key, meaning] : phone_link::keys()) all.push_back(key);
  return all;
}

/** The function's n-th input, counted from 0; null after the last. */
const argument *nth_input(const function &f, size_t n) {
  for (auto &a : f.arguments)
    if (!a.is_output() && n-- == 0) return &a;
  return nullptr;
}

names function_words(const function &f, const names &words) {
  auto arrow = std::ranges::find(words, "->");
  names all;
  if (arrow != words.end()) {
    bool name_comes = (words.end() - arrow) % 2 == 0;
    for (auto &a : f.arguments)
      if (name_comes && a.is_output()) all.emplace_back(a.name);
    return all;
  }
  if (auto *a = nth_input(f, words.size() - 1)) {
    for (auto &k : a->known) all.emplace_back(k.value);
    if (a->kind == argument_kind::ignored) all = {"null", "scratch"};
  }
  if (words.size() - 1 >= f.least_inputs()) all.emplace_back("->");
  return all;
}

/** For the second word of a command. */
names second_words(const std::string &command) {
  if (command == "help" || command == "has" || command == "ignore" || command == "preview")
    return all_command_names();
  if (command == "chip") return chip_names();
  if (command == "log") return log_priority_names();
  if (command == "fault") return fault_places();
  names all;
  if (auto *found = find_command(command))
    for (auto &name : names_of(found->words)) all.push_back(split(name, ' ')[0]);
  return all;
}

names command_words(const session &s, const names &words) {
  if (words.size() == 1) return second_words(words[0]);
  bool phone = words[0] == "phone" || (words[0] == "expect" && words[1] == "phone");
  if (phone && words.size() == 2 && words[1] != "load") return phone_keys();
  if (words[0] == "expect" && words[1] == "driver") return command_names(s.chip());
  return {};
}

/** The words of the command that the line ends in; a bracket or semicolon begins a new one. */
names words_before(const std::string &line) {
  names words;
  auto from = line.find_last_of("[;");
  for (auto &word : split(line.substr(from == line.npos ? 0 : from + 1), ' '))
    if (!word.empty()) words.push_back(word);
  return words;
}

}  // namespace

names completions(const session &s, const std::string &line) {
  auto cut = line.find_last_of(" [{;");
  auto begun = cut == line.npos ? line : line.substr(cut + 1);
  auto words = words_before(line.substr(0, line.size() - begun.size()));
  names all;
  if (words.empty())
    all = first_words();
  else if (auto *f = find_function(words[0]))
    all = function_words(*f, words);
  else
    all = command_words(s, words);
  std::erase_if(all, [&](auto &name) { return !name.starts_with(begun); });
  std::ranges::sort(all);
  return all;
}

}  // namespace console
