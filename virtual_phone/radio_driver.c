/* SPDX-License-Identifier: Apache-2.0 OR GPL-2.0-only */
#include "radio_driver.h"

#include "radio_commands.h"

/* Whether a command needs the interface up. The weld test relies on it that self-checks, and ending a test,
 * never do. NO_ROW is what a command left out of the table has. */
enum need { NO_ROW, UP_OR_DOWN, UP, UP_TO_START };

/* What the driver does with a command: sets or reads a member of struct radio, unless a handler does it. */
struct driver_command {
  enum need need;
  size_t at, size;     /* of the member */
  int64_t least, most; /* requests accepted under driver.strict_values */
  int (*handler)(struct radio *radio, uint8_t *data);
};

static uint32_t get32(const uint8_t *at) { return radio_number_at(at, 4); }

static void put16(uint8_t *at, uint32_t value) {
  at[0] = (uint8_t)value;
  at[1] = (uint8_t)(value >> 8);
}

static void put32(uint8_t *at, uint32_t value) {
  put16(at, value);
  put16(at + 2, value >> 16);
}

/* ---- Commands with a handler -------------------------------------------------------------------------- */

#define BIT_OF(command) (1u << (command))

/* Under driver.strict_values a test must not start with the settings of an earlier one. */
static int is_configured(const struct radio *radio) {
  uint32_t wanted = BIT_OF(RADIO_CMD_MODE) | BIT_OF(RADIO_CMD_BANDWIDTH) | BIT_OF(RADIO_CMD_CHANNEL);

  return !radio->strict_values || (radio->configured & wanted) == wanted;
}

static int transmit(struct radio *radio, uint8_t *data) {
  uint32_t on = get32(data) != 0;

  if (on && !is_configured(radio)) return -EINVAL;
  radio->transmitting = on;
  return 0;
}

static int receive(struct radio *radio, uint8_t *data) {
  uint32_t on = get32(data) != 0;

  if (on && !is_configured(radio)) return -EINVAL;
  if (on) {
    radio->packets = 0;
    radio->packet_fraction = 0;
  }
  radio->receiving = on;
  return 0;
}

static int rssi(struct radio *radio, uint8_t *data) {
  put32(data, radio->heard ? radio->heard_rssi : radio->rssi);
  return 0;
}

static int chip_check(struct radio *radio, uint8_t *data) {
  radio->running_test = get32(data);
  put32(data, radio->chip_check);
  return 0;
}

static int uart_loop(struct radio *radio, uint8_t *data) {
  (void)data;
  return radio->uart_loop ? -EIO : 0;
}

static int sdio_loop(struct radio *radio, uint8_t *data) {
  (void)data;
  return radio->sdio_loop ? -EIO : 0;
}

static int die_id(struct radio *radio, uint8_t *data) {
  uint32_t i;

  for (i = 0; i < radio_chip_die_words(radio->chip); i++) put16(data + 2 * i, radio->die_id[i]);
  return 0;
}

static int connection(struct radio *radio, uint8_t *data) {
  if (!radio->ap_connected) return 0;
  data[0] = 1;
  memcpy(data + 1, radio->ap_ssid, sizeof(radio->ap_ssid));
  memcpy(data + 34, radio->ap_bssid, sizeof(radio->ap_bssid));
  data[40] = (uint8_t)radio->ap_rssi;
  return 0;
}

static int parameter(struct radio *radio, uint8_t *data) {
  enum radio_parameter asked = radio_chip_parameter(radio->chip, data[RADIO_BLOCK_SIZE - 1]);

  if (asked == RADIO_PARAMETERS) return -EINVAL;
  memcpy(data, radio->parameter[asked], RADIO_BLOCK_SIZE);
  return 0;
}

static int resource_unit(struct radio *radio, uint8_t *data) {
  uint32_t direction = radio_number_at(data + 2, 2);

  if (direction != 1 && direction != 2) return -EINVAL;
  radio->ru_aid = radio_number_at(data, 2);
  radio->ru_direction = direction;
  return 0;
}

