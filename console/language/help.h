// SPDX-License-Identifier: Apache-2.0
// Help texts, made from the tables of functions and commands.
#ifndef CONSOLE_HELP_H
#define CONSOLE_HELP_H

#include "console/language/command_help.h"

#include <string>
#include <vector>

namespace console {

/** All functions with one line each, by subject. */
std::string help_list();
/** help_list, and the commands of the session language. */
std::string help_overview(const std::vector<command_help> &commands);
/** A function, command or word of the command line in full; throws usage_error for an unknown name. */
std::string help_about(const std::string &name, const std::vector<command_help> &commands);

}  // namespace console

#endif
