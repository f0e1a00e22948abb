// SPDX-License-Identifier: Apache-2.0
// Which driver module is loaded, and which interface it made.
#ifndef CONSOLE_DRIVER_MODULE_H
#define CONSOLE_DRIVER_MODULE_H

#include "console/doctor/finding.h"
#include "console/doctor/system_files.h"

namespace console {

/** The finding "driver module". Nothing is missing if the driver answers, whatever the kernel's files show.
 */
finding examine_module(const system_files &files, bool driver_answers);

}  // namespace console

#endif
