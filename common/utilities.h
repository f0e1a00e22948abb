// SPDX-License-Identifier: Apache-2.0
// Station utilities: roam and scan, connection information, switches.
#ifndef ORVA_UTILITIES_H
#define ORVA_UTILITIES_H

#include "common/chip.h"

namespace orva {

/// Run the supplicant's client. @return whether it exited with 0.
uint32_t wifi_start_roam(const chip &chip, const char *target);
uint32_t wifi_start_roam_scan(const chip &chip);
/// Sets the age in the driver and in the supplicant. @return false if either failed.
uint32_t wifi_set_bss_expire_age(const chip &chip, int32_t age);

/// Copies the driver's connection record, even if the command was refused. @return whether it was accepted.
uint32_t wifi_conn_info(const chip &chip, char *ssid, uint8_t *bssid, uint8_t *rssi);
/// @return the UPC code, all 32 bits; upc_without_socket if no socket opened.
uint32_t wifi_get_upc_code(const chip &chip, uint8_t *out1, uint8_t *out2, uint8_t *upc);
uint32_t wifi_power_set_range(uint8_t *lower, uint8_t *upper);
uint32_t wifi_set_tas_ant_switch(const chip &chip, int32_t value);
uint32_t wifi_set_pcie_sdio_mode(const chip &chip, uint32_t mode);
/// Stores the self-calibration switch that test-mode entry sends: 0 for flag 1, 1 for any other flag.
uint32_t wifi_selcal_disable_set(const chip &chip, int32_t flag);

}  // namespace orva

#endif
