// SPDX-License-Identifier: Apache-2.0
// Runs each operation once under callgrind, by the library and by the floor, and dumps the instructions of
// each run under the name LIBRARY-OR-FLOOR/CHIP/OPERATION. script/bench adds them up.
#include <valgrind/callgrind.h>

#include <string>

#include "bench/compare.h"

namespace {

/// The first run resolves what is looked up only once, so the second is measured.
void measure(const std::string &side, const char *chip, const bench::operation &operation, void (*run)()) {
  bench::prepare(chip, operation);
  run();
  bench::prepare(chip, operation);
  const std::string name = side + "/" + chip + "/" + operation.name;
  CALLGRIND_START_INSTRUMENTATION;
  CALLGRIND_ZERO_STATS;
  run();
  CALLGRIND_DUMP_STATS_AT(name.c_str());
  CALLGRIND_STOP_INSTRUMENTATION;
}

}  // namespace

int main() {
  for (const bench_floor *floor = bench_floors; floor->run != nullptr; floor++) {
    const bench::operation &operation = bench::operation_named(floor->operation);
    if (operation.uses_shell) continue;
    bench::check_floor(*floor);
    measure("library", floor->chip, operation, operation.run);
    measure("floor", floor->chip, operation, floor->run);
  }
  const bench::operation dispatch = {"dispatch", bench::nothing, bench::dispatched_call, false, false};
  measure("library", bench::dispatch_chip, dispatch, bench::dispatched_call);
  measure("floor", bench::dispatch_chip, dispatch, bench::direct_call);
  return 0;
}
