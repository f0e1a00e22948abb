// SPDX-License-Identifier: Apache-2.0
#include "console/language/command_line_words.h"

#include "console/language/nv_commands.h"
#include "console/phone/abilities.h"
#include "console/text/text.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <iterator>

namespace console {

static std::vector<command_line_word> make_words() {
  auto nv = nv_command_line_words();
  const command_line_word words[] = {
      {"run", "[OPTIONS] run FILE... [-- NAME=VALUE...]",
       "run sessions, - from standard input, with parameters", "FILE"},
      {"preview", "[OPTIONS] preview FUNCTION [ARGUMENT...]", "show what a call would change in NV",
       "FUNCTION"},
      {"nv", "[OPTIONS] nv WORD [NUMBER|FILE]", fmt::format("{} NV", either(nv)),
       fmt::format("{}", fmt::join(nv, " "))},
      {"doctor", "[OPTIONS] doctor [-- NAME=VALUE...]",
       "check what a session needs, and how to get what is missing; also an RF test set, named by address and profile"},
      {"replay", "[OPTIONS] replay FILE", "repeat a recording's calls on a phone that answers as recorded",
       "FILE"},
      {"diff", "diff FILE FILE", "show where two recordings first differ", "FILE"},
      {"trace", "trace to-phone FILE",
       "print a description of the phone that was recorded, for the virtual phone", "to-phone"},
      {"list", "list", "list every function"},
      {"help", "help [FUNCTION]", "explain one function or command, or list them all", "FUNCTION"},
      {"generate", fmt::format("generate {}", fmt::join(generated_names, "|")),
       "print a shell's completion, or the manual page", fmt::format("{}", fmt::join(generated_names, " "))},
  };
  static_assert(std::size(words) == command_line_names.size());
  std::vector<command_line_word> all;
  // Sessions have a command "trace" that works everywhere, so "trace to-phone" is looked up as a whole.
  std::ranges::copy_if(words, std::back_inserter(all), [](auto &w) {
    return works_here(w.name) && works_here(fmt::format("{} {}", w.name, w.known));
  });
  return all;
}

const std::vector<command_line_word> &command_line_words() {
  static const std::vector<command_line_word> all = make_words();
  return all;
}

const command_line_word *find_command_line_word(std::string_view name) {
  auto found = std::ranges::find(command_line_words(), name, &command_line_word::name);
  return found == command_line_words().end() ? nullptr : &*found;
}

}  // namespace console
