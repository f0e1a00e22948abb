// SPDX-License-Identifier: Apache-2.0
// Output files: written beside their name and renamed, so that a name always refers to a complete file.
#ifndef CONSOLE_OUTPUT_FILE_H
#define CONSOLE_OUTPUT_FILE_H

#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace console {

/** The old file stays until commit. Without it, the new one is removed. A device or pipe is written directly.
 */
class output_file {
public:
  /** The name is what messages begin with, as in "--report page.html". Throws usage_error. */
  output_file(std::string name, const std::string &path);
  ~output_file();
  output_file(const output_file &) = delete;
  output_file &operator=(const output_file &) = delete;

  /** An error shows at commit. */
  void write(std::string_view text);
  void flush();
  bool is_open() const { return file; }
  /** Puts the file under its name, with its contents on the disk. Throws usage_error, and then nothing
   * changed; also if a session has claimed the file as its input. */
  void commit();

private:
  [[noreturn]] void give_up(int error);
  [[noreturn]] void give_up(const std::string &why);
  void put_in_place();
  /** Sessions may name a file as input long after it was opened for output. */
  void spare_inputs();

  static constexpr unsigned most_of_a_name = 9999;

  std::string name, target, written;
  FILE *file = nullptr;
  int failed = 0; /**< the first errno of write and flush */
};

/** A file that this run reads or writes: an option and its value. */
struct used_file {
  std::string name, path;
  bool written;
};
/** Throws usage_error if an output is also an input or another output, under this path or another one. */
void refuse_shared_files(const std::vector<used_file> &files);
/** The same, and remembers them as the run's files. */
void claim_files_of_run(const std::vector<used_file> &files);
/** The same for a file that a session uses, against the run's files and those that sessions used before; a
 * file that a session wrote may be read again. */
void claim_file(const used_file &file);

/** Absolute and without links, to compare; as given for a path that the file system does not take. */
std::string whole_path(const std::string &path);
/** This output never takes the place of an older file: if its name is taken, it gets a number. */
void never_replace(const std::string &path);
/** Makes a new name in a folder last. */
void sync_folder_of(const std::string &path);
/** "unit.html" as "unit-2.html"; the first one as it is. */
std::string numbered(const std::string &path, unsigned number);

}  // namespace console

#endif
