// SPDX-License-Identifier: Apache-2.0
#include "chips/two_chain/clean.h"

#include "chips/two_chain/nv_items.h"
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

/// Empties items; more than one failure is logged.
void clean_items(const chip &chip, const list<nv_item> &items) {
  log_failed_clean(chip, empty_items(items), items);
}

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

void log_failed_clean(const chip &chip, uint32_t cleaned, const list<nv_item> &items) {
  if (cleaned < items.count - 1) {
    LOG_ERROR(chip, "%s_clean_all_nvparam::one or more nv clean fail!\n", chip.name);
  }
}

uint32_t clean_all(const cleaner &cleaner) {
  clean_items(cleaner.chip, cleaner.chip.calibration->items);
  return 1;
}

uint32_t clean_2g(const cleaner &cleaner, uint32_t enable, const clean_scope &scope) {
  if (enable == 0) return 1;
  clean_items(cleaner.chip, scope.items);
  keep_entries(cleaner, scope.kept);
  return 1;
}

uint32_t clean_5g(const cleaner &cleaner, uint32_t enable, const clean_scope &scope) {
  if (enable == 0) return 1;
  keep_entries(cleaner, scope.kept);
  clean_items(cleaner.chip, scope.items);
  return 1;
}

uint32_t clean_by_scope(const cleaner &cleaner, int32_t scope) {
  switch (scope) {
  case 1: return clean_all(cleaner);
  case 2: return cleaner.clean_chain(0);
  case 3: return cleaner.clean_chain(1);
  case 4: return cleaner.clean_band(0);
  case 5: return cleaner.clean_band(1);
  default: break;
  }
  LOG_ERROR(cleaner.chip, "%s_wifi_nvram_calibrate_clean::wrong input param[%d]", cleaner.chip.name, scope);
  return 1;
}

uint32_t clean_by_flags(const cleaner &cleaner, const uint32_t *flags) {
  LOG_INFO(cleaner.chip,
           "%s_wifi_nvram_calibrate_clean_new:2gc0_en[%d], 5gc0_en[%d], 2gc1_en[%d], 5gc1_en[%d]",
           cleaner.chip.name, flags[0], flags[1], flags[2], flags[3]);
  clean_2g(cleaner, flags[0], scope_2g_c0);
  clean_5g(cleaner, flags[1], scope_5g_c0);
  clean_2g(cleaner, flags[2], scope_2g_c1);
  clean_5g(cleaner, flags[3], scope_5g_c1);
  return 1;
}

}  // namespace orva::two_chain
