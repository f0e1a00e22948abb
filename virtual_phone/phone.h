/* SPDX-License-Identifier: Apache-2.0 */
/*
 * The virtual phone's controls. A test, the console or a Python script sets a phone up with them, makes it
 * fail on purpose and looks at what the library did to it. Nothing of this exists on a real phone.
 *
 * Plain C, callable from any language. All state lives in memory shared with forked children: when a child
 * process changes the phone (a shell command that takes the interface down), its parent sees it.
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

/** A fresh phone: default description, no faults, empty trace, virtual clock at 0, empty NV in memory. */
void phone_reset(void);

/**
 * Applies a description file (TOML) to the phone as it is now, as a whole or not at all.
 * Returns 0, or -1 with a message in error that names file, line and key and says what would be right.
 */
int phone_load(const char *path, char *error, size_t error_size);

/** Sets one key ("chip", "radio.rssi", "check.pmu", …). Returns as phone_load does. */
int phone_set(const char *key, const char *value, char *error, size_t error_size);

/** Reads one key as text. Returns 0, or -1 for an unknown key or a text longer than value_size - 1. */
int phone_get(const char *key, char *value, size_t value_size);

/** The i-th key and its one-line explanation; null past the last. */
const char *phone_key(size_t i, const char **meaning);

/**
 * For a forked child: makes its phone a copy of its own, with an empty trace and an empty NV store in memory.
 * Its parent sees nothing of what it does to this copy.
 */
void phone_part(void);

/* ---- Clock ------------------------------------------------------------------------------------------- */

enum phone_clock { PHONE_CLOCK_VIRTUAL = 0, PHONE_CLOCK_REAL = 1 };

/** Virtual, as after phone_reset: sleep and usleep advance the clock at once. Real: they wait. */
void phone_set_clock(enum phone_clock clock);

/** Microseconds since phone_reset, on the chosen clock. */
int64_t phone_now_us(void);

/* ---- Trace: every contact with the phone, in order ---------------------------------------------------- */

enum phone_event_kind {
  PHONE_SOCKET,   /**< result: descriptor */
  PHONE_IOCTL,    /**< number: descriptor, magic, command id; name: the interface; data: the 264-byte record
                       as the library sent it, then as the driver left it (size 528) */
  PHONE_CLOSE,    /**< number[0] descriptor */
  PHONE_FORK,     /**< result: child, as the parent sees it */
  PHONE_EXEC,     /**< in the child; text: the shell command, result: its exit status */
  PHONE_WAIT,     /**< result: as waitpid's; number[0]: the wait status */
  PHONE_POPEN,    /**< text: the command; result: 1, or 0 if it failed */
  PHONE_FREAD,    /**< result: bytes read; data: the bytes */
  PHONE_PCLOSE,   /**< result: the wait status */
  PHONE_OPEN,     /**< text: the path; result: descriptor */
  PHONE_WRITE,    /**< data: the bytes; result: bytes written */
  PHONE_SLEEP,    /**< number[0]: microseconds asked for */
  PHONE_LOG,      /**< number[0] priority, name: tag, text: the message as formatted, with its line end */
  PHONE_SUBCHIP,  /**< result: the index */
  PHONE_NV_READ,  /**< number[0] and name: the item's; data: the item; result: the service's code */
  PHONE_NV_WRITE, /**< the same */
  PHONE_SECURE    /**< a bounds-checked function; name: which one. Kept only under phone_trace_secure(1) */
};
enum { PHONE_EVENT_KINDS = PHONE_SECURE + 1 };

/**
 * The word for a kind of event in recordings, as "nv_read"; null past the last.
 * fields: the recorded fields besides result, in their order, separated by blanks ("number name data").
 * meaning: what happened, in one line.
 */
const char *phone_event_word(size_t kind, const char **fields, const char **meaning);

struct phone_event {
  enum phone_event_kind kind;
  int64_t time_us; /**< on the chosen clock, when it began */
  int64_t result;
  int32_t error;   /**< errno if it failed, else 0 */
  int32_t process; /**< pid of the process that did it */
  int64_t number[3];
  const char *name; /**< never null */
  const char *text; /**< never null */
  const void *data;
  size_t size;
};

