// SPDX-License-Identifier: Apache-2.0
#include "rf_tester/scpi/status.h"

namespace rf_tester::scpi {

void status::report(const failure &f) {
  errors.push(f.number(), f.what());
  set_event(event_bit(f.number()));
}

uint8_t status::take_events() {
  const uint8_t taken = events_;
  events_ = 0;
  return taken;
}

uint8_t status::status_byte(bool answer_waits) const {
  unsigned byte = 0;
  if (errors.size() > 0) byte |= 1U << 2;
  if (questionable.summary()) byte |= 1U << 3;
  if (answer_waits) byte |= 1U << 4;
  if ((events_ & event_enable) != 0) byte |= 1U << 5;
  if (operation.summary()) byte |= 1U << 7;
  if ((byte & service_enable) != 0) byte |= 1U << 6;  // the master summary
  return static_cast<uint8_t>(byte);
}

void status::clear() {
  errors.clear();
  events_ = 0;
  operation.event = questionable.event = 0;
}

}  // namespace rf_tester::scpi
