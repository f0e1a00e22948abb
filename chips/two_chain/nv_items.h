// SPDX-License-Identifier: Apache-2.0
// The NV items of the two-chain chips. WIC0_ items belong to chain 0, WIC1_ items to chain 1.
#ifndef ORVA_TWO_CHAIN_NV_ITEMS_H
#define ORVA_TWO_CHAIN_NV_ITEMS_H

#include "common/nv_item.h"

namespace orva::two_chain {

inline constexpr nv_item WIC0_2G5G_OFDM = {340, "WIC0_2G5G_OFDM"};
inline constexpr nv_item NV_UNUSED = {363, "NV_UNUSED"};
inline constexpr nv_item WITXCCK = {367, "WITXCCK"};  // of both chains
inline constexpr nv_item WIC1_2G5G_OFDM = {368, "WIC1_2G5G_OFDM"};
inline constexpr nv_item WIC0_5GLOW = {369, "WIC0_5GLOW"};
inline constexpr nv_item WIC1_5GLOW = {370, "WIC1_5GLOW"};
inline constexpr nv_item WIC0_2G40M = {384, "WIC0_2G40M"};
inline constexpr nv_item WIC1_2G40M = {385, "WIC1_2G40M"};
inline constexpr nv_item WIC0_5G160M = {386, "WIC0_5G160M"};
inline constexpr nv_item WIC1_5G160M = {387, "WIC1_5G160M"};
inline constexpr nv_item WIC0_2GMU_OFDM = {396, "WIC0_2GMU_OFDM"};
inline constexpr nv_item WIC1_2GMU_OFDM = {397, "WIC1_2GMU_OFDM"};
inline constexpr nv_item WIC0_2GMF40M = {398, "WIC0_2GMF40M"};
inline constexpr nv_item WIC1_2GMF40M = {399, "WIC1_2GMF40M"};
inline constexpr nv_item WIC0_MUCCK = {400, "WIC0_MUCCK"};
inline constexpr nv_item WIC1_MUCCK = {401, "WIC1_MUCCK"};

}  // namespace orva::two_chain

#endif
