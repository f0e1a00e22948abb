// SPDX-License-Identifier: Apache-2.0
/* What a call did to the phone, told in words: driver commands by name, shell commands, pauses, log, NV. */
#ifndef CONSOLE_OBSERVED_H
#define CONSOLE_OBSERVED_H

#include <cstdint>
#include <string>
#include <vector>

namespace console {

struct driver_command {
  uint32_t id;
  std::string name;
  std::string sent;   /**< "" where the command carries nothing */
  std::string answer; /**< "" where it gives nothing, or was refused */
  bool taken;
  int attempts;
  int64_t time_us;
  /** What an expectation compares: the value sent, or the answer of a command that carries none. */
  const std::string &value() const { return sent.empty() ? answer : sent; }
};

struct shell_command {
  std::string text;
  int64_t status;
  int64_t time_us;
};

struct log_line {
  int priority;
  std::string tag;
  std::string text; /**< without its line end */
};

struct nv_access {
  bool write;
  uint32_t number;
  std::string name;
  std::string text;
  int64_t code;
};

enum class trouble_kind { error, status, nv_code };

/** Something that the phone refused: with an errno, a command's exit status, or the NV service's code. */
struct trouble {
  std::string what; /**< "12 rssi", "ifconfig wlan0 up", "NV read 340" */
  trouble_kind kind;
  int64_t number;
};

/** Where a call's time on the phone went. */
struct time_ledger {
  int64_t pauses_us = 0;  /**< sleeps that the library makes on purpose */
  int64_t driver_us = 0;  /**< sockets and requests */
  int64_t shell_us = 0;   /**< commands, from fork to their end */
  int64_t library_us = 0; /**< all the rest: the library, its log and NV */

  time_ledger &operator+=(const time_ledger &other);
};

struct observed {
  std::vector<driver_command> commands;
  std::vector<shell_command> shell;
  std::vector<std::string> files; /**< "PATH <- BYTES" */
  std::vector<int64_t> pauses_us;
  std::vector<log_line> log;
  std::vector<nv_access> nv;
  /** Each driver request as sent, repeated ones too: the record in hexadecimal, without the zeros at its end.
   */
  std::vector<std::string> records;
  /** Driver commands count only where the second attempt was refused as well. */
  std::vector<trouble> troubles;

  time_ledger ledger;

  int64_t total_pause_us() const;
};

/** Everything since the contacts were cleared, of a call that ran from start to end on the phone's clock. */
observed observe(unsigned chip, int64_t start_us, int64_t end_us);

/** "power=15", "rssi: -55", "mimo_chain=1 refused" */
std::string describe(const driver_command &command);
/** "2 s", "1 ms x 3" */
std::string describe_pauses(const std::vector<int64_t> &pauses_us);
std::string duration(int64_t microseconds);
/** A text item as it stands, anything else in hexadecimal. */
std::string nv_text(const std::string &bytes);

/** The command that a chip knows by this name; -1 for none. */
int command_id(unsigned chip, const std::string &name);
/** Every command name of a chip. */
std::vector<std::string> command_names(unsigned chip);

}  // namespace console

#endif
