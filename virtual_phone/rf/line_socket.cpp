// SPDX-License-Identifier: Apache-2.0
#include "line_socket.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

namespace phone::rf {
namespace {

constexpr size_t longest_line = 1 << 20;
/// Descriptors below belong to the programs: recordings show their numbers.
constexpr int first_descriptor = 100;
/// A signal that comes just before the wait does not end it, so the wait is cut into slices.
constexpr int slice_ms = 100;

int64_t now_ms() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return time.tv_sec * int64_t{1000} + time.tv_nsec / 1000000;
}

/// Waits until the descriptor is ready. Returns "" or what went wrong.
std::string wait_for(int descriptor, short what, const deadline &until) {
  for (;;) {
    pollfd waiting{.fd = descriptor, .events = what, .revents = 0};
    int left = until.left_ms();
    int ready = poll(&waiting, 1, std::min(left, slice_ms));
    if (ready > 0) return "";
    if (ready < 0 && errno != EINTR) return strerror(errno);
    if (until.is_stopped()) return "interrupted";
    if (left == 0) return until.missed();
  }
}

std::string finish_connecting(int descriptor, const deadline &until) {
  std::string fault = wait_for(descriptor, POLLOUT, until);
  if (!fault.empty()) return fault;
  int error = 0;
  socklen_t size = sizeof(error);
  getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size);
  return error ? strerror(error) : "";
}

std::string connect_to(const addrinfo &place, const deadline &until, int &descriptor) {
  int opened = socket(place.ai_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
  if (opened < 0) return strerror(errno);
  descriptor = fcntl(opened, F_DUPFD_CLOEXEC, first_descriptor);
  int duplicated = errno;
  close(opened);
  if (descriptor < 0) return strerror(duplicated);
  int on = 1;
  setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof(on));
  std::string fault;
  if (connect(descriptor, place.ai_addr, place.ai_addrlen) != 0)
    fault = errno == EINPROGRESS ? finish_connecting(descriptor, until) : strerror(errno);
  if (fault.empty()) return "";
  close(descriptor);
  descriptor = -1;
  return fault;
}

}  // namespace

deadline::deadline(int64_t milliseconds, bool (*stopped)())
    : patience_ms_(milliseconds), end_(now_ms() + milliseconds), stopped_(stopped) {}

int deadline::left_ms() const { return static_cast<int>(std::clamp<int64_t>(end_ - now_ms(), 0, INT_MAX)); }

std::string deadline::missed() const {
  char seconds[32];
  snprintf(seconds, sizeof(seconds), "%g", static_cast<double>(patience_ms_) / 1000);
  return std::string("no answer within ") + seconds + " s";
}

std::string send_line(int descriptor, std::string_view line, const deadline &until) {
  while (!line.empty()) {
    std::string fault = wait_for(descriptor, POLLOUT, until);
    if (!fault.empty()) return fault;
    ssize_t done = send(descriptor, line.data(), line.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
    if (done < 0 && errno != EAGAIN && errno != EINTR) return strerror(errno);
    if (done > 0) line.remove_prefix(static_cast<size_t>(done));
  }
  return "";
}

std::string read_line(int descriptor, std::string &line, const deadline &until) {
  while (!line.ends_with('\n')) {
    std::string fault = wait_for(descriptor, POLLIN, until);
    if (!fault.empty()) return fault;
    char part[4096];
    ssize_t got = recv(descriptor, part, sizeof(part), MSG_DONTWAIT);
    if (got == 0) return "the test set closed the connection";
    if (got < 0 && errno != EAGAIN && errno != EINTR) return strerror(errno);
    if (got > 0) line.append(part, static_cast<size_t>(got));
    if (line.size() > longest_line) return "an answer without an end";
  }
  return "";
}

std::string open_line_socket(const std::string &host, const std::string &service, int64_t patience_ms,
                             int &descriptor) {
  addrinfo wanted{}, *found = nullptr;
  wanted.ai_socktype = SOCK_STREAM;
  int unknown = getaddrinfo(host.c_str(), service.c_str(), &wanted, &found);
  if (unknown) return gai_strerror(unknown);
  std::string fault;
  for (auto *place = found; place; place = place->ai_next) {
    fault = connect_to(*place, deadline(patience_ms), descriptor);
    if (fault.empty()) break;
  }
  freeaddrinfo(found);
  return fault;
}

}  // namespace phone::rf
