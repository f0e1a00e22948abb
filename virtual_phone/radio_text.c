/* SPDX-License-Identifier: Apache-2.0 OR GPL-2.0-only */
#include "radio_text.h"

void radio_put(struct radio_writer *out, char c) {
  if (out->used + 1 < out->size) out->text[out->used] = c;
  out->used++;
}

void radio_put_text(struct radio_writer *out, const char *text) {
  while (*text) radio_put(out, *text++);
}

void radio_put_string(struct radio_writer *out, const uint8_t *bytes, size_t size) {
  size_t i;

  for (i = 0; i < size && bytes[i]; i++) radio_put(out, (char)bytes[i]);
}

static void put_digits(struct radio_writer *out, uint64_t number, uint32_t base) {
  char digits[24];
  size_t count = 0;

  do {
    digits[count++] = "0123456789abcdef"[number % base];
    number /= base;
  } while (number);
  while (count) radio_put(out, digits[--count]);
}

void radio_put_number(struct radio_writer *out, int64_t number) {
  if (number < 0) radio_put(out, '-');
  put_digits(out, number < 0 ? 0 - (uint64_t)number : (uint64_t)number, 10);
}

void radio_put_hex_number(struct radio_writer *out, uint32_t number) { put_digits(out, number, 16); }

void radio_put_bytes(struct radio_writer *out, const uint8_t *bytes, size_t size, char separator) {
  static const char digits[] = "0123456789ABCDEF";
  size_t i;

  for (i = 0; i < size; i++) {
    if (i && separator) radio_put(out, separator);
    radio_put(out, digits[bytes[i] >> 4]);
    radio_put(out, digits[bytes[i] & 15]);
  }
}

int radio_put_end(struct radio_writer *out) {
  if (out->used >= out->size) return -ENOSPC;
  out->text[out->used] = 0;
  return 0;
}

int radio_digit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return 16;
}
