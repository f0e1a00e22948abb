// SPDX-License-Identifier: Apache-2.0
#include "common/receive.h"

#include <string.h>

#include "common/driver.h"
#include "common/hex.h"
#include "common/log.h"
#include "common/start_steps.h"

namespace orva {

namespace {

constexpr uint32_t MAC_SIZE = 6;
constexpr uint32_t MAC_DIGITS = 2 * MAC_SIZE;
constexpr uint32_t NO_PACKET_COUNT = 0xFFFFFFFF;
constexpr uint8_t DEFAULT_MAC[MAC_SIZE] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};

bool parse_mac(const chip &chip, const char *text, uint8_t *mac) {
  char t[MAC_DIGITS] = {};
  memcpy(t, text, strnlen(text, MAC_DIGITS));
  LOG_DEBUG(chip, "srcMac %c%c:%c%c:%c%c:%c%c:%c%c:%c%c\n", t[0], t[1], t[2], t[3], t[4], t[5], t[6], t[7],
            t[8], t[9], t[10], t[11]);
  for (uint32_t i = 0; i < MAC_SIZE; i++) {
    const int32_t high = hex_digit(t[2 * i]);
    const int32_t low = hex_digit(t[2 * i + 1]);
    if (high < 0 || low < 0) {
      LOG_ERROR(chip, "wif_set_hw_mac_addr::src mac illegal.\n");
      return false;
    }
    mac[i] = static_cast<uint8_t>(high << 4 | low);
  }
  return true;
}

bool choose_mac(const chip &chip, const char *text, uint8_t *mac) {
  if (text != nullptr) return parse_mac(chip, text, mac);
  LOG_DEBUG(chip, "srcMac is null, now set srcMac to defult addr 001122334455\n");
  memcpy(mac, DEFAULT_MAC, MAC_SIZE);
  return true;
}

bool send_mac(const chip &chip, uint32_t socket, const char *text) {
  ioctl_data record = record_of(COMMAND_HW_MAC);
  uint8_t *mac = record.pri_data;
  if (!choose_mac(chip, text, mac)) return false;
  LOG_DEBUG(chip, "hwMAC  %02x:%02x:%02x:%02x:%02x:%02x\n", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
  return send_record(chip, socket, record);
}

}  // namespace

const start_step rx_power_save = {send_power_save_off, "wifi_set_pm_switch stop failed\n"};
const start_step rx_mode = {send_mode, "wifi_ioctl_set_band fail.\n"};
const start_step rx_bandwidth = {send_bandwidth, "wifi_ioctl_set_band fail.\n"};
const start_step rx_channel = {send_channel, "wifi_ioctl_set_channel fail.\n"};
const start_step rx_chain = {send_chain, "wifi_ioctl_setmimo_channel fail, ret[%d].\n"};

uint32_t wifi_set_hw_mac_addr(const chip &chip, const char *mac) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return 0;
  const bool accepted = send_mac(chip, socket, mac);
  wl_config_sockets_close(socket);
  return accepted;
}

uint32_t wifi_start_rx(const chip &chip, const char *mac) {
  chip.state.rx = 1;
  LOG_DEBUG(chip, "wifi_start_rx.\n");
  const bool accepted = wifi_set_hw_mac_addr(chip, mac);
  if (!accepted) {
    LOG_ERROR(chip, "wifi_set_hw_mac_addr failed, ret[%d].\n", accepted);
    return 0;
  }
  return run_steps(chip, chip.rx.steps) && switch_on(chip, COMMAND_RX);
}

bool stop_receiving(const chip &chip) {
  chip.state.rx = 0;
  const bool accepted = wl_config_sockets_send(chip, COMMAND_RX, 0);
  LOG_DEBUG(chip, "wifi_stop_rx::ret[%d].\n", accepted);
  return accepted;
}

uint32_t wifi_stop_rx(const chip &chip) {
  if (chip.tx.stops_only_when_started && chip.state.rx == 0) {
    LOG_INFO(chip, "%s_wifi_stop_rx::already rx=0, return", chip.name);
    return 1;
  }
  return stop_receiving(chip);
}

uint32_t wifi_get_rx_rssi(const chip &chip, uint32_t *rssi) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return 0;
  ioctl_data record = record_of(COMMAND_RSSI);
  const bool accepted = send_record(chip, socket, record);
  wl_config_sockets_close(socket);
  *rssi = answer_u32(record);
  return accepted;
}

uint32_t wifi_get_rx_pckg(const chip &chip) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return 0;
  ioctl_data record = record_of(COMMAND_RX_PACKETS);
  const uint32_t packets = send_record(chip, socket, record) ? answer_u32(record) : NO_PACKET_COUNT;
  wl_config_sockets_close(socket);
  return packets;
}

}  // namespace orva
