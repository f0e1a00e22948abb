// SPDX-License-Identifier: Apache-2.0
// The words of tester: connect, channel, measure, generate and the others.
#ifndef CONSOLE_TESTER_COMMANDS_H
#define CONSOLE_TESTER_COMMANDS_H

#include "console/language/subcommand.h"
#include "console/run/session.h"
#include "console/tester/instrument.h"
#include "console/tester/limit_table.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace console {

/** The RF test set of a session or prompt, and the limits that it judges by. */
struct bench {
  std::unique_ptr<test_set> connected;
  std::unique_ptr<limit_table> limits;
};

std::vector<subcommand> tester_words();

/** What a tester command acts on. */
struct tester_context {
  bench &on;
  session &running;
  place where;
  /** Turns a file's name as given into its path. */
  std::function<std::string(const std::string &)> located;
};

/** Runs tester and returns its value. Throws usage_error for words that it does not know and for every
 * failure of the connection or of a setting. */
std::string run_tester(const std::vector<std::string> &words, const tester_context &in);

}  // namespace console

#endif
