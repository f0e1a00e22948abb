// SPDX-License-Identifier: Apache-2.0
#include "console/record/record_file.h"

#include "console/text/output_file.h"
#include "console/text/usage_error.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <sys/file.h>
#include <unistd.h>
#include <utility>

namespace console {
namespace {

constexpr unsigned most_of_a_name = 9999;

std::string folder_of(const std::string &path) {
  auto folder = std::filesystem::path(path).parent_path().string();
  return folder.empty() ? "." : folder;
}

std::string part_of(const std::string &whole) { return whole + ".part"; }

std::string text_of(const nlohmann::ordered_json &line) {
  return line.dump(-1, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace

record_file::record_file(std::string called, const std::string &path, const json &begin)
    : name(std::move(called)) {
  // It gets its name when it is locked and has its first line: nobody sees it without them.
  file = open(folder_of(path).c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, 0644);
  if (file < 0) give_up(errno);
  try {
    if (flock(file, LOCK_EX) != 0) give_up(errno);
    write(text_of(begin));
    link_part(path);
  } catch (...) {
    close(file);
    throw;
  }
}

record_file::~record_file() {
  if (file >= 0) close(file);
}

void record_file::give_up(int error) const {
  throw usage_error{fmt::format("{}: {}.", name, strerror(error))};
}

void record_file::link_part(const std::string &path) {
  for (unsigned number = 1; number <= most_of_a_name; ++number)
    if (takes_name(numbered(path, number))) return;
  give_up(EEXIST);
}

/** Only the owner of a name's .part gives a record that name, so a name that is free then stays free. */
bool record_file::takes_name(const std::string &path) {
  auto is_free = [&] { return access(path.c_str(), F_OK) != 0; };
  if (!is_free()) return false;
  auto from = whole.empty() ? fmt::format("/proc/self/fd/{}", file) : part_of(whole);
  if (linkat(AT_FDCWD, from.c_str(), AT_FDCWD, part_of(path).c_str(), AT_SYMLINK_FOLLOW) != 0) {
    if (errno == EEXIST) return false;
    give_up(errno);
  }
  if (!whole.empty()) unlink(from.c_str());
  whole = path;
  return is_free();
}

void record_file::write(std::string_view line) {
  for (auto rest = line; !rest.empty();) {
    auto written = ::write(file, rest.data(), rest.size());
    if (written < 0) {
      int error = errno;
      auto kept = static_cast<off_t>(size);  // no half line stays
      if (ftruncate(file, kept) == 0) lseek(file, kept, SEEK_SET);
      give_up(error);
    }
    rest.remove_prefix(static_cast<size_t>(written));
  }
  size += line.size();
  ++lines;
  sum.add(line);
}

void record_file::add(const json &line) { write(text_of(line)); }

void record_file::finish(json end) {
  end["lines"] = lines;
  end["sha256"] = sum.digits();
  write(text_of(end));
  if (fsync(file) != 0) give_up(errno);
  publish();
}

void record_file::publish() {
  if (link(part_of(whole).c_str(), whole.c_str()) != 0) give_up(errno);
  unlink(part_of(whole).c_str());
  sync_folder_of(whole);
  close(std::exchange(file, -1));
}

}  // namespace console
