// SPDX-License-Identifier: Apache-2.0
// Runs a program that may hang or print without end.
#ifndef CONSOLE_BOUNDED_RUN_H
#define CONSOLE_BOUNDED_RUN_H

#include <chrono>
#include <string>
#include <vector>

namespace console {

struct run_limits {
  std::chrono::milliseconds time; /**< until its output ends */
  size_t bytes;                   /**< of output */
};

struct bounded_output {
  std::string text;    /**< what it printed, errors included */
  std::string trouble; /**< why it did not end with status 0; "" if it did */
};

/**
 * Runs the program that PATH has for the first word, without input. At a limit it is killed. Only for a
 * thread that nobody watches.
 */
bounded_output run_bounded(const std::vector<std::string> &words, run_limits most);

}  // namespace console

#endif
