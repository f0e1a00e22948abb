// SPDX-License-Identifier: Apache-2.0
#include "console/prompt/generate_parts.h"

#include "console/language/command_line_words.h"
#include "console/prompt/options.h"
#include "console/prompt/quoting.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace console {
namespace {

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

}  // namespace

std::string bash_completion() {
  return fmt::format("# Completion for bash; made by orva-station generate bash.\n"
                     "_orva_station_options={}\n_orva_station_functions={}\n_orva_station_words={}\n"
                     "declare -gA _orva_station_value=(\n{})\ndeclare -gA _orva_station_optional=(\n{})\n"
                     "declare -gA _orva_station_argument=(\n{})\n{}",
                     quoted(option_names()), quoted(function_names()), quoted(command_words()),
                     bash_values(false), bash_values(true), bash_arguments(), bash_function + 1);
}

}  // namespace console
