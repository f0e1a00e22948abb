// SPDX-License-Identifier: Apache-2.0
// The command line: its options, and the words that follow them.
#ifndef CONSOLE_OPTIONS_H
#define CONSOLE_OPTIONS_H

#include "console/output/output.h"
#include "console/phone/settings.h"
#include "console/run/identity.h"

#include <string>
#include <vector>

namespace console {

struct command_line {
  settings with;
  bool all_chips = false;
  bool json = false;
  detail how_much = detail::full;
  /** What a one-shot call is expected to give: "RESULT ?NAME LIMITS ...?" */
  std::string expect;
  std::string junit_file;
  std::string report_file;
  std::string trace_file;
  /** A record for each session. */
  std::string record_file;
  identity who;
  std::string station_file;
  /** An interrupted session leaves the phone as it is. */
  bool keep_test_mode = false;
  /** doctor also tests writing to NV. */
  bool write = false;
  bool help = false;
  bool version = false;
  /** The options on the command line, without their dashes. */
  std::vector<std::string> given;
  /** What follows the options: a function or a command, and its arguments. */
  std::vector<std::string> words;
};

/** One option. The parser, help, completion and the manual page are made from these. */
struct option_help {
  const char *name;
  /** What follows: "" nothing, "NAME" a value, "[=NAME]" one that may be left out. */
  const char *value;
  std::string help;
  /** The values to offer, separated by spaces; "FILE" for any file. */
  std::string known = {};

  bool takes_value() const { return *value != 0; }
  bool value_is_optional() const { return *value == '['; }
  /** "--chip" */
  std::string full_name() const;
  /** "--chip NAME", "--log[=PRIORITY]" */
  std::string usage() const;
};
const std::vector<option_help> &options();

/** The command line and its options. */
std::string command_line_help();

/** Throws usage_error for anything it does not understand. */
command_line parse_command_line(int count, char **arguments);

}  // namespace console

#endif
