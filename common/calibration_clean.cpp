#include "common/calibration_clean.h"

#include <string.h>

#include "common/log.h"
#include "common/nv_item.h"

namespace orva {

namespace {

constexpr nv_item items_2g_c0[] = {{363, "NV_UNUSED"},
                                   {384, "WIC0_2G40M"},
                                   {396, "WIC0_2GMU_OFDM"},
                                   {398, "WIC0_2GMF40M"},
                                   {400, "WIC0_MUCCK"}};
constexpr nv_item items_2g_c1[] = {{363, "NV_UNUSED"},
                                   {385, "WIC1_2G40M"},
                                   {397, "WIC1_2GMU_OFDM"},
                                   {399, "WIC1_2GMF40M"},
                                   {401, "WIC1_MUCCK"}};
constexpr nv_item items_5g_c0[] = {{363, "NV_UNUSED"}, {369, "WIC0_5GLOW"}, {386, "WIC0_5G160M"}};
constexpr nv_item items_5g_c1[] = {{363, "NV_UNUSED"}, {370, "WIC1_5GLOW"}, {387, "WIC1_5G160M"}};

constexpr kept_entry kept_2g_c0[] = {{340, "WIC0_2G5G_OFDM", "pa5ga0"}, {367, "WITXCCK", "pa2gccka1"}};
constexpr kept_entry kept_2g_c1[] = {{368, "WIC1_2G5G_OFDM", "pa5ga1"}, {367, "WITXCCK", "pa2gccka0"}};
constexpr kept_entry kept_5g_c0[] = {{340, "WIC0_2G5G_OFDM", "pa2ga0"}};
constexpr kept_entry kept_5g_c1[] = {{368, "WIC1_2G5G_OFDM", "pa2ga1"}};

/// One failure is tolerated.
void log_failures(const chip &chip, uint32_t cleaned, uint32_t items) {
  if (cleaned < items - 1) LOG_ERROR(chip, "%s_clean_all_nvparam::one or more nv clean fail!\n", chip.name);
}

}  // namespace

constinit const clean_scope scope_2g_c0 = {items_2g_c0, kept_2g_c0};
constinit const clean_scope scope_2g_c1 = {items_2g_c1, kept_2g_c1};
constinit const clean_scope scope_5g_c0 = {items_5g_c0, kept_5g_c0};
constinit const clean_scope scope_5g_c1 = {items_5g_c1, kept_5g_c1};

uint32_t wifi_nvram_calibrate_get(const chip &chip, char *out, int32_t size) {
  if (size < 1) return 1;
  const uint32_t room = static_cast<uint32_t>(size);
  memset(out, 0, room);
  for (const nv_item &item : chip.calibration->items) {
    if (read_wifi_nvram_param_from_nv(chip, out + strlen(out), room, item.number, item.name) >= 0) continue;
    LOG_ERROR(chip, "%s_wifi_nvram_calibrate_get:read param from nv failed, nv_num[%d]", chip.name,
              static_cast<int32_t>(item.number));
  }
  return 1;
}

uint32_t empty_items(const list<nv_item> &items) {
  uint32_t emptied = 0;
  for (const nv_item &item : items) emptied += empty_item(item.number, item.name) == 0 ? 1 : 0;
  return emptied;
}

void clean_items(const chip &chip, const list<nv_item> &items) {
  log_failures(chip, empty_items(items), items.count);
}

void clean_items_checking_each(const chip &chip, const list<nv_item> &items) {
  uint32_t cleaned = 0;
  for (const nv_item &item : items) {
    if (empty_item(item.number, item.name) == 0) cleaned++;
    log_failures(chip, cleaned, items.count);
  }
}

void clean_all_nvparam(const chip &chip) { clean_items(chip, chip.calibration->items); }

void keep_entries(const chip &chip, const list<kept_entry> &kept) {
  for (const kept_entry &entry : kept) {
    chip.calibration->keep_only(entry.number, entry.name, ORVA_NV_ITEM_SIZE, entry.param);
  }
}

void clean_2g(const chip &chip, uint32_t enable, const clean_scope &scope) {
  if (enable == 0) return;
  clean_items(chip, scope.items);
  keep_entries(chip, scope.kept);
}

void clean_5g(const chip &chip, uint32_t enable, const clean_scope &scope) {
  if (enable == 0) return;
  keep_entries(chip, scope.kept);
  clean_items(chip, scope.items);
}

uint32_t wifi_nvram_calibrate_clean_new(const chip &chip, const uint32_t *flags) {
  LOG_INFO(chip, "%s_wifi_nvram_calibrate_clean_new:2gc0_en[%d], 5gc0_en[%d], 2gc1_en[%d], 5gc1_en[%d]",
           chip.name, static_cast<int32_t>(flags[0]), static_cast<int32_t>(flags[1]),
           static_cast<int32_t>(flags[2]), static_cast<int32_t>(flags[3]));
  clean_2g(chip, flags[0], scope_2g_c0);
  clean_5g(chip, flags[1], scope_5g_c0);
  clean_2g(chip, flags[2], scope_2g_c1);
  clean_5g(chip, flags[3], scope_5g_c1);
  return 1;
}

void log_wrong_scope(const chip &chip, int32_t scope) {
  LOG_ERROR(chip, "%s_wifi_nvram_calibrate_clean::wrong input param[%d]", chip.name, scope);
}

}  // namespace orva
