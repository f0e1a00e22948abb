// SPDX-License-Identifier: Apache-2.0
// This chip stores no calibration texts: its calibration is a block of amplitude codes, scaled by a gain in
// dB.
#include <math.h>
#include <stdlib.h>
#include <string.h>

#include "chips/vq2040/profile.h"
#include "common/caldata.h"
#include "common/driver.h"
#include "common/log.h"
#include "include/vq2040.h"

using namespace orva;

namespace {

constexpr int8_t ANY = -1;
constexpr float LARGEST_GAIN_DB = 5.0F;
constexpr int32_t LARGEST_CODE = 0xEE;
constexpr int32_t LAST_DIGITS_AT = 184;

/// The byte pairs of one transmit mode; the second byte of each pair is its code.
struct mode_pairs {
  const char *log;
  int32_t first, last;
};
constexpr mode_pairs modes[] = {
    {"%s_wifi_nvram_calibrate_set 2.4G 20M 11b \n", 0, 1},
    {"%s_wifi_nvram_calibrate_set 2.4G 20M 11g\n", 2, 6},
    {"%s_wifi_nvram_calibrate_set 2.4G 20M 11n\n", 7, 12},
    {"%s_wifi_nvram_calibrate_set 2.4G 40M 11n\n", 13, 20},
    {"%s_wifi_nvram_calibrate_set 5G 11a\n", 21, 25},
    {"%s_wifi_nvram_calibrate_set 5G 20M 11n\n", 26, 31},
    {"%s_wifi_nvram_calibrate_set 5G 40M 11n\n", 32, 38},
    {"%s_wifi_nvram_calibrate_set 5G 80M 11ac\n", 39, 44},
};

/// Maps a request to a mode; the first matching row wins.
struct mode_request {
  int8_t mode, band, bandwidth;
  uint8_t index;
};
constexpr mode_request requests[] = {
    {3, ANY, ANY, 1}, {2, ANY, ANY, 0}, {4, 0, 0, 2}, {4, 0, 1, 3}, {1, 1, ANY, 4},
    {4, 1, 0, 5},     {5, 1, 0, 5},     {4, 1, 1, 6}, {5, 1, 1, 6}, {5, 1, 2, 7},
};

bool fits(int32_t wanted, int32_t given) { return wanted == ANY || wanted == given; }

const mode_pairs *find_mode(int32_t mode, int32_t band, int32_t bandwidth) {
  for (const mode_request &row : requests) {
    if (row.mode != mode || !fits(row.band, band) || !fits(row.bandwidth, bandwidth)) continue;
    log_named(vq2040, ORVA_LOG_DEBUG, modes[row.index].log);
    return &modes[row.index];
  }
  LOG_ERROR(vq2040,
            "vq2040_wifi_nvram_calibrate_set input mode is not available, mode=%d,band=%d,bandwidth=%d \n",
            mode, band, bandwidth);
  return nullptr;
}

/// Parses the gain, in dB. The comparisons also reject NaN.
bool parse_gain(const char *text, float &gain) {
  gain = static_cast<float>(atof(text));
  if (gain >= -LARGEST_GAIN_DB && gain <= LARGEST_GAIN_DB && gain != 0.0F) return true;
  LOG_ERROR(vq2040, "vq2040_wifi_nvram_calibrate_set illegal delta_gain or zero, delta_gain=%f\n",
            static_cast<double>(gain));
  return false;
}

void scale_code(uint8_t &code, int32_t index, double factor) {
  if (code == 0) {
    LOG_DEBUG(vq2040, "vq2040_wifi_nvram_calibrate_set nvm_cal_data[%d]==0, ignore the calibrate data \n",
              index);
    return;
  }
  int32_t scaled = static_cast<int32_t>(factor * code + 0.5);
  if (scaled > LARGEST_CODE) {
    LOG_DEBUG(vq2040, "vq2040_wifi_nvram_calibrate_set cal_res=%d, >0xee, set cal_res as 0xee\n", scaled);
    scaled = LARGEST_CODE;
  }
  code = static_cast<uint8_t>(scaled);
}

void scale(caldata &block, const mode_pairs &pairs, float gain) {
  const double factor = pow(10.0, static_cast<double>(gain) / 20.0);
  for (int32_t k = pairs.first; k <= pairs.last; k++) scale_code(block.code[2 * k + 1], 2 * k + 1, factor);
}

bool push(const caldata &block) {
  ioctl_data record = record_of(COMMAND_CALDATA_PUSH);
  memcpy(record.pri_data, block.code, sizeof block.code);
  if (exchange(vq2040, record)) return true;
  LOG_ERROR(vq2040, "vq2040_wifi_nvram_calibrate_set, wifi_caldata_set failed\n");
  return false;
}

bool scale_stored(const mode_pairs &pairs, float gain) {
  caldata block = {};
  if (read_caldata(block) != 0) {
    LOG_ERROR(vq2040, "vq2040_wifi_nvram_calibrate_set, read_wifi_caldata_from_nv failed\n");
    return false;
  }
  print_data(vq2040, block);
  scale(block, pairs, gain);
  print_data(vq2040, block);
  if (write_caldata(&block, sizeof block) != 0) {
    LOG_ERROR(vq2040, "vq2040_wifi_nvram_calibrate_set write_wifi_caldata_to_nv  fail\n");
    return false;
  }
  return push(block);
}

char hex_character(uint32_t nibble) { return "0123456789abcdef"[nibble & 0xFU]; }

void write_digits(char *out, int32_t size, const caldata &block) {
  for (int32_t at = 0; at < size - 2 && at <= LAST_DIGITS_AT; at += 2) {
    const uint32_t code = block.code[at / 2];
    out[at] = hex_character(code >> 4);
    out[at + 1] = hex_character(code);
  }
}

}  // namespace

