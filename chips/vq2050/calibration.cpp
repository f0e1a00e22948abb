#include "common/calibration.h"
#include "chips/vq2050/profile.h"
#include "include/vq2050.h"
#include "common/caldata.h"
#include "common/calibration_clean.h"
#include "common/catalogue.h"
#include "common/log.h"
#include "common/nv_item.h"

using namespace orva;

namespace orva {

constinit const struct calibration vq2050_calibration = {
    .per_channel = two_chain_per_channel,
    .power = two_chain_power,
    .items = two_chain_items,
    .driver_params = two_chain_params,
    .param_number = listed_param_number,
    .keep_only = vq2050_write_nvpattern_to_nv,
    .has_group = true,
    .largest_error = 500,
    .centres_only = true,
    .writes_nothing_without_entries = true,
    .checks_secure_calls = true,
    .reply_copy_failure = "%s_wifi_querry_nvram_parameter_from_driver: memcpy_s failed.\n",
};

}  // namespace orva

namespace {

constexpr nv_item chain_0_items[] = {
    {340, "WIC0_2G5G_OFDM"}, {363, "NV_UNUSED"},      {369, "WIC0_5GLOW"},   {384, "WIC0_2G40M"},
    {386, "WIC0_5G160M"},    {396, "WIC0_2GMU_OFDM"}, {398, "WIC0_2GMF40M"}, {400, "WIC0_MUCCK"},
};
// 387 goes under the name of chain 0's item.
constexpr nv_item chain_1_items[] = {
    {363, "NV_UNUSED"},   {368, "WIC1_2G5G_OFDM"}, {370, "WIC1_5GLOW"},   {385, "WIC1_2G40M"},
    {387, "WIC0_5G160M"}, {397, "WIC1_2GMU_OFDM"}, {399, "WIC1_2GMF40M"}, {401, "WIC1_MUCCK"},
};
constexpr nv_item band_2g_items[] = {
    {363, "NV_UNUSED"},      {367, "WITXCCK"},        {384, "WIC0_2G40M"},   {385, "WIC1_2G40M"},
    {396, "WIC0_2GMU_OFDM"}, {397, "WIC1_2GMU_OFDM"}, {398, "WIC0_2GMF40M"}, {399, "WIC1_2GMF40M"},
    {400, "WIC0_MUCCK"},     {401, "WIC1_MUCCK"},
};
constexpr nv_item band_5g_items[] = {
    {363, "NV_UNUSED"}, {369, "WIC0_5GLOW"}, {370, "WIC1_5GLOW"}, {386, "WIC0_5G160M"}, {387, "WIC1_5G160M"},
};
constexpr kept_entry chain_0_kept[] = {{367, "WITXCCK", "pa2gccka1"}};
constexpr kept_entry chain_1_kept[] = {{367, "WITXCCK", "pa2gccka0"}};
constexpr kept_entry band_2g_kept[] = {{340, "WIC0_2G5G_OFDM", "pa5ga0"}, {368, "WIC1_2G5G_OFDM", "pa5ga1"}};
constexpr kept_entry band_5g_kept[] = {{340, "WIC0_2G5G_OFDM", "pa2ga0"}, {368, "WIC1_2G5G_OFDM", "pa2ga1"}};

constexpr clean_scope chain_0 = {chain_0_items, chain_0_kept};
constexpr clean_scope chain_1 = {chain_1_items, chain_1_kept};
constexpr clean_scope band_2g = {band_2g_items, band_2g_kept};
constexpr clean_scope band_5g = {band_5g_items, band_5g_kept};

void clean(const clean_scope &scope) {
  clean_items_checking_each(vq2050, scope.items);
  keep_entries(vq2050, scope.kept);
}

/// Writes the entries of one parameter back into an item that was emptied.
void write_back(uint32_t nv_num, const char *nv_name, const entries &all, const char *param_name) {
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
  if (write_item(nv_num, nv_name, kept) != 0)
    LOG_ERROR(vq2050, "vq2050_write_nvpattern_to_nv::write nv fail\n");
}

}  // namespace

