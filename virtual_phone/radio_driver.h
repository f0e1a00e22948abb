/* SPDX-License-Identifier: Apache-2.0 OR GPL-2.0-only */
/* What the driver does with a command and with the interface. */
#ifndef VIRTUAL_PHONE_RADIO_DRIVER_H
#define VIRTUAL_PHONE_RADIO_DRIVER_H

#include "radio.h"

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Runs one driver command. The record changes only if the command is answered, or if driver.refuse refuses it
 * and it has a fixed answer: that is a driver that wrote before it failed.
 *
 * Returns 0, or -ENODEV without a driver, -EINVAL for another chip's magic or a bad record, -EOPNOTSUPP for a
 * command that the chip does not have, -ENETDOWN for a command that needs the interface up, -EIO for a
 * command refused by driver.refuse and for a loop that does not close.
 */
int radio_command(struct radio *radio, uint8_t record[RADIO_RECORD_SIZE], uint64_t now_us);

/**
 * Takes the interface up or down. Down ends any test. Returns 0, -ENODEV without a driver, or -EIO for as
 * many attempts to take it up as interface.fail_up says.
 */
int radio_interface(struct radio *radio, int up, uint64_t now_us);

/** Counts the packets received up to now. Call it before reading the state. */
void radio_advance(struct radio *radio, uint64_t now_us);

/**
 * An RF model outside the radio decides what the receiver makes of the test signal: rssi in dBm, and packets
 * received per second from now_us on. radio_hear_all returns to what the description says.
 */
void radio_hear(struct radio *radio, int32_t rssi, uint32_t packets_per_second, uint64_t now_us);
void radio_hear_all(struct radio *radio, uint64_t now_us);

/** Counts packets that the model outside has found to be received. */
void radio_deliver(struct radio *radio, uint32_t packets);

/** Ends transmit and receive tests and forgets their settings, as an interface that goes down does. */
void radio_end_tests(struct radio *radio);

/** Fixes a command's answer: size bytes at the start of the data. Returns 0 or -EINVAL. */
int radio_answer(struct radio *radio, uint32_t command, const void *bytes, size_t size);
void radio_answers_clear(struct radio *radio);

#ifdef __cplusplus
}
#endif

#endif
