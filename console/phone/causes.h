// SPDX-License-Identifier: Apache-2.0
/* Why something was refused, and what helps: one table for the check before a session and for a call that
 * fails. */
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

/** Of a system call, by its errno. */
cause cause_of_error(int error);
/** Of a shell command, by its exit status. */
cause cause_of_status(int64_t status);
/** Of an NV access, by the service's code. */
cause cause_of_nv(int64_t code);
cause cause_of(const trouble &t);

struct likely_cause : cause {
  std::string what; /**< what was refused: "driver command 12 rssi" */
  std::string text() const;
};

/** Of a call that failed: each kind of trouble that it met, at most three. None for a call that did not. */
std::vector<likely_cause> likely_causes(const observed &seen);

}  // namespace console

#endif
