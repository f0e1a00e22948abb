// SPDX-License-Identifier: Apache-2.0
#include "console/language/completion.h"

#include "console/language/commands.h"
#include "console/phone/chips.h"
#include "console/phone/log_priority.h"
#include "console/phone/phone_link.h"
#include "console/text/text.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string_view>

namespace console {
namespace {

using names = std::vector<std::string>;

/** The command that a text ends in, and what its last word is so far. */
struct open_command {
  names words;
  std::string begun;
  char opener = 0; /**< the bracket or brace that it stands in */
  bool in_word = false, in_quotes = false;
  size_t from = 0; /**< where it begins in the text */
};

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

/** Reads a text up to its end and keeps the commands that are still open there, the innermost last. */
class open_commands {
public:
  explicit open_commands(const std::string &text) : all(1), source(text) {
    for (at = 0; at < text.size(); ++at) take(text[at]);
  }
  const open_command &last() const { return all.back(); }
  const open_command *around() const { return all.size() > 1 ? &all[all.size() - 2] : nullptr; }
  std::string text_of_last() const { return source.substr(all.back().from); }

private:
  void take(char c) {
    auto &now = all.back();
    if (c == '\\' && at + 1 < source.size() && source[++at] != '\n') return add(source[at]);
    if (c == '[' || (c == '{' && !now.in_word)) return open(c);
    if (c == ']' && is_open('[')) return close('[');
    if (c == '}' && is_open('{')) return close('{');
    if (c == '"' && (now.in_quotes || !now.in_word)) return quote();
    if (now.in_quotes) return add(c);
    if (c == '\\' || c == ';' || isspace(static_cast<unsigned char>(c))) return end_word(c);
    add(c);
  }

  void open(char opener) {
    auto &fresh = all.emplace_back();
    fresh.opener = opener;
    fresh.from = at + 1;
  }
  bool is_open(char opener) const {
    return std::ranges::any_of(all, [&](auto &one) { return one.opener == opener; });
  }
  void add(char c) {
    all.back().begun += c;
    all.back().in_word = true;
  }
  void quote() {
    all.back().in_quotes = !all.back().in_quotes;
    all.back().in_word = true;
  }
  void end_word(char c) {
    auto &now = all.back();
    if (now.in_word) now.words.push_back(now.begun);
    now.begun.clear();
    now.in_word = false;
    if (c == '\n' || c == ';') now.words.clear();
  }
  void close(char opener) {
    while (all.back().opener != opener) all.pop_back();
    auto inside = source.substr(all.back().from, at - all.back().from);
    all.pop_back();
    all.back().begun += inside;
    all.back().in_word = true;
  }

