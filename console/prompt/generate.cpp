// SPDX-License-Identifier: Apache-2.0
#include "console/prompt/generate.h"

#include "console/language/command_line_words.h"
#include "console/language/commands.h"
#include "console/prompt/options.h"
#include "console/run/functions.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace console {
namespace {

std::string replaced(std::string text, const std::string &from, const std::string &to) {
  for (size_t at = 0; (at = text.find(from, at)) != text.npos; at += to.size())
    text.replace(at, from.size(), to);
  return text;
}

std::string quoted(const std::string &text) { return "'" + replaced(text, "'", "'\\''") + "'"; }

std::vector<const argument *> inputs(const function &f) {
  std::vector<const argument *> all;
  for (auto &a : f.arguments)
    if (!a.is_output()) all.push_back(&a);
  return all;
}

std::string known_words(const argument &a) {
  std::string words = a.kind == argument_kind::ignored ? " null scratch" : "";
  for (auto &k : a.known) words += fmt::format(" {}", k.value);
  return words.empty() ? "" : words.substr(1);
}

std::string function_names() {
  std::vector<std::string> names;
  for (auto &f : functions()) names.emplace_back(f.name);
  return fmt::format("{}", fmt::join(names, " "));
}

std::string command_words() {
  std::vector<std::string> names;
  for (auto &w : command_line_words()) names.emplace_back(w.name);
  return fmt::format("{} {}", fmt::join(names, " "), function_names());
}

// ---- bash: tables of words, and one function that looks them up ------------------------------------------

constexpr const char *bash_function = R"(
_orva_station() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} i=1 first=0 words sign=
  # "--log=er" comes as three words; a value that may be left out needs the sign.
  [[ $before == = ]] && { before=${COMP_WORDS[COMP_CWORD - 2]}; sign==; }
  [[ $word == = ]] && { word=; sign==; }
  while ((i < COMP_CWORD)); do
    case ${COMP_WORDS[i]} in
    --*) [[ -n ${_orva_station_value[${COMP_WORDS[i]}]} && ${COMP_WORDS[i + 1]} != = ]] && ((i++)) ;;
    = | -*) [[ ${COMP_WORDS[i]} == = ]] && ((i++)) ;;
    *) first=$i; break ;;
    esac
    ((i++))
  done
  # preview stands before a call.
  ((first)) && [[ ${COMP_WORDS[first]} == preview ]] && ((first + 1 < COMP_CWORD)) && ((first++))
  if ((!first)); then
    words=${_orva_station_value[$before]}
    [[ -n $sign ]] && words+=${_orva_station_optional[$before]}
    [[ -z $words && $word == -* ]] && words=$_orva_station_options
    words=${words:-$_orva_station_words}
  else
    words=${_orva_station_argument[${COMP_WORDS[first]} $((COMP_CWORD - first))]}
    [[ ${_orva_station_argument[${COMP_WORDS[first]} 1]} == FILE ]] && words=FILE
    [[ ${COMP_WORDS[first]} == nv && $((COMP_CWORD - first)) == 2 ]] && words=FILE
  fi
  case $words in
  FILE) compopt -o default; COMPREPLY=() ;;
  FUNCTION) mapfile -t COMPREPLY < <(compgen -W "$_orva_station_functions" -- "$word") ;;
  *) mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word") ;;
  esac
}
complete -F _orva_station orva-station
)";

std::string option_names() {
  std::vector<std::string> names;
  for (auto &o : options()) names.push_back(fmt::format("--{}", o.name));
  return fmt::format("{}", fmt::join(names, " "));
}

/** A row for each option with a value; " " if there is nothing to offer. */
std::string bash_values(bool optional) {
  std::string rows;
  for (auto &o : options())
    if (o.takes_value() && o.value_is_optional() == optional)
      rows += fmt::format("  [--{}]={}\n", o.name, quoted(o.known.empty() ? " " : o.known));
  return rows;
}

std::string bash_arguments() {
  std::string rows;
  for (auto &f : functions()) {
    auto all = inputs(f);
    for (size_t i = 0; i < all.size(); ++i)
      if (auto words = known_words(*all[i]); !words.empty())
        rows += fmt::format("  ['{} {}']={}\n", f.name, i + 1, quoted(words));
  }
  for (auto &w : command_line_words())
    if (!w.known.empty()) rows += fmt::format("  ['{} 1']={}\n", w.name, quoted(w.known));
  return rows;
}

