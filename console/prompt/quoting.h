// SPDX-License-Identifier: Apache-2.0
// Text helpers of the generated files.
#ifndef CONSOLE_QUOTING_H
#define CONSOLE_QUOTING_H

#include "console/run/functions.h"

#include <string>
#include <vector>

namespace console {

/** The text with every `from` replaced by `to`. */
std::string replaced(std::string text, const std::string &from, const std::string &to);
/** In single quotes, as a shell reads it. */
std::string quoted(const std::string &text);
/** The arguments that a user gives. */
std::vector<const argument *> inputs(const function &f);

}  // namespace console

#endif
