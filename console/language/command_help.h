// SPDX-License-Identifier: Apache-2.0
// One command of the session language as help, completion and the manual page show it.
#ifndef CONSOLE_COMMAND_HELP_H
#define CONSOLE_COMMAND_HELP_H

#include "console/language/subcommand.h"

#include <string>
#include <vector>

namespace console {

struct command_help {
  const char *name;
  std::string usage;
  std::string help;
  const char *example;
  /** What the second word may be, for completion. */
  std::vector<subcommand> words = {};
};

}  // namespace console

#endif
