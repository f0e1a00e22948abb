// SPDX-License-Identifier: Apache-2.0
// Lines of the phone's log as logcat prints them.
#ifndef CONSOLE_LOGCAT_H
#define CONSOLE_LOGCAT_H

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace console {

struct logcat_entry {
  int64_t wall_us; /**< since 1970 */
  int process;
  int thread;
  int priority; /**< as log_priority numbers it */
  std::string tag;
  std::string text; /**< several lines for a text with line ends; without the last one */

  bool operator==(const logcat_entry &) const = default;
};

struct logcat_output {
  std::vector<logcat_entry> entries;
  /** The first line that is neither an entry nor a mark between two logs; "" if there is none. */
  std::string unknown;
};

/** The arguments for entries since a time. process: of this one only; 0 for all. */
std::vector<std::string> logcat_words(int64_t since_wall_us, int process);

/** Takes the output of logcat with these arguments. A last line without its end was cut off: it is unknown.
 */
logcat_output parse_logcat(std::string_view output);

}  // namespace console

#endif
