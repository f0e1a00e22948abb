// SPDX-License-Identifier: Apache-2.0
// Defines a phone's system calls ahead of libc: serves those that concern the phone, passes the others on.
//
// The arguments decide, never the caller, because a sanitizer's runtime may be in between. The phone serves
// UDP sockets and the private request on them, the debug node, "/system/bin/sh", popen for reading, and the
// children and streams given out here; and fork, sleep and usleep always.
#include "clock.h"
#include "faults.h"
#include "given.h"
#include "phone.h"
#include "radio_driver.h"
#include "script.h"
#include "shell.h"
#include "state.h"
#include "trace.h"

#include <algorithm>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <net/if.h>
#include <string>
#include <sys/eventfd.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace phone {
namespace {

constexpr unsigned long private_request = 0x89F2;
constexpr const char *node_path = "/sys/vq20x0_debug/bfgx_test";
constexpr const char *shell_path = "/system/bin/sh";
constexpr int give_descriptor_0 = -1000;
constexpr uintptr_t first_page = 4096;

/// The next definition of a function, usually libc's.
template <typename Function> Function *next_definition(const char *name) {
  return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}
#define FIND_NEXT(function) static auto *const next = next_definition<decltype(function)>(#function)

int libc_close(int descriptor) {
  static auto *const next = next_definition<int(int)>("close");
  return next(descriptor);
}

pid_t libc_waitpid(pid_t child, int *status) {
  static auto *const next = next_definition<pid_t(pid_t, int *, int)>("waitpid");
  pid_t result;
  do result = next(child, status, 0);
  while (result < 0 && errno == EINTR);
  return result;
}

/// Records a failing use, sets errno and returns the call's sign of failure.
template <typename Result> Result refuse(note what, int error, Result sign) {
  what.error = error;
  record(what);
  errno = error;
  return sign;
}

/// A scripted contact fails as its script says, any other as planned faults say.
verdict judge(function place, const struct phone_event *plan) {
  verdict judged = use(place);
  if (!plan) return judged;
  bool fails = plan->error || plan->result < 0 || (plan->kind == PHONE_POPEN && plan->result == 0);
  return {fails, plan->error ? plan->error : default_value(place)};
}

verdict judge(function place, phone_event_kind kind) { return judge(place, phone_scripted(kind)); }

// ---- Sockets ---------------------------------------------------------------------------------------------

int spare_stdin = -1;

/// Acts as the kernel does for a caller that closed its standard input: the new descriptor is 0.
int move_to_descriptor_0(int descriptor) {
  spare_stdin = fcntl(0, F_DUPFD_CLOEXEC, 100);
  dup2(descriptor, 0);
  libc_close(descriptor);
  return 0;
}

void give_stdin_back() {
  if (spare_stdin < 0) return;
  dup2(spare_stdin, 0);
  libc_close(spare_stdin);
  spare_stdin = -1;
}

int open_socket(int domain, int type, int protocol) {
  FIND_NEXT(socket);
  auto *plan = phone_scripted(PHONE_SOCKET);
  verdict judged = judge(fn_socket, plan);
  if (plan && !judged.fails && plan->result == 0) judged = {true, give_descriptor_0};
  if (judged.fails && judged.value != give_descriptor_0) {
    return refuse({.kind = PHONE_SOCKET, .result = -1}, judged.value, -1);
  }
  int descriptor = next(domain, type, protocol);
  if (descriptor < 0 && (errno == EACCES || errno == EPERM)) descriptor = eventfd(0, EFD_CLOEXEC);
  int error = descriptor < 0 ? errno : 0;
  if (judged.fails && descriptor > 0) descriptor = move_to_descriptor_0(descriptor);
  if (descriptor >= 0) give_descriptor(descriptor, given::socket);
  record({.kind = PHONE_SOCKET, .result = descriptor, .error = error});
  return descriptor;
}

// ---- The private request ----------------------------------------------------------------------------------

struct interface_request {
  char name[16];
  uint8_t *record;
  char rest[16];
};
static_assert(sizeof(interface_request) == 40, "the interface request of a 64-bit system");

bool is_wild(const void *pointer) { return reinterpret_cast<uintptr_t>(pointer) < first_page; }

uint32_t number_at(const void *bytes) {
  uint32_t number;
  memcpy(&number, bytes, sizeof(number));
  return number;
}

/// The name as the kernel reads it: always terminated, cut at a colon.
std::string interface_name(const interface_request &request) {
  std::string name(request.name, strnlen(request.name, sizeof(request.name) - 1));
  return name.substr(0, name.find(':'));
}

/// Answers from a script; returns as run_driver does.
int play_driver(const struct phone_event &plan, uint8_t *record) {
  auto *answer = static_cast<const uint8_t *>(plan.data) + RADIO_RECORD_SIZE;
  if (plan.size >= 2 * RADIO_RECORD_SIZE) memcpy(record, answer, RADIO_RECORD_SIZE);
  return plan.result < 0 ? -(plan.error ? plan.error : EIO) : static_cast<int>(plan.result);
}

/// Returns the call's result, or an errno negated.
int run_driver(const std::string &name, uint8_t *sent, verdict judged) {
  if (judged.fails && judged.value > 0) return -judged.value;
  if (name != "wlan0") return -ENODEV;
  auto command = radio_chip_command(state().radio.chip, number_at(sent + 4));
  rf::before_command(command);
  int result = radio_command(&state().radio, sent, static_cast<uint64_t>(phone_now_us()));
  rf::after_command(command);
  return result == 0 && judged.fails ? -judged.value : result;
}

int private_command(int descriptor, interface_request *request) {
  auto *plan = phone_scripted(PHONE_IOCTL);
  if (is_wild(request) || is_wild(request->record)) {
    use(fn_ioctl);
    return refuse({.kind = PHONE_IOCTL, .result = -1, .number = {descriptor}}, EFAULT, -1);
  }
  char both[2 * RADIO_RECORD_SIZE];
  memcpy(both, request->record, RADIO_RECORD_SIZE);
  uint32_t command = number_at(both + 4);
  std::string name = interface_name(*request);
  int64_t now = phone_now_us();
  verdict judged = use_ioctl(command);
  int result = plan ? play_driver(*plan, request->record) : run_driver(name, request->record, judged);
  memcpy(both + RADIO_RECORD_SIZE, request->record, RADIO_RECORD_SIZE);
  record({.kind = PHONE_IOCTL,
          .result = result < 0 ? -1 : result,
          .error = result < 0 ? -result : 0,
          .number = {descriptor, number_at(both), command},
          .name = name,
          .data = {both, sizeof(both)},
          .time_us = now});
  if (result >= 0) return result;
  errno = -result;
  return -1;
}

/// SIOCGIFFLAGS of wlan0. Not traced: it does not reach the driver.
int interface_flags(ifreq *request) {
  if (strcmp(request->ifr_name, "wlan0") != 0 || !state().radio.driver_loaded) {
    errno = ENODEV;
    return -1;
  }
  request->ifr_flags = static_cast<short>(IFF_BROADCAST | IFF_MULTICAST | (state().radio.up ? IFF_UP : 0));
  return 0;
}

// ---- Closing ---------------------------------------------------------------------------------------------

/// On Linux a close that reports an error has closed the descriptor, so a planned failure does too.
int close_given(int descriptor) {
  verdict judged = judge(fn_close, PHONE_CLOSE);
  take_descriptor(descriptor);
  int result = libc_close(descriptor);
  int error = result < 0 ? errno : 0;
  if (descriptor == 0) give_stdin_back();
  if (judged.fails) {
    result = -1;
    error = judged.value;
  }
  record({.kind = PHONE_CLOSE, .result = result, .error = error, .number = {descriptor}});
  if (error) errno = error;
  return result;
}

// ---- Children --------------------------------------------------------------------------------------------

/// Records the event before the child exists, so that the child's own events follow it.
pid_t fork_traced() {
  FIND_NEXT(fork);
  verdict judged = judge(fn_fork, PHONE_FORK);
  if (judged.fails) return refuse({.kind = PHONE_FORK, .result = -1}, judged.value, -1);
  size_t event = record({.kind = PHONE_FORK});
  pid_t child = next();
  if (child == 0) return 0;
  int error = child < 0 ? errno : 0;
  if (child > 0) give_child(child);
  amend(event, child, error);
  if (error) errno = error;
  return child;
}

int become_shell(const char *command) {
  auto *plan = phone_scripted(PHONE_EXEC);
  verdict judged = judge(fn_execl, plan);
  if (judged.fails) return refuse({.kind = PHONE_EXEC, .result = -1, .text = command}, judged.value, -1);
  std::string output;
  int status = plan ? static_cast<int>(plan->result) : run_shell(command, output);
  record({.kind = PHONE_EXEC, .result = status, .text = command});
  _exit(status);
}

int execute(const char *path, const std::vector<char *> &arguments) {
  bool shell =
      path && strcmp(path, shell_path) == 0 && arguments.size() == 4 && strcmp(arguments[1], "-c") == 0;
  static auto *const next = next_definition<int(const char *, char *const *)>("execv");
  return shell ? become_shell(arguments[2]) : next(path, arguments.data());
}

/// After any error but EINTR the child is gone, as it is on Linux.
pid_t fail_wait(pid_t child, int error, int64_t began) {
  if (error != EINTR) {
    int unused = 0;
    libc_waitpid(child, &unused);
    take_child(child);
  }
  return refuse({.kind = PHONE_WAIT, .result = -1, .time_us = began}, error, pid_t{-1});
}

pid_t wait_traced(pid_t child, int *status, int options) {
  FIND_NEXT(waitpid);
  int64_t began = phone_now_us();
  auto *plan = phone_scripted(PHONE_WAIT);
  verdict judged = judge(fn_waitpid, plan);
  if (judged.fails) return fail_wait(child, judged.value, began);
  int seen = 0;
  pid_t result = next(child, &seen, options);
  int error = result < 0 ? errno : 0;
  if (plan) seen = static_cast<int>(plan->number[0]);
  if (result == child) {
    take_child(child);
    if (status) *status = seen;
  }
  record({.kind = PHONE_WAIT, .result = result, .error = error, .number = {seen}, .time_us = began});
  if (error) errno = error;
  return result;
}

// ---- Streams ---------------------------------------------------------------------------------------------

void write_all(int descriptor, std::string_view text) {
  static auto *const next = next_definition<ssize_t(int, const void *, size_t)>("write");
  while (!text.empty()) {
    ssize_t done = next(descriptor, text.data(), text.size());
    if (done <= 0) return;
    text.remove_prefix(static_cast<size_t>(done));
  }
}

FILE *open_stream(const char *command) {
  static auto *const libc_fork = next_definition<pid_t()>("fork");
  verdict judged = judge(fn_popen, PHONE_POPEN);
  if (judged.fails) return refuse<FILE *>({.kind = PHONE_POPEN, .text = command}, judged.value, nullptr);
  int ends[2];
  if (pipe2(ends, O_CLOEXEC)) return refuse<FILE *>({.kind = PHONE_POPEN, .text = command}, errno, nullptr);
  record({.kind = PHONE_POPEN, .result = 1, .text = command});
  pid_t child = libc_fork();
  if (child == 0) {
    std::string output;
    int status = run_shell(command, output);
    write_all(ends[1], output);
    _exit(status);
  }
  libc_close(ends[1]);
  FILE *stream = fdopen(ends[0], "r");
  give_stream(stream, child);
  return stream;
}

size_t play_stream(const struct phone_event &plan, void *into, size_t room) {
  size_t size = std::min(room, plan.size);
  memcpy(into, plan.data, size);
  return size;
}

size_t read_stream(void *into, size_t size, size_t count, FILE *stream) {
  FIND_NEXT(fread);
  auto *plan = phone_scripted(PHONE_FREAD);
  verdict judged = judge(fn_fread, plan);
  if (judged.fails) return refuse({.kind = PHONE_FREAD}, judged.value, size_t{0});
  size_t items =
      plan && size ? play_stream(*plan, into, size * count) / size : next(into, size, count, stream);
  record({.kind = PHONE_FREAD,
          .result = static_cast<int64_t>(items * size),
          .data = {static_cast<const char *>(into), items * size}});
  return items;
}

int close_stream(FILE *stream, pid_t child) {
  auto *plan = phone_scripted(PHONE_PCLOSE);
  verdict judged = judge(fn_pclose, plan);
  take_stream(stream);
  fclose(stream);
  int status = -1;
  if (libc_waitpid(child, &status) != child) status = -1;
  if (judged.fails) return refuse({.kind = PHONE_PCLOSE, .result = -1}, judged.value, -1);
  if (plan) status = static_cast<int>(plan->result);
  record({.kind = PHONE_PCLOSE, .result = status});
  return status;
}

// ---- The debug node --------------------------------------------------------------------------------------

int open_node() {
  auto *plan = phone_scripted(PHONE_OPEN);
  verdict judged = judge(fn_open, plan);
  note what{.kind = PHONE_OPEN, .result = -1, .text = node_path};
  if (judged.fails) return refuse(what, judged.value, -1);
  if (!plan && !state().config.node_present) return refuse(what, ENOENT, -1);
  int descriptor = eventfd(0, EFD_CLOEXEC);
  if (descriptor < 0) return refuse(what, errno, -1);
  give_descriptor(descriptor, given::node);
  what.result = descriptor;
  record(what);
  return descriptor;
}

void keep_written(std::string_view bytes) {
  auto &kept = state().config.node_written;
  size_t used = strnlen(kept, sizeof(kept) - 1);
  memcpy(kept + used, bytes.data(), std::min(bytes.size(), sizeof(kept) - 1 - used));
}

ssize_t write_node(const void *bytes, size_t size) {
  verdict judged = judge(fn_write, PHONE_WRITE);
  note what{.kind = PHONE_WRITE, .result = -1, .data = {static_cast<const char *>(bytes), size}};
  if (judged.fails) return refuse(what, judged.value, ssize_t{-1});
  keep_written(what.data);
  what.result = static_cast<int64_t>(size);
  record(what);
  return static_cast<ssize_t>(size);
}

bool is_node(const char *path) { return path && strcmp(path, node_path) == 0; }

// ---- Time ------------------------------------------------------------------------------------------------

/// Returns whether the virtual clock has taken the sleep.
bool sleep_traced(function which, int64_t us) {
  use(which);
  record({.kind = PHONE_SLEEP, .number = {us}});
  return sleep_virtually(us);
}

}  // namespace
}  // namespace phone

