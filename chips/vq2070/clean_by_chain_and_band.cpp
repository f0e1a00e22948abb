// SPDX-License-Identifier: Apache-2.0
// Chain and band cleans are made of the cleans of one band of one chain. A chain clean therefore leaves its
// OFDM item empty: each of the two keeps what the other one drops.
#include "chips/vq2070/profile.h"
#include "include/vq2070.h"

using namespace orva;
using namespace orva::two_chain;

constinit const cleaner orva::vq2070_cleaner = {
    vq2070, vq2070_write_nvpattern_to_nv, vq2070_clean_nvparam_by_rfcore, vq2070_clean_nvparam_by_rffreq};

uint32_t vq2070_clean_nvparam_by_rfcore(uint32_t chain) {
  clean_2g(vq2070_cleaner, 1, chain != 0 ? scope_2g_c1 : scope_2g_c0);
  clean_5g(vq2070_cleaner, 1, chain != 0 ? scope_5g_c1 : scope_5g_c0);
  return 1;
}

uint32_t vq2070_clean_nvparam_by_rffreq(uint32_t band) {
  const auto clean = band != 0 ? clean_5g : clean_2g;
  clean(vq2070_cleaner, 1, band != 0 ? scope_5g_c0 : scope_2g_c0);
  clean(vq2070_cleaner, 1, band != 0 ? scope_5g_c1 : scope_2g_c1);
  return 1;
}
