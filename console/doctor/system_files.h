// SPDX-License-Identifier: Apache-2.0
// Where a kernel shows its state, and how its files are read.
#ifndef CONSOLE_SYSTEM_FILES_H
#define CONSOLE_SYSTEM_FILES_H

#include <string>

namespace console {

struct system_files {
  std::string proc = "/proc";
  std::string sys = "/sys";
  std::string kernel_log = "/dev/kmsg";
};

/** The file's text without trailing blanks and zero bytes; "" if it cannot be read. */
std::string text_of_file(const std::string &path);

}  // namespace console

#endif
