// SPDX-License-Identifier: Apache-2.0
#include "console/phone/shell_probe.h"

#include <cerrno>
#include <fcntl.h>
#include <initializer_list>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace console {

[[noreturn]] static void become_shell(const char *command, int error_socket) {
  int nothing = open("/dev/null", O_RDWR);
  for (int descriptor : {0, 1, 2}) dup2(nothing, descriptor);
  execl("/system/bin/sh", "sh", "-c", command, nullptr);
  int error = errno;
  if (send(error_socket, &error, sizeof error, 0) < 0) _exit(1);
  _exit(127);
}

/** The child sends the errno of a failed exec through the socket; an exec that succeeds closes it. */
shell_result run_in_shell(const char *command) {
  int ends[2];
  if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends)) return {errno, 0};
  pid_t child = fork();
  int error = child < 0 ? errno : 0;
  if (child == 0) become_shell(command, ends[1]);
  close(ends[1]);
  if (child > 0 && recv(ends[0], &error, sizeof error, 0) < 0) error = errno;
  close(ends[0]);
  int status = 0;
  if (child > 0 && waitpid(child, &status, 0) < 0) return {errno, 0};
  return {error, WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status)};
}

}  // namespace console
