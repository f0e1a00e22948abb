// SPDX-License-Identifier: Apache-2.0
/* What could come next on a line of the session language. */
#ifndef CONSOLE_COMPLETION_H
#define CONSOLE_COMPLETION_H

#include "console/run/session.h"

#include <string>
#include <vector>

namespace console {

/** Words that may stand at the end of this line, each beginning with the word that is being typed. */
std::vector<std::string> completions(const session &s, const std::string &line);

}  // namespace console

#endif
