/* SPDX-License-Identifier: Apache-2.0 OR GPL-2.0-only */
/* Turns a driver command back into words: for traces, reports and expectations. */
#ifndef VIRTUAL_PHONE_RADIO_DECODE_H
#define VIRTUAL_PHONE_RADIO_DECODE_H

#include "radio_commands.h"

#ifdef __cplusplus
extern "C" {
#endif

enum { RADIO_TEXT_SIZE = 2 * RADIO_BLOCK_SIZE + 1 };

struct radio_decoded {
  const struct radio_form *form; /**< null: the chip has no such command */
  char sent[RADIO_TEXT_SIZE];    /**< the request's values; "" for a request without data */
  char answer[RADIO_TEXT_SIZE];  /**< "" for no answer */
};

/**
 * Decodes a command. before is its data area as sent, after as the driver left it; both have RADIO_DATA_SIZE
 * bytes. after is null for a command that was refused. Of a command that the chip does not have, sent is the
 * first number of the data.
 */
void radio_decode(uint32_t chip, uint32_t id, const uint8_t *before, const uint8_t *after,
                  struct radio_decoded *decoded);

#ifdef __cplusplus
}
#endif

#endif
