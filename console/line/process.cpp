// SPDX-License-Identifier: Apache-2.0
#include "console/line/process.h"

#include "console/text/text.h"

#include <array>
#include <asio/posix/stream_descriptor.hpp>
#include <asio/post.hpp>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fmt/format.h>
#include <optional>
#include <spawn.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace console {
namespace {

using descriptor = asio::posix::stream_descriptor;

/** One end for this program and one for the child. */
struct channel {
  int ours = -1, theirs = -1;

  channel() {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC)) throw std::system_error(errno, std::generic_category());
    ours = ends[0];
    theirs = ends[1];
  }
  ~channel() {
    if (ours >= 0) close(ours);
    close(theirs);
  }
  channel(const channel &) = delete;
  channel &operator=(const channel &) = delete;
  int take() { return std::exchange(ours, -1); }
};

/** What posix_spawn is told; each call's error shows at the end. */
class spawn_request {
public:
  spawn_request() {
    posix_spawn_file_actions_init(&files);
    posix_spawnattr_init(&attributes);
  }
  ~spawn_request() {
    posix_spawn_file_actions_destroy(&files);
    posix_spawnattr_destroy(&attributes);
  }
  spawn_request(const spawn_request &) = delete;
  spawn_request &operator=(const spawn_request &) = delete;

  void connect(int output, int complaints) {
    check(posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0));
    check(posix_spawn_file_actions_adddup2(&files, output, STDOUT_FILENO));
    check(posix_spawn_file_actions_adddup2(&files, complaints, STDERR_FILENO));
  }

  pid_t run(const std::vector<std::string> &words) {
    std::vector<char *> arguments;
    for (auto &word : words) arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    check(posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP));
    check(posix_spawnattr_setpgroup(&attributes, 0));
    pid_t child = 0;
    if (!error) error = posix_spawnp(&child, arguments[0], &files, &attributes, arguments.data(), environ);
    if (error) throw std::system_error(error, std::generic_category());
    return child;
  }

private:
  void check(int result) {
    if (!error) error = result;
  }

  posix_spawn_file_actions_t files;
  posix_spawnattr_t attributes;
  int error = 0;
};

/** Reads one pipe without waiting for its end: something that the program left behind may hold it open. */
class pipe_reader {
public:
  pipe_reader(asio::io_context &io, int from, std::function<void(std::string_view)> sink)
      : pipe(io, from), to(std::move(sink)) {
    pipe.non_blocking(true);
  }

  /**
   * Until the end; owner keeps this object. Waits first and reads in the handler: with async_read_some, a
   * piece could be out of the pipe, but not yet with the sink, when the program's end is seen.
   */
  void read(const std::shared_ptr<void> &owner) {
    pipe.async_wait(descriptor::wait_read, [this, owner](asio::error_code failed) {
      if (failed) return;
      asio::error_code error;
      auto size = pipe.read_some(asio::buffer(piece), error);
      if (size) to({piece.data(), size});
      if (!error || error == asio::error::would_block) read(owner);
    });
  }

  /** Takes what is there and closes. */
  void drain() {
    pipe.cancel();
    asio::error_code error;
    while (auto size = pipe.read_some(asio::buffer(piece), error)) to({piece.data(), size});
    pipe.close(error);
  }

private:
  descriptor pipe;
  std::array<char, 65536> piece = {};
  std::function<void(std::string_view)> to;
};

class running_process : public process, public std::enable_shared_from_this<running_process> {
public:
  running_process(asio::io_context &io, process_listener listener) : context(io), to(std::move(listener)) {}

  void start(const std::vector<std::string> &words) {
    try {
      launch(words);
    } catch (const std::system_error &e) {
      auto why = fmt::format("{} cannot be started: {}", words[0], e.code().message());
      asio::post(context, [self = shared_from_this(), why] { self->to.ended({.trouble = why}); });
    }
  }

  void signal(int number) override {
    if (pid > 0) kill(-pid, number);
  }

private:
  void launch(const std::vector<std::string> &words) {
    channel lines, complaints;
    spawn_request request;
    request.connect(lines.theirs, complaints.theirs);
    output.emplace(context, lines.take(), [this](std::string_view text) { take_output(text); });
    errors.emplace(context, complaints.take(), [this](std::string_view text) { take_complaint(text); });
    pid = request.run(words);
    auto handle =
        static_cast<int>(syscall(SYS_pidfd_open, pid, 0));  // glibc 2.36 does not declare it for C++
    if (handle < 0) {
      auto error = errno;
      kill(-pid, SIGKILL);
      waitpid(std::exchange(pid, 0), nullptr, 0);
      throw std::system_error(error, std::generic_category());
    }
    exit_watch.emplace(context, handle);
    watch_exit();
    output->read(shared_from_this());
    errors->read(shared_from_this());
  }

  /** A wait may complete early, for an event of a process that has ended: its descriptor had the same number.
   */
  void watch_exit() {
    exit_watch->async_wait(descriptor::wait_read, [self = shared_from_this()](asio::error_code) {
      siginfo_t ended = {};
      bool runs = waitid(P_PID, static_cast<id_t>(self->pid), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
                  ended.si_pid == 0;
      runs ? self->watch_exit() : self->end();
    });
  }

  void take_output(std::string_view text) {
    for (;;) {
      auto end = text.find('\n');
      rest.append(text.substr(0, end));
      if (end == text.npos && rest.size() < longest_line) return;
      to.line(rest);
      rest.clear();
      if (end == text.npos) return;
      text.remove_prefix(end + 1);
    }
  }

  void take_complaint(std::string_view text) {
    constexpr size_t most = 1000;
    complaint += text;
    if (complaint.size() > most) complaint.erase(0, complaint.size() - most);
  }

  void end() {
    // What the program started must not work on the phone any longer. Its id is safe until it is waited for.
    kill(-pid, SIGKILL);
    int status = 0;
    while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {}
    pid = 0;
    output->drain();
    errors->drain();
    if (!rest.empty()) to.line(rest);
    process_end how = {.exited = WIFEXITED(status), .status = WEXITSTATUS(status)};
    if (!how.exited)
      how.trouble = fmt::format("the console was ended by SIG{}", sigabbrev_np(WTERMSIG(status)));
    how.complaint = trim_end(complaint);
    to.ended(how);
  }

  asio::io_context &context;
  process_listener to;
  pid_t pid = 0;
  std::optional<descriptor> exit_watch;
  std::optional<pipe_reader> output, errors;
  std::string rest, complaint;
};

}  // namespace

std::shared_ptr<process> start_process(asio::io_context &io, const std::vector<std::string> &words,
                                       process_listener to) {
  auto started = std::make_shared<running_process>(io, std::move(to));
  started->start(words);
  return started;
}

}  // namespace console
