// SPDX-License-Identifier: Apache-2.0
// The command reference, written from the tables that the interpreter uses.
#ifndef RF_TESTER_COMMANDS_REFERENCE_H
#define RF_TESTER_COMMANDS_REFERENCE_H

#include <string>

namespace rf_tester {

/** Markdown, from the first section on. */
std::string command_reference();

}  // namespace rf_tester

#endif
