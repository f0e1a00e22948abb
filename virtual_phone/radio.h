/* SPDX-License-Identifier: Apache-2.0 OR GPL-2.0-only */
/*
 * The WLAN chip and its driver as seen through private driver commands: the chip's description and its state.
 * All radio_* sources are plain C without heap, stdio or floating point, because a kernel module is built
 * from them too.
 *
 * A struct radio holds no pointers, so it can be copied and can live in memory shared between processes. The
 * caller serialises commands, as a driver's lock does.
 */
#ifndef VIRTUAL_PHONE_RADIO_H
#define VIRTUAL_PHONE_RADIO_H

#include "radio_base.h"

enum {
  RADIO_RECORD_SIZE = 264, /**< u32 magic, u32 command id, data; little-endian */
  RADIO_DATA_AT = 8,       /**< offset of the data in a record */
  RADIO_DATA_SIZE = 256,
  RADIO_COMMANDS = 40,    /**< command ids are below this */
  RADIO_BLOCK_SIZE = 104, /**< bytes of the calibration block, and of a calibration parameter's text */
  RADIO_DIE_WORDS = 9,    /**< the older chips report the first 8 */
  RADIO_REFUSE_ALWAYS = 255
};

/** Any 32-bit number, signed or not. */
#define RADIO_ANY_MIN (-2147483647LL - 1)
#define RADIO_ANY_MAX 4294967295LL

/** The calibration parameters that the driver knows by name. */
enum radio_parameter {
  RADIO_PA2GCCKA0,
  RADIO_PA2GA0,
  RADIO_PA2G40A0,
  RADIO_PA5GA0,
  RADIO_PA2GCCKA1,
  RADIO_PA2GA1,
  RADIO_PA2G40A1,
  RADIO_PA5GA1,
  RADIO_PA5GLOWA0,
  RADIO_PA5GLOWA1,
  RADIO_PA5GA0_BAND1,
  RADIO_PA2GCWA0,
  RADIO_PA5GLOWA0_BAND1,
  RADIO_PARAMETERS
};

/** An answer that replaces the radio's own. */
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
  uint8_t refuse[RADIO_COMMANDS]; /* refusals left, or RADIO_REFUSE_ALWAYS */
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
  uint32_t configured; /* bit per enum radio_cmd given since the interface came up */
  uint32_t mode, band, channel, rate, power, connection_power, chain, antenna, power_save;
  uint32_t transmitting, receiving;
  uint32_t packets;
  uint64_t packet_fraction; /* millionths of a packet */
  uint64_t counted_until_us;
  /* What an RF model outside makes of the test signal; without one, all of it is received. */
  uint32_t heard;      /* flag: there is such a model */
  uint32_t heard_rssi; /* what the receiver reports, in place of rssi */
  uint32_t heard_rate; /* packets received per second, in place of packet_rate */
  uint8_t mac_filter[6];
  char country[3];
  char dynamic_calibration[16];
  uint32_t self_calibration, power_test, tas_antenna, bus_mode, bss_expire_age, broadcast_loop, running_test;
  uint32_t ru_direction, ru_aid;
  uint8_t pushed_block[RADIO_BLOCK_SIZE];
  uint32_t command_count;
};

#endif
