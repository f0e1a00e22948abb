// SPDX-License-Identifier: Apache-2.0
// Completes what the options say about a run: its identity and the names of its outputs.
#ifndef CONSOLE_OUTPUTS_H
#define CONSOLE_OUTPUTS_H

#include "console/prompt/options.h"
#include "console/text/output_file.h"

#include <string>
#include <vector>

namespace console {

/** An option that names an output of the whole run. */
struct output_option {
  const char *name;
  std::string command_line::*file;
};
inline constexpr output_option output_options[] = {
    {"--junit", &command_line::junit_file},
    {"--report", &command_line::report_file},
    {"--trace", &command_line::trace_file},
};

/** Gives the run its id and start, takes the serial from the phone if wanted, and replaces the placeholders
 * in the outputs' names. Throws usage_error. */
void complete(command_line &line, const std::string &console_version);

/** The identity of a session of the run; each after the first has an id and a start of its own. */
identity identity_of(const command_line &line, const std::string &session, bool first);

}  // namespace console

#endif
