// SPDX-License-Identifier: Apache-2.0
#include "chips/two_chain/catalogue.h"

#include "chips/two_chain/nv_items.h"

namespace orva::two_chain {

// Columns: chain, mode, band, bandwidth, parameter, item.
const cal_row per_channel[6] = {
    {0, 0, 0, 0, "mf2ga0", WIC0_2GMU_OFDM}, {0, 2, 0, 0, "mf2gccka0", WIC0_MUCCK},
    {0, 0, 0, 1, "mf2g40a0", WIC0_2GMF40M}, {1, 0, 0, 0, "mf2ga1", WIC1_2GMU_OFDM},
    {1, 2, 0, 0, "mf2gccka1", WIC1_MUCCK},  {1, 0, 0, 1, "mf2g40a1", WIC1_2GMF40M},
};

// pa5ga and pa5glowa of a chain share a key: one 5 GHz request corrects both.
const cal_row power[12] = {
    {0, 0, 0, 0, "pa2ga0", WIC0_2G5G_OFDM}, {0, 2, 0, 0, "pa2gccka0", WITXCCK},
    {0, 0, 0, 1, "pa2g40a0", WIC0_2G40M},   {0, 0, 1, 0, "pa5ga0", WIC0_2G5G_OFDM},
    {0, 0, 1, 0, "pa5glowa0", WIC0_5GLOW},  {0, 0, 1, 3, "dpn160c0", WIC0_5G160M},
    {1, 0, 0, 0, "pa2ga1", WIC1_2G5G_OFDM}, {1, 2, 0, 0, "pa2gccka1", WITXCCK},
    {1, 0, 0, 1, "pa2g40a1", WIC1_2G40M},   {1, 0, 1, 0, "pa5ga1", WIC1_2G5G_OFDM},
    {1, 0, 1, 0, "pa5glowa1", WIC1_5GLOW},  {1, 0, 1, 3, "dpn160c1", WIC1_5G160M},
};

const nv_item items[16] = {
    WIC0_2G5G_OFDM, NV_UNUSED,    WITXCCK,     WIC1_2G5G_OFDM, WIC0_5GLOW,     WIC1_5GLOW,
    WIC0_2G40M,     WIC1_2G40M,   WIC0_5G160M, WIC1_5G160M,    WIC0_2GMU_OFDM, WIC1_2GMU_OFDM,
    WIC0_2GMF40M,   WIC1_2GMF40M, WIC0_MUCCK,  WIC1_MUCCK,
};

const driver_param driver_params[10] = {
    {"pa2gccka0", 0}, {"pa2ga0", 1},   {"pa2g40a0", 2}, {"pa5ga0", 3},    {"pa2gccka1", 4},
    {"pa2ga1", 5},    {"pa2g40a1", 6}, {"pa5ga1", 7},   {"pa5glowa0", 8}, {"pa5glowa1", 9},
};

}  // namespace orva::two_chain
