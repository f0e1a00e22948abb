// SPDX-License-Identifier: Apache-2.0
// What the console itself knows of the chips: one row for each.
#ifndef CONSOLE_CHIPS_H
#define CONSOLE_CHIPS_H

#include "radio_chips.h"

#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace console {

struct chip {
  const char *nv_name;         ///< a name under which NV item 340 holds calibration data
  bool has_test_node = false;  ///< part of the RF test goes through a debug node
};

/** By sub-chip index. Names and magics are the virtual phone's. */
inline constexpr chip chips[] = {
    {.nv_name = "WINVRAM", .has_test_node = true},
    {.nv_name = "WIC0_2G5G_OFDM"},
    {.nv_name = "WINVRAM"},
    {.nv_name = "WIC0_2G5G_OFDM"},
};
inline constexpr unsigned chip_count = RADIO_CHIPS;
static_assert(std::size(chips) == chip_count, "one row for each chip");

/** Sets of chips: one bit for each sub-chip index. */
enum : uint8_t { VQ2040 = 1, VQ2050 = 2, VQ2040A = 4, VQ2070 = 8, ALL_CHIPS = (1 << chip_count) - 1 };

/** Its name; "" for an index that no chip has. */
const char *chip_name(unsigned index);
std::vector<std::string> chip_names();
/** The sub-chip index for a name, or for the index itself. */
std::optional<unsigned> chip_index(std::string_view text);
/** The chips of a set, as "vq2050, vq2070". */
std::string chip_list(uint8_t set);

}  // namespace console

#endif
