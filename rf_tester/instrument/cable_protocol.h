// SPDX-License-Identifier: Apache-2.0
// The phone's end of a cable: one JSON text a line in each direction. docs/reference/cable.md describes it.
#ifndef RF_TESTER_INSTRUMENT_CABLE_PROTOCOL_H
#define RF_TESTER_INSTRUMENT_CABLE_PROTOCOL_H

#include "rf_tester/instrument/cable.h"

#include <functional>
#include <string>

namespace rf_tester {

/** One connection of a phone. Its end pulls the plug. */
class cable_protocol {
public:
  /** `changed` is called when what reaches a port may have changed. */
  cable_protocol(ports &all, std::function<void()> changed) : ports_(all), changed_(std::move(changed)) {}
  cable_protocol(const cable_protocol &) = delete;
  cable_protocol &operator=(const cable_protocol &) = delete;
  ~cable_protocol();

  /** The answer to a line, without a newline. A line that is not understood changes nothing. */
  std::string answer(const std::string &line);

private:
  ports &ports_;
  std::function<void()> changed_;
  port *plugged_ = nullptr;
};

}  // namespace rf_tester

#endif
