// SPDX-License-Identifier: Apache-2.0
// What `generate` prints, one source file for each.
#ifndef CONSOLE_GENERATE_PARTS_H
#define CONSOLE_GENERATE_PARTS_H

#include <string>

namespace console {

std::string bash_completion();
std::string zsh_completion();
std::string manual_page();

}  // namespace console

#endif
