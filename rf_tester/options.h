// SPDX-License-Identifier: Apache-2.0
// The command line of orva-rf-tester.
#ifndef RF_TESTER_OPTIONS_H
#define RF_TESTER_OPTIONS_H

#include "rf_tester/commands/command.h"

#include <cstdint>
#include <stdexcept>
#include <string>

namespace rf_tester {

struct options {
  std::string address = "127.0.0.1";
  /** 0: the system picks one. */
  uint16_t port = 5025, cable_port = 5026;
  std::string dialect_name = "a";
  uint64_t seed = 1;
  bounds errors = usual_bounds;
  /** The true loss of each port's cable. */
  std::array<loss_table, port_count> cables;
  bool print_reference = false;
};

/** Thrown with a message for the user. */
struct usage_error : std::runtime_error {
  using std::runtime_error::runtime_error;
};

/** Reads the command line. Ends the program for --help and --version. Throws usage_error. */
options parse_options(int count, char **arguments);

}  // namespace rf_tester

#endif
