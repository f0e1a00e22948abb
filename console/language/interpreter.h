// SPDX-License-Identifier: Apache-2.0
// The session language: Tcl without files, programs and sockets, with a command for each public function and
// the table of commands.h. Scripts, the prompt and one-shot calls share it.
#ifndef CONSOLE_INTERPRETER_H
#define CONSOLE_INTERPRETER_H

#include "console/language/commands.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

struct Tcl_Interp;

namespace console {

class interpreter : public script_context {
public:
  explicit interpreter(session &s);
  virtual ~interpreter();
  interpreter(const interpreter &) = delete;
  interpreter &operator=(const interpreter &) = delete;

  /** Throws usage_error for a script that cannot be read or holds no command. */
  static void check_file(const std::string &path);
  /** How the prompt runs a file as a session of its own. */
  using session_runner =
      std::function<std::string(const std::string &path, const std::vector<std::string> &parameters)>;
  /** Lets run and source read files, as at the prompt. */
  void allow_files(session_runner how) { runner = std::move(how); }
  /** Runs a script, "-" from standard input. An error ends it, is reported to the session, and gives false.
   */
  bool run_file(const std::string &path);
  /** Runs the teardown bodies, the last one first. Their errors are reported to the session. */
  void tear_down();
  /** Has an error ended a sourced file since the last question? */
  bool take_half_sourced();
  /** Ends the script that runs, or keeps the next one from beginning. Safe to call from a signal handler. */
  static void interrupt();
  /** The next script runs, whatever came before. */
  static void forget_interruption();
  /** At the program's start. Texts, files' names and the terminal are UTF-8, whatever the locale. */
  static void initialize(const char *program);
  /** At the program's end. */
  static void finalize();
  /** Is the text a whole command, with every brace and quote closed? */
  static bool complete(const std::string &text);

  session &current() override { return running; }
  bench &rf_bench() override { return its_bench; }
  place where() const override;
  std::string beside_script(const std::string &path) const override;
  std::string eval(const std::string &command) override;
  std::string source(const std::string &path) override;
  std::string run(const std::string &path, const std::vector<std::string> &parameters) override;
  void at_end(const std::string &body) override { teardowns.push_back(body); }

  /** The point of the sweep that runs; "" outside a sweep. */
  std::string point;

private:
  std::string result_of_ended();
  int eval_file(const std::string &path);

  session &running;
  bench its_bench;
  Tcl_Interp *tcl;
  struct async_stop;
  std::unique_ptr<async_stop> stop;
  std::string script;
  std::vector<std::string> teardowns;
  session_runner runner;
  bool half_sourced = false;
};

}  // namespace console

#endif
