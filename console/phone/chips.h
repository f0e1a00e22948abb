// SPDX-License-Identifier: Apache-2.0
// What the console itself knows of the chips: one row for each.
#ifndef CONSOLE_CHIPS_H
#define CONSOLE_CHIPS_H

#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace console {

struct chip {
  const char *name;
  uint32_t magic;              ///< the first word of its driver records
  const char *nv_name;         ///< name of NV item 340, which holds calibration data on every chip
  bool has_test_node = false;  ///< part of the RF test goes through a debug node
};

/** By sub-chip index, in the order of chips/chips.txt. */
inline constexpr chip chips[] = {
    {.name = "vq2040", .magic = 2040, .nv_name = "WINVRAM", .has_test_node = true},
    {.name = "vq2050", .magic = 2050, .nv_name = "WIC0_2G5G_OFDM"},
    {.name = "vq2040a", .magic = 0x2040A, .nv_name = "WINVRAM"},
    {.name = "vq2070", .magic = 2070, .nv_name = "WIC0_2G5G_OFDM"},
};
inline constexpr unsigned chip_count = std::size(chips);

/** Sets of chips: one bit for each sub-chip index. */
enum : uint8_t { VQ2040 = 1, VQ2050 = 2, VQ2040A = 4, VQ2070 = 8, ALL_CHIPS = 15 };
static_assert(ALL_CHIPS == (1u << chip_count) - 1, "a chip has no bit, or a bit has no chip");

/** Its name; "" for an index that no chip has. */
const char *chip_name(unsigned index);
std::vector<std::string> chip_names();
/** The sub-chip index for a name or a number 0 to 3. */
std::optional<unsigned> chip_index(std::string_view text);
/** The chips of a set, as "vq2050, vq2070". */
std::string chip_list(uint8_t set);

}  // namespace console

#endif
