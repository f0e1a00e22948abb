// SPDX-License-Identifier: Apache-2.0
// Options of a command in the session language: -NAME VALUE pairs after its arguments.
#ifndef CONSOLE_OPTION_WORDS_H
#define CONSOLE_OPTION_WORDS_H

#include <map>
#include <span>
#include <string>
#include <vector>

namespace console {

/** What was given, without the hyphens of the names. */
using given_options = std::map<std::string, std::string>;

/**
 * Parses words that are all "-NAME VALUE". Throws usage_error for a name that is not known or given twice,
 * and for one without its value; `command` begins the message.
 */
given_options parse_options(const std::string &command, std::span<const std::string> words,
                            const std::vector<std::string> &known);

/** "mhz 2442 rate mcs7" as pairs in its order. Throws usage_error for a name without its value. */
std::vector<std::pair<std::string, std::string>> parse_condition(const std::string &command,
                                                                 const std::string &list);

}  // namespace console

#endif
