// SPDX-License-Identifier: Apache-2.0
// The RU test of 802.11ax: armed beforehand, sent once by the next receive start.
#include <string.h>

#include "chips/vq2070/profile.h"
#include "chips/vq2070/state.h"
#include "common/driver.h"
#include "common/hex.h"
#include "common/log.h"
#include "common/start_steps.h"
#include "include/vq2070.h"

using namespace orva;

namespace {

constexpr uint32_t COMMAND_RU = 39;
constexpr uint32_t RU_TRANSMIT = 1;
constexpr uint32_t RU_RECEIVE = 2;
constexpr uint16_t DEFAULT_AID = 1;
constexpr uint32_t AID_DIGITS = 3;

uint16_t parse_aid(const char *text) {
  char t[AID_DIGITS] = {};
  memcpy(t, text, strnlen(text, AID_DIGITS));
  const uint32_t d0 = vq2070_atoi(t[0]), d1 = vq2070_atoi(t[1]), d2 = vq2070_atoi(t[2]);
  LOG_INFO(vq2070, "tmp012 is %d, %d, %d", d0, d1, d2);
  return static_cast<uint16_t>(d0 * 256 + d1 * 16 + d2);
}

}  // namespace

uint32_t vq2070_atoi(char digit) {
  const int32_t value = hex_digit(digit);
  if (value >= 0) return static_cast<uint32_t>(value);
  // The message names the address filter although an association id is read.
  LOG_ERROR(vq2070, "wif_set_hw_mac_addr::des aid illegal.\n");
  return 0;
}

uint32_t vq2070_wifi_ru_set(int32_t en_set, const char *aid) {
  if (en_set < 0 || en_set > 2) {
    LOG_ERROR(vq2070, "vq2070_ru_set::illgeal en_set[%d]", en_set);
    return 0;
  }
  g_test_rutx_set_2070 = en_set == 1;
  g_test_rurx_set_2070 = en_set == 2;
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
  const bool accepted = exchange(vq2070, record);
  // A setting serves one receive start, even if it could not be sent.
  g_test_rutx_set_2070 = 0;
  g_test_rurx_set_2070 = 0;
  return accepted;
}

bool orva::vq2070_send_chain_and_ru(const chip &chip) {
  return send_chain(chip) && vq2070_wifi_ioctl_set_axru(g_test_aid_2070) == 1;
}
