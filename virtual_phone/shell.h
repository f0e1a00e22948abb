// The phone's shell: the programs a WLAN test needs, acting on the phone's state. Internal.
#ifndef VIRTUAL_PHONE_SHELL_H
#define VIRTUAL_PHONE_SHELL_H

#include <string>

namespace phone {

/// Runs one command line as `sh -c` does; its exit status, and in output what it printed. A planned fault for
/// the command ("shell:…") gives its status in place of running it.
int run_shell(const std::string &command, std::string &output);

}  // namespace phone

#endif
