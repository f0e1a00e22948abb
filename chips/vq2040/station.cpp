#include "common/station.h"
#include "chips/vq2040/profile.h"
#include "include/vq2040.h"

using namespace orva;

uint32_t vq2040_wifi_start_roam(const char *target) { return wifi_start_roam(vq2040, target); }
uint32_t vq2040_wifi_start_roam_scan() { return wifi_start_roam_scan(vq2040); }
uint32_t vq2040_wifi_set_bss_expire_age(int32_t age) {
  return wifi_set_bss_expire_age(vq2040, static_cast<uint32_t>(age));
}
uint32_t vq2040_wifi_conn_info(char *ssid, uint8_t *bssid, uint8_t *rssi) {
  return wifi_conn_info(vq2040, ssid, bssid, rssi);
}
uint32_t vq2040_wifi_get_upc_code(uint8_t *out1, uint8_t *out2, uint8_t *upc) {
  return wifi_get_upc_code(vq2040, out1, out2, upc);
}
uint32_t vq2040_wifi_power_set_range(uint8_t *lower, uint8_t *upper) {
  return wifi_power_set_range(lower, upper);
}
