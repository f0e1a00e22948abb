// SPDX-License-Identifier: Apache-2.0
/* Before a session: what the phone has of all that a test needs, and what helps where it is missing. */
#ifndef CONSOLE_DOCTOR_H
#define CONSOLE_DOCTOR_H

#include "console/phone/settings.h"

#include <string>
#include <vector>

namespace console {

enum class presence { ok, missing, unknown };

struct finding {
  std::string what;
  presence state;
  std::string found; /**< what was seen, in a few words */
  std::string why;   /**< "" where nothing is wrong */
  std::string cure;
};

/** Looks at the phone as it stands; nothing on it is changed, but for `write`: an NV item is written back as
 * it was read. */
std::vector<finding> examine(const settings &with, bool write);

/** Prints the findings, as JSON lines where wanted; true where nothing is missing. */
bool tell(const std::vector<finding> &findings, bool json);

}  // namespace console

#endif
