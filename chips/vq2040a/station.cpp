#include "common/station.h"
#include "chips/vq2040a/profile.h"
#include "include/vq2040a.h"
#include "common/driver.h"

using namespace orva;

namespace {

constexpr uint32_t COMMAND_BROADCAST_LOOP = 35;

/// On a socket of its own and without a pause; the broadcast loop shares the antenna switch's messages.
uint32_t switch_directly(uint32_t command, int32_t value) {
  const uint32_t socket = open_socket(vq2040a);
  if (socket == 0) return 0;
  ioctl_data record = record_of(command);
  store_u32(record.pri_data, static_cast<uint32_t>(value));
  return static_cast<uint32_t>(send_and_report(vq2040a, socket, record,
                                               "%s_wifi_set_tas_ant_switch successful.\n",
                                               "%s_wifi_set_tas_ant_switch fail.\n"));
}

}  // namespace

uint32_t vq2040a_wifi_start_roam(const char *target) { return wifi_start_roam(vq2040a, target); }
uint32_t vq2040a_wifi_start_roam_scan() { return wifi_start_roam_scan(vq2040a); }
uint32_t vq2040a_wifi_set_bss_expire_age(int32_t age) {
  return wifi_set_bss_expire_age(vq2040a, static_cast<uint32_t>(age));
}
uint32_t vq2040a_wifi_conn_info(char *ssid, uint8_t *bssid, uint8_t *rssi) {
  return wifi_conn_info(vq2040a, ssid, bssid, rssi);
}
uint32_t vq2040a_wifi_get_upc_code(uint8_t *out1, uint8_t *out2, uint8_t *upc) {
  return wifi_get_upc_code(vq2040a, out1, out2, upc);
}
uint32_t vq2040a_wifi_power_set_range(uint8_t *lower, uint8_t *upper) {
  return wifi_power_set_range(lower, upper);
}
uint32_t vq2040a_wifi_set_tas_ant_switch(int32_t value) {
  return switch_directly(vq2040a.command.tas_antenna, value);
}
uint32_t vq2040a_wifi_selcal_disable_set(int32_t flag) { return wifi_selcal_disable_set(vq2040a, flag); }
uint32_t vq2040a_wifi_test_broadcast_loop(int32_t value) {
  return switch_directly(COMMAND_BROADCAST_LOOP, value);
}
