// SPDX-License-Identifier: Apache-2.0
// Reduces an item to one parameter: reads the item, empties it and writes every entry of the parameter back.
#include "chips/vq2050/profile.h"
#include "common/log.h"
#include "common/nv_text.h"
#include "include/vq2050.h"

using namespace orva;

namespace {

/// Writes the entries of one parameter back to an emptied item.
void write_back(const nv_item &item, const entries &all, const char *param_name) {
  char kept[ORVA_NV_ITEM_SIZE] = {};
  char *entry = all.text;
  bool found = false;
  for (uint32_t i = 0; i < all.count; i++, entry = next_entry(entry)) {
    if (!is_entry_of(entry, param_name)) continue;
    found = true;
    if (!append_entry(kept, sizeof kept, entry)) {
      LOG_ERROR(vq2050, "vq2050_write_nvpattern_to_nv:: snprrintf_s failed.");
    }
  }
  if (!found) {
    LOG_INFO(vq2050, "vq2050_write_nvpattern_to_nv::not find nv_data to write back");
    return;
  }
  LOG_INFO(vq2050, "vq2050_write_nvpattern_to_nv ,nvram_cal_data=%s\n", kept);
  if (write_item(item, kept, sizeof kept) != 0) {
    LOG_ERROR(vq2050, "vq2050_write_nvpattern_to_nv::write nv fail\n");
  }
}

}  // namespace

void vq2050_write_nvpattern_to_nv(uint32_t nv_num, const char *nv_name, uint32_t, const char *param_name) {
  if (!write_to_nv_para_check(vq2050, nv_name, param_name)) return;
  const nv_item item = {nv_num, nv_name};
  char text[ORVA_NV_ITEM_SIZE];
  const int32_t length = read_wifi_nvram_param_from_nv(vq2050, text, sizeof text, item);
  if (empty_item(item) == 0) LOG_INFO(vq2050, "vq2050_write_nvpattern_to_nv ,nvram_cal_data=%s\n", "");
  if (length <= 0) {
    LOG_INFO(vq2050, "vq2050_write_nvpattern_to_nv::not find nv_data to write back, data_len is 0");
    return;
  }
  write_back(item, split(text, length), param_name);
}
