#include "chips/vq2050/profile.h"
#include "include/vq2050.h"
#include "common/channel.h"
#include "common/log.h"
#include "common/receive.h"
#include "common/settings.h"
#include "common/station.h"
#include "common/test_mode.h"
#include "common/transmit.h"

using namespace orva;

uint32_t vq2050_wifi_set_power(int32_t power) { return wifi_set_power(vq2050, power); }
uint32_t vq2050_wifi_set_rate(int32_t rate) { return wifi_set_rate(vq2050, rate); }
uint32_t vq2050_wifi_set_band(int32_t band) { return wifi_set_band(vq2050, band); }
uint32_t vq2050_wifi_set_channel(int32_t channel) { return wifi_set_channel(vq2050, channel); }
uint32_t vq2050_wifi_set_antenna(int32_t antenna) { return wifi_set_antenna(vq2050, antenna); }
uint32_t vq2050_wifi_setmimo_channel(int32_t chain) { return wifi_setmimo_channel(vq2050, chain); }
uint32_t vq2050_wifi_set_mode(int32_t at_mode) { return wifi_set_mode(vq2050, at_mode); }
int32_t vq2050_wifi_query_setting(int32_t item) { return wifi_query_setting(vq2050, item); }
uint32_t vq2050_wifi_ioctl_set_power(int32_t power) {
  return static_cast<uint32_t>(wifi_ioctl_set_power(vq2050, power));
}
uint32_t vq2050_wifi_ioctl_set_mode(uint32_t mode, int32_t mhz) {
  return static_cast<uint32_t>(wifi_ioctl_set_mode(vq2050, mode, mhz));
}
uint32_t vq2050_wifi_ioctl_set_band(uint32_t band) {
  return static_cast<uint32_t>(wifi_ioctl_set_band(vq2050, band));
}
uint32_t vq2050_wifi_ioctl_set_channel(uint32_t mhz) {
  return static_cast<uint32_t>(wifi_ioctl_set_channel(vq2050, mhz));
}
uint32_t vq2050_wifi_ioctl_setmimo_channel(uint32_t chain) {
  return static_cast<uint32_t>(wifi_ioctl_setmimo_channel(vq2050, chain));
}
uint32_t vq2050_wifi_start_testmode() { return wifi_start_testmode(vq2050); }
uint32_t vq2050_wifi_stop_testmode() { return wifi_stop_testmode(vq2050); }
uint32_t vq2050_wifi_set_country_all() { return wifi_set_country_all(vq2050); }
uint32_t vq2050_wifi_set_dyn_interval() { return wifi_set_dyn_interval(vq2050); }
uint32_t vq2050_wifi_set_selfcali_interval() { return wifi_set_selfcali_interval(vq2050); }

uint32_t vq2050_wifi_pt_power_test(int32_t mode) {
  LOG_DEBUG(vq2050, "vq2050_wifi_pt_power_test:: mode = %d.\n", mode);
  return switch_power_test(vq2050, static_cast<uint32_t>(mode));
}

uint32_t vq2050_wifi_start_tx() { return wifi_start_tx(vq2050); }
uint32_t vq2050_wifi_stop_tx() { return wifi_stop_tx(vq2050); }
uint32_t vq2050_wifi_set_pm_switch(uint32_t pm_switch) {
  return static_cast<uint32_t>(wifi_set_pm_switch(vq2050, pm_switch));
}
uint32_t vq2050_wifi_set_powermode(int32_t mode, int32_t value) {
  return wifi_set_powermode(vq2050, mode, static_cast<uint32_t>(value));
}
uint32_t vq2050_wifi_start_rx(const char *mac, const char *) { return wifi_start_rx(vq2050, mac); }
uint32_t vq2050_wifi_stop_rx() { return wifi_stop_rx(vq2050); }
uint32_t vq2050_wifi_get_rx_rssi(uint32_t *rssi) { return wifi_get_rx_rssi(vq2050, rssi); }
uint32_t vq2050_wifi_get_rx_pckg() { return wifi_get_rx_pckg(vq2050); }
uint32_t vq2050_wifi_set_hw_mac_addr(const char *mac) { return wifi_set_hw_mac_addr(vq2050, mac); }
