// SPDX-License-Identifier: Apache-2.0
// Limits of an expectation: "5", "-70..-40", "10..", "..0", a comma list of these, "*" for anything, or for
// texts a glob of *, ? and [...].
#ifndef CONSOLE_WITHIN_H
#define CONSOLE_WITHIN_H

#include <optional>
#include <string>

namespace console {

/** Whole numbers as parse_number reads them, and decimal fractions. */
std::optional<double> parse_value(const std::string &text);

/** A finite number in the shortest form without exponent and plus sign, as parse_value reads it; any other
 * text as it is. */
std::string without_exponent(const std::string &text);

/** "" if these are valid limits for a number, else what is wrong with them. */
std::string limits_error(const std::string &limits);
/** The same for a number or a text: only what is written as a range must be one. */
std::string range_error(const std::string &limits);

/** True if the value, a number or a text, meets one of the limits. */
bool within(const std::string &limits, const std::string &value);
/** True if the value itself is among the limits, not merely within a range or a glob. */
bool names_value(const std::string &limits, const std::string &value);

}  // namespace console

#endif
