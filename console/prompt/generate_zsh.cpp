// SPDX-License-Identifier: Apache-2.0
#include "console/prompt/generate_parts.h"

#include "console/language/command_line_words.h"
#include "console/prompt/options.h"
#include "console/prompt/quoting.h"
#include "console/text/text.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace console {
namespace {

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

}  // namespace

std::string zsh_completion() {
  std::string option_rows, function_rows, word_rows;
  for (auto &o : options()) option_rows += fmt::format("  {}\n", quoted(zsh_option(o)));
  for (auto &f : functions()) function_rows += fmt::format("  {}\n", quoted(described(f.name, f.help)));
  for (auto &w : command_line_words()) word_rows += fmt::format("  {}\n", quoted(described(w.name, w.help)));
  return fmt::format("#compdef orva-station\n# Completion for zsh; made by orva-station generate zsh.\n"
                     "typeset -ga _orva_station_options=(\n{})\ntypeset -ga _orva_station_functions=(\n{})\n"
                     "typeset -ga _orva_station_words=(\n{})\ntypeset -gA _orva_station_argument=(\n{})\n{}",
                     option_rows, function_rows, word_rows, zsh_arguments(), zsh_function + 1);
}

}  // namespace console
