// SPDX-License-Identifier: Apache-2.0
// Shell completion and the manual page, made from the tables of functions, commands and options.
#ifndef CONSOLE_GENERATE_H
#define CONSOLE_GENERATE_H

#include <string>

namespace console {

/** Takes one of generated_names; throws usage_error for anything else. */
std::string generate(const std::string &what);

}  // namespace console

#endif