  std::vector<open_command> all;
  const std::string &source;
  size_t at = 0;
};

/** The function's n-th input, counted from 0; null after the last. */
const argument *nth_input(const function &f, size_t n) {
  for (auto &a : f.arguments)
    if (!a.is_output() && n-- == 0) return &a;
  return nullptr;
}

/** For a word of a call. An ignored call is not judged: no arrow there. */
names function_words(const function &f, const names &words, bool may_expect) {
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
  if (may_expect && words.size() - 1 >= f.least_inputs()) all.emplace_back("->");
  return all;
}

names function_names() {
  names all;
  for (auto &f : functions()) all.emplace_back(f.name);
  return all;
}

/** The entries of a folder that begin like the path; a folder ends in a slash. */
names files(const std::string &begun) {
  namespace fs = std::filesystem;
  auto slash = begun.rfind('/');
  auto folder = slash == begun.npos ? "" : begun.substr(0, slash + 1), start = begun.substr(folder.size());
  names all;
  std::error_code failed;
  fs::directory_iterator entries(folder.empty() ? "." : folder, failed);
  for (; !failed && entries != fs::directory_iterator(); entries.increment(failed)) {
    auto name = entries->path().filename().string();
    if (!name.starts_with(start) || (name[0] == '.' && !start.starts_with('.'))) continue;
    std::error_code ignored;
    all.push_back(folder + name + (entries->is_directory(ignored) ? "/" : ""));
  }
  return all;
}

names nv_numbers() {
  names all;
  for (auto &item : phone_link::readable_nv_items()) all.push_back(std::to_string(item.number));
  return all;
}

names outputs_of_last(const session &s) {
  names all;
  if (s.last())
    for (auto &out : s.last()->result.outputs) all.emplace_back(out.what->name);
  return all;
}

/** What a usage line calls an argument, and the words that fit there. */
struct fitting {
  std::string_view argument;
  names (*words)(const session &s, const names &before, const std::string &begun);
};

constexpr fitting fittings[] = {
    {"FILE", [](auto &, auto &, auto &begun) { return files(begun); }},
    {"KEY", [](auto &, auto &, auto &) { return phone_keys(); }},
    {"VALUE", [](auto &, auto &before, auto &) { return names{phone_link::get(before.back())}; }},
    {"LIMITS", [](auto &, auto &before, auto &) { return names{phone_link::get(before.back())}; }},
    {"FUNCTION", [](auto &, auto &, auto &) { return function_names(); }},
    {"COMMAND", [](auto &, auto &, auto &) { return all_command_names(); }},
    {"DRIVER-COMMAND", [](auto &s, auto &, auto &) { return command_names(s.chip()); }},
    {"CHIP", [](auto &, auto &, auto &) { return chip_names(); }},
    {"PRIORITY", [](auto &, auto &, auto &) { return log_priority_names(); }},
    {"PLACE", [](auto &, auto &, auto &) { return fault_places(); }},
    {"NUMBER", [](auto &, auto &, auto &) { return nv_numbers(); }},
    {"PROFILE", [](auto &, auto &, auto &begun) { return files(begun); }},
    {"QUANTITY", [](auto &, auto &, auto &) { return quantity_names(); }},
    {"OUTPUT", [](auto &s, auto &, auto &) { return outputs_of_last(s); }},
};

/** The n-th argument of a usage line, "FILE" of "?FILE?"; the last one may repeat. */
std::string nth_argument(const std::string &usage, size_t n) {
  names all;
  for (auto &word : split(usage, ' '))
    if (!word.empty()) all.push_back(word);
  if (all.empty()) return "";
  bool repeats = all.back().find("...") != std::string::npos || all.back() == "BODY";
  if (n >= all.size() && !repeats) return "";
  auto name = all[std::min(n, all.size() - 1)];
  std::erase_if(name, [](char c) { return c == '?' || c == '.'; });
  return name;
}

/** The argument of a command that comes after these words; "" if nothing is known of it. */
std::string argument_after(const command_help &command, const names &words) {
  std::string_view usage = command.usage;
  bool of_driver = words.size() > 1 && words[1] == "driver" && (words[0] == "expect" || words[0] == "has");
  if (of_driver) return "DRIVER-COMMAND";
  if (command.words.empty())
    return nth_argument(std::string(usage.substr(std::min(usage.size(), words[0].size()))), words.size() - 1);
  for (auto &sub : command.words) {
    auto parts = split(sub.name, ' ');
    bool chosen = words.size() > parts.size() && std::equal(parts.begin(), parts.end(), words.begin() + 1);
    if (chosen) return nth_argument(sub.arguments, words.size() - 1 - parts.size());
  }
  return "";
}

/** The words that choose a subcommand, of which the words so far may be the beginning. */
names choices(const command_help &command, const names &words) {
  names all;
  for (auto &sub : command.words) {
    auto parts = split(sub.name, ' ');
    auto given = words.size() - 1;
    if (given < parts.size() && std::equal(words.begin() + 1, words.end(), parts.begin()))
      all.push_back(parts[given]);
  }
  return all;
}

names fitting_words(const session &s, names words, const std::string &begun, bool may_expect = true);

names command_words(const session &s, const command_help &command, const names &words,
                    const std::string &begun) {
  auto all = choices(command, words);
  auto argument = argument_after(command, words);
  bool calls = argument == "ARGUMENT" || argument == "BODY" || (argument == "FUNCTION" && words.size() > 1);
  if (calls) return fitting_words(s, {words.begin() + 1, words.end()}, begun, argument == "BODY");
  if (argument.starts_with('-')) all.push_back(argument);
  for (auto &row : fittings)
    if (row.argument == argument) std::ranges::copy(row.words(s, words, begun), std::back_inserter(all));
  return all;
}

/** The words that may come after these in a command. */
names fitting_words(const session &s, names words, const std::string &begun, bool may_expect) {
  if (words.empty()) return first_words();
  if (auto *f = find_function(words[0])) return function_words(*f, words, may_expect);
  auto *command = find_command(words[0]);
  return command ? command_words(s, *command, words, begun) : names{};
}

/** The argument that a brace at the end of these words begins, if it is no script. */
std::string braced_argument(const open_command *around) {
  if (!around || around->words.empty()) return "";
  auto *command = find_command(around->words[0]);
  return command ? argument_after(*command, around->words) : "";
}

}  // namespace

std::string completion::as_typed(const std::string &part) const {
  constexpr std::string_view special = " \t\\{}[]$\";";
  std::string typed;
  for (char c : part) {
    if (!quoted && special.find(c) != special.npos) typed += '\\';
    typed += c;
  }
  return typed;
}

std::string completion::end_of(const std::string &word) const {
  bool goes_on = quoted || word.ends_with('/') || word.ends_with(':');
  return goes_on ? "" : " ";
}

completion complete(const session &s, const std::string &text) {
  open_commands open(text);
  auto &now = open.last();
  completion found{.begun = now.begun, .words = {}, .quoted = now.in_quotes};
  auto braced = now.opener == '{' ? braced_argument(open.around()) : "";
  if (braced == "FILE") {
    found.begun = open.text_of_last(), found.quoted = true;
    found.words = files(found.begun);
  } else if (braced == "DRIVER-COMMAND") {
    found.words = command_names(s.chip());
  } else {
    found.words = fitting_words(s, now.words, now.begun);
  }
  std::erase_if(found.words, [&](auto &word) { return word.empty() || !word.starts_with(found.begun); });
  std::ranges::sort(found.words);
  found.words.erase(std::unique(found.words.begin(), found.words.end()), found.words.end());
  return found;
}

}  // namespace console
