// SPDX-License-Identifier: Apache-2.0
#include "chips/two_chain/clean.h"

#include "chips/two_chain/nv_items.h"
#include "common/calibration_clean.h"
#include "common/log.h"

namespace orva::two_chain {

namespace {

constexpr nv_item items_2g_c0[] = {NV_UNUSED, WIC0_2G40M, WIC0_2GMU_OFDM, WIC0_2GMF40M, WIC0_MUCCK};
constexpr nv_item items_2g_c1[] = {NV_UNUSED, WIC1_2G40M, WIC1_2GMU_OFDM, WIC1_2GMF40M, WIC1_MUCCK};
constexpr nv_item items_5g_c0[] = {NV_UNUSED, WIC0_5GLOW, WIC0_5G160M};
constexpr nv_item items_5g_c1[] = {NV_UNUSED, WIC1_5GLOW, WIC1_5G160M};

constexpr kept_entry kept_2g_c0[] = {{WIC0_2G5G_OFDM, "pa5ga0"}, {WITXCCK, "pa2gccka1"}};
constexpr kept_entry kept_2g_c1[] = {{WIC1_2G5G_OFDM, "pa5ga1"}, {WITXCCK, "pa2gccka0"}};
constexpr kept_entry kept_5g_c0[] = {{WIC0_2G5G_OFDM, "pa2ga0"}};
constexpr kept_entry kept_5g_c1[] = {{WIC1_2G5G_OFDM, "pa2ga1"}};

}  // namespace

constinit const clean_scope scope_2g_c0 = {items_2g_c0, kept_2g_c0};
constinit const clean_scope scope_2g_c1 = {items_2g_c1, kept_2g_c1};
constinit const clean_scope scope_5g_c0 = {items_5g_c0, kept_5g_c0};
constinit const clean_scope scope_5g_c1 = {items_5g_c1, kept_5g_c1};

void keep_entries(const cleaner &cleaner, const list<kept_entry> &kept) {
  for (const kept_entry &entry : kept) {
    cleaner.keep_only(entry.item.number, entry.item.name, ORVA_NV_ITEM_SIZE, entry.param);
  }
}

void clean_2g(const cleaner &cleaner, uint32_t enable, const clean_scope &scope) {
  if (enable == 0) return;
  clean_items(cleaner.chip, scope.items);
  keep_entries(cleaner, scope.kept);
}

void clean_5g(const cleaner &cleaner, uint32_t enable, const clean_scope &scope) {
  if (enable == 0) return;
  keep_entries(cleaner, scope.kept);
  clean_items(cleaner.chip, scope.items);
}

void clean_by_scope(const cleaner &cleaner, int32_t scope) {
  switch (scope) {
  case 1: clean_all_nvparam(cleaner.chip); break;
  case 2: cleaner.clean_chain(0); break;
  case 3: cleaner.clean_chain(1); break;
  case 4: cleaner.clean_band(0); break;
  case 5: cleaner.clean_band(1); break;
  default:
    LOG_ERROR(cleaner.chip, "%s_wifi_nvram_calibrate_clean::wrong input param[%d]", cleaner.chip.name, scope);
  }
}

void clean_by_flags(const cleaner &cleaner, const uint32_t *flags) {
  LOG_INFO(cleaner.chip,
           "%s_wifi_nvram_calibrate_clean_new:2gc0_en[%d], 5gc0_en[%d], 2gc1_en[%d], 5gc1_en[%d]",
           cleaner.chip.name, flags[0], flags[1], flags[2], flags[3]);
  clean_2g(cleaner, flags[0], scope_2g_c0);
  clean_5g(cleaner, flags[1], scope_5g_c0);
  clean_2g(cleaner, flags[2], scope_2g_c1);
  clean_5g(cleaner, flags[3], scope_5g_c1);
}

}  // namespace orva::two_chain
