// SPDX-License-Identifier: Apache-2.0
// The words that a command chooses by, such as "show" of nv: one table for each command, from which its
// parser, usage line, error message, help and completion are made.
#ifndef CONSOLE_SUBCOMMAND_H
#define CONSOLE_SUBCOMMAND_H

#include <string>
#include <vector>

namespace console {

struct subcommand {
  const char *name;
  const char *arguments = ""; /**< as a usage line shows them: "KEY VALUE", "?FILE?" for one to leave out */

  size_t least_arguments() const;
  size_t most_arguments() const;
  bool takes(size_t count) const { return count >= least_arguments() && count <= most_arguments(); }
};

std::vector<std::string> names_of(const std::vector<subcommand> &all);
/** "list | show NUMBER | diff ?FILE?" */
std::string usage_of(const std::vector<subcommand> &all);
/** "list, show NUMBER or diff [FILE]" */
std::string sentence_of(const std::vector<subcommand> &all);

/** The first members of a table's rows. */
template <class Table> std::vector<subcommand> words_of_table(const Table &table) {
  std::vector<subcommand> all;
  for (auto &row : table) all.push_back(row.word);
  return all;
}

}  // namespace console

#endif