using namespace phone;

extern "C" {

int socket(int domain, int type, int protocol) noexcept {
  FIND_NEXT(socket);
  bool is_phones = domain == AF_INET && (type & ~(SOCK_CLOEXEC | SOCK_NONBLOCK)) == SOCK_DGRAM;
  return is_phones ? open_socket(domain, type, protocol) : next(domain, type, protocol);
}

int ioctl(int descriptor, unsigned long request, ...) noexcept {
  FIND_NEXT(ioctl);
  va_list arguments;
  va_start(arguments, request);
  void *argument = va_arg(arguments, void *);
  va_end(arguments);
  bool on_socket = descriptor_kind(descriptor) == given::socket;
  if (on_socket && request == SIOCGIFFLAGS) return interface_flags(static_cast<ifreq *>(argument));
  bool is_phones = on_socket && request == private_request;
  return is_phones ? private_command(descriptor, static_cast<interface_request *>(argument))
                   : next(descriptor, request, argument);
}

int close(int descriptor) {
  return descriptor_kind(descriptor) == given::nothing ? libc_close(descriptor) : close_given(descriptor);
}

pid_t fork(void) noexcept { return fork_traced(); }

int execl(const char *path, const char *argument, ...) noexcept {
  std::vector<char *> all;
  va_list arguments;
  va_start(arguments, argument);
  for (const char *each = argument; each; each = va_arg(arguments, const char *)) {
    all.push_back(const_cast<char *>(each));
  }
  va_end(arguments);
  all.push_back(nullptr);
  return execute(path, all);
}

/* gcov turns execl into this one. */
int execv(const char *path, char *const arguments[]) noexcept {
  std::vector<char *> all;
  for (char *const *each = arguments; *each; each++) all.push_back(*each);
  all.push_back(nullptr);
  return execute(path, all);
}

pid_t waitpid(pid_t child, int *status, int options) {
  FIND_NEXT(waitpid);
  return is_child(child) ? wait_traced(child, status, options) : next(child, status, options);
}

FILE *popen(const char *command, const char *mode) {
  FIND_NEXT(popen);
  bool reading = command && mode && mode[0] == 'r';
  return reading ? open_stream(command) : next(command, mode);
}

size_t fread(void *into, size_t size, size_t count, FILE *stream) {
  FIND_NEXT(fread);
  return stream_child(stream) ? read_stream(into, size, count, stream) : next(into, size, count, stream);
}

int pclose(FILE *stream) {
  FIND_NEXT(pclose);
  pid_t child = stream_child(stream);
  return child ? close_stream(stream, child) : next(stream);
}

int open(const char *path, int flags, ...) {
  static auto *const next = next_definition<int(const char *, int, ...)>("open");
  va_list arguments;
  va_start(arguments, flags);
  mode_t mode = (flags & (O_CREAT | O_TMPFILE)) ? va_arg(arguments, mode_t) : 0;
  va_end(arguments);
  return is_node(path) ? open_node() : next(path, flags, mode);
}

ssize_t write(int descriptor, const void *bytes, size_t size) {
  FIND_NEXT(write);
  return descriptor_kind(descriptor) == given::node ? write_node(bytes, size) : next(descriptor, bytes, size);
}

unsigned sleep(unsigned seconds) {
  FIND_NEXT(sleep);
  return sleep_traced(fn_sleep, int64_t{seconds} * 1000000) ? 0 : next(seconds);
}

int usleep(useconds_t us) {
  FIND_NEXT(usleep);
  return sleep_traced(fn_usleep, us) ? 0 : next(us);
}
}
