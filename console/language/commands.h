// SPDX-License-Identifier: Apache-2.0
/* The session language's own commands, as one table. */
#ifndef CONSOLE_COMMANDS_H
#define CONSOLE_COMMANDS_H

#include "console/language/interpreter.h"

#include <span>

namespace console {

struct command {
  command_help help;
  size_t least;
  size_t most;
  std::string (*run)(interpreter &in, const std::vector<std::string> &words);
};

std::span<const command> commands();

/** One command of these words, none of them looked into. */
std::string to_list(const std::vector<std::string> &words);

}  // namespace console

#endif