std::string bash() {
  return fmt::format("# Completion for bash; made by orva-station generate bash.\n"
                     "_orva_station_options={}\n_orva_station_functions={}\n_orva_station_words={}\n"
                     "declare -gA _orva_station_value=(\n{})\ndeclare -gA _orva_station_optional=(\n{})\n"
                     "declare -gA _orva_station_argument=(\n{})\n{}",
                     quoted(option_names()), quoted(function_names()), quoted(command_words()),
                     bash_values(false), bash_values(true), bash_arguments(), bash_function + 1);
}

// ---- zsh: words with their meanings ----------------------------------------------------------------------

constexpr const char *zsh_function = R"(
_orva_station() {
  local state line ret=1
  local -a words_behind
  _arguments -S -A '-*' $_orva_station_options '1: :->first' '*:: :->rest' && ret=0
  case $state in
  first)
    _describe -t functions 'function' _orva_station_functions && ret=0
    _describe -t commands 'command' _orva_station_words && ret=0 ;;
  rest)
    if [[ $words[1] == preview ]] && ((CURRENT > 2)); then shift words; ((CURRENT--)); fi
    if [[ "${_orva_station_argument[$words[1] 1]}" == FILE ]] || { [[ $words[1] == nv ]] && ((CURRENT == 3)); }; then _files; return; fi
    words_behind=("${(@f)_orva_station_argument[$words[1] $((CURRENT - 1))]}")
    if [[ $words_behind[1] == FUNCTION ]]; then _describe -t functions 'function' _orva_station_functions && ret=0
    elif [[ -n $words_behind[1] ]]; then _describe -V -t values 'value' words_behind && ret=0; fi ;;
  esac
  return ret
}
# Found in fpath, this file is read at the first Tab, which wants an answer already.
if [[ $funcstack[1] == _orva-station ]]; then _orva_station "$@"; else compdef _orva_station orva-station; fi
)";

/** "word:meaning", as _describe reads it. */
std::string described(const std::string &word, const std::string &meaning) {
  auto escaped = replaced(word, ":", "\\:");
  return meaning.empty() ? escaped : escaped + ":" + meaning;
}

std::string zsh_option(const option_help &o) {
  auto help = replaced(replaced(replaced(o.help, "[", "("), "]", ")"), ":", "\\:");
  if (!o.takes_value()) return fmt::format("--{}[{}]", o.name, help);
  bool optional = o.value_is_optional();
  auto values = o.known == "FILE" ? "_files" : o.known.empty() ? " " : "(" + o.known + ")";
  return fmt::format("--{}{}[{}]:{}{}:{}", o.name, optional ? "=-" : "=", help, optional ? ":" : "",
                     upper(o.name), values);
}

std::string zsh_arguments() {
  std::string rows;
  auto add = [&](const std::string &name, size_t place, const std::vector<std::string> &lines) {
    if (!lines.empty())
      rows += fmt::format("  '{} {}' {}\n", name, place, quoted(fmt::format("{}", fmt::join(lines, "\n"))));
  };
  for (auto &f : functions()) {
    auto all = inputs(f);
    for (size_t i = 0; i < all.size(); ++i) {
      std::vector<std::string> lines;
      for (auto &k : all[i]->known) lines.push_back(described(k.value, k.meaning));
      if (all[i]->kind == argument_kind::ignored) lines = {"null", "scratch"};
      add(f.name, i + 1, lines);
    }
  }
  for (auto &w : command_line_words())
    if (!w.known.empty()) add(w.name, 1, split(w.known, ' '));
  return rows;
}

std::string zsh() {
  std::string option_rows, function_rows, word_rows;
  for (auto &o : options()) option_rows += fmt::format("  {}\n", quoted(zsh_option(o)));
  for (auto &f : functions()) function_rows += fmt::format("  {}\n", quoted(described(f.name, f.help)));
  for (auto &w : command_line_words()) word_rows += fmt::format("  {}\n", quoted(described(w.name, w.help)));
  return fmt::format("#compdef orva-station\n# Completion for zsh; made by orva-station generate zsh.\n"
                     "typeset -ga _orva_station_options=(\n{})\ntypeset -ga _orva_station_functions=(\n{})\n"
                     "typeset -ga _orva_station_words=(\n{})\ntypeset -gA _orva_station_argument=(\n{})\n{}",
                     option_rows, function_rows, word_rows, zsh_arguments(), zsh_function + 1);
}

