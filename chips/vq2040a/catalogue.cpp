// SPDX-License-Identifier: Apache-2.0
#include "chips/vq2040a/catalogue.h"

#include <string.h>

#include "common/driver_param.h"
#include "common/log.h"

namespace orva {

namespace {

// 5GLOW, 5G160M, 2GMF40M and MUCCK have other numbers than on the two-chain chips.
constexpr nv_item WIC0_2G5G_OFDM = {340, "WIC0_2G5G_OFDM"};
constexpr nv_item NV_UNUSED = {363, "NV_UNUSED"};
constexpr nv_item WITXCCK = {367, "WITXCCK"};
constexpr nv_item WIC0_5GLOW = {368, "WIC0_5GLOW"};
constexpr nv_item WIC0_2G40M = {384, "WIC0_2G40M"};
constexpr nv_item WIC0_5G160M = {385, "WIC0_5G160M"};
constexpr nv_item WIC0_2GMU_OFDM = {396, "WIC0_2GMU_OFDM"};
constexpr nv_item WIC0_2GMF40M = {397, "WIC0_2GMF40M"};
constexpr nv_item WIC0_MUCCK = {398, "WIC0_MUCCK"};

constexpr int32_t FIRST_SEARCHED = 1;
constexpr int32_t LAST_SEARCHED = 11;

}  // namespace

// Columns: chain, mode, band, bandwidth, parameter, item.
const cal_row vq2040a_per_channel[3] = {
    {0, 0, 0, 0, "mf2ga0", WIC0_2GMU_OFDM},
    {0, 2, 0, 0, "mf2gccka0", WIC0_MUCCK},
    {0, 0, 0, 1, "mf2g40a0", WIC0_2GMF40M},
};
const cal_row vq2040a_power[5] = {
    {0, 0, 0, 0, "pa2ga0", WIC0_2G5G_OFDM}, {0, 2, 0, 0, "pa2gccka0", WITXCCK},
    {0, 0, 0, 1, "pa2g40a0", WIC0_2G40M},   {0, 0, 1, 0, "pa5ga0", WIC0_2G5G_OFDM},
    {0, 0, 1, 0, "pa5glowa0", WIC0_5GLOW},
};
const nv_item vq2040a_items[9] = {WIC0_2G5G_OFDM, NV_UNUSED,      WITXCCK,      WIC0_5GLOW, WIC0_2G40M,
                                  WIC0_5G160M,    WIC0_2GMU_OFDM, WIC0_2GMF40M, WIC0_MUCCK};

// Number 8 appears twice; the "null" rows count in the index. The driver receives a row's number, not its
// index.
const driver_param g_ast_nvram_pro_line_config_ini_2040a[14] = {
    {"null", 0},         {"pa2gccka0", 1}, {"pa2ga0", 2},    {"pa2g40a0", 3},
    {"pa5ga0", 4},       {"null", 6},      {"null", 7},      {"null", 8},
    {"pa5ga0_band1", 8}, {"pa2gcwa0", 9},  {"pa5glowa0", 5}, {"pa5glowa0_band1", 10},
    {"ppa2gcwa0", 11},   {"null", 12},
};

int32_t vq2040a_param_number(const chip &chip, const cal_row &row) {
  for (int32_t i = FIRST_SEARCHED; i <= LAST_SEARCHED; i++) {
    const driver_param &listed = chip.calibration->driver_params.rows[i];
    if (strncmp(row.param, listed.name, strlen(row.param)) != 0) continue;
    LOG_DEBUG(chip, "vq2040a_get_driver_param_num: param_num is %d, nv_name is %s, case_entry is %d", i,
              listed.name, listed.number);
    return static_cast<int32_t>(listed.number);
  }
  log_no_param_number(chip, row);
  return -1;
}

}  // namespace orva
