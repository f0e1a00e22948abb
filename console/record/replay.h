// SPDX-License-Identifier: Apache-2.0
/* Recordings compared: with what the library does today, and with one another. */
#ifndef CONSOLE_REPLAY_H
#define CONSOLE_REPLAY_H

#include "console/phone/settings.h"

#include <string>

namespace console {

/** Runs a recording's calls against the library, the phone answering as it did then; prints where they part
 * first. True where nothing differs. */
bool replay(const std::string &path, const settings &with);

/** Prints where two recordings part first, times apart; true where nothing differs. */
bool diff_recordings(const std::string &first, const std::string &second);

}  // namespace console

#endif
