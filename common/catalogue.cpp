#include "common/catalogue.h"

namespace orva {

// Columns: chain, mode, band, bandwidth, parameter, item, NV number.
const cal_row two_chain_per_channel[6] = {
    {0, 0, 0, 0, "mf2ga0", "WIC0_2GMU_OFDM", 396}, {0, 2, 0, 0, "mf2gccka0", "WIC0_MUCCK", 400},
    {0, 0, 0, 1, "mf2g40a0", "WIC0_2GMF40M", 398}, {1, 0, 0, 0, "mf2ga1", "WIC1_2GMU_OFDM", 397},
    {1, 2, 0, 0, "mf2gccka1", "WIC1_MUCCK", 401},  {1, 0, 0, 1, "mf2g40a1", "WIC1_2GMF40M", 399},
};

// pa5ga and pa5glowa of a chain share a key: one 5 GHz request corrects both.
const cal_row two_chain_power[12] = {
    {0, 0, 0, 0, "pa2ga0", "WIC0_2G5G_OFDM", 340}, {0, 2, 0, 0, "pa2gccka0", "WITXCCK", 367},
    {0, 0, 0, 1, "pa2g40a0", "WIC0_2G40M", 384},   {0, 0, 1, 0, "pa5ga0", "WIC0_2G5G_OFDM", 340},
    {0, 0, 1, 0, "pa5glowa0", "WIC0_5GLOW", 369},  {0, 0, 1, 3, "dpn160c0", "WIC0_5G160M", 386},
    {1, 0, 0, 0, "pa2ga1", "WIC1_2G5G_OFDM", 368}, {1, 2, 0, 0, "pa2gccka1", "WITXCCK", 367},
    {1, 0, 0, 1, "pa2g40a1", "WIC1_2G40M", 385},   {1, 0, 1, 0, "pa5ga1", "WIC1_2G5G_OFDM", 368},
    {1, 0, 1, 0, "pa5glowa1", "WIC1_5GLOW", 370},  {1, 0, 1, 3, "dpn160c1", "WIC1_5G160M", 387},
};

const nv_item two_chain_items[16] = {
    {340, "WIC0_2G5G_OFDM"}, {363, "NV_UNUSED"},    {367, "WITXCCK"},        {368, "WIC1_2G5G_OFDM"},
    {369, "WIC0_5GLOW"},     {370, "WIC1_5GLOW"},   {384, "WIC0_2G40M"},     {385, "WIC1_2G40M"},
    {386, "WIC0_5G160M"},    {387, "WIC1_5G160M"},  {396, "WIC0_2GMU_OFDM"}, {397, "WIC1_2GMU_OFDM"},
    {398, "WIC0_2GMF40M"},   {399, "WIC1_2GMF40M"}, {400, "WIC0_MUCCK"},     {401, "WIC1_MUCCK"},
};

const driver_param two_chain_params[10] = {
    {"pa2gccka0", 0}, {"pa2ga0", 1},   {"pa2g40a0", 2}, {"pa5ga0", 3},    {"pa2gccka1", 4},
    {"pa2ga1", 5},    {"pa2g40a1", 6}, {"pa5ga1", 7},   {"pa5glowa0", 8}, {"pa5glowa1", 9},
};

}  // namespace orva
