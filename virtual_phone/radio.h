/*
 * The WLAN chip and its driver, as far as a private driver command can tell: what the chip is (its
 * description) and what it is doing (its state). Plain C without the C library's heap, stdio or floating
 * point, so that a kernel module compiles the same file as the virtual phone.
 *
 * A struct radio holds no pointers: it may be copied, and it may lie in memory shared between processes.
 * Callers keep two commands from running at once, as a driver's lock does.
 */
#ifndef VIRTUAL_PHONE_RADIO_H
#define VIRTUAL_PHONE_RADIO_H

#include "radio_base.h"

#ifdef __cplusplus
extern "C" {
/* A struct and a function share a name here, as C allows. */
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wshadow"
#endif

/** In the order of the sub-chip index. */
enum radio_chip { RADIO_VQ2040, RADIO_VQ2050, RADIO_VQ2040A, RADIO_VQ2070, RADIO_CHIPS };

enum {
  RADIO_RECORD_SIZE = 264, /**< u32 magic, u32 command id, data; little-endian */
  RADIO_DATA_AT = 8,       /**< where the data begins */
  RADIO_DATA_SIZE = 256,
  RADIO_COMMANDS = 40,    /**< command ids are below this */
  RADIO_BLOCK_SIZE = 104, /**< the calibration block, and a calibration parameter's text */
  RADIO_PARAMETERS = 13,  /**< calibration parameters the driver knows by name */
  RADIO_DIE_WORDS = 9,    /**< the older chips give the first 8 */
  RADIO_SENT_KEPT = 256,  /**< records remembered */
  RADIO_REFUSE_ALWAYS = 255
};

/** A command as it reached the driver. */
struct radio_sent {
  uint64_t time_us;
  int32_t result;
  uint8_t record[RADIO_RECORD_SIZE];
};

/** An answer that stands in for the radio's own. */
struct radio_fixed_answer {
  uint32_t set;
  uint32_t size;
  uint8_t bytes[RADIO_DATA_SIZE];
};

struct radio {
  /* The description. Numbers are 32 bits wide throughout, flags 0 or 1. */
  uint32_t chip;
  uint32_t driver_loaded;
  uint32_t strict_records;
  uint32_t strict_values;
  uint8_t refuse[RADIO_COMMANDS];
  struct radio_fixed_answer answer[RADIO_COMMANDS];
  uint32_t fail_up;
  uint8_t mac[6];
  uint16_t die_id[RADIO_DIE_WORDS];
  char dbb[64];
  uint32_t upc;
  uint32_t efuse, fem, pmu, pin, wakeup_io, pcie, chip_check, uart_loop, sdio_loop;
  uint32_t rssi;
  uint32_t packet_rate;
  uint32_t ap_connected;
  char ap_ssid[33];
  uint8_t ap_bssid[6];
  uint32_t ap_rssi;
  char parameter[RADIO_PARAMETERS][RADIO_BLOCK_SIZE];
  uint8_t block[RADIO_BLOCK_SIZE];

  /* The state. */
  uint32_t up;
  uint32_t configured; /* bit per setting given since the interface came up */
  uint32_t mode, band, channel, rate, power, connection_power, chain, antenna, power_save;
  uint32_t transmitting, receiving;
  uint32_t packets;
  uint64_t packet_fraction; /* millionths of a packet */
  uint64_t counted_until_us;
  uint8_t mac_filter[6];
  char country[3];
  char dynamic_calibration[16];
  uint32_t self_calibration, power_test, tas_antenna, bus_mode, bss_expire_age, broadcast_loop, running_test;
  uint32_t ru_direction, ru_aid;
  uint8_t pushed_block[RADIO_BLOCK_SIZE];
  uint32_t command_count;
  struct radio_sent sent[RADIO_SENT_KEPT];
};

/** A good chip of the default kind, its interface up, nothing sent to it yet. */
void radio_init(struct radio *radio);

/* ---- Keys: one parser for description files, tests and a module's control file ----------------------- */

enum radio_form {
  RADIO_NUMBER, /**< decimal or 0x…, min to max */
  RADIO_FLAG,   /**< true or false */
  RADIO_TEXT,   /**< at most size - 1 characters */
  RADIO_HEX,    /**< exactly size bytes as hexadecimal digits; blanks, colons and commas are skipped */
  RADIO_WORDS,  /**< the same, in 16-bit words */
  RADIO_MAC,    /**< six bytes, printed with colons */
  RADIO_CHIP,   /**< vq2040, vq2050, vq2040a or vq2070 */
  RADIO_REFUSE, /**< command ids, each for ever ("11") or a number of times ("11*2") */
  RADIO_ANSWER  /**< command ids with their data in hexadecimal, "20:05000000" */
};

struct radio_key {
  const char *name;
  const char *initial; /**< null: part of the state, read only */
  const char *meaning;
  int64_t min, max;
  size_t at, size;
  enum radio_form form;
};

/** The i-th key; null past the last. */
const struct radio_key *radio_key(size_t i);

/** 0, -ENOENT: no such key, -EPERM: read only, -EINVAL: not a value of this key. */
int radio_set(struct radio *radio, const char *key, const char *value);
/** 0, -ENOENT, or -ENOSPC where the text needs more than size. */
int radio_get(const struct radio *radio, const char *key, char *text, size_t size);

/* ---- What a driver does ------------------------------------------------------------------------------- */

/**
 * One driver command. The record is changed only where the command is answered, or where it is refused on
 * request (driver.refuse) and has a fixed answer: a driver that wrote before it failed.
 *
 * 0 or: -ENODEV no driver, -EINVAL another chip's magic or a bad record, -EOPNOTSUPP no such command on this
 * chip, -ENETDOWN the command needs the interface up, -EIO refused on request or a loop that does not close.
 */
int radio_command(struct radio *radio, uint8_t record[RADIO_RECORD_SIZE], uint64_t now_us);

/** Takes the interface up or down. 0, -ENODEV, or -EIO while interface.fail_up lasts. Down ends any test. */
int radio_interface(struct radio *radio, int up, uint64_t now_us);

/** Counts the packets received until now: before the state is read. */
void radio_advance(struct radio *radio, uint64_t now_us);

/** Fixes a command's answer: size bytes at the start of the data. 0 or -EINVAL. */
int radio_answer(struct radio *radio, uint32_t command, const void *bytes, size_t size);
void radio_answers_clear(struct radio *radio);

/** The i-th record of command_count that reached the driver; null where it is no longer, or not yet, kept. */
const struct radio_sent *radio_sent(const struct radio *radio, uint32_t i);

/* ---- Decoding ----------------------------------------------------------------------------------------- */

enum radio_data { RADIO_NONE, RADIO_U16, RADIO_U32, RADIO_STRING, RADIO_BYTES };

struct radio_command_kind {
  const char *name;
  enum radio_data request;
  uint16_t request_size; /**< bytes of data the request uses; of a string, its room */
  enum radio_data answer;
  uint16_t answer_size;
};

/** What a command id means to a chip; null where the chip has no such command. */
const struct radio_command_kind *radio_command_kind(uint32_t chip, uint32_t id);
/** Its name; null where the chip has no such command. */
const char *radio_command_name(uint32_t chip, uint32_t id);

const char *radio_chip_name(uint32_t chip);
uint32_t radio_chip_magic(uint32_t chip);

#ifdef __cplusplus
#pragma GCC diagnostic pop
}
#endif

#endif
