// SPDX-License-Identifier: Apache-2.0
// What a command line may begin with besides a function.
#ifndef CONSOLE_COMMAND_LINE_WORDS_H
#define CONSOLE_COMMAND_LINE_WORDS_H

#include <array>
#include <string>
#include <string_view>
#include <vector>

namespace console {

inline constexpr std::array<std::string_view, 11> command_line_names = {
    "run", "line", "preview", "nv", "doctor", "replay", "diff", "trace", "list", "help", "generate"};

struct command_line_word {
  std::string name;
  std::string usage;
  std::string help;
  /** Values of the word that follows, separated by spaces; or FILE, or FUNCTION for a function's name. */
  std::string known = {};
};
const std::vector<command_line_word> &command_line_words();
/** Null for a name that is not one of them. */
const command_line_word *find_command_line_word(std::string_view name);

/** What `generate` makes. */
inline constexpr std::array<std::string_view, 3> generated_names = {"bash", "zsh", "man"};

}  // namespace console

#endif
