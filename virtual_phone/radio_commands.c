/* SPDX-License-Identifier: Apache-2.0 OR GPL-2.0-only */
#include "radio_commands.h"

#define NOTHING                                                                                              \
  {                                                                                                          \
    0, 0, {                                                                                                  \
      { RADIO_SIGNED, 0, 0 }                                                                                 \
    }                                                                                                        \
  }
#define ONE(form, at, size)                                                                                  \
  {                                                                                                          \
    1, 0, {                                                                                                  \
      { form, at, size }                                                                                     \
    }                                                                                                        \
  }
#define NUMBER   ONE(RADIO_SIGNED, 0, 4)
#define NUMBER16 ONE(RADIO_UNSIGNED, 0, 2)
#define TEXT     ONE(RADIO_STRING, 0, RADIO_BLOCK_SIZE)
#define MAC      ONE(RADIO_BYTES, 0, 6)
#define BLOCK    ONE(RADIO_BYTES, 0, RADIO_BLOCK_SIZE)
#define DIE      ONE(RADIO_BYTES, 0, 2 * RADIO_DIE_WORDS)
/* The number is in the last byte of the room for the answer. */
#define PARAMETER ONE(RADIO_UNSIGNED, RADIO_BLOCK_SIZE - 1, 1)
/* Association id and direction. */
#define RESOURCE_UNIT                                                                                        \
  {                                                                                                          \
    2, ':', {                                                                                                \
      {RADIO_HEX, 0, 2}, { RADIO_UNSIGNED, 2, 2 }                                                            \
    }                                                                                                        \
  }
/* SSID, BSSID and RSSI, after a byte that is 1 while connected. */
#define CONNECTION                                                                                           \
  {                                                                                                          \
    3, ' ', {                                                                                                \
      {RADIO_STRING, 1, 33}, {RADIO_BYTES, 34, 6}, { RADIO_SIGNED, 40, 1 }                                   \
    }                                                                                                        \
  }

static const struct radio_form forms[] = {
    [RADIO_CMD_CHANNEL] = {"channel", NUMBER, NOTHING},
    [RADIO_CMD_POWER] = {"power", NUMBER, NOTHING},
    [RADIO_CMD_MODE] = {"mode", NUMBER, NOTHING},
    [RADIO_CMD_RATE] = {"rate", NUMBER, NOTHING},
    [RADIO_CMD_BANDWIDTH] = {"bandwidth", NUMBER, NOTHING},
    [RADIO_CMD_TRANSMIT] = {"transmit", NUMBER, NOTHING},
    [RADIO_CMD_RECEIVE] = {"receive", NUMBER, NOTHING},
    [RADIO_CMD_DBB] = {"dbb_number", NOTHING, TEXT},
    [RADIO_CMD_FEM] = {"fem_status", NOTHING, NUMBER},
    [RADIO_CMD_MAC_FILTER] = {"mac_filter", MAC, NOTHING},
    [RADIO_CMD_PACKETS] = {"packet_count", NOTHING, NUMBER},
    [RADIO_CMD_POWER_SAVE] = {"power_save", NUMBER, NOTHING},
    [RADIO_CMD_RSSI] = {"rssi", NOTHING, NUMBER},
    [RADIO_CMD_CHIP_CHECK] = {"chip_check", NUMBER, NUMBER},
    [RADIO_CMD_CHIP_RESULT] = {"chip_check_result", NOTHING, NUMBER},
    [RADIO_CMD_UART_LOOP] = {"uart_loop", NOTHING, NOTHING},
    [RADIO_CMD_SDIO_LOOP] = {"sdio_loop", NOTHING, NOTHING},
    [RADIO_CMD_BLOCK_FETCH] = {"cal_block_fetch", NOTHING, BLOCK},
    [RADIO_CMD_BLOCK_PUSH] = {"cal_block_push", BLOCK, NOTHING},
    [RADIO_CMD_EFUSE] = {"efuse_status", NOTHING, NUMBER},
    [RADIO_CMD_ANTENNA] = {"antenna", NUMBER, NOTHING},
    [RADIO_CMD_DIE_ID] = {"die_id", NOTHING, DIE},
    [RADIO_CMD_COUNTRY] = {"country", TEXT, NOTHING},
    [RADIO_CMD_UPC] = {"upc_code", NOTHING, NUMBER},
    [RADIO_CMD_CONNECTION_POWER] = {"connection_power", NUMBER, NOTHING},
    [RADIO_CMD_PIN] = {"pin_test", NOTHING, NUMBER},
    [RADIO_CMD_PMU] = {"pmu_check", NOTHING, NUMBER},
    [RADIO_CMD_WAKEUP_IO] = {"wakeup_io", NOTHING, NUMBER},
    [RADIO_CMD_PCIE] = {"pcie_test", NOTHING, NUMBER},
    [RADIO_CMD_BSS_EXPIRE_AGE] = {"bss_expire_age", NUMBER, NOTHING},
    [RADIO_CMD_CHAIN] = {"mimo_chain", NUMBER, NOTHING},
    [RADIO_CMD_CONNECTION] = {"connection_info", NOTHING, CONNECTION},
    [RADIO_CMD_PARAMETER] = {"cal_parameter", PARAMETER, TEXT},
    [RADIO_CMD_DYNAMIC_CALIBRATION] = {"cal_interval", TEXT, NOTHING},
    [RADIO_CMD_SELF_CALIBRATION] = {"self_calibration", NUMBER, NOTHING},
    [RADIO_CMD_POWER_TEST] = {"power_test", NUMBER, NOTHING},
    [RADIO_CMD_BUS_MODE] = {"bus_mode", NUMBER16, NOTHING},
    [RADIO_CMD_TAS_ANTENNA] = {"tas_antenna", NUMBER, NOTHING},
    [RADIO_CMD_BROADCAST_LOOP] = {"broadcast_loop", NUMBER, NOTHING},
    [RADIO_CMD_RESOURCE_UNIT] = {"ru_setting", RESOURCE_UNIT, NOTHING},
};
static_assert(RADIO_COUNT(forms) == RADIO_CMDS, "the last commands have no row");

const struct radio_form *radio_command_form(enum radio_cmd command) {
  if (command <= RADIO_CMD_NONE || command >= RADIO_CMDS) return NULL;
  return forms[command].name ? &forms[command] : NULL;
}

const struct radio_form *radio_chip_command_form(uint32_t chip, uint32_t id) {
  return radio_command_form(radio_chip_command(chip, id));
}

uint32_t radio_number_at(const uint8_t *at, size_t size) {
  uint32_t number = 0;

  while (size--) number = number << 8 | at[size];
  return number;
}

int radio_command_id(uint32_t chip, const char *name) {
  uint32_t id;

  for (id = 0; id < RADIO_COMMANDS; id++) {
    const struct radio_form *form = radio_chip_command_form(chip, id);

    if (form && strcmp(form->name, name) == 0) return (int)id;
  }
  return -1;
}
