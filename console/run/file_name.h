// SPDX-License-Identifier: Apache-2.0
// Names of output files that are made from a run's identity: "reports/%serial-%time.html".
#ifndef CONSOLE_FILE_NAME_H
#define CONSOLE_FILE_NAME_H

#include "console/run/identity.h"

#include <string>

namespace console {

/** Does the name have a placeholder? */
bool is_pattern(const std::string &name);
/** Whether the name needs the chip, which is known once the phone is. */
bool needs_chip(const std::string &name);

/**
 * The name with its placeholders replaced. A value never leaves its part of the path: what is not a letter, a
 * digit, "-", "_", "+", a dot within, or a character beyond ASCII becomes %XX. Throws usage_error, beginning
 * with the option, for an unknown placeholder and for one without a value.
 */
std::string name_from_pattern(const std::string &option, const std::string &pattern, const identity &who,
                              const std::string &chip);

/** Makes the folders that have a placeholder in their name. The others must be there: a mistyped path or a
 * disk that is not mounted shows then. Throws usage_error. */
void make_folders(const std::string &option, const std::string &pattern, const std::string &name);

/** For an output of several sessions: throws usage_error for a placeholder that only one session has. */
void refuse_session_placeholders(const std::string &option, const std::string &pattern, const identity &who,
                                 bool several_chips);

}  // namespace console

#endif
