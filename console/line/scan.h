// SPDX-License-Identifier: Apache-2.0
// What a scanned line asks for.
#ifndef CONSOLE_LINE_SCAN_H
#define CONSOLE_LINE_SCAN_H

#include <string>
#include <string_view>
#include <vector>

namespace console {

struct scan {
  std::string slot; /**< "" for any */
  std::string serial;
};

/** "SERIAL" or "SLOT SERIAL". A serial number with a blank needs its slot before it, so that a mistyped slot
 * is not taken for a part of it. Throws usage_error. */
scan parse_scan(std::string_view line, const std::vector<std::string> &slots);

}  // namespace console

#endif
