/* SPDX-License-Identifier: Apache-2.0 OR GPL-2.0-only */
#include "radio_keys.h"

#include "radio_chips.h"
#include "radio_driver.h"
#include "radio_text.h"

#define FIELD(member) offsetof(struct radio, member), sizeof(((struct radio *)0)->member)

#define NUMBER(name, member, least, most, initial, meaning)                                                  \
  { name, initial, meaning, least, most, FIELD(member), RADIO_KEY_NUMBER }
#define OTHER(name, form, member, initial, meaning)                                                          \
  { name, initial, meaning, 0, 0, FIELD(member), form }
#define STATE(name, member, meaning) NUMBER("state." name, member, 0, RADIO_ANY_MAX, NULL, meaning)
#define SIGNED_STATE(name, member, meaning)                                                                  \
  NUMBER("state." name, member, RADIO_ANY_MIN, 2147483647LL, NULL, meaning)
#define VERDICT(name, member, meaning)                                                                       \
  NUMBER("check." name, member, RADIO_ANY_MIN, RADIO_ANY_MAX, "0", meaning)
#define PARAMETER(name, number, initial)                                                                     \
  OTHER("calibration." name, RADIO_KEY_TEXT, parameter[number], initial, "value text of the driver's " name)

/* Detector counts over dBm, about 20 counts per dB at 15 dBm. The low-power path has the more sensitive
 * detector. Five digits a number at most: an NV item of 103 characters holds pa2ga0 and pa5ga0. */
#define CURVES_5G     "7800,12400,96,7700,12300,95,7600,12200,94,7500,12100,93"
#define CURVES_5G_LOW "9000,16400,140,8900,16300,139,8800,16200,138,8700,16100,137"

