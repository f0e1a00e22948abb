/*
 * The virtual phone's controls: what a test, the station console or a Python script uses to set a phone up,
 * make it fail on purpose and look at what the library did to it. Nothing of this exists on a real phone.
 *
 * Plain C, callable from anything. All state lives in memory shared with forked children, so what a child
 * process does to the phone (a shell command that takes the interface down) is seen by its parent.
 */
#ifndef VIRTUAL_PHONE_PHONE_H
#define VIRTUAL_PHONE_PHONE_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
/* A struct and a function share a name here, as C allows. */
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
#endif

/* ---- The phone's description ------------------------------------------------------------------------- */

/** A fresh phone: default description, no faults, empty trace, virtual clock at 0, NV store in memory and
 * empty. */
void phone_reset(void);

/**
 * Applies a description file (TOML) to the phone as it stands.
 * Result 0; or -1 with a message in error that names file, line and key and says what would be right.
 */
int phone_load(const char *path, char *error, size_t error_size);

/** Sets one key ("chip", "radio.rssi", "check.pmu", …). Result 0, or -1 with a message as in phone_load. */
int phone_set(const char *key, const char *value, char *error, size_t error_size);

/** Reads one key as text. Result 0, or -1 for an unknown key. */
int phone_get(const char *key, char *value, size_t value_size);

/** The i-th key and its one-line explanation; null past the last. */
const char *phone_key(size_t i, const char **meaning);

/**
 * For a forked child: from here on its phone is a copy of its own, with an empty trace and an empty NV store
 * in memory. What it does to the phone its parent never sees.
 */
void phone_part(void);

/* ---- Clock ------------------------------------------------------------------------------------------- */

enum phone_clock { PHONE_CLOCK_VIRTUAL = 0, PHONE_CLOCK_REAL = 1 };

/** Virtual: sleep and usleep advance the clock at once. Real: they wait. Virtual after phone_reset. */
void phone_set_clock(enum phone_clock clock);

/** Microseconds since phone_reset, on the chosen clock. */
int64_t phone_now_us(void);

/* ---- Trace: every contact with the phone, in order ---------------------------------------------------- */

enum phone_event_kind {
  PHONE_SOCKET, /**< result: descriptor */
  PHONE_IOCTL,  /**< number[0] descriptor, number[1] magic, number[2] command id; data: the 264-byte record as
                     the library sent it, followed by the 264 bytes as the driver left it (size 528) */
  PHONE_CLOSE,  /**< number[0] descriptor */
  PHONE_FORK,   /**< result: child, as the parent sees it */
  PHONE_EXEC,   /**< in the child: text: the shell command, result: its exit status */
  PHONE_WAIT,   /**< result: as waitpid's; number[0]: the wait status */
  PHONE_POPEN,  /**< text: the command; result 1, or 0 where it failed */
  PHONE_FREAD,  /**< result: bytes read; data: the bytes */
  PHONE_PCLOSE, /**< result */
  PHONE_OPEN,   /**< text: the path; result: descriptor */
  PHONE_WRITE,  /**< data: the bytes; result */
  PHONE_SLEEP,  /**< number[0]: microseconds asked for */
  PHONE_LOG,    /**< number[0] priority, name: tag, text: the message as formatted, line end and all */
  PHONE_SUBCHIP,  /**< result: the index */
  PHONE_NV_READ,  /**< number[0] NV number, name: the item's name; data: the item; result: the code */
  PHONE_NV_WRITE, /**< the same */
  PHONE_SECURE /**< a bounds-checked function; name: which; result. Kept only while phone_trace_secure(1). */
};

struct phone_event {
  enum phone_event_kind kind;
  int64_t time_us; /**< on the chosen clock, when it began */
  int64_t result;
  int32_t error;   /**< errno, where it failed */
  int32_t process; /**< pid of the process that did it */
  int64_t number[3];
  const char *name; /**< never null; "" where there is none */
  const char *text; /**< never null; "" where there is none */
  const void *data;
  size_t size;
};

size_t phone_event_count(void);
/** The i-th event since the last clear; null past the last. Valid until the next clear or reset. */
const struct phone_event *phone_event(size_t i);
void phone_events_clear(void);
void phone_trace_secure(int on);
/** Prints each log line to stderr as it comes, in logcat's threadtime format; 0 for none, else the least
 * priority. */
void phone_print_log(int least_priority);

/* ---- Faults ------------------------------------------------------------------------------------------ */

/**
 * Plans a fault: the n-th use (1 = the next one) of a place fails, and so do the `times - 1` uses after it
 * (times 0: every one from there on).
 *
 * Places: a function's name ("socket", "ioctl", "close", "fork", "execl", "waitpid", "popen", "fread",
 * "pclose", "open", "write", "memcpy_s", "memset_s", "strncpy_s", "snprintf_s", "sprintf_s", "sscanf_s",
 * "kevoOperaNVWR"); one driver command, "ioctl:11"; one shell command, "shell:ifconfig wlan0 up" (it does
 * nothing and exits with `value`); NV by direction and item, "nv_read:340", "nv_write:340"; "nv_lose:340" is
 * a write that is reported as done and stores nothing.
 *
 * value: what failing means. For system calls the errno (0: a fitting default); for "shell:" the exit status
 * (0: 1); for NV the service's code (0: -1); for bounds-checked functions the result (0: a fitting default);
 * for "socket" a value of -1000 makes that use return descriptor 0 instead of failing; for "ioctl" a value
 * below 0 makes that use succeed with the result -value instead of 0.
 *
 * Result: an id for phone_fault_fired, or -1 for an unknown place.
 */
int phone_fault(const char *place, unsigned nth, unsigned times, int value);

/** How often the fault with this id has fired. */
unsigned phone_fault_fired(int id);

/** Faults planned since the last reset that never fired: a test that ends with one of them proved nothing. */
unsigned phone_faults_unfired(void);
void phone_faults_clear(void);

/** Uses of a place so far (since reset or clear of the trace), failing ones included. */
unsigned phone_uses(const char *place);

/* ---- Radio and NV, for tests to look at and to set ---------------------------------------------------- */

/**
 * The next answers of one driver command: bytes put at offset 8 of the record, overriding the radio's own.
 * They are also left in the record of a command that the key driver.refuse has refused, but not by a planned
 * fault.
 */
int phone_driver_answer(uint32_t command, const void *bytes, size_t size);
/** Back to the radio's own answers. */
void phone_driver_answers_clear(void);

/** Is wlan0 up? */
int phone_interface_up(void);
/** Descriptors, children and streams that library calls opened and did not give back. */
unsigned phone_left_open(void);

/** Stores NV in an SQLite file from now on; null: in memory. Result 0, or -1 with a message. */
int phone_nv_open(const char *path, char *error, size_t error_size);
/** Direct access, not traced, no faults. 104 bytes; an item never written reads as zeros. Result 0 or -1. */
int phone_nv_get(uint32_t number, const char *name, void *item);
int phone_nv_put(uint32_t number, const char *name, const void *item);
/** The i-th stored item in order of number and name: 1, or 0 past the last. */
int phone_nv_at(size_t i, uint32_t *number, char *name, size_t name_size, void *item);
void phone_nv_clear(void);

#ifdef __cplusplus
#pragma GCC diagnostic pop
}
#endif

#endif
