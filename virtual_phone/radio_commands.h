/* SPDX-License-Identifier: Apache-2.0 OR GPL-2.0-only */
/* What a driver command is called and what its data area holds, on the way to the driver and back. */
#ifndef VIRTUAL_PHONE_RADIO_COMMANDS_H
#define VIRTUAL_PHONE_RADIO_COMMANDS_H

#include "radio_chips.h"

#ifdef __cplusplus
extern "C" {
#endif

enum radio_value {
  RADIO_SIGNED,   /**< a little-endian number of 1, 2 or 4 bytes */
  RADIO_UNSIGNED, /**< the same without sign */
  RADIO_HEX,      /**< as RADIO_UNSIGNED, shown in hexadecimal */
  RADIO_STRING,   /**< NUL-terminated, or all of its room */
  RADIO_BYTES     /**< shown as pairs of hexadecimal digits */
};

/** One value in a data area. */
struct radio_field {
  enum radio_value form;
  uint16_t at, size;
};

enum { RADIO_FIELDS = 3 };

/** The values in a data area, in order; everything else in it is zero. */
struct radio_layout {
  uint8_t count;  /**< 0: no data */
  char separator; /**< between the values when they are shown */
  struct radio_field field[RADIO_FIELDS];
};

struct radio_form {
  const char *name; /**< "mimo_chain" */
  struct radio_layout request, answer;
};

/** The form of a command that a chip has; for RADIO_CMD_NONE and anything out of range null. */
const struct radio_form *radio_command_form(enum radio_cmd command);
/** The form of the command with this id on a chip; null if the chip has no such command. */
const struct radio_form *radio_chip_command_form(uint32_t chip, uint32_t id);
/** A little-endian number of 1 to 4 bytes. */
uint32_t radio_number_at(const uint8_t *at, size_t size);
/** The id under which a chip has the command of this name; -1 if it does not. */
int radio_command_id(uint32_t chip, const char *name);

#ifdef __cplusplus
}
#endif

#endif
