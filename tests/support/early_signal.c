/* SPDX-License-Identifier: Apache-2.0 */
/* Preloaded into a program: the signal whose number EARLY_SIGNAL gives comes once, just before the program's
 * first sleep of at least half a second. */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <signal.h>
#include <stdlib.h>
#include <time.h>
#include <unistd.h>

enum { least_us = 500000 };

static int number;

__attribute__((constructor)) static void begin(void) {
  const char *given = getenv("EARLY_SIGNAL");
  number = given ? atoi(given) : 0;
  unsetenv("EARLY_SIGNAL"); /* for this program, not for those that it starts */
}

static void strike(long long us) {
  if (!number || us < least_us) return;
  int now = number;
  number = 0;
  raise(now);
}

int usleep(useconds_t us) {
  int (*next)(useconds_t);
  *(void **)&next = dlsym(RTLD_NEXT, "usleep");
  strike(us);
  return next(us);
}

int nanosleep(const struct timespec *wanted, struct timespec *left) {
  int (*next)(const struct timespec *, struct timespec *);
  *(void **)&next = dlsym(RTLD_NEXT, "nanosleep");
  strike(wanted->tv_sec * 1000000LL + wanted->tv_nsec / 1000);
  return next(wanted, left);
}