uint32_t vq2050_wifi_nvram_set(const void *, const void *, int32_t) { return refuse_caldata(vq2050); }

uint32_t vq2050_wifi_nvram_calibrate_set(int32_t cal_type, int32_t group, int32_t mode, int32_t band,
                                         int32_t bandwidth, int32_t freq, const char *delta_gain) {
  return wifi_nvram_calibrate_set(vq2050, cal_type, static_cast<uint32_t>(group), static_cast<uint32_t>(mode),
                                  static_cast<uint32_t>(band), static_cast<uint32_t>(bandwidth), freq,
                                  delta_gain);
}

uint32_t vq2050_wifi_nvram_calibrate_get(char *out, int32_t size) {
  return wifi_nvram_calibrate_get(vq2050, out, size);
}

uint32_t vq2050_wifi_nvram_calibrate_clean(int32_t scope) {
  switch (scope) {
  case 1: vq2050_clean_all_nvparam(); break;
  case 2: vq2050_clean_nvparam_by_rfcore(0); break;
  case 3: vq2050_clean_nvparam_by_rfcore(1); break;
  case 4: vq2050_clean_nvparam_by_rffreq(0); break;
  case 5: vq2050_clean_nvparam_by_rffreq(1); break;
  default: log_wrong_scope(vq2050, scope);
  }
  return 1;
}

uint32_t vq2050_wifi_nvram_calibrate_clean_new(const uint32_t *flags) {
  return wifi_nvram_calibrate_clean_new(vq2050, flags);
}

void vq2050_clean_all_nvparam() { clean_all_nvparam(vq2050); }
void vq2050_clean_nvparam_2G_C0(uint32_t enable) { clean_2g(vq2050, enable, scope_2g_c0); }
void vq2050_clean_nvparam_2G_C1(uint32_t enable) { clean_2g(vq2050, enable, scope_2g_c1); }
void vq2050_clean_nvparam_5G_C0(uint32_t enable) { clean_5g(vq2050, enable, scope_5g_c0); }
void vq2050_clean_nvparam_5G_C1(uint32_t enable) { clean_5g(vq2050, enable, scope_5g_c1); }
void vq2050_clean_nvparam_by_rfcore(uint32_t chain) { clean(chain != 0 ? chain_1 : chain_0); }
void vq2050_clean_nvparam_by_rffreq(uint32_t band) { clean(band != 0 ? band_5g : band_2g); }

void vq2050_write_nvpattern_to_nv(uint32_t nv_num, const char *nv_name, uint32_t, const char *param_name) {
  if (!write_to_nv_para_check(vq2050, nv_name, param_name)) return;
  char item[ORVA_NV_ITEM_SIZE];
  const int32_t length = read_wifi_nvram_param_from_nv(vq2050, item, sizeof item, nv_num, nv_name);
  if (empty_item(nv_num, nv_name) == 0) {
    LOG_INFO(vq2050, "vq2050_write_nvpattern_to_nv ,nvram_cal_data=%s\n", "");
  }
  if (length <= 0) {
    LOG_INFO(vq2050, "vq2050_write_nvpattern_to_nv::not find nv_data to write back, data_len is 0");
    return;
  }
  write_back(nv_num, nv_name, split(item, length), param_name);
}

void vq2050_param_to_string(char *out, uint32_t out_size, const char *name, const uint32_t *values,
                            uint32_t count) {
  param_to_string(vq2050, out, out_size, name, values, count);
}

orva_cal_lookup vq2050_wifi_get_nvnum_parname_from_at_param(uint32_t group, uint32_t mode, uint32_t band,
                                                            uint32_t bandwidth, int32_t freq) {
  return find_rows(vq2050, group, mode, band, bandwidth, freq);
}

uint32_t vq2050_check_nvname_2G_normal(const char *name) { return check_nvname_2G_normal(name); }
uint32_t vq2050_check_nvname_2G_mucal(const char *name) { return check_nvname_2G_mucal(name); }
uint32_t vq2050_check_nvname_5G_normal(const char *name) { return check_nvname_5G_normal(name); }
uint32_t vq2050_check_nvname_5G_160M(const char *name) { return check_nvname_5G_160M(name); }