/* ---- The table ---------------------------------------------------------------------------------------- */

#define MEMBER(member) offsetof(struct radio, member), sizeof(((struct radio *)0)->member)

#define VALUE(need, member, least, most)                                                                     \
  { need, MEMBER(member), least, most, NULL }
#define DATA(need, member) VALUE(need, member, 0, 0)
#define HANDLER(need, most, handler)                                                                         \
  { need, 0, 0, 0, most, handler }

static const struct driver_command commands[] = {
    [RADIO_CMD_CHANNEL] = VALUE(UP, channel, -1, 165),
    [RADIO_CMD_POWER] = VALUE(UP_OR_DOWN, power, -100, 100),
    [RADIO_CMD_MODE] = VALUE(UP, mode, 0, 14),
    [RADIO_CMD_RATE] = VALUE(UP, rate, 0, 65535),
    [RADIO_CMD_BANDWIDTH] = VALUE(UP, band, 0, 7),
    [RADIO_CMD_TRANSMIT] = HANDLER(UP_TO_START, 1, transmit),
    [RADIO_CMD_RECEIVE] = HANDLER(UP_TO_START, 1, receive),
    [RADIO_CMD_DBB] = DATA(UP_OR_DOWN, dbb),
    [RADIO_CMD_FEM] = DATA(UP_OR_DOWN, fem),
    [RADIO_CMD_MAC_FILTER] = DATA(UP, mac_filter),
    [RADIO_CMD_PACKETS] = DATA(UP, packets),
    [RADIO_CMD_POWER_SAVE] = VALUE(UP_OR_DOWN, power_save, 0, 1),
    [RADIO_CMD_RSSI] = HANDLER(UP, 0, rssi),
    [RADIO_CMD_CHIP_CHECK] = HANDLER(UP_OR_DOWN, 1, chip_check),
    [RADIO_CMD_CHIP_RESULT] = DATA(UP_OR_DOWN, chip_check),
    [RADIO_CMD_UART_LOOP] = HANDLER(UP_OR_DOWN, 0, uart_loop),
    [RADIO_CMD_SDIO_LOOP] = HANDLER(UP_OR_DOWN, 0, sdio_loop),
    [RADIO_CMD_BLOCK_FETCH] = DATA(UP_OR_DOWN, block),
    [RADIO_CMD_BLOCK_PUSH] = DATA(UP_OR_DOWN, pushed_block),
    [RADIO_CMD_EFUSE] = DATA(UP_OR_DOWN, efuse),
    [RADIO_CMD_ANTENNA] = VALUE(UP_OR_DOWN, antenna, 0, 1),
    [RADIO_CMD_DIE_ID] = HANDLER(UP_OR_DOWN, 0, die_id),
    [RADIO_CMD_COUNTRY] = DATA(UP, country),
    [RADIO_CMD_UPC] = DATA(UP_OR_DOWN, upc),
    [RADIO_CMD_CONNECTION_POWER] = VALUE(UP_OR_DOWN, connection_power, -100, 100),
    [RADIO_CMD_PIN] = DATA(UP_OR_DOWN, pin),
    [RADIO_CMD_PMU] = DATA(UP_OR_DOWN, pmu),
    [RADIO_CMD_WAKEUP_IO] = DATA(UP_OR_DOWN, wakeup_io),
    [RADIO_CMD_PCIE] = DATA(UP_OR_DOWN, pcie),
    [RADIO_CMD_BSS_EXPIRE_AGE] = VALUE(UP_OR_DOWN, bss_expire_age, RADIO_ANY_MIN, RADIO_ANY_MAX),
    [RADIO_CMD_CHAIN] = VALUE(UP, chain, 1, 2),
    [RADIO_CMD_CONNECTION] = HANDLER(UP_OR_DOWN, 0, connection),
    [RADIO_CMD_PARAMETER] = HANDLER(UP_OR_DOWN, 0, parameter),
    [RADIO_CMD_DYNAMIC_CALIBRATION] = DATA(UP, dynamic_calibration),
    [RADIO_CMD_SELF_CALIBRATION] = VALUE(UP_OR_DOWN, self_calibration, 0, 1),
    [RADIO_CMD_POWER_TEST] = VALUE(UP_OR_DOWN, power_test, RADIO_ANY_MIN, RADIO_ANY_MAX),
    [RADIO_CMD_BUS_MODE] = VALUE(UP_OR_DOWN, bus_mode, 0, 65535),
    [RADIO_CMD_TAS_ANTENNA] = VALUE(UP_OR_DOWN, tas_antenna, RADIO_ANY_MIN, RADIO_ANY_MAX),
    [RADIO_CMD_BROADCAST_LOOP] = VALUE(UP_OR_DOWN, broadcast_loop, RADIO_ANY_MIN, RADIO_ANY_MAX),
    [RADIO_CMD_RESOURCE_UNIT] = HANDLER(UP, 0, resource_unit),
};
static_assert(RADIO_COUNT(commands) == RADIO_CMDS, "the last commands have no row");

