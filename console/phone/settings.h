// SPDX-License-Identifier: Apache-2.0
// How a phone and its library are set up before a session.
#ifndef CONSOLE_SETTINGS_H
#define CONSOLE_SETTINGS_H

#include "console/phone/phone_link.h"

#include <string>
#include <utility>
#include <vector>

namespace console {

struct settings {
  unsigned chip = 0;
  bool chip_given = false;
  std::string library;
  std::string phone_file;
  /** Overrides the description's; "" leaves it. */
  std::string unit;
  std::string nv_file;
  bool real_clock = false;
  int log_priority = 0;
  phone_link::log_reading logcat = phone_link::log_reading::never;
  /** For the session's script. */
  std::vector<std::pair<std::string, std::string>> parameters;
  /** Lasting NV stores may be changed without asking. */
  bool yes = false;
};

/** Resets the phone and applies the settings; throws usage_error if one of them cannot be applied. */
void prepare_phone(const settings &with);

}  // namespace console

#endif