static const struct radio_key keys[] = {
    OTHER("chip", RADIO_KEY_CHIP, chip, "vq2050", "the fitted chip"),
    OTHER("identity.mac", RADIO_KEY_MAC, mac, "02:4F:52:56:41:01", "MAC address of wlan0"),
    OTHER("identity.die_id", RADIO_KEY_WORDS, die_id, "12AB 0F00 3C51 7788 0001 A5A5 00FE 9D42 600D",
          "die identifier, nine 16-bit words (vq2040 and vq2040a give the first eight)"),
    OTHER("identity.dbb", RADIO_KEY_TEXT, dbb, "DBB-20C4-0117", "number of the digital baseband"),
    NUMBER("identity.upc", upc, 0, RADIO_ANY_MAX, "37", "UPC code"),

    VERDICT("efuse", efuse, "efuse status, 0 is good"),
    VERDICT("fem", fem, "front-end module and power amplifier status, 0 is good"),
    VERDICT("pmu", pmu, "PMU check, 0 is good"),
    VERDICT("pin", pin, "WLAN pin test, 0 is good"),
    VERDICT("wakeup_io", wakeup_io, "wake-up IO test, 0 in the low 16 bits is good"),
    VERDICT("pcie", pcie, "PCIe test, 0 in the low 16 bits is good"),
    VERDICT("chip", chip_check, "result code of the chip check"),
    VERDICT("uart_loop", uart_loop, "UART loop, 0 closes, anything else is refused"),
    VERDICT("sdio_loop", sdio_loop, "SDIO loop, 0 closes, anything else is refused"),

    NUMBER("radio.rssi", rssi, RADIO_ANY_MIN, 2147483647LL, "-52", "strength of the test signal in dBm"),
    NUMBER("radio.packet_rate", packet_rate, 0, 1000000, "1000", "test packets received per second"),

    OTHER("ap.connected", RADIO_KEY_FLAG, ap_connected, "true", "is the phone connected to the access point"),
    OTHER("ap.ssid", RADIO_KEY_TEXT, ap_ssid, "factory-line-7", "name of the access point's network"),
    OTHER("ap.bssid", RADIO_KEY_MAC, ap_bssid, "02:00:5E:10:20:30", "address of the access point"),
    NUMBER("ap.rssi", ap_rssi, -128, 127, "-47", "strength of the access point in dBm"),

    PARAMETER("pa2gccka0", RADIO_PA2GCCKA0, "8192,13000,104"),
    PARAMETER("pa2ga0", RADIO_PA2GA0, "8192,12800,100"),
    PARAMETER("pa2g40a0", RADIO_PA2G40A0, "8192,12700,98"),
    PARAMETER("pa5ga0", RADIO_PA5GA0, CURVES_5G),
    PARAMETER("pa2gccka1", RADIO_PA2GCCKA1, "8192,13050,105"),
    PARAMETER("pa2ga1", RADIO_PA2GA1, "8192,12850,101"),
    PARAMETER("pa2g40a1", RADIO_PA2G40A1, "8192,12750,99"),
    PARAMETER("pa5ga1", RADIO_PA5GA1, CURVES_5G),
    PARAMETER("pa5glowa0", RADIO_PA5GLOWA0, CURVES_5G_LOW),
    PARAMETER("pa5glowa1", RADIO_PA5GLOWA1, CURVES_5G_LOW),
    PARAMETER("pa5ga0_band1", RADIO_PA5GA0_BAND1, "7800,12400,96"),
    PARAMETER("pa2gcwa0", RADIO_PA2GCWA0, "8192,12800,100"),
    PARAMETER("pa5glowa0_band1", RADIO_PA5GLOWA0_BAND1, "9000,16400,140"),
    OTHER("calibration.block", RADIO_KEY_HEX, block,
          "0150 0152 0260 0262 0264 0266 0268 0370 0371 0372 0373 0374 0375 "
          "0480 0481 0482 0483 0484 0485 0486 0487 0590 0591 0592 0593 0594 "
          "06A0 06A1 06A2 06A3 06A4 06A5 07B0 07B1 07B2 07B3 07B4 07B5 07B6 "
          "08C0 08C1 08C2 08C3 08C4 08C5 0000 0000 0000 0000 0000 0000 0000",
          "raw calibration block of the board (vq2040 and vq2040a)"),

    OTHER("driver.loaded", RADIO_KEY_FLAG, driver_loaded, "true", "without a driver there is no wlan0"),
    OTHER("driver.strict_records", RADIO_KEY_FLAG, strict_records, "true",
          "refuse a record with anything but zeros where the command has no data"),
    OTHER("driver.strict_values", RADIO_KEY_FLAG, strict_values, "false",
          "refuse values no chip takes, and a test start before mode, band and channel were given"),
    OTHER("driver.refuse", RADIO_KEY_REFUSE, refuse, "", "commands to refuse: 11 for ever, 11*2 twice"),
    OTHER("driver.answer", RADIO_KEY_ANSWER, answer, "", "fixed answers: 20:05000000"),
    OTHER("interface.up", RADIO_KEY_FLAG, up, "true", "is wlan0 up"),
    NUMBER("interface.fail_up", fail_up, 0, 1000000, "0", "how many of the next attempts to take it up fail"),

    STATE("mode", mode, "driver mode"),
    STATE("band", band, "bandwidth code"),
    SIGNED_STATE("channel", channel, "channel number"),
    STATE("rate", rate, "rate"),
    SIGNED_STATE("power", power, "power step"),
    SIGNED_STATE("connection_power", connection_power, "power step outside the tests (vq2040)"),
    STATE("chain", chain, "MIMO chain"),
    STATE("antenna", antenna, "antenna switch"),
    STATE("power_save", power_save, "power-save switch"),
    STATE("transmitting", transmitting, "is a transmit test running"),
    STATE("receiving", receiving, "is a receive test running"),
    STATE("packets", packets, "packets received since the receive test began"),
    OTHER("state.mac_filter", RADIO_KEY_MAC, mac_filter, NULL, "address that the receive test listens to"),
    OTHER("state.country", RADIO_KEY_TEXT, country, NULL, "country code"),
    OTHER("state.dynamic_calibration", RADIO_KEY_TEXT, dynamic_calibration, NULL,
          "dynamic calibration setting"),
    STATE("self_calibration", self_calibration, "self-calibration switch"),
    STATE("power_test", power_test, "power test mode"),
    STATE("tas_antenna", tas_antenna, "TAS antenna switch"),
    STATE("bus_mode", bus_mode, "host bus mode"),
    STATE("bss_expire_age", bss_expire_age, "BSS expiry age"),
    STATE("broadcast_loop", broadcast_loop, "broadcast loop"),
    STATE("running_test", running_test, "value of the last chip check's request"),
    STATE("ru_direction", ru_direction, "resource-unit test: 1 transmit, 2 receive"),
    STATE("ru_aid", ru_aid, "resource-unit test: association id"),
    OTHER("state.pushed_block", RADIO_KEY_HEX, pushed_block, NULL,
          "calibration block last pushed to the driver"),
    STATE("commands", command_count, "commands that reached the driver"),
};

const struct radio_key *radio_key(size_t i) { return i < RADIO_COUNT(keys) ? &keys[i] : NULL; }

