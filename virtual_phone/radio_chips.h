/* SPDX-License-Identifier: Apache-2.0 OR GPL-2.0-only */
/* What differs between the chips: name, magic, die identifier, and the numbers of commands and parameters. */
#ifndef VIRTUAL_PHONE_RADIO_CHIPS_H
#define VIRTUAL_PHONE_RADIO_CHIPS_H

#include "radio.h"

#ifdef __cplusplus
extern "C" {
#endif

/** In the order of the sub-chip index. */
enum radio_chip { RADIO_VQ2040, RADIO_VQ2050, RADIO_VQ2040A, RADIO_VQ2070, RADIO_CHIPS };

/** What a command does, whatever its id on a chip. */
enum radio_cmd {
  RADIO_CMD_NONE, /**< the chip does not have this command */
  RADIO_CMD_CHANNEL,
  RADIO_CMD_POWER,
  RADIO_CMD_MODE,
  RADIO_CMD_RATE,
  RADIO_CMD_BANDWIDTH,
  RADIO_CMD_TRANSMIT,
  RADIO_CMD_RECEIVE,
  RADIO_CMD_DBB,
  RADIO_CMD_FEM,
  RADIO_CMD_MAC_FILTER,
  RADIO_CMD_PACKETS,
  RADIO_CMD_POWER_SAVE,
  RADIO_CMD_RSSI,
  RADIO_CMD_CHIP_CHECK,
  RADIO_CMD_CHIP_RESULT,
  RADIO_CMD_UART_LOOP,
  RADIO_CMD_SDIO_LOOP,
  RADIO_CMD_BLOCK_FETCH,
  RADIO_CMD_BLOCK_PUSH,
  RADIO_CMD_EFUSE,
  RADIO_CMD_ANTENNA,
  RADIO_CMD_DIE_ID,
  RADIO_CMD_COUNTRY,
  RADIO_CMD_UPC,
  RADIO_CMD_CONNECTION_POWER,
  RADIO_CMD_PIN,
  RADIO_CMD_PMU,
  RADIO_CMD_WAKEUP_IO,
  RADIO_CMD_PCIE,
  RADIO_CMD_BSS_EXPIRE_AGE,
  RADIO_CMD_CHAIN,
  RADIO_CMD_CONNECTION,
  RADIO_CMD_PARAMETER,
  RADIO_CMD_DYNAMIC_CALIBRATION,
  RADIO_CMD_SELF_CALIBRATION,
  RADIO_CMD_POWER_TEST,
  RADIO_CMD_BUS_MODE,
  RADIO_CMD_TAS_ANTENNA,
  RADIO_CMD_BROADCAST_LOOP,
  RADIO_CMD_RESOURCE_UNIT,
  RADIO_CMDS
};

/** Null for an unknown chip. */
const char *radio_chip_name(uint32_t chip);
/** 0 for an unknown chip. */
uint32_t radio_chip_magic(uint32_t chip);
/** 16-bit words of the die identifier that the chip reports. */
uint32_t radio_chip_die_words(uint32_t chip);
/** RADIO_CMD_NONE for an unknown chip or id. */
enum radio_cmd radio_chip_command(uint32_t chip, uint32_t id);
/** The parameter with this number in the chip's firmware; RADIO_PARAMETERS for none. */
enum radio_parameter radio_chip_parameter(uint32_t chip, uint32_t number);

#ifdef __cplusplus
}
#endif

#endif
