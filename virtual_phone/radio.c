#include "radio.h"

#define FIELD(member) offsetof(struct radio, member), sizeof(((struct radio *)0)->member)
#define COUNT(array)  (sizeof(array) / sizeof((array)[0]))

/* ---- Chips -------------------------------------------------------------------------------------------- */

static const struct {
  const char *name;
  uint32_t magic;
  uint32_t die_words;
} chips[RADIO_CHIPS] = {
    [RADIO_VQ2040] = {"vq2040", 2040, 8},
    [RADIO_VQ2050] = {"vq2050", 2050, 9},
    [RADIO_VQ2040A] = {"vq2040a", 0x2040A, 8},
    [RADIO_VQ2070] = {"vq2070", 2070, 9},
};

const char *radio_chip_name(uint32_t chip) { return chip < RADIO_CHIPS ? chips[chip].name : NULL; }

uint32_t radio_chip_magic(uint32_t chip) { return chip < RADIO_CHIPS ? chips[chip].magic : 0; }

/* ---- Calibration parameters --------------------------------------------------------------------------- */

enum {
  PA2GCCKA0,
  PA2GA0,
  PA2G40A0,
  PA5GA0,
  PA2GCCKA1,
  PA2GA1,
  PA2G40A1,
  PA5GA1,
  PA5GLOWA0,
  PA5GLOWA1,
  PA5GA0_BAND1,
  PA2GCWA0,
  PA5GLOWA0_BAND1,
  NO_PARAMETER = 255
};

/* The number that a query carries, as each chip's firmware counts. */
static const uint8_t dual_chain_numbers[] = {PA2GCCKA0, PA2GA0,   PA2G40A0, PA5GA0,    PA2GCCKA1,
                                             PA2GA1,    PA2G40A1, PA5GA1,   PA5GLOWA0, PA5GLOWA1};
static const uint8_t single_chain_numbers[] = {NO_PARAMETER, PA2GCCKA0, PA2GA0,         PA2G40A0,
                                               PA5GA0,       PA5GLOWA0, NO_PARAMETER,   NO_PARAMETER,
                                               PA5GA0_BAND1, PA2GCWA0,  PA5GLOWA0_BAND1};

static const char *parameter_text(const struct radio *radio, uint8_t number) {
  const uint8_t *numbers = dual_chain_numbers;
  size_t count = COUNT(dual_chain_numbers);

  if (radio->chip == RADIO_VQ2040A) {
    numbers = single_chain_numbers;
    count = COUNT(single_chain_numbers);
  }
  if (number >= count || numbers[number] == NO_PARAMETER) return NULL;
  return radio->parameter[numbers[number]];
}

/* ---- Keys --------------------------------------------------------------------------------------------- */

#define ANY_MIN (-2147483647LL - 1)
#define ANY_MAX 4294967295LL

#define NUMBER(name, member, least, most, initial, meaning)                                                  \
  { name, initial, meaning, least, most, FIELD(member), RADIO_NUMBER }
#define OTHER(name, form, member, initial, meaning)                                                          \
  { name, initial, meaning, 0, 0, FIELD(member), form }
#define STATE(name, member, meaning) NUMBER("state." name, member, 0, ANY_MAX, NULL, meaning)
#define SIGNED_STATE(name, member, meaning)                                                                  \
  NUMBER("state." name, member, ANY_MIN, 2147483647LL, NULL, meaning)
#define VERDICT(name, member, meaning) NUMBER("check." name, member, ANY_MIN, ANY_MAX, "0", meaning)
#define PARAMETER(name, number, initial)                                                                     \
  OTHER("calibration." name, RADIO_TEXT, parameter[number], initial, "value text of the driver's " name)

#define CURVES_5G "8,-260,5100,9,-270,5150,9,-280,5200,10,-290,5250"

