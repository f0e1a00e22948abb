// SPDX-License-Identifier: Apache-2.0
// Tcl lists to words and back.
#ifndef CONSOLE_TCL_LIST_H
#define CONSOLE_TCL_LIST_H

#include <string>
#include <vector>

namespace console {

/** The words of a Tcl list: {a b {c d}}. Throws usage_error if braces or quotes do not match. */
std::vector<std::string> list_words(const std::string &list);

/** One Tcl command or list of these words, quoted so that none is substituted. */
std::string to_list(const std::vector<std::string> &words);

}  // namespace console

#endif
