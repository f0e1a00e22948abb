// SPDX-License-Identifier: Apache-2.0
// The phone's shell: the programs that a WLAN test needs, acting on the phone's state.
#ifndef VIRTUAL_PHONE_SHELL_H
#define VIRTUAL_PHONE_SHELL_H

#include <string>

namespace phone {

/// Runs one command line as `sh -c` does. Returns its exit status and puts what it printed into output. If a
/// fault is planned for the command ("shell:…"), nothing runs and the fault's value is the status.
int run_shell(const std::string &command, std::string &output);

}  // namespace phone

#endif
