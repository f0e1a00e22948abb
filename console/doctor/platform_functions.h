// SPDX-License-Identifier: Apache-2.0
/* Which functions of a library that would not load the phone does not have. */
#ifndef CONSOLE_PLATFORM_FUNCTIONS_H
#define CONSOLE_PLATFORM_FUNCTIONS_H

#include <string>
#include <vector>

namespace console {

/**
 * A loader's message names one undefined function: that one, and all others that the library of the message
 * needs and nothing loaded defines. Empty where the message tells of something else.
 */
std::vector<std::string> undefined_functions(const std::string &message);

}  // namespace console

#endif
