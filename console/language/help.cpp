// SPDX-License-Identifier: Apache-2.0
#include "console/language/help.h"

#include "console/language/command_line_words.h"
#include "console/phone/abilities.h"
#include "console/phone/phone_link.h"
#include "console/run/functions.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace console {
namespace {

std::string argument_line(const argument &a) {
  auto line = fmt::format("  {:<12}{}", a.is_output() ? a.name : upper(a.name), a.help);
  if (*a.unit) line += fmt::format(" [{}]", a.unit);
  if (*a.range) line += fmt::format("; usual {}", fmt::join(split(a.range, ','), ", "));
  if (*a.hard_range) line += fmt::format("; at most {}", a.hard_range);
  if (a.fallback) line += fmt::format("; left out: {}", a.fallback);
  for (auto &k : a.known)
    if (*k.meaning) line += fmt::format("\n  {:<12}  {} = {}", "", k.value, k.meaning);
  return line + "\n";
}

std::string arguments_text(const function &f, bool outputs) {
  std::string text;
  for (auto &a : f.arguments)
    if (a.is_output() == outputs) text += argument_line(a);
  return text.empty() ? "" : (outputs ? "Outputs\n" : "Arguments\n") + text;
}

std::string about_function(const function &f) {
  auto text = fmt::format("{}\n  {}\n", usage(f), f.help);
  text += arguments_text(f, false) + arguments_text(f, true);
  text += fmt::format("Result\n  {}\n", f.result_help);
  for (auto &m : f.meanings) text += fmt::format("  {} = {}\n", m.value, m.text);
  text += fmt::format("Chips\n  {}\n", chip_list(f.chips));
  for (auto &n : f.notes) text += fmt::format("  {}: {}\n", chip_list(n.chips), n.text);
  return text + fmt::format("Example\n  {}\n", f.example);
}

std::string fault_places() {
  std::string text = "Places\n";
  for (auto &place : phone_link::fault_places())
    text += fmt::format("  {:<16}{}. VALUE: {}\n", place.name, place.meaning, place.value);
  return text;
}

std::string contact_kinds() {
  std::string text = "Contacts\n";
  const char *meaning = "";
  for (size_t kind = 0; auto *word = phone_event_word(kind, nullptr, &meaning); ++kind)
    text += fmt::format("  {:<10}{}\n", word, meaning);
  return text;
}

std::string about_command(const command_help &c) {
  std::string_view name = c.name;
  return fmt::format("{}\n  {}\n{}Example\n  {}\n", c.usage, c.help,
                     name == "fault"   ? fault_places()
                     : name == "trace" ? contact_kinds()
                                       : "",
                     c.example);
}

std::string about_word(const command_line_word &w) {
  return fmt::format("orva-station {}\n  {}, from the command line\n", w.usage, w.help);
}

}  // namespace

std::string help_list() {
  std::string text, subject;
  for (auto &f : functions()) {
    if (subject != f.subject) text += fmt::format("{}{}\n", text.empty() ? "" : "\n", subject = f.subject);
    text += fmt::format("  {:<38}{}{}\n", f.name, f.help,
                        f.chips == ALL_CHIPS ? "" : " [" + chip_list(f.chips) + "]");
  }
  return text;
}

std::string help_overview(const std::vector<command_help> &commands) {
  auto text = help_list() + "\nSession language: Tcl, with each function as a command, and\n";
  for (auto &c : commands) text += fmt::format("  {:<11}{}\n", c.name, c.help);
  return text + "\nhelp NAME explains one of them. A call may say what it expects: wifi_set_power 155 -> 1\n";
}

std::string help_about(const std::string &name, const std::vector<command_help> &commands) {
  if (auto *f = find_function(name)) return about_function(*f);
  require_works_here(name);
  auto command = std::ranges::find(commands, name, &command_help::name);
  if (command != commands.end()) return about_command(*command);
  if (auto *word = find_command_line_word(name)) return about_word(*word);
  std::vector<std::string> names;
  for (auto &f : functions()) names.emplace_back(f.name);
  for (auto &c : commands) names.emplace_back(c.name);
  throw usage_error{
      fmt::format("There is no function or command \"{}\".{} help without a name lists them all.", name,
                  did_you_mean(name, names))};
}

}  // namespace console
