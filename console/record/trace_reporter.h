// SPDX-License-Identifier: Apache-2.0
// Writes a recording of the sessions that run.
#ifndef CONSOLE_TRACE_REPORTER_H
#define CONSOLE_TRACE_REPORTER_H

#include "console/run/reporter.h"

#include <memory>
#include <string>

namespace console {

/** Throws usage_error if the file cannot be written. */
std::shared_ptr<reporter> make_trace_reporter(const std::string &path);

}  // namespace console

#endif
