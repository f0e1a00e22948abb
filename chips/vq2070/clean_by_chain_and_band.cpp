// SPDX-License-Identifier: Apache-2.0
// Chain and band cleans are made of the cleans of one band of one chain. A chain clean therefore leaves its
// OFDM item empty: each of the two keeps what the other one drops.
#include "chips/two_chain/clean.h"
#include "chips/vq2070/profile.h"
#include "common/calibration_clean.h"
#include "include/vq2070.h"

using namespace orva;
using namespace orva::two_chain;

namespace {

constexpr cleaner self = {vq2070, vq2070_write_nvpattern_to_nv, vq2070_clean_nvparam_by_rfcore,
                          vq2070_clean_nvparam_by_rffreq};

}  // namespace

void vq2070_clean_nvparam_by_rfcore(uint32_t chain) {
  clean_2g(self, 1, chain != 0 ? scope_2g_c1 : scope_2g_c0);
  clean_5g(self, 1, chain != 0 ? scope_5g_c1 : scope_5g_c0);
}

void vq2070_clean_nvparam_by_rffreq(uint32_t band) {
  const auto clean = band != 0 ? clean_5g : clean_2g;
  clean(self, 1, band != 0 ? scope_5g_c0 : scope_2g_c0);
  clean(self, 1, band != 0 ? scope_5g_c1 : scope_2g_c1);
}

uint32_t vq2070_wifi_nvram_calibrate_clean(int32_t scope) {
  clean_by_scope(self, scope);
  return 1;
}
uint32_t vq2070_wifi_nvram_calibrate_clean_new(const uint32_t *flags) {
  clean_by_flags(self, flags);
  return 1;
}
void vq2070_clean_all_nvparam() { clean_all_nvparam(vq2070); }
void vq2070_clean_nvparam_2G_C0(uint32_t enable) { clean_2g(self, enable, scope_2g_c0); }
void vq2070_clean_nvparam_2G_C1(uint32_t enable) { clean_2g(self, enable, scope_2g_c1); }
void vq2070_clean_nvparam_5G_C0(uint32_t enable) { clean_5g(self, enable, scope_5g_c0); }
void vq2070_clean_nvparam_5G_C1(uint32_t enable) { clean_5g(self, enable, scope_5g_c1); }
