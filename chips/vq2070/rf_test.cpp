#include "chips/vq2070/profile.h"
#include "include/vq2070.h"
#include "common/channel.h"
#include "common/receive.h"
#include "common/settings.h"
#include "common/test_mode.h"
#include "common/transmit.h"
#include <string.h>

#include "common/driver.h"
#include "common/log.h"
#include "common/station.h"

using namespace orva;

namespace {

constexpr uint32_t COMMAND_RU = 39;
constexpr uint32_t RU_TRANSMIT = 1;
constexpr uint32_t RU_RECEIVE = 2;
constexpr uint16_t DEFAULT_AID = 1;
constexpr uint32_t AID_DIGITS = 3;

struct sub_band {
  int32_t first_mhz, last_mhz, number;
};
constexpr sub_band sub_bands[] = {{5180, 5320, 0}, {5500, 5640, 3}, {5660, 5720, 6}, {5745, 5825, 9}};

uint16_t parse_aid(const char *text) {
  char t[AID_DIGITS] = {};
  memcpy(t, text, strnlen(text, AID_DIGITS));
  const uint32_t d0 = vq2070_atoi(t[0]), d1 = vq2070_atoi(t[1]), d2 = vq2070_atoi(t[2]);
  LOG_INFO(vq2070, "tmp012 is %d, %d, %d", static_cast<int32_t>(d0), static_cast<int32_t>(d1),
           static_cast<int32_t>(d2));
  return static_cast<uint16_t>(d0 * 256 + d1 * 16 + d2);
}

}  // namespace

namespace orva {

int32_t vq2070_channel_of(const chip &chip, uint32_t mhz, uint32_t &channel) {
  return static_cast<int32_t>(
      vq2070_wifi_get_channel_by_bw_freq(static_cast<int32_t>(mhz), chip.state.band, &channel));
}

int32_t vq2070_send_chain_and_ru(const chip &chip) {
  const int32_t result = send_chain(chip);
  return result == 1 ? static_cast<int32_t>(vq2070_wifi_ioctl_set_axru(g_test_aid_2070)) : result;
}

}  // namespace orva

uint32_t vq2070_wifi_set_power(int32_t power) { return wifi_set_power(vq2070, power); }
uint32_t vq2070_wifi_set_rate(int32_t rate) { return wifi_set_rate(vq2070, rate); }
uint32_t vq2070_wifi_set_band(int32_t band) { return wifi_set_band(vq2070, band); }
uint32_t vq2070_wifi_set_channel(int32_t channel) { return wifi_set_channel(vq2070, channel); }
uint32_t vq2070_wifi_set_antenna(int32_t antenna) { return wifi_set_antenna(vq2070, antenna); }
uint32_t vq2070_wifi_setmimo_channel(int32_t chain) { return wifi_setmimo_channel(vq2070, chain); }
uint32_t vq2070_wifi_set_mode(int32_t at_mode) { return wifi_set_mode(vq2070, at_mode); }
int32_t vq2070_wifi_query_setting(int32_t item) { return wifi_query_setting(vq2070, item); }
uint32_t vq2070_wifi_ioctl_set_power(int32_t power) {
  return static_cast<uint32_t>(wifi_ioctl_set_power(vq2070, power));
}
uint32_t vq2070_wifi_ioctl_set_mode(uint32_t mode, int32_t mhz) {
  return static_cast<uint32_t>(wifi_ioctl_set_mode(vq2070, mode, mhz));
}
uint32_t vq2070_wifi_ioctl_set_band(uint32_t band) {
  return static_cast<uint32_t>(wifi_ioctl_set_band(vq2070, band));
}
uint32_t vq2070_wifi_ioctl_set_channel(uint32_t mhz) {
  return static_cast<uint32_t>(wifi_ioctl_set_channel(vq2070, mhz));
}
uint32_t vq2070_wifi_ioctl_setmimo_channel(uint32_t chain) {
  return static_cast<uint32_t>(wifi_ioctl_setmimo_channel(vq2070, chain));
}

uint32_t vq2070_wifi_get_channel_by_bw_freq(int32_t mhz, int32_t bandwidth, uint32_t *channel) {
  const freq_bw *row = find_freq_bw(mhz > LAST_2G_MHZ, static_cast<uint32_t>(bandwidth));
  if (row == nullptr) {
    LOG_ERROR(vq2070,
              "vq2070_wifi_get_channel_by_bw_freq::error bw and freq combination,freq[%d], bandwidth[%d]",
              mhz, bandwidth);
    return 0;
  }
  return static_cast<uint32_t>(channel_on_row(*row, static_cast<uint32_t>(mhz), *channel));
}