static const struct radio_key keys[] = {
    OTHER("chip", RADIO_CHIP, chip, "vq2050", "the fitted chip"),
    OTHER("identity.mac", RADIO_MAC, mac, "02:4F:52:56:41:01", "MAC address of wlan0"),
    OTHER("identity.die_id", RADIO_WORDS, die_id, "12AB 0F00 3C51 7788 0001 A5A5 00FE 9D42 600D",
          "die identifier, nine 16-bit words (vq2040 and vq2040a give the first eight)"),
    OTHER("identity.dbb", RADIO_TEXT, dbb, "DBB-20C4-0117", "number of the digital baseband"),
    NUMBER("identity.upc", upc, 0, ANY_MAX, "37", "UPC code"),

    VERDICT("efuse", efuse, "efuse status, 0 is good"),
    VERDICT("fem", fem, "front-end module and power amplifier status, 0 is good"),
    VERDICT("pmu", pmu, "PMU check, 0 is good"),
    VERDICT("pin", pin, "WLAN pin test, 0 is good"),
    VERDICT("wakeup_io", wakeup_io, "wake-up IO test, 0 in the low 16 bits is good"),
    VERDICT("pcie", pcie, "PCIe test, 0 in the low 16 bits is good"),
    VERDICT("chip", chip_check, "result code of the chip check"),
    VERDICT("uart_loop", uart_loop, "UART loop, 0 closes, anything else is refused"),
    VERDICT("sdio_loop", sdio_loop, "SDIO loop, 0 closes, anything else is refused"),

    NUMBER("radio.rssi", rssi, ANY_MIN, 2147483647LL, "-52", "strength of the test signal in dBm"),
    NUMBER("radio.packet_rate", packet_rate, 0, 1000000, "1000", "test packets received per second"),

    OTHER("ap.connected", RADIO_FLAG, ap_connected, "true", "is the phone connected to the access point"),
    OTHER("ap.ssid", RADIO_TEXT, ap_ssid, "factory-line-7", "name of the access point's network"),
    OTHER("ap.bssid", RADIO_MAC, ap_bssid, "02:00:5E:10:20:30", "address of the access point"),
    NUMBER("ap.rssi", ap_rssi, -128, 127, "-47", "strength of the access point in dBm"),

    PARAMETER("pa2gccka0", PA2GCCKA0, "11,-310,5050"),
    PARAMETER("pa2ga0", PA2GA0, "10,-300,5000"),
    PARAMETER("pa2g40a0", PA2G40A0, "10,-305,5020"),
    PARAMETER("pa5ga0", PA5GA0, CURVES_5G),
    PARAMETER("pa2gccka1", PA2GCCKA1, "12,-315,5060"),
    PARAMETER("pa2ga1", PA2GA1, "11,-302,5010"),
    PARAMETER("pa2g40a1", PA2G40A1, "11,-307,5030"),
    PARAMETER("pa5ga1", PA5GA1, CURVES_5G),
    PARAMETER("pa5glowa0", PA5GLOWA0, CURVES_5G),
    PARAMETER("pa5glowa1", PA5GLOWA1, CURVES_5G),
    PARAMETER("pa5ga0_band1", PA5GA0_BAND1, "8,-260,5100"),
    PARAMETER("pa2gcwa0", PA2GCWA0, "10,-300,5000"),
    PARAMETER("pa5glowa0_band1", PA5GLOWA0_BAND1, "8,-260,5100"),
    OTHER("calibration.block", RADIO_HEX, block,
          "0150 0152 0260 0262 0264 0266 0268 0370 0371 0372 0373 0374 0375 "
          "0480 0481 0482 0483 0484 0485 0486 0487 0590 0591 0592 0593 0594 "
          "06A0 06A1 06A2 06A3 06A4 06A5 07B0 07B1 07B2 07B3 07B4 07B5 07B6 "
          "08C0 08C1 08C2 08C3 08C4 08C5 0000 0000 0000 0000 0000 0000 0000",
          "raw calibration block of the board (vq2040 and vq2040a)"),

    OTHER("driver.loaded", RADIO_FLAG, driver_loaded, "true", "without a driver there is no wlan0"),
    OTHER("driver.strict_records", RADIO_FLAG, strict_records, "true",
          "refuse a record with anything but zeros where the command has no data"),
    OTHER("driver.strict_values", RADIO_FLAG, strict_values, "false",
          "refuse values no chip takes, and a test start before mode, band and channel were given"),
    OTHER("driver.refuse", RADIO_REFUSE, refuse, "", "commands to refuse: 11 for ever, 11*2 twice"),
    OTHER("driver.answer", RADIO_ANSWER, answer, "", "fixed answers: 20:05000000"),
    OTHER("interface.up", RADIO_FLAG, up, "true", "is wlan0 up"),
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
    OTHER("state.mac_filter", RADIO_MAC, mac_filter, NULL, "address that the receive test listens to"),
    OTHER("state.country", RADIO_TEXT, country, NULL, "country code"),
    OTHER("state.dynamic_calibration", RADIO_TEXT, dynamic_calibration, NULL, "dynamic calibration setting"),
    STATE("self_calibration", self_calibration, "self-calibration switch"),
    STATE("power_test", power_test, "power test mode"),
    STATE("tas_antenna", tas_antenna, "TAS antenna switch"),
    STATE("bus_mode", bus_mode, "host bus mode"),
    STATE("bss_expire_age", bss_expire_age, "BSS expiry age"),
    STATE("broadcast_loop", broadcast_loop, "broadcast loop"),
    STATE("running_test", running_test, "value of the last chip check's request"),
    STATE("ru_direction", ru_direction, "resource-unit test: 1 transmit, 2 receive"),
    STATE("ru_aid", ru_aid, "resource-unit test: association id"),
    OTHER("state.pushed_block", RADIO_HEX, pushed_block, NULL, "calibration block last pushed to the driver"),
    STATE("commands", command_count, "commands that reached the driver"),
};