static const struct radio_key *find_key(const char *name) {
  size_t i;

  for (i = 0; i < RADIO_COUNT(keys); i++) {
    if (strcmp(keys[i].name, name) == 0) return &keys[i];
  }
  return NULL;
}

/* Each reader moves the pointer past what it read. */

static int read_number(const char **text, int64_t *number) {
  const char *at = *text;
  int negative = *at == '-';
  int base = 10;
  int64_t value = 0;

  at += negative;
  if (at[0] == '0' && (at[1] == 'x' || at[1] == 'X')) {
    base = 16;
    at += 2;
  }
  if (radio_digit(*at) >= base) return -EINVAL;
  for (; radio_digit(*at) < base; at++) {
    value = value * base + radio_digit(*at);
    if (value > RADIO_ANY_MAX) return -EINVAL;
  }
  *number = negative ? -value : value;
  *text = at;
  return 0;
}

static int is_filler(char c) { return c == ' ' || c == ':' || c == '-'; }

/* Reads pairs of digits up to any other character. Returns the number of bytes, or -EINVAL. */
static int read_bytes(const char **text, uint8_t *bytes, size_t room) {
  const char *at = *text;
  size_t count = 0;

  for (;;) {
    while (is_filler(*at)) at++;
    if (radio_digit(*at) > 15) break;
    if (radio_digit(at[1]) > 15 || count == room) return -EINVAL;
    bytes[count++] = (uint8_t)(radio_digit(at[0]) * 16 + radio_digit(at[1]));
    at += 2;
  }
  *text = at;
  return (int)count;
}

static int set_hex(uint8_t *field, size_t size, const char *value) {
  uint8_t bytes[RADIO_BLOCK_SIZE];
  int count = read_bytes(&value, bytes, size);

  if (count != (int)size || *value) return -EINVAL;
  memcpy(field, bytes, size);
  return 0;
}

static int set_words(uint16_t *words, const char *value) {
  uint8_t bytes[2 * RADIO_DIE_WORDS];
  size_t i;

  if (set_hex(bytes, sizeof(bytes), value)) return -EINVAL;
  for (i = 0; i < RADIO_DIE_WORDS; i++) words[i] = (uint16_t)(bytes[2 * i] << 8 | bytes[2 * i + 1]);
  return 0;
}

static int set_number(const struct radio_key *key, uint32_t *field, const char *value) {
  int64_t number;

  if (read_number(&value, &number) || *value) return -EINVAL;
  if (number < key->min || number > key->max) return -EINVAL;
  *field = (uint32_t)number;
  return 0;
}

static int set_flag(uint32_t *field, const char *value) {
  if (strcmp(value, "true") == 0 || strcmp(value, "1") == 0) {
    *field = 1;
  } else if (strcmp(value, "false") == 0 || strcmp(value, "0") == 0) {
    *field = 0;
  } else {
    return -EINVAL;
  }
  return 0;
}

static int set_text(char *field, size_t size, const char *value) {
  size_t length = strlen(value);

  if (length >= size) return -EINVAL;
  memset(field, 0, size);
  memcpy(field, value, length);
  return 0;
}

static int set_chip(uint32_t *field, const char *value) {
  uint32_t i;

  for (i = 0; i < RADIO_CHIPS; i++) {
    if (strcmp(radio_chip_name(i), value) == 0) {
      *field = i;
      return 0;
    }
  }
  return -EINVAL;
}

static int read_command(const char **text, uint32_t *command) {
  int64_t number;

  if (read_number(text, &number) || number < 0 || number >= RADIO_COMMANDS) return -EINVAL;
  *command = (uint32_t)number;
  return 0;
}

static int set_refuse(struct radio *radio, const char *value) {
  uint8_t refuse[RADIO_COMMANDS];
  uint32_t command;
  int64_t times;

  memset(refuse, 0, sizeof(refuse));
  while (*value) {
    times = RADIO_REFUSE_ALWAYS;
    if (read_command(&value, &command)) return -EINVAL;
    if (*value == '*') {
      value++;
      if (read_number(&value, &times) || times < 1 || times >= RADIO_REFUSE_ALWAYS) return -EINVAL;
    }
    refuse[command] = (uint8_t)times;
    if (*value == ',') {
      value++;
    } else if (*value) {
      return -EINVAL;
    }
  }
  memcpy(radio->refuse, refuse, sizeof(refuse));
  return 0;
}

