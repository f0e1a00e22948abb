// SPDX-License-Identifier: Apache-2.0
// The report: a self-contained HTML page with all events of a run and the script that draws them.
#ifndef CONSOLE_REPORT_H
#define CONSOLE_REPORT_H

#include "console/phone/settings.h"
#include "console/run/reporter.h"

#include <memory>
#include <string>

namespace console {

/** The page is complete, and gets its name, when all sessions are done. Throws usage_error if the file cannot
 * be written. */
std::shared_ptr<reporter> make_report_reporter(const std::string &path, const settings &with);

}  // namespace console

#endif
