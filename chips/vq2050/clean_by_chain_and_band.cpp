// SPDX-License-Identifier: Apache-2.0
// Chain and band cleans have item lists of their own here, and check for failures after every write.
#include "chips/two_chain/nv_items.h"
#include "chips/vq2050/profile.h"
#include "include/vq2050.h"

using namespace orva;
using namespace orva::two_chain;

namespace {

constexpr nv_item chain_0_items[] = {WIC0_2G5G_OFDM, NV_UNUSED,      WIC0_5GLOW,   WIC0_2G40M,
                                     WIC0_5G160M,    WIC0_2GMU_OFDM, WIC0_2GMF40M, WIC0_MUCCK};
// Deliberately number 387 with the name of chain 0's item.
constexpr nv_item WIC1_5G160M_AS_WIC0 = {WIC1_5G160M.number, WIC0_5G160M.name};
constexpr nv_item chain_1_items[] = {NV_UNUSED,           WIC1_2G5G_OFDM, WIC1_5GLOW,   WIC1_2G40M,
                                     WIC1_5G160M_AS_WIC0, WIC1_2GMU_OFDM, WIC1_2GMF40M, WIC1_MUCCK};
constexpr nv_item band_2g_items[] = {NV_UNUSED,      WITXCCK,      WIC0_2G40M,   WIC1_2G40M, WIC0_2GMU_OFDM,
                                     WIC1_2GMU_OFDM, WIC0_2GMF40M, WIC1_2GMF40M, WIC0_MUCCK, WIC1_MUCCK};
constexpr nv_item band_5g_items[] = {NV_UNUSED, WIC0_5GLOW, WIC1_5GLOW, WIC0_5G160M, WIC1_5G160M};

constexpr kept_entry chain_0_kept[] = {{WITXCCK, "pa2gccka1"}};
constexpr kept_entry chain_1_kept[] = {{WITXCCK, "pa2gccka0"}};
constexpr kept_entry band_2g_kept[] = {{WIC0_2G5G_OFDM, "pa5ga0"}, {WIC1_2G5G_OFDM, "pa5ga1"}};
constexpr kept_entry band_5g_kept[] = {{WIC0_2G5G_OFDM, "pa2ga0"}, {WIC1_2G5G_OFDM, "pa2ga1"}};

constexpr clean_scope chain_0 = {chain_0_items, chain_0_kept};
constexpr clean_scope chain_1 = {chain_1_items, chain_1_kept};
constexpr clean_scope band_2g = {band_2g_items, band_2g_kept};
constexpr clean_scope band_5g = {band_5g_items, band_5g_kept};

/// Checks after every write, so even a clean without failures logs one while the count is still low.
uint32_t clean(const clean_scope &scope) {
  uint32_t cleaned = 0;
  for (const nv_item &item : scope.items) {
    if (empty_item(item) == 0) cleaned++;
    log_failed_clean(vq2050, cleaned, scope.items);
  }
  keep_entries(vq2050_cleaner, scope.kept);
  return 1;
}

}  // namespace

constinit const cleaner orva::vq2050_cleaner = {
    vq2050, vq2050_write_nvpattern_to_nv, vq2050_clean_nvparam_by_rfcore, vq2050_clean_nvparam_by_rffreq};

uint32_t vq2050_clean_nvparam_by_rfcore(uint32_t chain) { return clean(chain != 0 ? chain_1 : chain_0); }
uint32_t vq2050_clean_nvparam_by_rffreq(uint32_t band) { return clean(band != 0 ? band_5g : band_2g); }
