// SPDX-License-Identifier: Apache-2.0
/*
 * What an expectation allows: "5", "-70..-40", "10..", "..0", a comma list of these, "*" for anything, or a
 * text with *, ? and [...] where a text is expected.
 */
#ifndef CONSOLE_WITHIN_H
#define CONSOLE_WITHIN_H

#include <string>

namespace console {

/** Is it a limit that a number can meet? "" if so, else what is wrong with it. */
std::string limits_error(const std::string &limits);

/** Does a value, number or text, lie within? */
bool within(const std::string &limits, const std::string &value);

}  // namespace console

#endif