uint32_t vq2070_get_target_channel(uint32_t base, int32_t row, uint32_t mhz, uint32_t *channel) {
  return static_cast<uint32_t>(channel_on_row(g_ast_freq_bw[row], base, mhz, *channel));
}

int32_t vq2070_get_5g_band(int32_t mhz) {
  for (const sub_band &row : sub_bands) {
    if (mhz >= row.first_mhz && mhz <= row.last_mhz) return row.number;
  }
  return -1;
}

uint32_t vq2070_wifi_start_testmode() { return wifi_start_testmode(vq2070); }
uint32_t vq2070_wifi_stop_testmode() { return wifi_stop_testmode(vq2070); }
uint32_t vq2070_wifi_set_country_all() { return wifi_set_country_all(vq2070); }
uint32_t vq2070_wifi_set_dyn_interval() { return wifi_set_dyn_interval(vq2070); }
uint32_t vq2070_wifi_set_selfcali_interval() { return wifi_set_selfcali_interval(vq2070); }

uint32_t vq2070_wifi_pt_power_test(int32_t mode) {
  LOG_DEBUG(vq2070, "vq2070_wifi_pt_power_test:: mode = %d.\n", mode);
  return switch_power_test(vq2070, static_cast<uint32_t>(mode));
}

uint32_t vq2070_wifi_start_tx() { return wifi_start_tx(vq2070); }
uint32_t vq2070_wifi_stop_tx() { return wifi_stop_tx(vq2070); }
uint32_t vq2070_wifi_set_pm_switch(uint32_t pm_switch) {
  return static_cast<uint32_t>(wifi_set_pm_switch(vq2070, pm_switch));
}
uint32_t vq2070_wifi_set_powermode(int32_t mode, int32_t value) {
  return wifi_set_powermode(vq2070, mode, static_cast<uint32_t>(value));
}
uint32_t vq2070_wifi_start_rx(const char *mac, const char *) { return wifi_start_rx(vq2070, mac); }
uint32_t vq2070_wifi_stop_rx() { return wifi_stop_rx(vq2070); }
uint32_t vq2070_wifi_get_rx_rssi(uint32_t *rssi) { return wifi_get_rx_rssi(vq2070, rssi); }
uint32_t vq2070_wifi_get_rx_pckg() { return wifi_get_rx_pckg(vq2070); }
uint32_t vq2070_wifi_set_hw_mac_addr(const char *mac) { return wifi_set_hw_mac_addr(vq2070, mac); }

uint32_t vq2070_wifi_ru_set(int32_t en_set, const char *aid) {
  if (static_cast<uint32_t>(en_set) >= 3) {
    LOG_ERROR(vq2070, "vq2070_ru_set::illgeal en_set[%d]", en_set);
    return 0;
  }
  g_test_rutx_set_2070 = en_set == 1 ? 1 : 0;
  g_test_rurx_set_2070 = en_set == 2 ? 1 : 0;
  if (en_set != 0) g_test_aid_2070 = aid == nullptr ? DEFAULT_AID : parse_aid(aid);
  LOG_DEBUG(vq2070, "vq2070_ru_set::en_set[%d], desaid[0x%x].\n", en_set, g_test_aid_2070);
  return 1;
}

uint32_t vq2070_wifi_ioctl_set_axru(uint16_t aid) {
  if (g_test_rutx_set_2070 == 0 && g_test_rurx_set_2070 == 0) {
    LOG_INFO(vq2070, "vq2070_wifi_ioctl_set_axru::not ru mode");
    return 1;
  }
  ioctl_data record = record_of(COMMAND_RU);
  store_u16(record.pri_data, aid);
  store_u16(record.pri_data + 2, g_test_rurx_set_2070 != 0 ? RU_RECEIVE : RU_TRANSMIT);
  const int32_t result = exchange(vq2070, record);
  // One setting serves one receive start, also when nothing could be sent.
  g_test_rutx_set_2070 = 0;
  g_test_rurx_set_2070 = 0;
  return static_cast<uint32_t>(result);
}
