// SPDX-License-Identifier: Apache-2.0
// Why the phone refused something, and what helps. Shared by the doctor and by failed calls.
#ifndef CONSOLE_CAUSES_H
#define CONSOLE_CAUSES_H

#include "console/phone/observed.h"

#include <string>
#include <vector>

namespace console {

struct cause {
  std::string name; /**< "ENODEV", "exit status 127", "code 2" */
  std::string why;
  std::string cure;
};

/** For the errno of a system call. */
cause cause_of_error(int error);
/** For the exit status of a shell command. */
cause cause_of_status(int64_t status);
/** For the NV service's code. */
cause cause_of_nv(int64_t code);
cause cause_of(const trouble &t);

struct likely_cause : cause {
  std::string what; /**< what was refused: "driver command 12 rssi" */
  std::string text() const;
};

/** The causes of a failed call: one for each kind of trouble it met, at most three. Without any, the settings
 * that the library logged as unusable. */
std::vector<likely_cause> likely_causes(const observed &seen);

}  // namespace console

#endif
