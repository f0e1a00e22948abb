#include "common/calibration.h"
#include "chips/vq2040a/profile.h"
#include "include/vq2040a.h"
#include "common/calibration_clean.h"
#include "common/nv_item.h"
#include <string.h>

#include "common/caldata.h"
#include "common/log.h"

using namespace orva;

namespace {

// One chain. From 368 on the NV numbers are not those of the newer chips.
constexpr cal_row per_channel[] = {
    {0, 0, 0, 0, "mf2ga0", "WIC0_2GMU_OFDM", 396},
    {0, 2, 0, 0, "mf2gccka0", "WIC0_MUCCK", 398},
    {0, 0, 0, 1, "mf2g40a0", "WIC0_2GMF40M", 397},
};
constexpr cal_row power[] = {
    {0, 0, 0, 0, "pa2ga0", "WIC0_2G5G_OFDM", 340}, {0, 2, 0, 0, "pa2gccka0", "WITXCCK", 367},
    {0, 0, 0, 1, "pa2g40a0", "WIC0_2G40M", 384},   {0, 0, 1, 0, "pa5ga0", "WIC0_2G5G_OFDM", 340},
    {0, 0, 1, 0, "pa5glowa0", "WIC0_5GLOW", 368},
};
constexpr nv_item items[] = {
    {340, "WIC0_2G5G_OFDM"}, {363, "NV_UNUSED"},    {367, "WITXCCK"},
    {368, "WIC0_5GLOW"},     {384, "WIC0_2G40M"},   {385, "WIC0_5G160M"},
    {396, "WIC0_2GMU_OFDM"}, {397, "WIC0_2GMF40M"}, {398, "WIC0_MUCCK"},
};

// 8 stands twice, and the nulls are rows as well; the driver gets the row's number, not its position.
constexpr driver_param g_ast_nvram_pro_line_config_ini_2040a[] = {
    {"null", 0},         {"pa2gccka0", 1}, {"pa2ga0", 2},    {"pa2g40a0", 3},
    {"pa5ga0", 4},       {"null", 6},      {"null", 7},      {"null", 8},
    {"pa5ga0_band1", 8}, {"pa2gcwa0", 9},  {"pa5glowa0", 5}, {"pa5glowa0_band1", 10},
    {"ppa2gcwa0", 11},   {"null", 12},
};
constexpr int32_t FIRST_SEARCHED = 1;
constexpr int32_t LAST_SEARCHED = 11;

int32_t param_number(const chip &chip, const cal_row &row) {
  for (int32_t i = FIRST_SEARCHED; i <= LAST_SEARCHED; i++) {
    const driver_param &listed = chip.calibration->driver_params.rows[i];
    if (strncmp(row.param, listed.name, strlen(row.param)) != 0) continue;
    const int32_t number = static_cast<int32_t>(listed.number);
    LOG_DEBUG(chip, "vq2040a_get_driver_param_num: param_num is %d, nv_name is %s, case_entry is %d", i,
              listed.name, number);
    return number;
  }
  log_no_param_number(chip, row);
  return -1;
}

}  // namespace

namespace orva {

constinit const struct calibration vq2040a_calibration = {
    .per_channel = per_channel,
    .power = power,
    .items = items,
    .driver_params = g_ast_nvram_pro_line_config_ini_2040a,
    .param_number = param_number,
    .keep_only = nullptr,
    .has_group = false,
    .largest_error = 500,
    .centres_only = true,
    .writes_nothing_without_entries = true,
    .checks_secure_calls = false,
    .reply_copy_failure = "memcpy_s error.\n",
};

}  // namespace orva

uint32_t vq2040a_wifi_nvram_set(const void *, const void *, int32_t) {
  return copy_caldata_to_nv(vq2040a, "vq2040a_read_wifi_caldata_from_dts: memcpy_s failed.\n");
}

uint32_t vq2040a_wifi_nvram_calibrate_set(int32_t cal_type, int32_t, int32_t mode, int32_t band,
                                          int32_t bandwidth, int32_t freq, const char *delta_gain) {
  return wifi_nvram_calibrate_set(vq2040a, cal_type, 0, static_cast<uint32_t>(mode),
                                  static_cast<uint32_t>(band), static_cast<uint32_t>(bandwidth), freq,
                                  delta_gain);
}

uint32_t vq2040a_wifi_nvram_calibrate_get(char *out, int32_t size) {
  return wifi_nvram_calibrate_get(vq2040a, out, size);
}

// Knows one scope only; any failed item is logged.
uint32_t vq2040a_wifi_nvram_calibrate_clean(int32_t scope) {
  if (scope == 1 && empty_items(vq2040a_calibration.items) < vq2040a_calibration.items.count) {
    LOG_ERROR(vq2040a, "vq2040a_wifi_nvram_calibrate_clean, clean wifi nvram calibrate data has error\n");
  }
  return 1;
}

void vq2040a_param_to_string(char *out, uint32_t out_size, const char *name, const uint32_t *values,
                             uint32_t count) {
  param_to_string(vq2040a, out, out_size, name, values, count);
}

orva_cal_lookup vq2040a_wifi_get_nvnum_parname_from_at_param(uint32_t mode, uint32_t band, uint32_t bandwidth,
                                                             int32_t freq) {
  return find_rows(vq2040a, 0, mode, band, bandwidth, freq);
}

uint32_t vq2040a_check_nvname_2G_normal(const char *name) { return check_nvname_2G_normal(name); }
uint32_t vq2040a_check_nvname_2G_mucal(const char *name) { return check_nvname_2G_mucal(name); }
uint32_t vq2040a_check_nvname_5G_normal(const char *name) { return check_nvname_5G_normal(name); }
uint32_t vq2040a_check_nvname_5G_160M(const char *name) { return check_nvname_5G_160M(name); }
int32_t vq2040a_write_wifi_caldata_to_nv(const void *buf, uint32_t size) {
  return write_caldata(buf, size) == 0 ? ORVA_NV_ITEM_SIZE : -1;
}

int32_t vq2040a_read_wifi_nvram_param_from_nv(char *out, uint32_t size, uint32_t nv_num,
                                              const char *nv_name) {
  return read_wifi_nvram_param_from_nv(vq2040a, out, size, nv_num, nv_name);
}
