// SPDX-License-Identifier: Apache-2.0
#ifndef ORVA_HEX_H
#define ORVA_HEX_H

#include <stdint.h>

namespace orva {

/// @return 0 to 15, or -1 for a character that is not a hexadecimal digit.
int32_t hex_digit(char digit);

}  // namespace orva

#endif
