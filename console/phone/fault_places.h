// SPDX-License-Identifier: Apache-2.0
// Where the virtual phone can be made to fail, as the user names it.
#ifndef CONSOLE_FAULT_PLACES_H
#define CONSOLE_FAULT_PLACES_H

#include <string>

namespace console {

struct fault_place {
  const char *begins;   ///< for completion
  const char *example;  ///< for messages; "" for further names of the same kind
  const char *kind = "";
};

inline constexpr fault_place fault_places[] = {
    {"ioctl", "ioctl", "a function as "},
    {"socket", ""},
    {"fork", ""},
    {"waitpid", ""},
    {"popen", ""},
    {"ioctl:", "ioctl:11", "a driver command as "},
    {"shell:", "shell:ifconfig wlan0 up"},
    {"nv_read:", "nv_read:340"},
    {"nv_write:", "nv_write:340"},
    {"nv_lose:", "nv_lose:340"},
};

/** "a function as ioctl, a driver command as ioctl:11, … or nv_lose:340" */
std::string fault_places_text();

}  // namespace console

#endif
