// SPDX-License-Identifier: Apache-2.0
// What the doctor found out about one thing that a session needs.
#ifndef CONSOLE_FINDING_H
#define CONSOLE_FINDING_H

#include "console/phone/causes.h"

#include <string>

namespace console {

enum class presence { ok, missing, unknown };

struct finding {
  std::string what;
  presence state;
  std::string found; /**< in a few words */
  std::string why;   /**< "" if nothing is wrong */
  std::string cure;
  std::string check = {}; /**< how to check it by hand in the phone's shell; "" on the virtual phone */
};

inline finding good(std::string what, std::string found) {
  return {std::move(what), presence::ok, std::move(found), "", ""};
}

inline finding missing(std::string what, const cause &c) {
  return {std::move(what), presence::missing, c.name, c.why, c.cure};
}

inline finding unknown(std::string what, std::string found, std::string why, std::string cure) {
  return {std::move(what), presence::unknown, std::move(found), std::move(why), std::move(cure)};
}

}  // namespace console

#endif
