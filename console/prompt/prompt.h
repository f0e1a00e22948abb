// SPDX-License-Identifier: Apache-2.0
// The interactive prompt.
#ifndef CONSOLE_PROMPT_H
#define CONSOLE_PROMPT_H

#include "console/language/interpreter.h"
#include "console/run/session.h"

namespace console {

/** Reads and runs commands until the end of the input or "exit". A command from a pipe that is not understood
 * breaks the session, as does a sourced file that stops at an error. `runner` runs a file as a session of its
 * own. */
void run_prompt(session &s, const interpreter::session_runner &runner);

}  // namespace console

#endif
