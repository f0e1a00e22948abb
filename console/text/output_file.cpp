// SPDX-License-Identifier: Apache-2.0
#include "console/text/output_file.h"

#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fmt/format.h>
#include <set>
#include <sys/stat.h>
#include <unistd.h>

namespace console {
namespace {

namespace fs = std::filesystem;

/** The file itself if the path is a link, which then stays one. */
std::string resolved(const std::string &path) {
  std::error_code failed;
  auto real = fs::canonical(path, failed);
  return failed ? path : real.string();
}

bool is_device(const std::string &path) {
  std::error_code failed;
  auto status = fs::status(path, failed);
  return fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status);
}

/** A new file gets the permissions of the one it replaces. */
void take_permissions(FILE *file, const std::string &from) {
  struct stat old;
  if (stat(from.c_str(), &old) == 0) fchmod(fileno(file), old.st_mode & 0777);
}

std::string part_name(const std::string &target) { return target + ".part-"; }

/** The parts of this file that runs left whose process was killed. */
void remove_stale_parts(const std::string &target) {
  auto start = fs::path(part_name(target)).filename().string();
  auto folder = fs::path(target).parent_path();
  std::error_code failed;
  for (auto &entry : fs::directory_iterator(folder.empty() ? "." : folder, failed)) {
    auto name = entry.path().filename().string();
    auto process = name.starts_with(start) ? parse_number(name.substr(start.size())) : std::nullopt;
    bool dead = process && *process > 0 && *process <= INT32_MAX &&
                kill(static_cast<pid_t>(*process), 0) != 0 && errno == ESRCH;
    if (dead && entry.is_regular_file(failed)) unlink(entry.path().c_str());
  }
}

bool same_file(const std::string &one, const std::string &other) {
  std::error_code failed;
  if (fs::equivalent(one, other, failed)) return true;
  return whole_path(one) == whole_path(other);
}

}  // namespace

static std::vector<used_file> files_of_run, files_of_sessions;
static std::set<std::string> new_files;

output_file::output_file(std::string called, const std::string &path)
    : name(std::move(called)), target(new_files.contains(path) ? path : resolved(path)) {
  if (fs::is_directory(target)) throw usage_error{fmt::format("{}: it is a folder; name a file.", name)};
  written = is_device(target) ? target : fmt::format("{}{}", part_name(target), getpid());
  bool replaces = written != target && !new_files.contains(target);
  if (replaces && access(target.c_str(), F_OK) == 0 && access(target.c_str(), W_OK) != 0) give_up(errno);
  file = fopen(written.c_str(), "we");
  if (!file) give_up(errno);
  if (written == target) return;
  take_permissions(file, target);
  remove_stale_parts(target);
}

output_file::~output_file() {
  if (!file) return;
  fclose(file);
  if (written != target) unlink(written.c_str());
}

void output_file::give_up(int error) { give_up(strerror(error)); }

void output_file::give_up(const std::string &why) {
  if (file) fclose(file);
  file = nullptr;
  if (written != target) unlink(written.c_str());
  throw usage_error{fmt::format("{}: {}.", name, why)};
}

void output_file::spare_inputs() {
  for (auto &used : files_of_sessions)
    if (!used.written && same_file(used.path, target))
      give_up(fmt::format("{} reads this file, which stays as it is: give the output a name of its own",
                          used.name));
}

void output_file::write(std::string_view text) {
  if (fwrite(text.data(), 1, text.size(), file) != text.size() && !failed) failed = errno;
}

void output_file::flush() {
  if (fflush(file) != 0 && !failed) failed = errno;
}

void output_file::put_in_place() {
  if (!new_files.contains(target)) {
    if (rename(written.c_str(), target.c_str()) != 0) give_up(errno);
    return;
  }
  unsigned number = 1;  // unlike a rename, link never overwrites: two runs may want one name at once
  while (link(written.c_str(), numbered(target, number).c_str()) != 0)
    if (errno != EEXIST || ++number > most_of_a_name) give_up(errno);
  unlink(written.c_str());
}

void output_file::commit() {
  flush();
  if (failed) give_up(failed);
  if (written != target && fsync(fileno(file)) != 0) give_up(errno);
  int closed = fclose(file);
  file = nullptr;
  if (closed != 0) give_up(errno);
  if (written == target) return;
  spare_inputs();
  put_in_place();
  sync_folder_of(target);
}

void sync_folder_of(const std::string &path) {
  auto folder = fs::path(path).parent_path();
  int opened = open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (opened < 0) return;
  fsync(opened);
  close(opened);
}

void never_replace(const std::string &path) { new_files.insert(path); }

std::string whole_path(const std::string &path) {
  std::error_code failed;
  auto absolute = fs::absolute(path, failed);
  if (failed) return path;
  auto real = fs::weakly_canonical(absolute, failed);
  return failed ? absolute.lexically_normal().string() : real.string();
}

std::string numbered(const std::string &path, unsigned number) {
  if (number == 1) return path;
  fs::path whole(path);
  auto name = fmt::format("{}-{}{}", whole.stem().string(), number, whole.extension().string());
  return whole.replace_filename(name).string();
}

void claim_file(const used_file &file) {
  if (!file.written) files_of_sessions.push_back(file);  // even if refused: commit must spare it
  auto against = files_of_run;
  for (auto &earlier : files_of_sessions)
    if (file.written) against.push_back(earlier);
  for (auto &earlier : against) refuse_shared_files({file, earlier});
  if (file.written) files_of_sessions.push_back(file);
}

void claim_files_of_run(const std::vector<used_file> &files) {
  refuse_shared_files(files);
  files_of_run = files;
}

void refuse_shared_files(const std::vector<used_file> &files) {
  for (size_t i = 0; i < files.size(); ++i)
    for (size_t j = i + 1; j < files.size(); ++j) {
      auto &one = files[i], &other = files[j];
      if ((!one.written && !other.written) || is_device(one.path) || !same_file(one.path, other.path))
        continue;
      throw usage_error{fmt::format("{} {} and {} {} are the same file: give {} a name of its own.", one.name,
                                    one.path, other.name, other.path, one.written ? one.name : other.name)};
    }
}

}  // namespace console
