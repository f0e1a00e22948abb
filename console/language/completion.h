// SPDX-License-Identifier: Apache-2.0
// Completion of a text in the session language.
#ifndef CONSOLE_COMPLETION_H
#define CONSOLE_COMPLETION_H

#include "console/run/session.h"

#include <string>
#include <vector>

namespace console {

struct completion {
  std::string begun;              /**< the last word of the text, without its quoting */
  std::vector<std::string> words; /**< sorted; what the word can become */
  bool quoted = false;            /**< the word stands in quotes or braces */

  /** A part of a word as it has to be typed: blanks and the language's own characters are escaped. */
  std::string as_typed(const std::string &part) const;
  /** What follows a complete word: a blank, or nothing if the word goes on. */
  std::string end_of(const std::string &word) const;
};

/** What can complete the last word of this text, which may have several lines. */
completion complete(const session &s, const std::string &text);

}  // namespace console

#endif
