/* SPDX-License-Identifier: Apache-2.0 OR GPL-2.0-only */
#include "radio_chips.h"

/* Parameters by the number that a query carries. */
static const uint8_t dual_chain_parameters[] = {
    RADIO_PA2GCCKA0, RADIO_PA2GA0,   RADIO_PA2G40A0, RADIO_PA5GA0,    RADIO_PA2GCCKA1,
    RADIO_PA2GA1,    RADIO_PA2G40A1, RADIO_PA5GA1,   RADIO_PA5GLOWA0, RADIO_PA5GLOWA1,
};
static const uint8_t single_chain_parameters[] = {
    RADIO_PARAMETERS,   RADIO_PA2GCCKA0, RADIO_PA2GA0,          RADIO_PA2G40A0,
    RADIO_PA5GA0,       RADIO_PA5GLOWA0, RADIO_PARAMETERS,      RADIO_PARAMETERS,
    RADIO_PA5GA0_BAND1, RADIO_PA2GCWA0,  RADIO_PA5GLOWA0_BAND1,
};

static const struct {
  const char *name;
  uint32_t magic;
  uint32_t die_words;
  const uint8_t *parameters;
  size_t parameter_count;
} chips[] = {
    [RADIO_VQ2040] = {"vq2040", 2040, 8, NULL, 0},
    [RADIO_VQ2050] = {"vq2050", 2050, 9, dual_chain_parameters, RADIO_COUNT(dual_chain_parameters)},
    [RADIO_VQ2040A] = {"vq2040a", 0x2040A, 8, single_chain_parameters, RADIO_COUNT(single_chain_parameters)},
    [RADIO_VQ2070] = {"vq2070", 2070, 9, dual_chain_parameters, RADIO_COUNT(dual_chain_parameters)},
};
static_assert(RADIO_COUNT(chips) == RADIO_CHIPS, "a row per chip");

#define ALL(command)                                                                                         \
  { command, command, command, command }

/* The meaning of each id; a gap is an id that no chip has. */
static const uint8_t commands[][RADIO_CHIPS] = {
    [0] = ALL(RADIO_CMD_CHANNEL),
    [1] = ALL(RADIO_CMD_POWER),
    [2] = ALL(RADIO_CMD_MODE),
    [3] = ALL(RADIO_CMD_RATE),
    [4] = ALL(RADIO_CMD_BANDWIDTH),
    [5] = ALL(RADIO_CMD_TRANSMIT),
    [6] = ALL(RADIO_CMD_DBB),
    [7] = ALL(RADIO_CMD_FEM),
    [8] = ALL(RADIO_CMD_RECEIVE),
    [9] = ALL(RADIO_CMD_MAC_FILTER),
    [10] = ALL(RADIO_CMD_PACKETS),
    [11] = ALL(RADIO_CMD_POWER_SAVE),
    [12] = ALL(RADIO_CMD_RSSI),
    [13] = ALL(RADIO_CMD_CHIP_CHECK),
    [14] = ALL(RADIO_CMD_CHIP_RESULT),
    [16] = ALL(RADIO_CMD_UART_LOOP),
    [17] = ALL(RADIO_CMD_SDIO_LOOP),
    [18] = {RADIO_CMD_BLOCK_FETCH, RADIO_CMD_NONE, RADIO_CMD_BLOCK_FETCH, RADIO_CMD_NONE},
    [19] = {RADIO_CMD_BLOCK_PUSH, RADIO_CMD_NONE, RADIO_CMD_NONE, RADIO_CMD_NONE},
    [20] = ALL(RADIO_CMD_EFUSE),
    [21] = ALL(RADIO_CMD_ANTENNA),
    [22] = ALL(RADIO_CMD_DIE_ID),
    [23] = ALL(RADIO_CMD_COUNTRY),
    [24] = ALL(RADIO_CMD_UPC),
    [25] = {RADIO_CMD_CONNECTION_POWER, RADIO_CMD_PIN, RADIO_CMD_PIN, RADIO_CMD_PIN},
    [26] = {RADIO_CMD_BSS_EXPIRE_AGE, RADIO_CMD_PMU, RADIO_CMD_PARAMETER, RADIO_CMD_PMU},
    [27] = {RADIO_CMD_CONNECTION, RADIO_CMD_CHAIN, RADIO_CMD_WAKEUP_IO, RADIO_CMD_CHAIN},
    [28] = {RADIO_CMD_NONE, RADIO_CMD_NONE, RADIO_CMD_DYNAMIC_CALIBRATION, RADIO_CMD_NONE},
    [29] = {RADIO_CMD_NONE, RADIO_CMD_PARAMETER, RADIO_CMD_PMU, RADIO_CMD_PARAMETER},
    [30] = {RADIO_CMD_NONE, RADIO_CMD_WAKEUP_IO, RADIO_CMD_POWER_TEST, RADIO_CMD_WAKEUP_IO},
    [31] = {RADIO_CMD_NONE, RADIO_CMD_PCIE, RADIO_CMD_SELF_CALIBRATION, RADIO_CMD_PCIE},
    [32] = {RADIO_CMD_NONE, RADIO_CMD_BUS_MODE, RADIO_CMD_BSS_EXPIRE_AGE, RADIO_CMD_BUS_MODE},
    [33] = {RADIO_CMD_NONE, RADIO_CMD_DYNAMIC_CALIBRATION, RADIO_CMD_CONNECTION,
            RADIO_CMD_DYNAMIC_CALIBRATION},
    [34] = {RADIO_CMD_NONE, RADIO_CMD_POWER_TEST, RADIO_CMD_TAS_ANTENNA, RADIO_CMD_POWER_TEST},
    [35] = {RADIO_CMD_NONE, RADIO_CMD_TAS_ANTENNA, RADIO_CMD_BROADCAST_LOOP, RADIO_CMD_TAS_ANTENNA},
    [36] = {RADIO_CMD_NONE, RADIO_CMD_SELF_CALIBRATION, RADIO_CMD_NONE, RADIO_CMD_SELF_CALIBRATION},
    [37] = {RADIO_CMD_NONE, RADIO_CMD_BSS_EXPIRE_AGE, RADIO_CMD_NONE, RADIO_CMD_BSS_EXPIRE_AGE},
    [38] = {RADIO_CMD_NONE, RADIO_CMD_CONNECTION, RADIO_CMD_NONE, RADIO_CMD_CONNECTION},
    [39] = {RADIO_CMD_NONE, RADIO_CMD_NONE, RADIO_CMD_NONE, RADIO_CMD_RESOURCE_UNIT},
};
static_assert(RADIO_COUNT(commands) == RADIO_COMMANDS, "RADIO_COMMANDS in radio.h is not the number of rows");

const char *radio_chip_name(uint32_t chip) { return chip < RADIO_CHIPS ? chips[chip].name : NULL; }

uint32_t radio_chip_magic(uint32_t chip) { return chip < RADIO_CHIPS ? chips[chip].magic : 0; }

uint32_t radio_chip_die_words(uint32_t chip) { return chip < RADIO_CHIPS ? chips[chip].die_words : 0; }

enum radio_cmd radio_chip_command(uint32_t chip, uint32_t id) {
  if (chip >= RADIO_CHIPS || id >= RADIO_COMMANDS) return RADIO_CMD_NONE;
  return (enum radio_cmd)commands[id][chip];
}

enum radio_parameter radio_chip_parameter(uint32_t chip, uint32_t number) {
  if (chip >= RADIO_CHIPS || number >= chips[chip].parameter_count) return RADIO_PARAMETERS;
  return (enum radio_parameter)chips[chip].parameters[number];
}
