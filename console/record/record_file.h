// SPDX-License-Identifier: Apache-2.0
// The file of a record. docs/how-to/records.md describes it.
#ifndef CONSOLE_RECORD_FILE_H
#define CONSOLE_RECORD_FILE_H

#include "console/text/checksum.h"

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

namespace console {

/**
 * NAME.jsonl.part until the end line is on the disk, then NAME.jsonl. Its writer holds a lock on it, so that
 * orva-records tells a killed run from a running one. An older record is never replaced: if the name is
 * taken, it gets a number. Members throw usage_error; a row that could not be written stays the last one.
 */
class record_file {
public:
  using json = nlohmann::ordered_json;

  /** Creates the file with its first line. `called` begins messages, as in "--record FILE". */
  record_file(std::string called, const std::string &path, const json &begin);
  ~record_file();
  record_file(const record_file &) = delete;
  record_file &operator=(const record_file &) = delete;

  /** The line is in the file when this returns. */
  void add(const json &line);
  /** Completes the end line by the count and checksum of the lines before it, and gives the file its name. */
  void finish(json end);

private:
  [[noreturn]] void give_up(int error) const;
  void write(std::string_view line);
  /** Gives the file the first free name. */
  void link_part(const std::string &path);
  bool takes_name(const std::string &path);
  void publish();

  std::string name, whole;
  int file = -1;
  size_t size = 0, lines = 0;
  checksum sum;
};

}  // namespace console

#endif
