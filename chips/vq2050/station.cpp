#include "common/station.h"
#include "chips/vq2050/profile.h"
#include "include/vq2050.h"

using namespace orva;

uint32_t vq2050_wifi_start_roam(const char *target) { return wifi_start_roam(vq2050, target); }
uint32_t vq2050_wifi_start_roam_scan() { return wifi_start_roam_scan(vq2050); }
uint32_t vq2050_wifi_set_bss_expire_age(int32_t age) {
  return wifi_set_bss_expire_age(vq2050, static_cast<uint32_t>(age));
}
uint32_t vq2050_wifi_conn_info(char *ssid, uint8_t *bssid, uint8_t *rssi) {
  return wifi_conn_info(vq2050, ssid, bssid, rssi);
}
uint32_t vq2050_wifi_get_upc_code(uint8_t *out1, uint8_t *out2, uint8_t *upc) {
  return wifi_get_upc_code(vq2050, out1, out2, upc);
}
uint32_t vq2050_wifi_power_set_range(uint8_t *lower, uint8_t *upper) {
  return wifi_power_set_range(lower, upper);
}
uint32_t vq2050_wifi_set_tas_ant_switch(int32_t value) {
  return wifi_set_tas_ant_switch(vq2050, static_cast<uint32_t>(value));
}
uint32_t vq2050_wifi_selcal_disable_set(int32_t flag) { return wifi_selcal_disable_set(vq2050, flag); }
uint32_t vq2050_wifi_set_pcie_sdio_mode(uint32_t mode) { return wifi_set_pcie_sdio_mode(vq2050, mode); }
