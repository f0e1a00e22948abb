/* SPDX-License-Identifier: Apache-2.0 */
/*
 * Watches how the library uses a phone whose driver, shell and services are not ours. The watcher defines the
 * functions through which the library reaches the phone ahead of libc and of the phone's libraries
 * (watched_functions.txt). Each passes the call on, returns its result and errno unchanged, and records it as
 * an event of phone.h. The library is not changed and does not notice.
 *
 * Plain C, as phone.h.
 */
#ifndef WATCHER_WATCHER_H
#define WATCHER_WATCHER_H

#include "virtual_phone/phone.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Makes room for this many contacts and for this many bytes of their texts and data, and forgets all
 * contacts. To be called first; until then nothing is recorded. The memory is used only as contacts come.
 * Ends the process with a message if there is none.
 */
void watcher_open(size_t most_contacts, size_t most_bytes);

/**
 * Decides whether contacts of the calling thread, and of children that it forks, are recorded. Returns what
 * was decided before. Off for every thread at first. Callers of the phone that are not the library switch it
 * off.
 */
int watcher_watch(int on);

/** Times come from this clock, in microseconds; null: CLOCK_MONOTONIC. */
void watcher_use_clock(int64_t (*now_us)(void));

/** Contacts since the last clear, in the order in which they were recorded. */
size_t watcher_count(void);
/** The i-th contact; null past the last. Valid until the next clear. Descriptors and process ids are real. */
const struct phone_event *watcher_contact(size_t i);
/** Contacts since the last clear that found no room. All kept ones came before them. */
size_t watcher_dropped(void);
void watcher_clear(void);

/** Descriptors, children and streams that watched calls opened and did not give back. */
unsigned watcher_left_open(void);

/** Prints watched log lines of at least this priority to stderr, in logcat's threadtime format; 0: none. */
void watcher_print_log(int least_priority);

/**
 * The i-th platform function that no library of this phone defines, null past the last. The watcher's own
 * definition hides from the loader that it is missing. Such a function fails when it is called.
 */
const char *watcher_missing(size_t i);

#ifdef __cplusplus
}
#endif

#endif
