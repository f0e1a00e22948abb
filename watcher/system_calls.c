/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Sockets, the driver's private request, files below /sys, and pauses. The arguments decide what is recorded,
 * so that a watched thread may still do other things.
 */
#define _GNU_SOURCE
#include "watch.h"

#include <errno.h>
#include <fcntl.h>
#include <net/if.h>
#include <stdarg.h>
#include <stdint.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

enum { PRIVATE_REQUEST = 0x89F2, RECORD_SIZE = 264, FIRST_PAGE = 4096 };

#ifdef __BIONIC__
typedef int request_number;
#else
typedef unsigned long request_number;
#endif

int socket(int domain, int type, int protocol) {
  FIND_NEXT(socket);
  int is_drivers = domain == AF_INET && (type & ~(SOCK_CLOEXEC | SOCK_NONBLOCK)) == SOCK_DGRAM;
  struct watched_call call = watch_begin(is_drivers);
  int result = next(domain, type, protocol);

  if (call.recorded) watch_gave_descriptor(result, WATCH_SOCKET);
  watch_end_with(call,
                 &(struct phone_event){.kind = PHONE_SOCKET, .result = result, .error = watch_error(result)});
  return result;
}

static int is_wild(const void *pointer) { return (uintptr_t)pointer < FIRST_PAGE; }

static uint32_t number_at(const char *bytes) {
  uint32_t number;

  memcpy(&number, bytes, sizeof(number));
  return number;
}

/* A record without an address is the kernel's to refuse; it has no data to show. */
static int pass_request(int descriptor, struct ifreq *request, struct watched_call call,
                        int (*next)(int, request_number, ...)) {
  char both[2 * RECORD_SIZE], name[IFNAMSIZ] = "";
  struct phone_event seen = {.kind = PHONE_IOCTL, .number = {descriptor}};
  int readable = !is_wild(request) && !is_wild(request->ifr_data);
  int result;

  if (readable) {
    memcpy(name, request->ifr_name, IFNAMSIZ - 1);
    memcpy(both, request->ifr_data, RECORD_SIZE);
  }
  result = next(descriptor, PRIVATE_REQUEST, request);
  seen.result = result;
  seen.error = watch_error(result);
  if (readable) {
    memcpy(both + RECORD_SIZE, request->ifr_data, RECORD_SIZE);
    seen.number[1] = number_at(both);
    seen.number[2] = number_at(both + 4);
    seen.name = name;
    seen.data = both;
    seen.size = sizeof(both);
  }
  watch_end_with(call, &seen);
  return result;
}

int ioctl(int descriptor, request_number request, ...) {
  FIND_NEXT(ioctl);
  int is_private = request == PRIVATE_REQUEST && watch_descriptor(descriptor) == WATCH_SOCKET;
  struct watched_call call = watch_begin(is_private);
  va_list arguments;
  void *argument;

  va_start(arguments, request);
  argument = va_arg(arguments, void *);
  va_end(arguments);
  return call.recorded ? pass_request(descriptor, argument, call, next) : next(descriptor, request, argument);
}

/* Forgotten also where nothing is recorded: the number may come back as another file's. */
int close(int descriptor) {
  FIND_NEXT(close);
  int is_given = watch_descriptor(descriptor) != WATCH_NOTHING;
  struct watched_call call = watch_begin(is_given);
  int result;

  if (is_given) watch_gave_descriptor(descriptor, WATCH_NOTHING);
  result = next(descriptor);
  watch_end_with(
      call, &(struct phone_event){
                .kind = PHONE_CLOSE, .result = result, .error = watch_error(result), .number = {descriptor}});
  return result;
}

static int is_node(const char *path) { return path && strncmp(path, "/sys/", 5) == 0; }

int open(const char *path, int flags, ...) {
  FIND_NEXT(open);
  struct watched_call call = watch_begin(is_node(path));
  mode_t mode = 0;
  int result;

  if (flags & (O_CREAT | (O_TMPFILE & ~O_DIRECTORY))) {
    va_list arguments;
    va_start(arguments, flags);
    mode = (mode_t)va_arg(arguments, int);
    va_end(arguments);
  }
  result = next(path, flags, mode);
  if (call.recorded) watch_gave_descriptor(result, WATCH_NODE);
  watch_end_with(call, &(struct phone_event){
                           .kind = PHONE_OPEN, .result = result, .error = watch_error(result), .text = path});
  return result;
}

ssize_t write(int descriptor, const void *bytes, size_t size) {
  FIND_NEXT(write);
  struct watched_call call = watch_begin(watch_descriptor(descriptor) == WATCH_NODE);
  ssize_t result = next(descriptor, bytes, size);

  watch_end_with(
      call,
      &(struct phone_event){
          .kind = PHONE_WRITE, .result = result, .error = watch_error(result), .data = bytes, .size = size});
  return result;
}

unsigned sleep(unsigned seconds) {
  FIND_NEXT(sleep);
  struct watched_call call = watch_begin(1);
  unsigned left = next(seconds);

  watch_end_with(call, &(struct phone_event){
                           .kind = PHONE_SLEEP, .result = left, .number = {(int64_t)seconds * 1000000}});
  return left;
}

int usleep(useconds_t us) {
  FIND_NEXT(usleep);
  struct watched_call call = watch_begin(1);
  int result = next(us);

  watch_end_with(call,
                 &(struct phone_event){
                     .kind = PHONE_SLEEP, .result = result, .error = watch_error(result), .number = {us}});
  return result;
}
