#include "chips/vq2040/profile.h"
#include "include/vq2040.h"
#include "common/channel.h"
#include "common/receive.h"
#include "common/settings.h"
#include "common/test_mode.h"
#include "common/transmit.h"
#include <errno.h>
#include <fcntl.h>
#include <string.h>
#include <unistd.h>

#include "common/log.h"
#include "common/shell.h"

using namespace orva;

namespace {

constexpr uint32_t COMMAND_CONN_POWER = 25;

/// Writes the test node. @return 0, or -1 when it cannot be opened.
int32_t vq2040_hw_pull_wifi_enable_gpio(const char *text, uint32_t length) {
  static const char path[] = "/sys/vq20x0_debug/bfgx_test";
  const int node = open(path, O_WRONLY);
  if (node < 0) {
    LOG_ERROR(vq2040, "%s open failed, error: %s", path, strerror(errno));
    return -1;
  }
  // The node takes what it takes; the station looks at the chip, not at the count.
  [[maybe_unused]] const ssize_t count = write(node, text, length);
  close(node);
  return 0;
}

}  // namespace

// Outside test mode this chip sets its connection power, and says nothing about a refusal.
uint32_t vq2040_wifi_set_power(int32_t power) {
  if (!record_power(vq2040, power)) return 1;
  const int32_t step = power / vq2040.power.divisor;
  LOG_DEBUG(vq2040, "wifi_ioctl_set_conn_power::pow_val[%d].\n", step);
  return static_cast<uint32_t>(send_and_settle(vq2040, COMMAND_CONN_POWER, static_cast<uint32_t>(step)));
}

uint32_t vq2040_wifi_set_rate(int32_t rate) { return wifi_set_rate(vq2040, rate); }
uint32_t vq2040_wifi_set_band(int32_t band) { return wifi_set_band(vq2040, band); }
uint32_t vq2040_wifi_set_channel(int32_t channel) { return wifi_set_channel(vq2040, channel); }
uint32_t vq2040_wifi_set_antenna(int32_t antenna) { return wifi_set_antenna(vq2040, antenna); }

// The platform decides: only beside a vq2050 is a chain recorded here.
uint32_t vq2040_wifi_setmimo_channel(int32_t chain) {
  if (!is_mimo_chain(vq2040, chain)) return 0;
  switch (get_orva_connectivity_subchip()) {
  case 1: return record_mimo_chain(vq2040, chain);
  case 0: LOG_ERROR(vq2040, "wifi_setmimo_channel::Vq2040 dont support mimo.\n"); return 0;
  default: LOG_ERROR(vq2040, "wifi_setmimo_channel::Unsupported sub_chip type.\n"); return 0;
  }
}

uint32_t vq2040_wifi_set_mode(int32_t at_mode) { return wifi_set_mode(vq2040, at_mode); }
int32_t vq2040_wifi_query_setting(int32_t item) { return wifi_query_setting(vq2040, item); }
uint32_t vq2040_wifi_ioctl_set_power(int32_t power) {
  return static_cast<uint32_t>(wifi_ioctl_set_power(vq2040, power));
}
uint32_t vq2040_wifi_ioctl_set_mode(uint32_t mode, int32_t mhz) {
  return static_cast<uint32_t>(wifi_ioctl_set_mode(vq2040, mode, mhz));
}
uint32_t vq2040_wifi_ioctl_set_band(uint32_t band) {
  return static_cast<uint32_t>(wifi_ioctl_set_band(vq2040, band));
}
uint32_t vq2040_wifi_ioctl_set_channel(uint32_t mhz) {
  return static_cast<uint32_t>(wifi_ioctl_set_channel(vq2040, mhz));
}
uint32_t vq2040_wifi_start_testmode() { return wifi_start_testmode(vq2040); }
uint32_t vq2040_wifi_stop_testmode() { return wifi_stop_testmode(vq2040); }
uint32_t vq2040_wifi_set_country_all() { return wifi_set_country_all(vq2040); }

uint32_t vq2040_wifi_pt_power_test(int32_t mode) {
  wl_config_disable_wifi(vq2040);
  return vq2040_hw_pull_wifi_enable_gpio(mode != 0 ? "4" : "5", 1) == 0 ? 1 : 0;
}

uint32_t vq2040_wifi_start_tx() { return wifi_start_tx(vq2040); }
uint32_t vq2040_wifi_stop_tx() { return wifi_stop_tx(vq2040); }
uint32_t vq2040_wifi_set_pm_switch(uint32_t pm_switch) {
  return static_cast<uint32_t>(wifi_set_pm_switch(vq2040, pm_switch));
}
uint32_t vq2040_wifi_set_powermode(int32_t mode, int32_t value) {
  return wifi_set_powermode(vq2040, mode, static_cast<uint32_t>(value));
}
uint32_t vq2040_wifi_start_rx(const char *mac, const char *) { return wifi_start_rx(vq2040, mac); }
uint32_t vq2040_wifi_stop_rx() { return wifi_stop_rx(vq2040); }
uint32_t vq2040_wifi_get_rx_rssi(uint32_t *rssi) { return wifi_get_rx_rssi(vq2040, rssi); }
uint32_t vq2040_wifi_get_rx_pckg() { return wifi_get_rx_pckg(vq2040); }
uint32_t vq2040_wifi_set_hw_mac_addr(const char *mac) { return wifi_set_hw_mac_addr(vq2040, mac); }