const struct radio_key *radio_key(size_t i) { return i < COUNT(keys) ? &keys[i] : NULL; }

static const struct radio_key *find_key(const char *name) {
  size_t i;

  for (i = 0; i < COUNT(keys); i++) {
    if (strcmp(keys[i].name, name) == 0) return &keys[i];
  }
  return NULL;
}

/* Texts are read left to right; each reader moves the pointer past what it took. */

static int digit_value(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return 16;
}

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
  if (digit_value(*at) >= base) return -EINVAL;
  for (; digit_value(*at) < base; at++) {
    value = value * base + digit_value(*at);
    if (value > ANY_MAX) return -EINVAL;
  }
  *number = negative ? -value : value;
  *text = at;
  return 0;
}

static int is_filler(char c) { return c == ' ' || c == ':' || c == '-'; }

/* Pairs of digits until something else comes; the number of bytes, or -EINVAL. */
static int read_bytes(const char **text, uint8_t *bytes, size_t room) {
  const char *at = *text;
  size_t count = 0;

  for (;;) {
    while (is_filler(*at)) at++;
    if (digit_value(*at) > 15) break;
    if (digit_value(at[1]) > 15 || count == room) return -EINVAL;
    bytes[count++] = (uint8_t)(digit_value(at[0]) * 16 + digit_value(at[1]));
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
    if (strcmp(chips[i].name, value) == 0) {
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

static void end_tests(struct radio *radio) {
  radio->transmitting = 0;
  radio->receiving = 0;
  radio->configured = 0;
}

static int set_field(struct radio *radio, const struct radio_key *key, const char *value) {
  void *field = (uint8_t *)radio + key->at;

  switch (key->form) {
  case RADIO_NUMBER: return set_number(key, field, value);
  case RADIO_FLAG: return set_flag(field, value);
  case RADIO_TEXT: return set_text(field, key->size, value);
  case RADIO_HEX:
  case RADIO_MAC: return set_hex(field, key->size, value);
  case RADIO_WORDS: return set_words(field, value);
  case RADIO_CHIP: return set_chip(field, value);
  case RADIO_REFUSE: return set_refuse(radio, value);
  case RADIO_ANSWER: return set_answer(radio, value);
  }
  return -EINVAL;
}

int radio_set(struct radio *radio, const char *name, const char *value) {
  const struct radio_key *key = find_key(name);
  int result;

  if (!key) return -ENOENT;
  if (!key->initial) return -EPERM;
  result = set_field(radio, key, value);
  if (!radio->up) end_tests(radio);
  return result;
}

void radio_init(struct radio *radio) {
  size_t i;

  memset(radio, 0, sizeof(*radio));
  for (i = 0; i < COUNT(keys); i++) {
    if (keys[i].initial) set_field(radio, &keys[i], keys[i].initial);
  }
}

/* Writing texts: what does not fit is only counted, so that the end can tell. */

struct writer {
  char *text;
  size_t size, used;
};

static void put(struct writer *out, char c) {
  if (out->used + 1 < out->size) out->text[out->used] = c;
  out->used++;
}

static void put_number(struct writer *out, int64_t number) {
  char digits[24];
  size_t count = 0;

  if (number < 0) {
    put(out, '-');
    number = -number;
  }
  do {
    digits[count++] = (char)('0' + number % 10);
    number /= 10;
  } while (number);
  while (count) put(out, digits[--count]);
}

static void put_hex(struct writer *out, const uint8_t *bytes, size_t size, char separator) {
  static const char digits[] = "0123456789ABCDEF";
  size_t i;

  for (i = 0; i < size; i++) {
    if (i && separator) put(out, separator);
    put(out, digits[bytes[i] >> 4]);
    put(out, digits[bytes[i] & 15]);
  }
}

static void put_text(struct writer *out, const char *text) {
  while (*text) put(out, *text++);
}

static void put_words(struct writer *out, const uint16_t *words) {
  uint8_t bytes[2];
  size_t i;

  for (i = 0; i < RADIO_DIE_WORDS; i++) {
    bytes[0] = (uint8_t)(words[i] >> 8);
    bytes[1] = (uint8_t)words[i];
    put_hex(out, bytes, 2, 0);
  }
}

static void put_refuse(struct writer *out, const struct radio *radio) {
  uint32_t i;

  for (i = 0; i < RADIO_COMMANDS; i++) {
    if (!radio->refuse[i]) continue;
    if (out->used) put(out, ',');
    put_number(out, i);
    if (radio->refuse[i] == RADIO_REFUSE_ALWAYS) continue;
    put(out, '*');
    put_number(out, radio->refuse[i]);
  }
}

static void put_answers(struct writer *out, const struct radio *radio) {
  uint32_t i;

  for (i = 0; i < RADIO_COMMANDS; i++) {
    if (!radio->answer[i].set) continue;
    if (out->used) put(out, ',');
    put_number(out, i);
    put(out, ':');
    put_hex(out, radio->answer[i].bytes, radio->answer[i].size, 0);
  }
}

static void put_field(struct writer *out, const struct radio *radio, const struct radio_key *key) {
  const void *field = (const uint8_t *)radio + key->at;
  uint32_t number = radio->chip;
  int is_signed = key->min < 0 && key->max <= 2147483647LL;

  if (key->form == RADIO_NUMBER || key->form == RADIO_FLAG) memcpy(&number, field, sizeof(number));
  switch (key->form) {
  case RADIO_NUMBER: put_number(out, is_signed ? (int64_t)(int32_t)number : (int64_t)number); break;
  case RADIO_FLAG: put_text(out, number ? "true" : "false"); break;
  case RADIO_TEXT: put_text(out, field); break;
  case RADIO_HEX: put_hex(out, field, key->size, 0); break;
  case RADIO_MAC: put_hex(out, field, key->size, ':'); break;
  case RADIO_WORDS: put_words(out, radio->die_id); break;
  case RADIO_CHIP: put_text(out, chips[number].name); break;
  case RADIO_REFUSE: put_refuse(out, radio); break;
  case RADIO_ANSWER: put_answers(out, radio); break;
  }
}

int radio_get(const struct radio *radio, const char *name, char *text, size_t size) {
  struct writer out = {text, size, 0};
  const struct radio_key *key = find_key(name);

  if (!key) return -ENOENT;
  put_field(&out, radio, key);
  if (out.used >= size) return -ENOSPC;
  text[out.used] = 0;
  return 0;
}

/* ---- Commands ----------------------------------------------------------------------------------------- */

enum kind {
  ABSENT,
  CHANNEL,
  POWER,
  MODE,
  RATE,
  BAND,
  TRANSMIT,
  RECEIVE,
  DBB,
  FEM,
  MAC_FILTER,
  PACKETS,
  POWER_SAVE,
  RSSI,
  CHIP_CHECK,
  CHIP_RESULT,
  UART_LOOP,
  SDIO_LOOP,
  BLOCK_FETCH,
  BLOCK_PUSH,
  EFUSE,
  ANTENNA,
  DIE_ID,
  COUNTRY,
  UPC,
  CONNECTION_POWER,
  PIN,
  PMU,
  WAKEUP_IO,
  PCIE,
  BSS_EXPIRE_AGE,
  CHAIN,
  CONNECTION,
  PARAMETER_QUERY,
  DYNAMIC_CALIBRATION,
  SELF_CALIBRATION,
  POWER_TEST,
  BUS_MODE,
  TAS_ANTENNA,
  BROADCAST_LOOP,
  RESOURCE_UNIT,
  KINDS
};

/* The meaning of each id, in the order of the chips. */
static const uint8_t meaning[RADIO_COMMANDS][RADIO_CHIPS] = {
    [0] = {CHANNEL, CHANNEL, CHANNEL, CHANNEL},
    [1] = {POWER, POWER, POWER, POWER},
    [2] = {MODE, MODE, MODE, MODE},
    [3] = {RATE, RATE, RATE, RATE},
    [4] = {BAND, BAND, BAND, BAND},
    [5] = {TRANSMIT, TRANSMIT, TRANSMIT, TRANSMIT},
    [6] = {DBB, DBB, DBB, DBB},
    [7] = {FEM, FEM, FEM, FEM},
    [8] = {RECEIVE, RECEIVE, RECEIVE, RECEIVE},
    [9] = {MAC_FILTER, MAC_FILTER, MAC_FILTER, MAC_FILTER},
    [10] = {PACKETS, PACKETS, PACKETS, PACKETS},
    [11] = {POWER_SAVE, POWER_SAVE, POWER_SAVE, POWER_SAVE},
    [12] = {RSSI, RSSI, RSSI, RSSI},
    [13] = {CHIP_CHECK, CHIP_CHECK, CHIP_CHECK, CHIP_CHECK},
    [14] = {CHIP_RESULT, CHIP_RESULT, CHIP_RESULT, CHIP_RESULT},
    [16] = {UART_LOOP, UART_LOOP, UART_LOOP, UART_LOOP},
    [17] = {SDIO_LOOP, SDIO_LOOP, SDIO_LOOP, SDIO_LOOP},
    [18] = {BLOCK_FETCH, ABSENT, BLOCK_FETCH, ABSENT},
    [19] = {BLOCK_PUSH, ABSENT, ABSENT, ABSENT},
    [20] = {EFUSE, EFUSE, EFUSE, EFUSE},
    [21] = {ANTENNA, ANTENNA, ANTENNA, ANTENNA},
    [22] = {DIE_ID, DIE_ID, DIE_ID, DIE_ID},
    [23] = {COUNTRY, COUNTRY, COUNTRY, COUNTRY},
    [24] = {UPC, UPC, UPC, UPC},
    [25] = {CONNECTION_POWER, PIN, PIN, PIN},
    [26] = {BSS_EXPIRE_AGE, PMU, PARAMETER_QUERY, PMU},
    [27] = {CONNECTION, CHAIN, WAKEUP_IO, CHAIN},
    [28] = {ABSENT, ABSENT, DYNAMIC_CALIBRATION, ABSENT},
    [29] = {ABSENT, PARAMETER_QUERY, PMU, PARAMETER_QUERY},
    [30] = {ABSENT, WAKEUP_IO, POWER_TEST, WAKEUP_IO},
    [31] = {ABSENT, PCIE, SELF_CALIBRATION, PCIE},
    [32] = {ABSENT, BUS_MODE, BSS_EXPIRE_AGE, BUS_MODE},
    [33] = {ABSENT, DYNAMIC_CALIBRATION, CONNECTION, DYNAMIC_CALIBRATION},
    [34] = {ABSENT, POWER_TEST, TAS_ANTENNA, POWER_TEST},
    [35] = {ABSENT, TAS_ANTENNA, BROADCAST_LOOP, TAS_ANTENNA},
    [36] = {ABSENT, SELF_CALIBRATION, ABSENT, SELF_CALIBRATION},
    [37] = {ABSENT, BSS_EXPIRE_AGE, ABSENT, BSS_EXPIRE_AGE},
    [38] = {ABSENT, CONNECTION, ABSENT, CONNECTION},
    [39] = {ABSENT, ABSENT, ABSENT, RESOURCE_UNIT},
};

/* When a command needs the interface: ending a test and the self-checks never do, the weld test relies on it.
 */
enum need { UP_OR_DOWN, UP, UP_TO_START };

struct command {
  struct radio_command_kind shown;
  enum need need;
  size_t at;           /* the field that the request sets or the answer comes from */
  int64_t least, most; /* believable requests */
  int (*special)(struct radio *radio, uint8_t *data);
};

static uint32_t get32(const uint8_t *at) {
  return (uint32_t)at[0] | (uint32_t)at[1] << 8 | (uint32_t)at[2] << 16 | (uint32_t)at[3] << 24;
}

static void put32(uint8_t *at, uint32_t value) {
  at[0] = (uint8_t)value;
  at[1] = (uint8_t)(value >> 8);
  at[2] = (uint8_t)(value >> 16);
  at[3] = (uint8_t)(value >> 24);
}

#define KIND_BIT(kind) (1u << (kind))

/* A test that begins without them runs on whatever the last one left behind. */
static int is_configured(const struct radio *radio) {
  uint32_t wanted = KIND_BIT(MODE) | KIND_BIT(BAND) | KIND_BIT(CHANNEL);

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

  for (i = 0; i < chips[radio->chip].die_words; i++) {
    data[2 * i] = (uint8_t)radio->die_id[i];
    data[2 * i + 1] = (uint8_t)(radio->die_id[i] >> 8);
  }
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

static int parameter_query(struct radio *radio, uint8_t *data) {
  const char *text = parameter_text(radio, data[RADIO_BLOCK_SIZE - 1]);

  if (!text) return -EINVAL;
  memcpy(data, text, RADIO_BLOCK_SIZE);
  return 0;
}

static int resource_unit(struct radio *radio, uint8_t *data) {
  uint32_t direction = (uint32_t)data[2] | (uint32_t)data[3] << 8;

  if (direction != 1 && direction != 2) return -EINVAL;
  radio->ru_aid = (uint32_t)data[0] | (uint32_t)data[1] << 8;
  radio->ru_direction = direction;
  return 0;
}

#define AT(member) offsetof(struct radio, member)
#define VALUE(name, need, member, least, most)                                                               \
  { {name, RADIO_U32, 4, RADIO_NONE, 0}, need, AT(member), least, most, NULL }
#define ASK(name, need, member)                                                                              \
  { {name, RADIO_NONE, 0, RADIO_U32, 4}, need, AT(member), 0, 0, NULL }
#define GIVE(name, need, form, member)                                                                       \
  { {name, form, sizeof(((struct radio *)0)->member), RADIO_NONE, 0}, need, AT(member), 0, 0, NULL }
#define FETCH(name, form, member)                                                                            \
  { {name, RADIO_NONE, 0, form, sizeof(((struct radio *)0)->member)}, UP_OR_DOWN, AT(member), 0, 0, NULL }
#define SPECIAL(name, need, in, in_size, out, out_size, most, handler)                                       \
  { {name, in, in_size, out, out_size}, need, 0, 0, most, handler }

static const struct command commands[KINDS] = {
    [CHANNEL] = VALUE("channel", UP, channel, -1, 165),
    [POWER] = VALUE("power", UP_OR_DOWN, power, -100, 100),
    [MODE] = VALUE("mode", UP, mode, 0, 14),
    [RATE] = VALUE("rate", UP, rate, 0, 65535),
    [BAND] = VALUE("bandwidth", UP, band, 0, 7),
    [TRANSMIT] = SPECIAL("transmit on/off", UP_TO_START, RADIO_U32, 4, RADIO_NONE, 0, 1, transmit),
    [RECEIVE] = SPECIAL("receive on/off", UP_TO_START, RADIO_U32, 4, RADIO_NONE, 0, 1, receive),
    [DBB] = FETCH("DBB number", RADIO_STRING, dbb),
    [FEM] = ASK("FEM/PA status", UP_OR_DOWN, fem),
    [MAC_FILTER] = GIVE("hardware MAC address", UP, RADIO_BYTES, mac_filter),
    [PACKETS] = ASK("received packets", UP, packets),
    [POWER_SAVE] = VALUE("power save", UP_OR_DOWN, power_save, 0, 1),
    [RSSI] = ASK("RSSI", UP, rssi),
    [CHIP_CHECK] = SPECIAL("chip check", UP_OR_DOWN, RADIO_U32, 4, RADIO_U32, 4, 1, chip_check),
    [CHIP_RESULT] = ASK("chip check result", UP_OR_DOWN, chip_check),
    [UART_LOOP] = SPECIAL("UART loop", UP_OR_DOWN, RADIO_NONE, 0, RADIO_NONE, 0, 0, uart_loop),
    [SDIO_LOOP] = SPECIAL("SDIO loop", UP_OR_DOWN, RADIO_NONE, 0, RADIO_NONE, 0, 0, sdio_loop),
    [BLOCK_FETCH] = FETCH("calibration block fetch", RADIO_BYTES, block),
    [BLOCK_PUSH] = GIVE("calibration block push", UP_OR_DOWN, RADIO_BYTES, pushed_block),
    [EFUSE] = ASK("efuse status", UP_OR_DOWN, efuse),
    [ANTENNA] = VALUE("antenna", UP_OR_DOWN, antenna, 0, 1),
    [DIE_ID] = SPECIAL("die id", UP_OR_DOWN, RADIO_NONE, 0, RADIO_BYTES, 18, 0, die_id),
    [COUNTRY] = GIVE("country code", UP, RADIO_STRING, country),
    [UPC] = ASK("UPC code", UP_OR_DOWN, upc),
    [CONNECTION_POWER] = VALUE("connection power", UP_OR_DOWN, connection_power, -100, 100),
    [PIN] = ASK("pin test", UP_OR_DOWN, pin),
    [PMU] = ASK("PMU check", UP_OR_DOWN, pmu),
    [WAKEUP_IO] = ASK("wake-up IO test", UP_OR_DOWN, wakeup_io),
    [PCIE] = ASK("PCIe test", UP_OR_DOWN, pcie),
    [BSS_EXPIRE_AGE] = VALUE("BSS expire age", UP_OR_DOWN, bss_expire_age, ANY_MIN, ANY_MAX),
    [CHAIN] = VALUE("MIMO chain", UP, chain, 1, 2),
    [CONNECTION] = SPECIAL("connection info", UP_OR_DOWN, RADIO_NONE, 0, RADIO_BYTES, 41, 0, connection),
    [PARAMETER_QUERY] = SPECIAL("calibration parameter", UP_OR_DOWN, RADIO_BYTES, RADIO_BLOCK_SIZE,
                                RADIO_STRING, RADIO_BLOCK_SIZE, 0, parameter_query),
    [DYNAMIC_CALIBRATION] = GIVE("dynamic calibration", UP, RADIO_STRING, dynamic_calibration),
    [SELF_CALIBRATION] = VALUE("self-calibration switch", UP_OR_DOWN, self_calibration, 0, 1),
    [POWER_TEST] = VALUE("power test mode", UP_OR_DOWN, power_test, ANY_MIN, ANY_MAX),
    [BUS_MODE] = {{"bus mode", RADIO_U16, 2, RADIO_NONE, 0}, UP_OR_DOWN, AT(bus_mode), 0, 65535, NULL},
    [TAS_ANTENNA] = VALUE("TAS antenna", UP_OR_DOWN, tas_antenna, ANY_MIN, ANY_MAX),
    [BROADCAST_LOOP] = VALUE("broadcast loop", UP_OR_DOWN, broadcast_loop, ANY_MIN, ANY_MAX),
    [RESOURCE_UNIT] = SPECIAL("RU setting", UP, RADIO_BYTES, 4, RADIO_NONE, 0, 0, resource_unit),
};

static enum kind kind_of(uint32_t chip, uint32_t id) {
  return chip < RADIO_CHIPS && id < RADIO_COMMANDS ? (enum kind)meaning[id][chip] : ABSENT;
}

const struct radio_command_kind *radio_command_kind(uint32_t chip, uint32_t id) {
  enum kind kind = kind_of(chip, id);

  return kind == ABSENT ? NULL : &commands[kind].shown;
}

const char *radio_command_name(uint32_t chip, uint32_t id) {
  const struct radio_command_kind *kind = radio_command_kind(chip, id);

  return kind ? kind->name : NULL;
}

static int all_zero(const uint8_t *bytes, size_t from, size_t to) {
  for (; from < to; from++) {
    if (bytes[from]) return 0;
  }
  return 1;
}

/* Callers clear the record first: anything beyond a command's own data was left there by mistake. */
static int record_clean(enum kind kind, const struct radio_command_kind *shown, const uint8_t *data) {
  size_t used = shown->request_size;

  if (kind == PARAMETER_QUERY && !all_zero(data, 0, used - 1)) return 0;
  if (shown->request == RADIO_STRING) {
    for (used = 0; used < shown->request_size && data[used];) used++;
    if (used == 0 || used == shown->request_size) return 0;
  }
  return all_zero(data, used, RADIO_DATA_SIZE);
}

static int value_believable(enum kind kind, const uint8_t *data) {
  const struct command *command = &commands[kind];
  uint32_t value = get32(data);

  if (command->shown.request != RADIO_U32) return 1;
  /* 20, 40, 80 and 160 MHz */
  if (kind == BAND && (value & (value + 1))) return 0;
  return (int32_t)value >= command->least && (int32_t)value <= command->most;
}

static int check_command(const struct radio *radio, enum kind kind, const uint8_t *data) {
  const struct command *command = &commands[kind];

  if (kind == ABSENT) return -EOPNOTSUPP;
  if (radio->strict_records && !record_clean(kind, &command->shown, data)) return -EINVAL;
  if (radio->strict_values && !value_believable(kind, data)) return -EINVAL;
  if (!radio->up && (command->need == UP || (command->need == UP_TO_START && get32(data)))) return -ENETDOWN;
  return 0;
}

static void take_request(struct radio *radio, const struct command *command, const uint8_t *data) {
  uint8_t *field = (uint8_t *)radio + command->at;
  uint32_t value = get32(data);

  if (command->shown.request == RADIO_U16) value &= 0xFFFF;
  switch (command->shown.request) {
  case RADIO_U16:
  case RADIO_U32: memcpy(field, &value, sizeof(value)); break;
  case RADIO_BYTES: memcpy(field, data, command->shown.request_size); break;
  case RADIO_STRING:
    memcpy(field, data, command->shown.request_size);
    field[command->shown.request_size - 1] = 0;
    break;
  case RADIO_NONE: break;
  }
}

static void give_answer(const struct radio *radio, const struct command *command, uint8_t *data) {
  const uint8_t *field = (const uint8_t *)radio + command->at;
  uint32_t value;

  switch (command->shown.answer) {
  case RADIO_U16:
  case RADIO_U32:
    memcpy(&value, field, sizeof(value));
    put32(data, value);
    break;
  case RADIO_STRING:
  case RADIO_BYTES: memcpy(data, field, command->shown.answer_size); break;
  case RADIO_NONE: break;
  }
}

static int run_command(struct radio *radio, enum kind kind, uint8_t *data) {
  const struct command *command = &commands[kind];
  int result = check_command(radio, kind, data);

  if (result) return result;
  if (command->special) return command->special(radio, data);
  take_request(radio, command, data);
  give_answer(radio, command, data);
  if (kind < 32) radio->configured |= KIND_BIT(kind);
  return 0;
}

static int asked_to_refuse(struct radio *radio, uint32_t id) {
  if (!radio->refuse[id]) return 0;
  if (radio->refuse[id] != RADIO_REFUSE_ALWAYS) radio->refuse[id]--;
  return 1;
}

static int answer_record(struct radio *radio, uint8_t *record) {
  uint32_t id = get32(record + 4);
  uint8_t *data = record + RADIO_DATA_AT;
  int result;

  if (!radio->driver_loaded) return -ENODEV;
  if (get32(record) != chips[radio->chip].magic) return -EINVAL;
  if (id >= RADIO_COMMANDS) return -EOPNOTSUPP;
  result = asked_to_refuse(radio, id) ? -EIO : run_command(radio, kind_of(radio->chip, id), data);
  if ((result == 0 || result == -EIO) && radio->answer[id].set) {
    memcpy(data, radio->answer[id].bytes, radio->answer[id].size);
  }
  return result;
}

int radio_command(struct radio *radio, uint8_t record[RADIO_RECORD_SIZE], uint64_t now_us) {
  struct radio_sent *sent = &radio->sent[radio->command_count % RADIO_SENT_KEPT];

  radio_advance(radio, now_us);
  sent->time_us = now_us;
  memcpy(sent->record, record, RADIO_RECORD_SIZE);
  radio->command_count++;
  sent->result = answer_record(radio, record);
  return sent->result;
}

const struct radio_sent *radio_sent(const struct radio *radio, uint32_t i) {
  if (i >= radio->command_count || radio->command_count - i > RADIO_SENT_KEPT) return NULL;
  return &radio->sent[i % RADIO_SENT_KEPT];
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

int radio_interface(struct radio *radio, int up, uint64_t now_us) {
  radio_advance(radio, now_us);
  if (!radio->driver_loaded) return -ENODEV;
  if (up && radio->fail_up) {
    radio->fail_up--;
    return -EIO;
  }
  if (!up) end_tests(radio);
  radio->up = up != 0;
  return 0;
}

void radio_advance(struct radio *radio, uint64_t now_us) {
  uint64_t since = radio->counted_until_us;

  radio->counted_until_us = now_us;
  if (!radio->receiving || now_us <= since) return;
  radio->packet_fraction += (now_us - since) * radio->packet_rate;
  radio->packets += (uint32_t)(radio->packet_fraction / 1000000);
  radio->packet_fraction %= 1000000;
}
