// SPDX-License-Identifier: Apache-2.0
// Which options and commands work on this console's phone: all on the virtual one, not all on a real one.
#ifndef CONSOLE_ABILITIES_H
#define CONSOLE_ABILITIES_H

#include <string>
#include <string_view>

namespace console {

/** For an option with its dashes, a word of the command line, or a command of sessions. Help and completion
 * leave out what does not work. */
bool works_here(std::string_view name);

/** Throws usage_error, with the reason, if it does not work here. */
void require_works_here(std::string_view name);

/** The name of the console for this kind of phone. */
std::string_view own_name();

/** A text that names orva-station, with own_name() instead. Only for texts of ours: what a user or a file
 * gave stays as it is. */
std::string with_own_name(std::string text);

}  // namespace console

#endif
