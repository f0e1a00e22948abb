// SPDX-License-Identifier: Apache-2.0
// Compares a recording with what the library does now, or with another recording.
#ifndef CONSOLE_REPLAY_H
#define CONSOLE_REPLAY_H

#include "console/phone/settings.h"

#include <string>

namespace console {

/** Repeats the calls on a phone that answers as recorded. Prints the first difference; true if there is none.
 */
bool replay(const std::string &path, const settings &with);

/** Prints the first difference, times ignored; true if there is none. */
bool diff_recordings(const std::string &first, const std::string &second);

}  // namespace console

#endif
