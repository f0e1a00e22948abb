// SPDX-License-Identifier: Apache-2.0
// Finds the platform functions that keep a library from loading.
#ifndef CONSOLE_PLATFORM_FUNCTIONS_H
#define CONSOLE_PLATFORM_FUNCTIONS_H

#include <string>
#include <vector>

namespace console {

/**
 * A loader's message names one undefined function. Returns that one and all others that the library in the
 * message needs and nothing loaded defines. Empty if the message is about something else.
 */
std::vector<std::string> undefined_functions(const std::string &message);

}  // namespace console

#endif
