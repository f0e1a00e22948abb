// SPDX-License-Identifier: Apache-2.0
#include "console/phone/bounded_run.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace console {
namespace {

using steady = std::chrono::steady_clock;

/** Returns 0 or an errno. */
int spawn(const std::vector<std::string> &words, int output, pid_t &child) {
  std::vector<char *> arguments;
  for (auto &word : words) arguments.push_back(const_cast<char *>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t files;
  if (int error = posix_spawn_file_actions_init(&files)) return error;
  int error = posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  for (int descriptor : {STDOUT_FILENO, STDERR_FILENO})
    if (!error) error = posix_spawn_file_actions_adddup2(&files, output, descriptor);
  if (!error) error = posix_spawnp(&child, arguments[0], &files, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  return error;
}

/** Whether there is something to read, or the end, before the time. */
bool readable(int from, steady::time_point until) {
  for (;;) {
    auto left = std::chrono::ceil<std::chrono::milliseconds>(until - steady::now()).count();
    pollfd one = {.fd = from, .events = POLLIN, .revents = 0};
    int ready = poll(&one, 1, static_cast<int>(std::max<int64_t>(left, 0)));
    if (ready >= 0 || errno != EINTR) return ready > 0;
  }
}

/** Reads to the end. Returns "" or the limit that it met. */
std::string read_bounded(int from, run_limits most, steady::time_point until, std::string &text) {
  char piece[4096];
  while (readable(from, until)) {
    auto count = read(from, piece, sizeof piece);
    if (count == 0) return "";
    if (count < 0 && errno != EINTR) return std::strerror(errno);
    if (count > 0) text.append(piece, static_cast<size_t>(count));
    if (text.size() > most.bytes) return fmt::format("it printed more than {} bytes", most.bytes);
  }
  return fmt::format("it did not end within {} ms", most.time.count());
}

std::string ending(int status) {
  if (WIFSIGNALED(status)) return fmt::format("signal {} ended it", WTERMSIG(status));
  return WEXITSTATUS(status) ? fmt::format("it ended with status {}", WEXITSTATUS(status)) : "";
}

/** A program can close its output and still not end. */
std::string wait_for(pid_t child, steady::time_point until) {
  constexpr auto between_looks = std::chrono::milliseconds(1);
  int status = 0;
  pid_t ended = 0;
  while ((ended = waitpid(child, &status, WNOHANG)) == 0 && steady::now() < until)
    std::this_thread::sleep_for(between_looks);
  if (ended == 0) {
    kill(child, SIGKILL);
    while ((ended = waitpid(child, &status, 0)) < 0 && errno == EINTR) {}
  }
  return ended < 0 ? std::string(std::strerror(errno)) : ending(status);
}

}  // namespace

bounded_output run_bounded(const std::vector<std::string> &words, run_limits most) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC)) return {"", std::strerror(errno)};
  pid_t child = 0;
  int error = spawn(words, ends[1], child);
  close(ends[1]);
  bounded_output done;
  if (error)
    done.trouble = std::strerror(error);
  else {
    auto until = steady::now() + most.time;
    done.trouble = read_bounded(ends[0], most, until, done.text);
    auto end = wait_for(child, done.trouble.empty() ? until : steady::now());
    if (done.trouble.empty()) done.trouble = end;
  }
  close(ends[0]);
  return done;
}

}  // namespace console
