/* The command line. */
#ifndef STATION_OPTIONS_H
#define STATION_OPTIONS_H

#include "output.h"
#include "session.h"

namespace station {

struct command_line {
  settings with;
  bool all_chips = false;
  bool json = false;
  detail how_much = detail::full;
  /** What a one-shot call should give: "RESULT ?NAME LIMITS ...?" */
  std::string expect;
  std::string junit_file;
  std::string report_file;
  bool help = false;
  bool version = false;
  /** What is not an option: a function and its arguments, or run, nv, help, list and theirs. */
  std::vector<std::string> words;
};

/** A priority by name, "" for debug; throws usage_error. */
int log_priority(const std::string &name);

/** Throws usage_error for anything it does not understand. */
command_line parse_command_line(int count, char **arguments);

}  // namespace station

#endif
