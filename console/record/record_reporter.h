// SPDX-License-Identifier: Apache-2.0
// Writes a record of each session, for orva-records.
#ifndef CONSOLE_RECORD_REPORTER_H
#define CONSOLE_RECORD_REPORTER_H

#include "console/run/reporter.h"

#include <memory>
#include <string>

namespace console {

/** The pattern of the files' names, as in "spool/%run.jsonl". */
std::shared_ptr<reporter> make_record_reporter(const std::string &pattern);

}  // namespace console

#endif
