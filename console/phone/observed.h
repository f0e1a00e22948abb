// SPDX-License-Identifier: Apache-2.0
// What a call did to the phone: driver commands by name, shell commands, pauses, log, NV.
#ifndef CONSOLE_OBSERVED_H
#define CONSOLE_OBSERVED_H

#include <cstdint>
#include <string>
#include <vector>

namespace console {

struct driver_command {
  uint32_t id;
  std::string name;
  std::string sent;   /**< "" for a command that carries nothing */
  std::string answer; /**< "" if there is none or the command was refused */
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

/** Something that the phone refused. */
struct trouble {
  std::string what; /**< "12 rssi", "ifconfig wlan0 up", "NV read 340" */
  trouble_kind kind;
  int64_t number;
};

/** Where a call's time on the phone went. */
struct time_ledger {
  int64_t pauses_us = 0;  /**< sleeps of the library */
  int64_t driver_us = 0;  /**< sockets and requests */
  int64_t shell_us = 0;   /**< commands, from fork to their end */
  int64_t library_us = 0; /**< the rest: the library itself, its log and NV */

  time_ledger &operator+=(const time_ledger &other);
};

struct observed {
  std::vector<driver_command> commands;
  std::vector<shell_command> shell;
  std::vector<std::string> files; /**< "PATH <- BYTES" */
  std::vector<int64_t> pauses_us;
  std::vector<log_line> log;
  std::vector<nv_access> nv;
  /** Every driver request as sent, retries included: the record in hexadecimal without trailing zeros. */
  std::vector<std::string> records;
  /** A driver command is here only if its retry was refused too. */
  std::vector<trouble> troubles;
  /** Contacts after all of these, too many to be kept. */
  size_t dropped = 0;

  time_ledger ledger;

  int64_t total_pause_us() const;
};

/** Collects the contacts since they were last cleared, of a call between these times on the phone's clock. */
observed observe(unsigned chip, int64_t start_us, int64_t end_us);

/** "power=15", "rssi: -55", "mimo_chain=1 refused" */
std::string describe(const driver_command &command);
/** "2 s", "1 ms x 3" */
std::string describe_pauses(const std::vector<int64_t> &pauses_us);
std::string duration(int64_t microseconds);
/** Text as it is, anything else in hexadecimal. */
std::string nv_text(const std::string &bytes);

/** The chip's command with this name; -1 if there is none. */
int command_id(unsigned chip, const std::string &name);
/** Every command name of a chip. */
std::vector<std::string> command_names(unsigned chip);

}  // namespace console

#endif