/* ---- Checks ------------------------------------------------------------------------------------------- */

static int all_zero(const uint8_t *bytes, size_t from, size_t to) {
  for (; from < to; from++) {
    if (bytes[from]) return 0;
  }
  return 1;
}

/* Bytes of a text with its NUL, or 0 if it is empty or longer than the driver's room for it. */
static size_t text_size(const uint8_t *text, size_t room) {
  size_t length = 0;

  while (length < room && text[length]) length++;
  return length && length < room ? length + 1 : 0;
}

/* Callers clear a record first, so anything outside its values was left there by mistake. */
static int is_clean(const struct radio_layout *request, const struct driver_command *command,
                    const uint8_t *data) {
  size_t at = 0, i, size;

  for (i = 0; i < request->count; i++) {
    const struct radio_field *field = &request->field[i];

    size = field->form == RADIO_STRING ? text_size(data + field->at, command->size) : field->size;
    if (!size || !all_zero(data, at, field->at)) return 0;
    at = field->at + size;
  }
  return all_zero(data, at, RADIO_DATA_SIZE);
}

static int is_number(const struct radio_layout *layout, size_t size) {
  return layout->count == 1 && layout->field[0].form == RADIO_SIGNED && layout->field[0].size == size;
}

static int is_believable(enum radio_cmd command, const uint8_t *data) {
  const struct driver_command *row = &commands[command];
  uint32_t value = get32(data);

  if (!is_number(&radio_command_form(command)->request, 4)) return 1;
  /* The codes of 20, 40, 80 and 160 MHz are 0, 1, 3 and 7. */
  if (command == RADIO_CMD_BANDWIDTH && (value & (value + 1))) return 0;
  return (int32_t)value >= row->least && (int32_t)value <= row->most;
}

static int check_command(const struct radio *radio, enum radio_cmd command, const uint8_t *data) {
  const struct radio_form *form = radio_command_form(command);
  const struct driver_command *row = &commands[command];

  if (!form || row->need == NO_ROW) return -EOPNOTSUPP;
  if (radio->strict_records && !is_clean(&form->request, row, data)) return -EINVAL;
  if (radio->strict_values && !is_believable(command, data)) return -EINVAL;
  if (!radio->up && (row->need == UP || (row->need == UP_TO_START && get32(data)))) return -ENETDOWN;
  return 0;
}

/* ---- Commands on a member ----------------------------------------------------------------------------- */

static void take_request(struct radio *radio, const struct radio_layout *request,
                         const struct driver_command *command, const uint8_t *data) {
  const struct radio_field *field = &request->field[0];
  uint8_t *member = (uint8_t *)radio + command->at;
  uint32_t value;

  if (!request->count) return;
  if (field->form == RADIO_SIGNED || field->form == RADIO_UNSIGNED) {
    value = radio_number_at(data, field->size);
    memcpy(member, &value, sizeof(value));
    return;
  }
  memcpy(member, data, command->size);
  if (field->form == RADIO_STRING) member[command->size - 1] = 0;
}

