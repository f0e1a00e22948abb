// SPDX-License-Identifier: Apache-2.0
// The status model that every instrument has: event registers, the status byte, the error queue.
#ifndef RF_TESTER_SCPI_STATUS_H
#define RF_TESTER_SCPI_STATUS_H

#include "rf_tester/scpi/errors.h"

#include <cstdint>

namespace rf_tester::scpi {

/** A register group of STATus: a condition, the events that it caused, and the mask for the status byte. */
struct register_group {
  uint16_t condition = 0, event = 0, enable = 0;

  /** Replaces the condition. Bits that appear become events. */
  void set_condition(uint16_t now) {
    event = static_cast<uint16_t>(event | (now & ~condition));
    condition = now;
  }
  uint16_t take_event() {
    const uint16_t taken = event;
    event = 0;
    return taken;
  }
  bool summary() const { return (event & enable) != 0; }
};

enum standard_event : uint8_t { operation_complete = 1U << 0, power_on = 1U << 7 };

class status {
public:
  error_queue errors;
  register_group operation, questionable;
  uint8_t event_enable = 0, service_enable = 0;

  /** Queues an error and sets its class in the event register. */
  void report(const failure &f);
  void set_event(uint8_t bits) { events_ = static_cast<uint8_t>(events_ | bits); }
  uint8_t take_events();
  /** `answer_waits`: an answer is in the output queue. */
  uint8_t status_byte(bool answer_waits) const;
  /** *CLS: the events and the queue; masks stay. */
  void clear();
  /** STATus:PRESet: the masks of the two groups. */
  void preset() { operation.enable = questionable.enable = 0; }

private:
  uint8_t events_ = power_on;
};

}  // namespace rf_tester::scpi

#endif
