/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Shell commands: children that run one, and streams that read its output. A child that runs a shell is gone
 * for good, so its exit status comes from the parent's wait.
 */
#include "watch.h"

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>
#include <string.h>
#include <sys/wait.h>
#include <unistd.h>

/* Recorded before the child exists, so that the child's own contacts follow. A child goes on watching. */
pid_t fork(void) {
  FIND_NEXT(fork);
  struct watched_call call = watch_begin(1);
  size_t contact = watch_note(call, &(struct phone_event){.kind = PHONE_FORK});
  pid_t child = next();

  if (call.recorded && child != 0) {
    watch_amend(contact, child, child < 0 ? errno : 0);
    if (child > 0) watch_gave_child(child);
  }
  watch_end(call);
  return child;
}

/* The command in "sh -c COMMAND", null for another program. count: the arguments with the null at their end.
 */
static const char *shell_command(const char *path, char *const *arguments, size_t count) {
  size_t length = path ? strlen(path) : 0;
  int is_shell = length >= 3 && strcmp(path + length - 3, "/sh") == 0;

  return is_shell && count == 4 && strcmp(arguments[1], "-c") == 0 ? arguments[2] : NULL;
}

/* Recorded before the program is replaced; completed here if that fails, and by the parent otherwise. */
static int pass_exec(const char *path, char *const *arguments, size_t count) {
  static int (*next)(const char *, char *const *);
  const char *command = shell_command(path, arguments, count);
  struct watched_call call = watch_begin(command != NULL);
  size_t contact = watch_note(call, &(struct phone_event){.kind = PHONE_EXEC, .text = command});
  int result;

  if (!next) next = (__typeof__(next))watch_next("execv");
  result = next(path, arguments);
  if (call.recorded) watch_amend(contact, result, errno);
  watch_end(call);
  return result;
}

int execl(const char *path, const char *argument, ...) {
  va_list list;
  size_t count = 1;
  char **arguments;

  va_start(list, argument);
  for (const char *each = argument; each; each = va_arg(list, const char *)) count++;
  va_end(list);
  /* On the stack: this runs in a forked child. */
  arguments = __builtin_alloca(count * sizeof(*arguments));
  va_start(list, argument);
  arguments[0] = (char *)argument;
  for (size_t i = 1; i < count; i++) arguments[i] = va_arg(list, char *);
  va_end(list);
  return pass_exec(path, arguments, count);
}

/* gcov turns execl into this one. */
int execv(const char *path, char *const arguments[]) {
  size_t count = 1;

  for (char *const *each = arguments; *each; each++) count++;
  return pass_exec(path, arguments, count);
}

/* After any error but EINTR the child is somebody else's. */
pid_t waitpid(pid_t child, int *status, int options) {
  FIND_NEXT(waitpid);
  struct watched_call call = watch_begin(watch_is_child(child));
  int seen = 0;
  pid_t result;

  if (!call.recorded) return next(child, status, options);
  result = next(child, &seen, options);
  if (result == child && status) *status = seen;
  watch_note(call, &(struct phone_event){
                       .kind = PHONE_WAIT, .result = result, .error = watch_error(result), .number = {seen}});
  if (result == child || (result < 0 && errno != EINTR))
    watch_child_ended(child, result == child ? &seen : NULL);
  watch_end(call);
  return result;
}

FILE *popen(const char *command, const char *mode) {
  FIND_NEXT(popen);
  struct watched_call call = watch_begin(command && mode && mode[0] == 'r');
  FILE *stream = next(command, mode);

  if (call.recorded && stream) watch_gave_stream(stream);
  watch_end_with(
      call, &(struct phone_event){
                .kind = PHONE_POPEN, .result = stream != NULL, .error = stream ? 0 : errno, .text = command});
  return stream;
}

size_t fread(void *into, size_t size, size_t count, FILE *stream) {
  FIND_NEXT(fread);
  struct watched_call call = watch_begin(watch_on() && watch_is_stream(stream));
  size_t items = next(into, size, count, stream);

  watch_end_with(call, &(struct phone_event){.kind = PHONE_FREAD,
                                             .result = (int64_t)(items * size),
                                             .error = items < count && ferror(stream) ? errno : 0,
                                             .data = into,
                                             .size = items * size});
  return items;
}

int pclose(FILE *stream) {
  FIND_NEXT(pclose);
  int is_given = watch_is_stream(stream);
  struct watched_call call = watch_begin(is_given);
  int status;

  if (is_given) watch_stream_ended(stream);
  status = next(stream);
  watch_end_with(call,
                 &(struct phone_event){.kind = PHONE_PCLOSE, .result = status, .error = watch_error(status)});
  return status;
}
