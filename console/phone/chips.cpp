// SPDX-License-Identifier: Apache-2.0
#include "console/phone/chips.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace console {

const char *chip_name(unsigned index) { return index < chip_count ? radio_chip_name(index) : ""; }

std::vector<std::string> chip_names() {
  std::vector<std::string> names;
  for (unsigned i = 0; i < chip_count; ++i) names.emplace_back(chip_name(i));
  return names;
}

std::optional<unsigned> chip_index(std::string_view text) {
  for (unsigned i = 0; i < chip_count; ++i)
    if (text == chip_name(i) || text == std::to_string(i)) return i;
  return std::nullopt;
}

std::string chip_list(uint8_t set) {
  std::vector<const char *> names;
  for (unsigned i = 0; i < chip_count; ++i)
    if (set & (1u << i)) names.push_back(chip_name(i));
  return fmt::format("{}", fmt::join(names, ", "));
}

}  // namespace console
