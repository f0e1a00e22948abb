// SPDX-License-Identifier: Apache-2.0
// Carries out program messages. It does no input or output and never waits, so that the server decides how
// to.
#ifndef RF_TESTER_COMMANDS_INTERPRETER_H
#define RF_TESTER_COMMANDS_INTERPRETER_H

#include "rf_tester/commands/command.h"
#include "rf_tester/scpi/header.h"
#include "rf_tester/scpi/lexer.h"

#include <optional>
#include <string>
#include <vector>

namespace rf_tester {

class interpreter {
public:
  interpreter(test_set &set, const dialect &spoken);

  /** Takes the next message. An unfinished one is dropped. */
  void begin(std::string message);
  /** Goes on with the message. False: a command waits for the end of the measurement; call again then. */
  bool step();
  /** The answers of the message, separated by `;`, without a newline; none if nothing was asked. */
  std::optional<std::string> take_answer();
  /** Queues an error that arose outside a message. */
  void report(const scpi::failure &f) { set_.status.report(f); }

private:
  struct row {
    scpi::header_pattern pattern;
    const command *what;
  };
  struct pending {
    const command *what = nullptr;
    bool query = false;
    call with;
  };

  bool next_command();
  pending resolve(const scpi::program_unit &unit);
  const command &find(const scpi::program_unit &unit, std::vector<int> &suffixes);
  void bind_data(const scpi::program_unit &unit, pending &to) const;
  void run(const pending &now);
  std::string ask_setting(const pending &now) const;
  void act_setting(const pending &now);
  void add_answer(const std::string &text);

  test_set &set_;
  const dialect &spoken_;
  std::vector<row> rows_;
  scpi::lexer units_{""};
  std::optional<pending> current_;
  /** The nodes before the last one of the previous header, with a colon after each. */
  std::string path_;
  std::optional<std::string> answer_;
};

}  // namespace rf_tester

#endif
