// SPDX-License-Identifier: Apache-2.0
// The station file: what is the same for every run of a station, as TOML with the names of the options.
#ifndef CONSOLE_STATION_FILE_H
#define CONSOLE_STATION_FILE_H

#include "console/run/identity.h"

#include <string>

namespace console {

/** Takes what the options left open. Throws usage_error with file and line. */
void take_station_file(identity &who, const std::string &path);

}  // namespace console

#endif
