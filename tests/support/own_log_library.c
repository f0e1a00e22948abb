/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Stands in for a library whose log lines do not pass through the console. What it logs goes to the file
 * ORVA_TEST_LOG, the log of logcat_stand_in.py. A line has six fields: microseconds since 1970, process,
 * thread, priority, tag, text.
 */
#define _GNU_SOURCE
#include "platform/platform.h"
#include "wifi_factory_test_orva.h"

#include <stdio.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <time.h>
#include <unistd.h>

static const char tag[] = "WIFI_OWN";

static void log_as(int process, const char *text) {
  FILE *log = fopen(getenv("ORVA_TEST_LOG"), "a");
  struct timespec now;

  clock_gettime(CLOCK_REALTIME, &now);
  fprintf(log, "%lld%06ld\037%d\037%d\037I\037%s\037%s\036", (long long)now.tv_sec, now.tv_nsec / 1000,
          process, gettid(), tag, text);
  fclose(log);
}

static void log_past(const char *text) { log_as(getpid(), text); }

/* As liblog does for a caller that it knows. */
static void log_openly(const char *text) {
  __android_log_print(4, tag, "%s", text);
  log_past(text);
}

/* Nothing passes: two lines around a pause, one of a child, one of a process that is not the library's. */
uint32_t wifi_power_set_range(uint8_t *lower, uint8_t *upper) {
  pid_t child;

  log_past("before\nsecond line\n");
  usleep(2000);
  child = fork();
  if (child == 0) {
    log_past("of the child");
    _exit(0);
  }
  waitpid(child, NULL, 0);
  log_as(1, "of another process");
  log_past("after");
  *lower = 0;
  *upper = 14;
  return 1;
}

uint32_t wifi_start_rx(const char *mac, const char *unused) {
  (void)mac;
  (void)unused;
  return 1;
}

/* Passes twice the same text; one more line does not. */
uint32_t wifi_stop_rx(void) {
  log_openly("again\n");
  log_past("aside");
  log_openly("again\n");
  return 1;
}
