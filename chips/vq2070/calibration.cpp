#include "common/calibration.h"
#include "chips/vq2070/profile.h"
#include "include/vq2070.h"
#include "common/caldata.h"
#include "common/calibration_clean.h"
#include "common/catalogue.h"
#include "common/log.h"
#include "common/nv_item.h"

using namespace orva;

namespace orva {

constinit const struct calibration vq2070_calibration = {
    .per_channel = two_chain_per_channel,
    .power = two_chain_power,
    .items = two_chain_items,
    .driver_params = two_chain_params,
    .param_number = listed_param_number,
    .keep_only = vq2070_write_nvpattern_to_nv,
    .has_group = true,
    .largest_error = 0,
    .centres_only = false,
    .writes_nothing_without_entries = false,
    .checks_secure_calls = true,
    .reply_copy_failure = "%s_wifi_querry_nvram_parameter_from_driver: memcpy_s failed.\n",
};

}  // namespace orva

uint32_t vq2070_wifi_nvram_set(const void *, const void *, int32_t) { return refuse_caldata(vq2070); }

uint32_t vq2070_wifi_nvram_calibrate_set(int32_t cal_type, int32_t group, int32_t mode, int32_t band,
                                         int32_t bandwidth, int32_t freq, const char *delta_gain) {
  return wifi_nvram_calibrate_set(vq2070, cal_type, static_cast<uint32_t>(group), static_cast<uint32_t>(mode),
                                  static_cast<uint32_t>(band), static_cast<uint32_t>(bandwidth), freq,
                                  delta_gain);
}

uint32_t vq2070_wifi_nvram_calibrate_get(char *out, int32_t size) {
  return wifi_nvram_calibrate_get(vq2070, out, size);
}

uint32_t vq2070_wifi_nvram_calibrate_clean(int32_t scope) {
  switch (scope) {
  case 1: vq2070_clean_all_nvparam(); break;
  case 2: vq2070_clean_nvparam_by_rfcore(0); break;
  case 3: vq2070_clean_nvparam_by_rfcore(1); break;
  case 4: vq2070_clean_nvparam_by_rffreq(0); break;
  case 5: vq2070_clean_nvparam_by_rffreq(1); break;
  default: log_wrong_scope(vq2070, scope);
  }
  return 1;
}

uint32_t vq2070_wifi_nvram_calibrate_clean_new(const uint32_t *flags) {
  return wifi_nvram_calibrate_clean_new(vq2070, flags);
}

void vq2070_clean_all_nvparam() { clean_all_nvparam(vq2070); }
void vq2070_clean_nvparam_2G_C0(uint32_t enable) { clean_2g(vq2070, enable, scope_2g_c0); }
void vq2070_clean_nvparam_2G_C1(uint32_t enable) { clean_2g(vq2070, enable, scope_2g_c1); }
void vq2070_clean_nvparam_5G_C0(uint32_t enable) { clean_5g(vq2070, enable, scope_5g_c0); }
void vq2070_clean_nvparam_5G_C1(uint32_t enable) { clean_5g(vq2070, enable, scope_5g_c1); }

void vq2070_clean_nvparam_by_rfcore(uint32_t chain) {
  clean_2g(vq2070, 1, chain != 0 ? scope_2g_c1 : scope_2g_c0);
  clean_5g(vq2070, 1, chain != 0 ? scope_5g_c1 : scope_5g_c0);
}

void vq2070_clean_nvparam_by_rffreq(uint32_t band) {
  const auto clean = band != 0 ? clean_5g : clean_2g;
  clean(vq2070, 1, band != 0 ? scope_5g_c0 : scope_2g_c0);
  clean(vq2070, 1, band != 0 ? scope_5g_c1 : scope_2g_c1);
}

// Writes twice even when nothing is found: the buffer routine has emptied the item by then.
void vq2070_write_nvpattern_to_nv(uint32_t nv_num, const char *nv_name, uint32_t size,
                                  const char *param_name) {
  if (!write_to_nv_para_check(vq2070, nv_name, param_name)) return;
  char item[ORVA_NV_ITEM_SIZE] = {};
  const orva_nvbuf_request request = {nv_num, nv_name, size, param_name, 0, nullptr};
  get_nvbuf_by_name(vq2070, item, sizeof item, request, ORVA_NVBUF_KEEP_ONLY);
  if (write_item(nv_num, nv_name, item) != 0) {
    LOG_ERROR(vq2070, "vq2070_write_nvpattern_to_nv::write nv fail\n");
  }
}

void vq2070_get_nvbuf_by_name(char *out, uint32_t out_size, const orva_nvbuf_request *request,
                              uint32_t mode) {
  get_nvbuf_by_name(vq2070, out, out_size, *request, mode);
}

void vq2070_param_to_string(char *out, uint32_t out_size, const char *name, const uint32_t *values,
                            uint32_t count) {
  param_to_string(vq2070, out, out_size, name, values, count);
}

orva_cal_lookup vq2070_wifi_get_nvnum_parname_from_at_param(uint32_t group, uint32_t mode, uint32_t band,
                                                            uint32_t bandwidth, int32_t freq) {
  return find_rows(vq2070, group, mode, band, bandwidth, freq);
}

uint32_t vq2070_check_nvname_2G_normal(const char *name) { return check_nvname_2G_normal(name); }
uint32_t vq2070_check_nvname_2G_mucal(const char *name) { return check_nvname_2G_mucal(name); }
uint32_t vq2070_check_nvname_5G_normal(const char *name) { return check_nvname_5G_normal(name); }
uint32_t vq2070_check_nvname_5G_160M(const char *name) { return check_nvname_5G_160M(name); }
