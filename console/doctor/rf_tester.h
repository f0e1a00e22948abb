// SPDX-License-Identifier: Apache-2.0
// Checks of the RF test set that sessions are to measure with.
#ifndef CONSOLE_DOCTOR_RF_TESTER_H
#define CONSOLE_DOCTOR_RF_TESTER_H

#include "console/doctor/finding.h"
#include "console/run/parameters.h"

#include <vector>

namespace console {

/**
 * Connects to the test set that address and profile name, resets it, and measures once on port (1 if it is
 * not named). Throws usage_error for another name, and for one of the two that is missing. Nothing to find
 * out without parameters.
 */
std::vector<finding> examine_rf_tester(const given_parameters &named);

}  // namespace console

#endif
