// SPDX-License-Identifier: Apache-2.0
// Checks before a session that the phone has what a test needs, with causes and cures for what is missing.
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
  std::string found; /**< in a few words */
  std::string why;   /**< "" if nothing is wrong */
  std::string cure;
};

/** Changes nothing on the phone, except that `write` writes an NV item back as it was read. */
std::vector<finding> examine(const settings &with, bool write);

/** Prints the findings, as JSON lines if asked. True if nothing is missing. */
bool print_findings(const std::vector<finding> &findings, bool json);

}  // namespace console

#endif
