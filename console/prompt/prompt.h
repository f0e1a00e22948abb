/* The interactive console. */
#ifndef STATION_PROMPT_H
#define STATION_PROMPT_H

#include "console/run/session.h"

namespace station {

/**
 * Reads and runs commands until the end of the input or "exit".
 * False where a pipe held something that was not understood.
 */
bool run_prompt(session &s);

}  // namespace station

#endif