static void give_answer(const struct radio *radio, const struct radio_layout *answer,
                        const struct driver_command *command, uint8_t *data) {
  const uint8_t *member = (const uint8_t *)radio + command->at;
  uint32_t value;

  if (!answer->count) return;
  if (!is_number(answer, sizeof(value))) {
    memcpy(data, member, command->size);
    return;
  }
  memcpy(&value, member, sizeof(value));
  put32(data, value);
}

static int run_command(struct radio *radio, enum radio_cmd command, uint8_t *data) {
  const struct radio_form *form = radio_command_form(command);
  const struct driver_command *row = &commands[command];
  int result = check_command(radio, command, data);

  if (result) return result;
  if (row->handler) return row->handler(radio, data);
  take_request(radio, &form->request, row, data);
  give_answer(radio, &form->answer, row, data);
  if (command < 32) radio->configured |= BIT_OF(command);
  return 0;
}

/* ---- The driver --------------------------------------------------------------------------------------- */

static int refuses(struct radio *radio, uint32_t id) {
  if (!radio->refuse[id]) return 0;
  if (radio->refuse[id] != RADIO_REFUSE_ALWAYS) radio->refuse[id]--;
  return 1;
}

int radio_command(struct radio *radio, uint8_t record[RADIO_RECORD_SIZE], uint64_t now_us) {
  uint32_t id = get32(record + 4);
  uint8_t *data = record + RADIO_DATA_AT;
  int result;

  radio_advance(radio, now_us);
  radio->command_count++;
  if (!radio->driver_loaded) return -ENODEV;
  if (get32(record) != radio_chip_magic(radio->chip)) return -EINVAL;
  if (id >= RADIO_COMMANDS) return -EOPNOTSUPP;
  result = refuses(radio, id) ? -EIO : run_command(radio, radio_chip_command(radio->chip, id), data);
  if ((result == 0 || result == -EIO) && radio->answer[id].set) {
    memcpy(data, radio->answer[id].bytes, radio->answer[id].size);
  }
  return result;
}

int radio_answer(struct radio *radio, uint32_t command, const void *bytes, size_t size) {
  struct radio_fixed_answer *answer;

  if (command >= RADIO_COMMANDS || size > RADIO_DATA_SIZE) return -EINVAL;
  answer = &radio->answer[command];
  answer->set = 1;
  answer->size = (uint32_t)size;
  memcpy(answer->bytes, bytes, size);
  return 0;
}

void radio_answers_clear(struct radio *radio) { memset(radio->answer, 0, sizeof(radio->answer)); }

void radio_end_tests(struct radio *radio) {
  radio->transmitting = 0;
  radio->receiving = 0;
  radio->configured = 0;
}

int radio_interface(struct radio *radio, int up, uint64_t now_us) {
  radio_advance(radio, now_us);
  if (!radio->driver_loaded) return -ENODEV;
  if (up && radio->fail_up) {
    radio->fail_up--;
    return -EIO;
  }
  if (!up) radio_end_tests(radio);
  radio->up = up != 0;
  return 0;
}

void radio_advance(struct radio *radio, uint64_t now_us) {
  uint64_t since = radio->counted_until_us;
  uint32_t rate = radio->heard ? radio->heard_rate : radio->packet_rate;

  radio->counted_until_us = now_us;
  if (!radio->receiving || now_us <= since) return;
  radio->packet_fraction += (now_us - since) * rate;
  radio->packets += (uint32_t)(radio->packet_fraction / 1000000);
  radio->packet_fraction %= 1000000;
}

void radio_hear(struct radio *radio, int32_t rssi, uint32_t packets_per_second, uint64_t now_us) {
  radio_advance(radio, now_us);
  radio->heard = 1;
  radio->heard_rssi = (uint32_t)rssi;
  radio->heard_rate = packets_per_second;
}

void radio_hear_all(struct radio *radio, uint64_t now_us) {
  radio_advance(radio, now_us);
  radio->heard = 0;
}

void radio_deliver(struct radio *radio, uint32_t packets) { radio->packets += packets; }
