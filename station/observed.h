/* What a call did to the phone, told in words: driver commands by name, shell commands, pauses, log, NV. */
#ifndef STATION_OBSERVED_H
#define STATION_OBSERVED_H

#include <cstdint>
#include <string>
#include <vector>

namespace station {

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

  int64_t total_pause_us() const;
};

/** Everything since the contacts were cleared. */
observed observe(unsigned chip);

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

}  // namespace station

#endif
