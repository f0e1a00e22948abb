// The transmit test, and the steps that it shares with the receive test.
#ifndef ORVA_TRANSMIT_H
#define ORVA_TRANSMIT_H

#include "common/chip.h"

namespace orva {

uint32_t wifi_start_tx(const chip &chip);
uint32_t wifi_stop_tx(const chip &chip);

/// Runs a start's steps until one is refused, which is logged. @return 1 when all were taken, else 0.
int32_t run_steps(const chip &chip, const list<const test_step *> &steps);

/// Switches transmit or receive on and pauses as the chip wants. @return the send result.
int32_t switch_on(const chip &chip, uint32_t command, int32_t flag);

/// What a start sends: the recorded setting.
int32_t send_power_save_off(const chip &chip);
int32_t send_mode(const chip &chip);
int32_t send_band(const chip &chip);
int32_t send_channel(const chip &chip);
int32_t send_chain(const chip &chip);

// The steps of a transmit start. A mode that fails speaks of the band and a rate that fails of the channel.
extern const test_step tx_power_save, tx_mode, tx_band, tx_channel, tx_chain, tx_rate, tx_power;

}  // namespace orva

#endif
