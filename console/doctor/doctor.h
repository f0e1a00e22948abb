// SPDX-License-Identifier: Apache-2.0
// Checks before a session that the phone has what a test needs, with causes and cures for what is missing.
#ifndef CONSOLE_DOCTOR_H
#define CONSOLE_DOCTOR_H

#include "console/doctor/finding.h"
#include "console/doctor/system_files.h"
#include "console/phone/settings.h"

#include <vector>

namespace console {

/**
 * Changes nothing on the phone, except that `write` writes an NV item back as it was read. The files are read
 * for a real phone only: the virtual one has no kernel.
 */
std::vector<finding> examine(const settings &with, bool write, const system_files &files = {});

/** Prints the findings, as JSON lines if asked. True if nothing is missing. */
bool print_findings(const std::vector<finding> &findings, bool json);

}  // namespace console

#endif
