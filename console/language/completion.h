// SPDX-License-Identifier: Apache-2.0
// Completion of a line of the session language.
#ifndef CONSOLE_COMPLETION_H
#define CONSOLE_COMPLETION_H

#include "console/run/session.h"

#include <string>
#include <vector>

namespace console {

/** The words that can complete the last word of this line. */
std::vector<std::string> completions(const session &s, const std::string &line);

}  // namespace console

#endif
