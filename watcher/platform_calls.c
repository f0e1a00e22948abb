/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The phone's log, chip query and NV service. A phone without one of these functions would not have loaded
 * the library; here a call of it fails, and watcher_missing names it.
 */
#include "platform/platform.h"
#include "watch.h"

#include <errno.h>
#include <stdarg.h>
#include <stdio.h>

/* More than a line of the phone's log can hold. */
enum { LONGEST_LINE = 4096 };

int __android_log_print(int prio, const char *tag, const char *fmt, ...) {
  FIND_NEXT(__android_log_print);
  struct watched_call call = watch_begin(1);
  int kept = errno;
  char text[LONGEST_LINE];
  va_list arguments;
  int length, result;

  text[0] = '\0';
  va_start(arguments, fmt);
  length = vsnprintf(text, sizeof(text), fmt, arguments);
  va_end(arguments);
  errno = kept;
  result = next ? next(prio, tag, "%s", text) : -1;
  if (call.recorded) watch_print_log(prio, tag, text);
  watch_end_with(call, &(struct phone_event){
                           .kind = PHONE_LOG, .result = length, .number = {prio}, .name = tag, .text = text});
  return result;
}

uint32_t get_orva_connectivity_subchip(void) {
  FIND_NEXT(get_orva_connectivity_subchip);
  struct watched_call call = watch_begin(1);
  uint32_t index = next ? next() : UINT32_MAX;

  watch_end_with(call, &(struct phone_event){.kind = PHONE_SUBCHIP, .result = index});
  return index;
}

int kevoOperaNVWR(uint32_t op, uint32_t nv_num, const char *nv_name, uint32_t size, void *buf) {
  FIND_NEXT(kevoOperaNVWR);
  struct watched_call call = watch_begin(1);
  int result = next ? next(op, nv_num, nv_name, size, buf) : -1;

  watch_end_with(call, &(struct phone_event){.kind = op == ORVA_NV_WRITE ? PHONE_NV_WRITE : PHONE_NV_READ,
                                             .result = result,
                                             .number = {nv_num},
                                             .name = nv_name,
                                             .data = buf,
                                             .size = size});
  return result;
}
