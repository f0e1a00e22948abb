// SPDX-License-Identifier: Apache-2.0
// Texts for an instrument with names in braces, as "SENS:POW:EXP {dbm}DBM".
#ifndef CONSOLE_FILLED_TEXT_H
#define CONSOLE_FILLED_TEXT_H

#include <functional>
#include <map>
#include <string>
#include <variant>

namespace console {

using text_value = std::variant<double, std::string>;
using text_values = std::map<std::string, text_value>;

/**
 * The text with what `value_of` gives for each name. A whole number is written without a fraction;
 * {rate:upper} gives capitals, {dbm:.2f} two decimals. "{{" is a brace. Throws usage_error for a brace that
 * is not closed or a format that does not fit, and passes on what `value_of` throws.
 */
std::string fill(const std::string &text, const std::function<text_value(const std::string &name)> &value_of);
std::string fill(const std::string &text, const text_values &values);

}  // namespace console

#endif