// ---- The man page ----------------------------------------------------------------------------------------

/** Escapes text for troff. */
std::string troff(const std::string &text) {
  auto safe = replaced(replaced(text, "\\", "\\e"), "-", "\\-");
  return safe.starts_with('.') || safe.starts_with('\'') ? "\\&" + safe : safe;
}

/** Wraps text at 80 characters; no line looks like a troff request. */
std::string paragraph(const std::string &text) {
  std::string lines, line;
  for (auto &word : split(text, ' ')) {
    if (!line.empty() && troff(line).size() + troff(word).size() >= 80) {
      lines += troff(line) + "\n";
      line.clear();
    }
    line += fmt::format("{}{}", line.empty() ? "" : " ", word);
  }
  return lines + troff(line);
}

std::string tagged(const std::string &tag, const std::string &text) {
  return fmt::format(".TP\n.B {}\n{}\n", troff(tag), paragraph(text));
}

/** A tagged paragraph with a row for each argument, result and note. */
std::string man_function(const function &f) {
  auto text = fmt::format(".TP\n.B {}\n{}\n", troff(usage(f)), paragraph(f.help));
  auto line = [&](const std::string &words) { text += fmt::format(".br\n{}\n", paragraph(words)); };
  for (auto &a : f.arguments) {
    auto words =
        fmt::format("{}: {}", a.is_output() ? std::string(a.name) + " (output)" : upper(a.name), a.help);
    if (*a.unit) words += fmt::format(", in {}", a.unit);
    if (*a.range) words += fmt::format("; usual {}", fmt::join(split(a.range, ','), ", "));
    if (a.fallback) words += fmt::format("; left out: {}", a.fallback);
    line(words);
  }
  line(fmt::format("Result: {}", f.result_help));
  if (f.chips != ALL_CHIPS) line(fmt::format("Only on {}", chip_list(f.chips)));
  for (auto &n : f.notes) line(fmt::format("{}: {}", chip_list(n.chips), n.text));
  return text;
}

std::string man_functions() {
  std::string text, group;
  for (auto &f : functions()) {
    if (group != f.group) text += fmt::format(".SS {}\n", troff(group = f.group));
    text += man_function(f);
  }
  return text;
}

std::string man_files() {
  return tagged("~/.orva_station_history", "what was typed at the prompt") +
         tagged("share/wifi_factory_test_orva/sessions", "sessions to start from") +
         tagged("share/wifi_factory_test_orva/phones", "descriptions of phones, broken ones among them");
}

std::string man() {
  std::string text =
      ".TH ORVA\\-STATION 1 2025-01-01 wifi_factory_test_orva\n.SH NAME\norva\\-station \\- test the "
      "WLAN chip of a phone, or of one made of software\n.SH SYNOPSIS\n";
  auto way = [&](const std::string &usage) {
    text += fmt::format(".B orva\\-station\n{}\n.br\n", troff(usage));
  };
  way("[OPTIONS] FUNCTION [ARGUMENT...]");
  for (auto &w : command_line_words()) way(w.usage);
  text += ".B orva\\-station\n[OPTIONS]\n.SH DESCRIPTION\n";
  text +=
      paragraph("Calls the functions of libwifi_factory_test_orva one by one, from session files, or at a "
                "prompt, and tells what each did: its result in words, driver commands, shell commands, "
                "pauses, NV items.") +
      "\n";
  for (auto &w : command_line_words()) text += tagged(w.name, w.help);
  text += ".SH OPTIONS\n";
  for (auto &o : options()) text += tagged(o.usage(), o.help);
  text += ".SH FUNCTIONS\n" + man_functions();
  text += ".SH SESSION LANGUAGE\nTcl, with each function as a command, and\n";
  for (auto &c : command_list()) text += tagged(c.usage, c.help);
  return text + ".SH EXIT STATUS\n" + paragraph(exit_status_help) + "\n.SH FILES\n" + man_files();
}

struct product {
  std::string_view name;
  std::string (*make)();
};
constexpr product products[] = {{"bash", bash}, {"zsh", zsh}, {"man", man}};
static_assert(std::ranges::equal(products, generated_names, {}, &product::name),
              "what can be generated is what the command line offers");

}  // namespace

std::string generate(const std::string &what) {
  auto found = std::ranges::find(products, what, &product::name);
  if (found == std::end(products))
    throw usage_error{"generate: give bash or zsh for a completion, or man for the page of the manual."};
  return found->make();
}

}  // namespace console
