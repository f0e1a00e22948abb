// SPDX-License-Identifier: Apache-2.0
// Shell commands, and interface control built on them.
#ifndef ORVA_SHELL_H
#define ORVA_SHELL_H

#include "common/chip.h"

namespace orva {

/// Runs a command line. @return the raw wait status, 0 if it exited with 0; -1 on error; 1 for a null
/// command.
int32_t system_call(const chip &chip, const char *command);

/// Reads a command's output, at most size - 1 bytes, not terminated. @return whether there was any.
bool run_cmd_by_stream(const chip &chip, const char *command, char *output, uint32_t size);

/// If wlan0 is up, disables Wi-Fi in the phone's framework and waits 2 s.
void wl_config_disable_wifi(const chip &chip);

/// Runs "ifconfig wlan0 up"; on failure takes wlan0 down and tries once more. Waits pause_s before and after
/// taking it down. The log names `function`. @return whether wlan0 came up.
bool boot_up(const chip &chip, const char *function, uint32_t pause_s);

/// boot_up with 2 s pauses, logged as "try_to_boot_up".
bool try_to_boot_up(const chip &chip);

}  // namespace orva

#endif
