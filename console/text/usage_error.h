// SPDX-License-Identifier: Apache-2.0
// The one exception of the console: input that it cannot work with.
#ifndef CONSOLE_USAGE_ERROR_H
#define CONSOLE_USAGE_ERROR_H

#include <string>

namespace console {

/** A bad call, command, option or file. The message names the input and says what would be right. */
struct usage_error {
  std::string message;
};

/** Throws the message as a usage_error unless it is empty. */
inline void require(const std::string &message) {
  if (!message.empty()) throw usage_error{message};
}

}  // namespace console

#endif
