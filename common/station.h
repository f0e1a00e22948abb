// Station utilities: roam and scan, connection information, switches.
#ifndef ORVA_STATION_H
#define ORVA_STATION_H

#include "common/chip.h"

namespace orva {

uint32_t wifi_start_roam(const chip &chip, const char *target);
uint32_t wifi_start_roam_scan(const chip &chip);
uint32_t wifi_set_bss_expire_age(const chip &chip, uint32_t age);

uint32_t wifi_conn_info(const chip &chip, char *ssid, uint8_t *bssid, uint8_t *rssi);
uint32_t wifi_get_upc_code(const chip &chip, uint8_t *out1, uint8_t *out2, uint8_t *upc);
uint32_t wifi_power_set_range(uint8_t *lower, uint8_t *upper);
uint32_t wifi_set_tas_ant_switch(const chip &chip, uint32_t value);
uint32_t wifi_set_pcie_sdio_mode(const chip &chip, uint32_t mode);
uint32_t wifi_selcal_disable_set(const chip &chip, int32_t flag);

/// The driver's power test, after taking wlan0 from the framework. @return the send result.
uint32_t switch_power_test(const chip &chip, uint32_t mode);

}  // namespace orva

#endif
