// SPDX-License-Identifier: Apache-2.0
/* The report: one page that needs nothing but a browser, with all of a session's events and a script that
 * draws them. */
#ifndef CONSOLE_REPORT_H
#define CONSOLE_REPORT_H

#include "console/phone/settings.h"
#include "console/run/reporter.h"

#include <memory>
#include <string>

namespace console {

/** Writes the page when all sessions are done; throws usage_error where the file cannot be written. */
std::shared_ptr<reporter> make_report_reporter(const std::string &path, const settings &with);

}  // namespace console

#endif