static int set_answer(struct radio *radio, const char *value) {
  uint8_t bytes[RADIO_DATA_SIZE];
  uint32_t command;
  int count;

  if (!*value) radio_answers_clear(radio);
  while (*value) {
    if (read_command(&value, &command) || *value++ != ':') return -EINVAL;
    count = read_bytes(&value, bytes, sizeof(bytes));
    if (count < 0 || (*value && *value != ',')) return -EINVAL;
    radio_answer(radio, command, bytes, (size_t)count);
    value += *value == ',';
  }
  return 0;
}

static int set_field(struct radio *radio, const struct radio_key *key, const char *value) {
  void *field = (uint8_t *)radio + key->at;

  switch (key->form) {
  case RADIO_KEY_NUMBER: return set_number(key, field, value);
  case RADIO_KEY_FLAG: return set_flag(field, value);
  case RADIO_KEY_TEXT: return set_text(field, key->size, value);
  case RADIO_KEY_HEX:
  case RADIO_KEY_MAC: return set_hex(field, key->size, value);
  case RADIO_KEY_WORDS: return set_words(field, value);
  case RADIO_KEY_CHIP: return set_chip(field, value);
  case RADIO_KEY_REFUSE: return set_refuse(radio, value);
  case RADIO_KEY_ANSWER: return set_answer(radio, value);
  }
  return -EINVAL;
}

int radio_set(struct radio *radio, const char *name, const char *value) {
  const struct radio_key *key = find_key(name);
  int result;

  if (!key) return -ENOENT;
  if (!key->initial) return -EPERM;
  result = set_field(radio, key, value);
  if (!radio->up) radio_end_tests(radio);
  return result;
}

void radio_init(struct radio *radio) {
  size_t i;

  memset(radio, 0, sizeof(*radio));
  for (i = 0; i < RADIO_COUNT(keys); i++) {
    if (keys[i].initial) set_field(radio, &keys[i], keys[i].initial);
  }
}

static void put_words(struct radio_writer *out, const uint16_t *words) {
  uint8_t bytes[2];
  size_t i;

  for (i = 0; i < RADIO_DIE_WORDS; i++) {
    bytes[0] = (uint8_t)(words[i] >> 8);
    bytes[1] = (uint8_t)words[i];
    radio_put_bytes(out, bytes, 2, 0);
  }
}

static void put_refuse(struct radio_writer *out, const struct radio *radio) {
  uint32_t i;

  for (i = 0; i < RADIO_COMMANDS; i++) {
    if (!radio->refuse[i]) continue;
    if (out->used) radio_put(out, ',');
    radio_put_number(out, i);
    if (radio->refuse[i] == RADIO_REFUSE_ALWAYS) continue;
    radio_put(out, '*');
    radio_put_number(out, radio->refuse[i]);
  }
}

static void put_answers(struct radio_writer *out, const struct radio *radio) {
  uint32_t i;

  for (i = 0; i < RADIO_COMMANDS; i++) {
    if (!radio->answer[i].set) continue;
    if (out->used) radio_put(out, ',');
    radio_put_number(out, i);
    radio_put(out, ':');
    radio_put_bytes(out, radio->answer[i].bytes, radio->answer[i].size, 0);
  }
}

static void put_field(struct radio_writer *out, const struct radio *radio, const struct radio_key *key) {
  const void *field = (const uint8_t *)radio + key->at;
  uint32_t number = radio->chip;
  int is_signed = key->min < 0 && key->max <= 2147483647LL;

  if (key->form == RADIO_KEY_NUMBER || key->form == RADIO_KEY_FLAG) memcpy(&number, field, sizeof(number));
  switch (key->form) {
  case RADIO_KEY_NUMBER: radio_put_number(out, is_signed ? (int64_t)(int32_t)number : (int64_t)number); break;
  case RADIO_KEY_FLAG: radio_put_text(out, number ? "true" : "false"); break;
  case RADIO_KEY_TEXT: radio_put_text(out, field); break;
  case RADIO_KEY_HEX: radio_put_bytes(out, field, key->size, 0); break;
  case RADIO_KEY_MAC: radio_put_bytes(out, field, key->size, ':'); break;
  case RADIO_KEY_WORDS: put_words(out, radio->die_id); break;
  case RADIO_KEY_CHIP: radio_put_text(out, radio_chip_name(number)); break;
  case RADIO_KEY_REFUSE: put_refuse(out, radio); break;
  case RADIO_KEY_ANSWER: put_answers(out, radio); break;
  }
}

int radio_get(const struct radio *radio, const char *name, char *text, size_t size) {
  struct radio_writer out = {text, size, 0};
  const struct radio_key *key = find_key(name);

  if (!key) return -ENOENT;
  put_field(&out, radio, key);
  return radio_put_end(&out);
}
