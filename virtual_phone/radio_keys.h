/* SPDX-License-Identifier: Apache-2.0 OR GPL-2.0-only */
/*
 * The radio's description and state as named texts: one parser for description files, tests and the kernel
 * module's control file.
 */
#ifndef VIRTUAL_PHONE_RADIO_KEYS_H
#define VIRTUAL_PHONE_RADIO_KEYS_H

#include "radio.h"

#ifdef __cplusplus
extern "C" {
/* A struct and a function share a name here, as C allows. */
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
#endif

enum radio_key_form {
  RADIO_KEY_NUMBER, /**< decimal or 0x…, min to max */
  RADIO_KEY_FLAG,   /**< true or false */
  RADIO_KEY_TEXT,   /**< at most size - 1 characters */
  RADIO_KEY_HEX,    /**< exactly size bytes in hexadecimal; blanks, colons and hyphens are skipped */
  RADIO_KEY_WORDS,  /**< the same, in 16-bit words */
  RADIO_KEY_MAC,    /**< six bytes, printed with colons */
  RADIO_KEY_CHIP,   /**< a chip's name */
  RADIO_KEY_REFUSE, /**< command ids, refused always ("11") or a number of times ("11*2") */
  RADIO_KEY_ANSWER  /**< command ids with their data in hexadecimal, "20:05000000" */
};

struct radio_key {
  const char *name;
  const char *initial; /**< null: part of the state, read only */
  const char *meaning;
  int64_t min, max;
  size_t at, size; /**< of the member in struct radio */
  enum radio_key_form form;
};

/** A good chip of the default kind, its interface up, nothing sent to it yet. */
void radio_init(struct radio *radio);

/** The i-th key; null past the last. */
const struct radio_key *radio_key(size_t i);

/** 0, -ENOENT for an unknown key, -EPERM for a read-only one, -EINVAL for a value that it does not take. */
int radio_set(struct radio *radio, const char *key, const char *value);
/** 0, -ENOENT, or -ENOSPC if the text needs more than size. Callers bring the state up to date first. */
int radio_get(const struct radio *radio, const char *key, char *text, size_t size);

#ifdef __cplusplus
#pragma GCC diagnostic pop
}
#endif

#endif
