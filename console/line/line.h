// SPDX-License-Identifier: Apache-2.0
// Tests units in several slots at once, each with a console of its own.
#ifndef CONSOLE_LINE_H
#define CONSOLE_LINE_H

#include "console/line/plan.h"
#include "console/run/verdict.h"

namespace console {

/** Takes serial numbers from standard input until its end or a signal. Throws usage_error for a plan that is
 * wrong, and after the last teardown system_error for output that was lost. */
exit_status run_line(const line_options &with);

}  // namespace console

#endif
