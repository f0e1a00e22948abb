// SPDX-License-Identifier: Apache-2.0
/*
 * The session language: Tcl without its doors to the outside (no files, programs or sockets), with one
 * command for each public function and a few for what is expected. Scripts, the prompt and one-shot calls
 * share it.
 */
#ifndef CONSOLE_INTERPRETER_H
#define CONSOLE_INTERPRETER_H

#include "console/run/session.h"

#include <memory>
#include <string>
#include <vector>

struct Tcl_Interp;
struct Tcl_Obj;

namespace console {

struct command_help {
  const char *name;
  const char *usage;
  const char *help;
  const char *example;
};
/** The commands besides the public functions. */
const std::vector<command_help> &command_list();
/** Functions and commands, for completion and for guesses at what was meant. */
std::vector<std::string> all_command_names();

class interpreter {
public:
  explicit interpreter(session &s);
  ~interpreter();
  interpreter(const interpreter &) = delete;
  interpreter &operator=(const interpreter &) = delete;

  /** Throws usage_error for a script that cannot be read. */
  static void check_file(const std::string &path);
  /** Runs a script to its end or first error, which is reported; false then. */
  bool run_file(const std::string &path);
  /** Evaluates one command; gives its value, or throws usage_error with what went wrong. */
  std::string eval(const std::string &command);
  /** Ends the command that runs, from a signal handler. */
  static void interrupt();
  /** Is it a whole command, or does a brace wait for its partner? */
  static bool complete(const std::string &text);

  session &current() { return running; }
  place where() const;
  /** A path as a script means it: relative to the script. */
  std::string beside_script(const std::string &path) const;

private:
  session &running;
  Tcl_Interp *tcl;
  struct async_stop;
  std::unique_ptr<async_stop> stop;
  std::string script;
};

}  // namespace console

#endif
