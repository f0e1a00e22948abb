// SPDX-License-Identifier: Apache-2.0
/* The command line. */
#ifndef CONSOLE_OPTIONS_H
#define CONSOLE_OPTIONS_H

#include "console/output/output.h"
#include "console/run/session.h"

#include <span>

namespace console {

struct command_line {
  settings with;
  bool all_chips = false;
  bool json = false;
  detail how_much = detail::full;
  /** What a one-shot call should give: "RESULT ?NAME LIMITS ...?" */
  std::string expect;
  std::string junit_file;
  std::string report_file;
  std::string trace_file;
  /** doctor may write an NV item back as it was read. */
  bool write = false;
  bool help = false;
  bool version = false;
  /** What is not an option: a function and its arguments, or one of command_line_words and its own. */
  std::vector<std::string> words;
};

/** One option as its users read it: the parser, the help, the completion and the man page are made from
 * these. */
struct option_help {
  const char *name;
  /** What stands behind it: "" nothing, "NAME" a value, "[=NAME]" one that may be left out. */
  const char *value;
  const char *help;
  /** Values that can be told beforehand, separated by spaces; "FILE" where it is any file. */
  const char *known = "";
};
const std::vector<option_help> &options();

/** What the command line may begin with besides a function, for the help, the completion and the man page. */
struct word_help {
  const char *name;
  const char *usage;
  const char *help;
  /** As above, for the word behind it; "FUNCTION" where a function's name comes. */
  const char *known = "";
};
std::span<const word_help> command_line_words();

/** A priority by name, "" for debug; throws usage_error. */
int log_priority(const std::string &name);

/** Throws usage_error for anything it does not understand. */
command_line parse_command_line(int count, char **arguments);

}  // namespace console

#endif
