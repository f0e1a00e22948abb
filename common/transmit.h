// SPDX-License-Identifier: Apache-2.0
#ifndef ORVA_TRANSMIT_H
#define ORVA_TRANSMIT_H

#include "common/chip.h"

namespace orva {

uint32_t wifi_start_tx(const chip &chip);
uint32_t wifi_stop_tx(const chip &chip);

// The steps of a transmit start. A failed mode logs the bandwidth's message and a failed rate the channel's;
// the station matches these texts.
extern const start_step tx_power_save, tx_mode, tx_bandwidth, tx_channel, tx_chain, tx_rate, tx_power;

}  // namespace orva

#endif
