// The receive test.
#ifndef ORVA_RECEIVE_H
#define ORVA_RECEIVE_H

#include "common/chip.h"

namespace orva {

uint32_t wifi_start_rx(const chip &chip, const char *mac);
uint32_t wifi_stop_rx(const chip &chip);
uint32_t wifi_get_rx_rssi(const chip &chip, uint32_t *rssi);
uint32_t wifi_get_rx_pckg(const chip &chip);
uint32_t wifi_set_hw_mac_addr(const chip &chip, const char *mac);

/// Lowers the receive flag and switches receive off. @return the send result.
int32_t stop_receiving(const chip &chip);

/// @return 0 to 15, or -1 for a character that is no hexadecimal digit.
int32_t hex_digit(char digit);

// The steps of a receive start after the address filter. A mode that fails speaks of the band.
extern const test_step rx_power_save, rx_mode, rx_band, rx_channel, rx_chain;

}  // namespace orva

#endif
