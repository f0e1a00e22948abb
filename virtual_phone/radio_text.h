/* SPDX-License-Identifier: Apache-2.0 OR GPL-2.0-only */
/* Writes values as text into a caller's buffer, and reads digits. */
#ifndef VIRTUAL_PHONE_RADIO_TEXT_H
#define VIRTUAL_PHONE_RADIO_TEXT_H

#include "radio_base.h"

/** What does not fit is counted only, so that radio_put_end can report it. */
struct radio_writer {
  char *text;
  size_t size, used;
};

void radio_put(struct radio_writer *out, char c);
void radio_put_text(struct radio_writer *out, const char *text);
/** At most size characters, up to a NUL. */
void radio_put_string(struct radio_writer *out, const uint8_t *bytes, size_t size);
void radio_put_number(struct radio_writer *out, int64_t number);
/** In lower case, without leading zeros. */
void radio_put_hex_number(struct radio_writer *out, uint32_t number);
/** Pairs of upper-case digits, with a separator between them unless it is 0. */
void radio_put_bytes(struct radio_writer *out, const uint8_t *bytes, size_t size, char separator);
/** Terminates the text. 0, or -ENOSPC if it did not fit. */
int radio_put_end(struct radio_writer *out);

/** The value of a hexadecimal digit; 16 for any other character. */
int radio_digit(char c);

#endif
