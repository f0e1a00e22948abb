/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Preloaded into a program: the signal whose number EARLY_SIGNAL gives comes once. It comes as the program
 * opens a session NAME.early for the second time, which it does just before it runs the session, or just
 * before the first sleep of at least half a second.
 */
#define _GNU_SOURCE
#include <dlfcn.h>
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#include <unistd.h>

enum { least_us = 500000 };

static int number;

__attribute__((constructor)) static void begin(void) {
  const char *given = getenv("EARLY_SIGNAL");
  number = given ? atoi(given) : 0;
  unsetenv("EARLY_SIGNAL"); /* for this program, not for those that it starts */
}

static void strike(void) {
  int now = number;
  number = 0;
  if (now) raise(now);
}

FILE *fopen64(const char *path, const char *mode) {
  static int opened;
  const char *end = strrchr(path, '.');
  FILE *(*next)(const char *, const char *);
  *(void **)&next = dlsym(RTLD_NEXT, "fopen64");
  if (end && strcmp(end, ".early") == 0 && ++opened == 2) strike();
  return next(path, mode);
}

int usleep(useconds_t us) {
  int (*next)(useconds_t);
  *(void **)&next = dlsym(RTLD_NEXT, "usleep");
  if (us >= least_us) strike();
  return next(us);
}

int nanosleep(const struct timespec *wanted, struct timespec *left) {
  int (*next)(const struct timespec *, struct timespec *);
  *(void **)&next = dlsym(RTLD_NEXT, "nanosleep");
  if (wanted->tv_sec * 1000000LL + wanted->tv_nsec / 1000 >= least_us) strike();
  return next(wanted, left);
}
