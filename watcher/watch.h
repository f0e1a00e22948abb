/* SPDX-License-Identifier: Apache-2.0 */
/* What the watched functions use. Nothing here changes errno. */
#ifndef WATCHER_WATCH_H
#define WATCHER_WATCH_H

#include "virtual_phone/phone.h"

#include <errno.h>
#include <sys/types.h>

#ifdef __cplusplus
extern "C" {
#endif

/* The next definition of a watched function, usually libc's. Null if there is none. */
void *watch_next(const char *name);
#define FIND_NEXT(function)                                                                                  \
  static __typeof__(function) *next;                                                                         \
  if (!next) next = (__typeof__(next))watch_next(#function)

/* Whether this thread's contacts are recorded now. */
int watch_on(void);
/* One call of a watched function. */
struct watched_call {
  int recorded;
  int64_t began;
};
/*
 * Begins a call, recorded if it is wanted and this thread's contacts are. Recording stops until the call's
 * end: what the phone's own functions do is no contact of the library.
 */
struct watched_call watch_begin(int wanted);
void watch_end(struct watched_call call);

/* Records a contact of the call, unless it is not recorded, and returns its place. Null pointers, time and
 * process are filled in. */
size_t watch_note(struct watched_call call, const struct phone_event *contact);
/* The contact that a call consists of, and its end. */
void watch_end_with(struct watched_call call, const struct phone_event *contact);
/* The errno of a call with this result; 0 if it did not fail. */
static inline int watch_error(int64_t result) { return result < 0 ? errno : 0; }
/* Completes a contact. */
void watch_amend(size_t contact, int64_t result, int error);

enum watch_kind { WATCH_NOTHING, WATCH_SOCKET, WATCH_NODE };
void watch_gave_descriptor(int descriptor, enum watch_kind kind);
enum watch_kind watch_descriptor(int descriptor);
void watch_gave_child(pid_t child);
int watch_is_child(pid_t child);
/* status: the child's wait status, null if it cannot be known. */
void watch_child_ended(pid_t child, const int *status);
void watch_gave_stream(void *stream);
int watch_is_stream(const void *stream);
void watch_stream_ended(const void *stream);

/* Prints a log line as watcher_print_log wants it. */
void watch_print_log(int priority, const char *tag, const char *text);

#ifdef __cplusplus
}
#endif

#endif
