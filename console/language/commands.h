// SPDX-License-Identifier: Apache-2.0
// The session language's own commands, as one table.
#ifndef CONSOLE_COMMANDS_H
#define CONSOLE_COMMANDS_H

#include "console/language/command_help.h"
#include "console/language/tester_commands.h"
#include "console/run/session.h"

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace console {

/** The script, or the prompt, that a command is run from. */
class script_context {
public:
  virtual session &current() = 0;
  /** The RF test set, until the script or prompt ends. */
  virtual bench &rf_bench() = 0;
  virtual place where() const = 0;
  /** A path as a script means it: relative to the script's folder, if that file exists. */
  virtual std::string beside_script(const std::string &path) const = 0;
  /** Evaluates one command and returns its value; throws usage_error. */
  virtual std::string eval(const std::string &command) = 0;
  /** At the prompt: runs a file's commands here, or a file as a session of its own. Both throw usage_error in
   * a session, which reaches no files. */
  virtual std::string source(const std::string &path) = 0;
  virtual std::string run(const std::string &path, const std::vector<std::string> &parameters) = 0;
  /** Evaluates the body when the script or prompt ends, however it ends. */
  virtual void at_end(const std::string &body) = 0;

protected:
  ~script_context() = default;
};

struct command {
  command_help help;
  size_t least;
  size_t most;
  std::string (*run)(script_context &in, const std::vector<std::string> &words);
  /** Does nothing that a session could be judged by; may stand before a parameter's declaration. */
  bool only_asks = false;
};

std::span<const command> commands();
/** The commands as help shows them, with those that are written in Tcl. */
const std::vector<command_help> &command_list();
/** Null for a name that is not one of them. */
const command_help *find_command(std::string_view name);
/** Functions and commands, for completion and for guesses at what was meant. */
std::vector<std::string> all_command_names();

}  // namespace console

#endif
