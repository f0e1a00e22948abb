// SPDX-License-Identifier: Apache-2.0
// The words of nv: list, show, backup, restore and the others.
#ifndef CONSOLE_NV_COMMANDS_H
#define CONSOLE_NV_COMMANDS_H

#include "console/language/subcommand.h"
#include "console/run/session.h"

#include <functional>

namespace console {

/** In a session. */
std::vector<subcommand> nv_words();
/** On the command line, where nothing outlives a single command. */
std::vector<std::string> nv_command_line_words();

/**
 * Runs nv and returns what it shows. `located` turns a file's name as given into its path.
 * Throws usage_error for words that it does not know.
 */
std::string run_nv(const std::vector<std::string> &words, session &s,
                   const std::function<std::string(const std::string &)> &located);

}  // namespace console

#endif
