// SPDX-License-Identifier: Apache-2.0
// The bounds-checked functions. A planned fault leaves the destination as the function's own refusal does.
#include "faults.h"
#include "state.h"
#include "trace.h"

#include "platform/platform.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>

namespace phone {
namespace {

int traced(const char *name, int result) {
  if (state().trace_secure) record({.kind = PHONE_SECURE, .result = result, .name = name});
  return result;
}

void empty(char *text, size_t size) {
  if (text && size) text[0] = 0;
}

int copy_memory(void *dest, size_t dest_max, const void *src, size_t count, verdict judged) {
  if (!dest || dest_max == 0) return EINVAL;
  int refusal = !src ? EINVAL : count > dest_max ? ERANGE : 0;
  if (judged.fails || refusal) {
    memset(dest, 0, dest_max);
    return judged.fails ? judged.value : refusal;
  }
  memcpy(dest, src, count);
  return 0;
}

int set_memory(void *dest, size_t dest_max, int c, size_t count, verdict judged) {
  if (judged.fails) return judged.value;
  if (!dest || dest_max == 0) return EINVAL;
  if (count > dest_max) return ERANGE;
  memset(dest, c, count);
  return 0;
}

int copy_text(char *dest, size_t dest_max, const char *src, size_t count, verdict judged) {
  if (!dest || dest_max == 0) return EINVAL;
  size_t length = src ? strnlen(src, count) : 0;
  int refusal = !src ? EINVAL : length >= dest_max ? ERANGE : 0;
  if (judged.fails || refusal) {
    dest[0] = 0;
    return judged.fails ? judged.value : refusal;
  }
  memcpy(dest, src, length);
  dest[length] = 0;
  return 0;
}

/// Prints at most count characters. A text that does not fit in dest leaves it empty.
__attribute__((format(printf, 4, 0))) int print(char *dest, size_t dest_max, size_t count, const char *fmt,
                                                va_list arguments, verdict judged) {
  if (judged.fails || !dest || dest_max == 0) {
    empty(dest, dest_max);
    return judged.fails ? judged.value : -1;
  }
  size_t room = count < dest_max ? count + 1 : dest_max;
  int length = vsnprintf(dest, room, fmt, arguments);
  if (length >= 0 && static_cast<size_t>(length) < room) return length;
  if (length < 0 || count >= dest_max) empty(dest, dest_max);
  return -1;
}

}  // namespace
}  // namespace phone

using namespace phone;

int memcpy_s(void *dest, size_t dest_max, const void *src, size_t count) {
  return traced("memcpy_s", copy_memory(dest, dest_max, src, count, use(fn_memcpy_s)));
}

int memset_s(void *dest, size_t dest_max, int c, size_t count) {
  return traced("memset_s", set_memory(dest, dest_max, c, count, use(fn_memset_s)));
}

int strncpy_s(char *dest, size_t dest_max, const char *src, size_t count) {
  return traced("strncpy_s", copy_text(dest, dest_max, src, count, use(fn_strncpy_s)));
}

int snprintf_s(char *dest, size_t dest_max, size_t count, const char *fmt, ...) {
  va_list arguments;
  va_start(arguments, fmt);
  int result = print(dest, dest_max, count, fmt, arguments, use(fn_snprintf_s));
  va_end(arguments);
  return traced("snprintf_s", result);
}

int sprintf_s(char *dest, size_t dest_max, const char *fmt, ...) {
  va_list arguments;
  va_start(arguments, fmt);
  int result = print(dest, dest_max, dest_max, fmt, arguments, use(fn_sprintf_s));
  va_end(arguments);
  return traced("sprintf_s", result);
}

int sscanf_s(const char *buf, const char *fmt, ...) {
  verdict judged = use(fn_sscanf_s);
  if (judged.fails || !buf) return traced("sscanf_s", judged.fails ? judged.value : -1);
  va_list arguments;
  va_start(arguments, fmt);
  int result = vsscanf(buf, fmt, arguments);
  va_end(arguments);
  return traced("sscanf_s", result);
}
