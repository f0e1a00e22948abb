// SPDX-License-Identifier: Apache-2.0
/* Work on an NV store that lasts: look first, ask, write, read back. */
#ifndef CONSOLE_NV_SAFE_H
#define CONSOLE_NV_SAFE_H

#include "console/run/session.h"

#include <functional>

namespace console {

class interpreter;

/** What something would do to NV, found out on a copy of the phone. */
struct foresight {
  bool good; /**< no call in it failed */
  std::string text;
};
/** Throws usage_error where act does, and where the phone cannot be copied. */
foresight preview(session &s, const std::string &what, const std::function<void()> &act);

/** Asks on the terminal whether a store that lasts may be changed; throws usage_error where the answer is no,
 * and where there is nobody to ask. */
void ask_before_writing(session &s, const std::string &what, const std::function<void()> &act);

/** Every parameter that the last call wrote, as the NV service confirmed, and that reads otherwise now. */
std::vector<expectation> read_back();

/** What `nv` does, at the prompt, in a session (then with its interpreter) and on the command line: gives
 * what it shows. */
std::string run_nv(const std::vector<std::string> &words, session &s, const interpreter *in);

}  // namespace console

#endif
