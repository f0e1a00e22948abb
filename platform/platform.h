/* SPDX-License-Identifier: Apache-2.0 */
/*
 * What a phone provides to this library, as declarations only. On a phone the system's own libraries
 * define these; on any other machine the virtual phone does.
 */
#ifndef ORVA_PLATFORM_H
#define ORVA_PLATFORM_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Log priorities, as in <android/log.h>. */
enum { ORVA_LOG_DEBUG = 3, ORVA_LOG_INFO = 4, ORVA_LOG_ERROR = 6 };

/** One line of the Android log. */
int __android_log_print(int prio, const char *tag, const char *fmt, ...)
    __attribute__((format(printf, 3, 4)));

/** Sub-chip indices. */
enum {
  ORVA_SUBCHIP_VQ2040 = 0,
  ORVA_SUBCHIP_VQ2050 = 1,
  ORVA_SUBCHIP_VQ2040A = 2,
  ORVA_SUBCHIP_VQ2070 = 3,
  ORVA_SUBCHIPS = 4
};

/** The index of the fitted chip. */
uint32_t get_orva_connectivity_subchip(void);

/** Operations of kevoOperaNVWR. */
enum { ORVA_NV_WRITE = 0, ORVA_NV_READ = 1 };

/** Reads or writes one NV item. Result 0, or an error code of the NV service. */
int kevoOperaNVWR(uint32_t op, uint32_t nv_num, const char *nv_name, uint32_t size, void *buf);

/*
 * Bounds-checked functions. Result 0 (the print functions: the number of characters; sscanf_s: the number of
 * values) or a failure: non-zero, and negative for the print functions.
 */

/** Copies count bytes; with count > dest_max zeroes dest and fails. */
int memcpy_s(void *dest, size_t dest_max, const void *src, size_t count);
int memset_s(void *dest, size_t dest_max, int c, size_t count);
/** Copies at most count characters and terminates; fails and empties dest where that needs more than
 * dest_max. */
int strncpy_s(char *dest, size_t dest_max, const char *src, size_t count);
/** Writes at most count characters; a longer text is cut there, terminated, and gives -1. */
int snprintf_s(char *dest, size_t dest_max, size_t count, const char *fmt, ...)
    __attribute__((format(printf, 4, 5)));
/** A text that does not fit leaves an empty text and gives -1. */
int sprintf_s(char *dest, size_t dest_max, const char *fmt, ...) __attribute__((format(printf, 3, 4)));
int sscanf_s(const char *buf, const char *fmt, ...) __attribute__((format(scanf, 2, 3)));

#ifdef __cplusplus
}
#endif

#endif
