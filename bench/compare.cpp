// SPDX-License-Identifier: Apache-2.0
#include "bench/compare.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace bench {
namespace {

std::string contacts() {
  std::string all;
  for (size_t i = 0; i < phone_event_count(); i++) {
    const auto *event = phone_event(i);
    all += std::to_string(event->kind) + " " +
           std::to_string(event->number[0] * (event->kind == PHONE_SLEEP)) + " " + event->text + "\n";
  }
  return all;
}

std::string contacts_of(const char *chip, const operation &operation, void (*run)()) {
  prepare(chip, operation);
  phone_events_clear();
  run();
  return contacts();
}

}  // namespace

const operation &operation_named(const char *name) {
  for (const operation &operation : operations) {
    if (std::string(operation.name) == name) return operation;
  }
  fprintf(stderr, "bench: there is no operation '%s'\n", name);
  exit(1);
}

void prepare(const char *chip, const operation &operation) {
  char error[200];
  phone_reset();
  if (phone_set("chip", chip, error, sizeof error) != 0) {
    fprintf(stderr, "bench: %s\n", error);
    exit(1);
  }
  operation.prepare();
}

void check_floor(const bench_floor &floor) {
  const operation &operation = operation_named(floor.operation);
  if (contacts_of(floor.chip, operation, operation.run) == contacts_of(floor.chip, operation, floor.run))
    return;
  fprintf(stderr, "bench: the floor of %s on %s has other contacts with the phone\n", floor.operation,
          floor.chip);
  exit(1);
}

}  // namespace bench
