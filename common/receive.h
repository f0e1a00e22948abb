// SPDX-License-Identifier: Apache-2.0
#ifndef ORVA_RECEIVE_H
#define ORVA_RECEIVE_H

#include "common/chip.h"

namespace orva {

uint32_t wifi_start_rx(const chip &chip, const char *mac);
uint32_t wifi_stop_rx(const chip &chip);

/// Stores the driver's answer in rssi even if the driver refused. @return whether it accepted.
uint32_t wifi_get_rx_rssi(const chip &chip, uint32_t *rssi);
/// @return the number of packets; all bits set if the driver refused; 0 without a socket.
uint32_t wifi_get_rx_pckg(const chip &chip);

/// Sets the address filter. @param mac twelve hexadecimal digits; null: 00:11:22:33:44:55.
uint32_t wifi_set_hw_mac_addr(const chip &chip, const char *mac);

/// Lowers the receive flag and switches receive off. @return whether the driver accepted it.
bool stop_receiving(const chip &chip);

// The steps of a receive start after the address filter. A failed mode logs the bandwidth's message; the
// station matches this text.
extern const start_step rx_power_save, rx_mode, rx_bandwidth, rx_channel, rx_chain;

}  // namespace orva

#endif
