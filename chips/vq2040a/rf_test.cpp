#include "chips/vq2040a/profile.h"
#include "include/vq2040a.h"
#include "common/channel.h"
#include "common/log.h"
#include "common/receive.h"
#include "common/settings.h"
#include "common/station.h"
#include "common/test_mode.h"
#include "common/transmit.h"

using namespace orva;

uint32_t vq2040a_wifi_set_power(int32_t power) { return wifi_set_power(vq2040a, power); }
uint32_t vq2040a_wifi_set_rate(int32_t rate) { return wifi_set_rate(vq2040a, rate); }
uint32_t vq2040a_wifi_set_band(int32_t band) { return wifi_set_band(vq2040a, band); }
uint32_t vq2040a_wifi_set_channel(int32_t channel) { return wifi_set_channel(vq2040a, channel); }
uint32_t vq2040a_wifi_set_antenna(int32_t antenna) { return wifi_set_antenna(vq2040a, antenna); }
uint32_t vq2040a_wifi_set_mode(int32_t at_mode) { return wifi_set_mode(vq2040a, at_mode); }
int32_t vq2040a_wifi_query_setting(int32_t item) { return wifi_query_setting(vq2040a, item); }
uint32_t vq2040a_wifi_ioctl_set_power(int32_t power) {
  return static_cast<uint32_t>(wifi_ioctl_set_power(vq2040a, power));
}
uint32_t vq2040a_wifi_ioctl_set_mode(uint32_t mode, int32_t mhz) {
  return static_cast<uint32_t>(wifi_ioctl_set_mode(vq2040a, mode, mhz));
}
uint32_t vq2040a_wifi_ioctl_set_band(uint32_t band) {
  return static_cast<uint32_t>(wifi_ioctl_set_band(vq2040a, band));
}
uint32_t vq2040a_wifi_ioctl_set_channel(uint32_t mhz) {
  return static_cast<uint32_t>(wifi_ioctl_set_channel(vq2040a, mhz));
}
uint32_t vq2040a_wifi_start_testmode() { return wifi_start_testmode(vq2040a); }
uint32_t vq2040a_wifi_stop_testmode() { return wifi_stop_testmode(vq2040a); }
uint32_t vq2040a_wifi_set_country_all() { return wifi_set_country_all(vq2040a); }
uint32_t vq2040a_wifi_set_dyn_interval() { return wifi_set_dyn_interval(vq2040a); }
uint32_t vq2040a_wifi_set_selfcali_interval() { return wifi_set_selfcali_interval(vq2040a); }

uint32_t vq2040a_wifi_pt_power_test(int32_t mode) {
  LOG_DEBUG(vq2040a, "vq2040a_wifi_pt_power_test::mode[%d].\n", mode);
  return switch_power_test(vq2040a, static_cast<uint32_t>(mode));
}

uint32_t vq2040a_wifi_start_tx() { return wifi_start_tx(vq2040a); }
uint32_t vq2040a_wifi_stop_tx() { return wifi_stop_tx(vq2040a); }
uint32_t vq2040a_wifi_set_pm_switch(uint32_t pm_switch) {
  return static_cast<uint32_t>(wifi_set_pm_switch(vq2040a, pm_switch));
}
uint32_t vq2040a_wifi_set_powermode(int32_t mode, int32_t value) {
  return wifi_set_powermode(vq2040a, mode, static_cast<uint32_t>(value));
}
uint32_t vq2040a_wifi_start_rx(const char *mac, const char *) { return wifi_start_rx(vq2040a, mac); }
uint32_t vq2040a_wifi_stop_rx() { return wifi_stop_rx(vq2040a); }
uint32_t vq2040a_wifi_get_rx_rssi(uint32_t *rssi) { return wifi_get_rx_rssi(vq2040a, rssi); }
uint32_t vq2040a_wifi_get_rx_pckg() { return wifi_get_rx_pckg(vq2040a); }
uint32_t vq2040a_wifi_set_hw_mac_addr(const char *mac) { return wifi_set_hw_mac_addr(vq2040a, mac); }