size_t phone_event_count(void);
/** The i-th event since the last clear; null past the last. Valid until the next clear or reset. */
const struct phone_event *phone_event(size_t i);
/** Events since the last clear for which the trace had no room. Those before them are kept. */
size_t phone_events_dropped(void);
/** Empties the trace and sets the counts of phone_uses to 0. */
void phone_events_clear(void);
/** Decides whether the trace holds bounds-checked functions too. Off after phone_reset. */
void phone_trace_secure(int on);
/** Prints log lines of at least this priority to stderr, in logcat's threadtime format; 0: none. */
void phone_print_log(int least_priority);

/* ---- Faults ------------------------------------------------------------------------------------------ */

/**
 * The i-th place where a fault can be planned, null past the last. In a name like "ioctl:ID" the part in
 * capitals is the caller's: "ioctl:11".
 * value: what the value of phone_fault means there. meaning: what fails.
 */
const char *phone_fault_place(size_t i, const char **value, const char **meaning);

/**
 * Plans a fault: the n-th use (1 = the next one) of a place fails, and so do the `times - 1` uses after it
 * (times 0: every one from there on). phone_fault_place lists the places and what value means there; 0 is
 * each place's default.
 *
 * Returns an id for phone_fault_fired, or -1 for an unknown place, nth 0, or more than 4096 faults.
 */
int phone_fault(const char *place, unsigned nth, unsigned times, int value);

/** How often the fault with this id has fired. */
unsigned phone_fault_fired(int id);

/** Faults planned since the last reset that never fired. A test that ends with one of them proved nothing. */
unsigned phone_faults_unfired(void);
/** Forgets all plans; those that never fired still count as unfired. */
void phone_faults_clear(void);

/** Uses of a place since the last reset or clear of the trace, failing ones included. Counts "sleep",
 * "usleep", "get_orva_connectivity_subchip" and "__android_log_print" too, which cannot fail. */
unsigned phone_uses(const char *place);

/* ---- Radio and NV, for tests to look at and to set ---------------------------------------------------- */

/**
 * Fixes the answer of one driver command: bytes at offset 8 of the record, in place of the radio's own. A
 * command refused by the key driver.refuse leaves them in the record too, one that fails by a planned fault
 * does not. Returns 0, or -1 for an id of 40 and above or more than 256 bytes.
 */
int phone_driver_answer(uint32_t command, const void *bytes, size_t size);
/** Returns to the radio's own answers. */
void phone_driver_answers_clear(void);

/** Whether wlan0 is up. */
int phone_interface_up(void);
/** Descriptors, children and streams that library calls opened and did not give back. */
unsigned phone_left_open(void);

/** Keeps NV in an SQLite file from now on; null: in memory. The first write creates the file. Returns 0, or
 * -1 with a message: a file that is damaged, cut or another program's is refused. */
int phone_nv_open(const char *path, char *error, size_t error_size);
/** Direct access to an item of 104 bytes, without trace or faults. An item never written reads as zeros.
 * Returns 0 or -1. */
int phone_nv_get(uint32_t number, const char *name, void *item);
int phone_nv_put(uint32_t number, const char *name, const void *item);
/** What is put between these two reaches a store in a file as a whole or, if it fails, the process ends or
 * keep is 0, not at all; other processes wait to write meanwhile. A store in memory takes each item at once.
 * Returns 0 or -1. */
int phone_nv_begin(void);
int phone_nv_end(int keep);
/** The i-th stored item in order of number and name, counted in the store as item 0 was asked for. Returns 1,
 * 0 past the last, or -1 if the store cannot be read. */
int phone_nv_at(size_t i, uint32_t *number, char *name, size_t name_size, void *item);
/** Removes all items. Returns 0 or -1. */
int phone_nv_clear(void);

#ifdef __cplusplus
#pragma GCC diagnostic pop
}
#endif

#endif
