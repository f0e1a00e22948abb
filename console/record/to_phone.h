// SPDX-License-Identifier: Apache-2.0
// Makes a description of the virtual phone from a recording of another phone.
#ifndef CONSOLE_TO_PHONE_H
#define CONSOLE_TO_PHONE_H

#include <string>

namespace console {

/**
 * The description (TOML) of a phone that answers as the recorded one did: its chip, what its NV held before
 * anything was written, what the driver answered, and what was always refused. Throws usage_error, also for a
 * recording of several chips.
 */
std::string phone_of_recording(const std::string &path);

}  // namespace console

#endif
