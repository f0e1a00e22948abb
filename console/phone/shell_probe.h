// SPDX-License-Identifier: Apache-2.0
// Runs one command in the phone's shell and tells an absent shell from a failed command.
#ifndef CONSOLE_SHELL_PROBE_H
#define CONSOLE_SHELL_PROBE_H

namespace console {

struct shell_result {
  int error;  /**< errno if no shell could be run, else 0 */
  int status; /**< the command's exit status; 128 and more: ended by a signal */
};

/** The command has no input and its output is dropped. */
shell_result run_in_shell(const char *command);

}  // namespace console

#endif
