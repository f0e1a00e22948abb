/* SPDX-License-Identifier: Apache-2.0 */
/* The floor: for each chip and operation, straight-line C that has the library's contacts with the phone, in
 * the same order and with the same contents, and does nothing else. bench_record writes it. */
#ifndef BENCH_FLOOR_H
#define BENCH_FLOOR_H

#ifdef __cplusplus
extern "C" {
#endif

struct bench_floor {
  const char *chip, *operation;
  void (*run)(void);
};

/** Ends with a row of null pointers. */
extern const struct bench_floor bench_floors[];

#ifdef __cplusplus
}
#endif

#endif