uint32_t vq2040_wifi_nvram_set(const void *, const void *, int32_t) {
  return copy_caldata_to_nv(vq2040, "vq2040_read_wifi_caldata_from_dts: memcpy_s failed.");
}

uint32_t vq2040_wifi_nvram_calibrate_set(int32_t, int32_t, int32_t mode, int32_t band, int32_t bandwidth,
                                         int32_t, const char *delta_gain) {
  if (delta_gain == nullptr || *delta_gain == '\0') {
    LOG_ERROR(vq2040, "vq2040_wifi_nvram_calibrate_set illegal delta_gain_set\n");
    return 0;
  }
  LOG_DEBUG(vq2040, "vq2040_wifi_nvram_calibrate_set delta gain:%s\n", delta_gain);
  const mode_pairs *pairs = find_mode(mode, band, bandwidth);
  if (pairs == nullptr) return 0;
  float gain = 0.0F;
  if (!parse_gain(delta_gain, gain)) return 0;
  LOG_DEBUG(vq2040,
            "vq2040_wifi_nvram_calibrate_set parse ret: mode=%d,band=%d,bandwidth=%d,delta_gain=%f \n", mode,
            band, bandwidth, static_cast<double>(gain));
  return scale_stored(*pairs, gain);
}

uint32_t vq2040_wifi_nvram_calibrate_get(char *out, int32_t size) {
  if (size < ORVA_NV_ITEM_SIZE) return 0;
  memset(out, 0, static_cast<size_t>(size));
  caldata block = {};
  if (read_caldata(block) == 0) write_digits(out, size, block);
  LOG_DEBUG(vq2040, "vq2040_wifi_nvram_calibrate_get wifi caldata:0x%s\n", out);
  return *out != '\0';
}

uint32_t vq2040_wifi_nvram_calibrate_clean(int32_t) {
  const caldata block = {};
  if (write_caldata(&block, sizeof block) == 0) return 1;
  LOG_ERROR(vq2040, "vq2040_wifi_nvram_calibrate_clean write cal data to nvm failed\n");
  return 0;
}
