// Shell commands, and the interface control that is built on them.
#ifndef ORVA_SHELL_H
#define ORVA_SHELL_H

#include "common/chip.h"

namespace orva {

/// Runs a command line. @return the wait status, 0 when it exited with 0; -1 on error; 1 for a null command.
int32_t system_call(const chip &chip, const char *command);

/// Reads a command's output, at most size - 1 bytes, not terminated. @return 1 when there was any, else 0.
int32_t run_cmd_by_stream(const chip &chip, const char *command, char *output, uint32_t size);

/// Takes wlan0 from the phone's framework where it is up; that costs 2 s.
void wl_config_disable_wifi(const chip &chip);

/// Runs "ifconfig wlan0 up", once more after taking it down. The log names `function`.
/// @return 0 when wlan0 came up, else 1.
int32_t boot_up(const chip &chip, const char *function, uint32_t pause_s);

/// boot_up with its pauses of 2 s.
int32_t try_to_boot_up(const chip &chip);

/// Logs a failed bounds-checked call.
void check_securef_ret(const chip &chip, int32_t result);

}  // namespace orva

#endif
