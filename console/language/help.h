// SPDX-License-Identifier: Apache-2.0
/* Help texts, all made from the tables of functions and commands. */
#ifndef CONSOLE_HELP_H
#define CONSOLE_HELP_H

#include <string>

namespace console {

inline constexpr const char *exit_status_help =
    "Exit status: 0 every expectation held; 1 one failed, or a call without expectation failed; 2 wrong usage.";

std::string help_overview();
/** All functions with one line each, by subject. */
std::string help_list();
/** A function or command in full; throws usage_error for an unknown one. */
std::string help_about(const std::string &name);
/** The command line and its options. */
std::string help_command_line();

}  // namespace console

#endif
