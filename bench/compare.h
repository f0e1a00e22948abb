// SPDX-License-Identifier: Apache-2.0
// Pairs each row of the floor with the library's operation.
#ifndef BENCH_COMPARE_H
#define BENCH_COMPARE_H

#include "bench/floor.h"
#include "bench/operations.h"

namespace bench {

/// Ends the program if there is no operation of this name.
const operation &operation_named(const char *name);

/// A fresh phone with this chip, prepared for the operation.
void prepare(const char *chip, const operation &operation);

/// Ends the program unless the floor has the same contacts with the phone as the library.
void check_floor(const bench_floor &floor);

}  // namespace bench

#endif
