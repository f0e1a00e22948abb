#include "common/receive.h"

#include <string.h>

#include "common/driver.h"
#include "common/log.h"
#include "common/transmit.h"

namespace orva {

namespace {

constexpr uint32_t MAC_SIZE = 6;
constexpr uint32_t MAC_DIGITS = 2 * MAC_SIZE;
constexpr uint32_t NO_PACKET_COUNT = 0xFFFFFFFF;
constexpr uint8_t DEFAULT_MAC[MAC_SIZE] = {0x00, 0x11, 0x22, 0x33, 0x44, 0x55};

int32_t parse_mac(const chip &chip, const char *text, uint8_t *mac) {
  char t[MAC_DIGITS] = {};
  memcpy(t, text, strnlen(text, MAC_DIGITS));
  LOG_DEBUG(chip, "srcMac %c%c:%c%c:%c%c:%c%c:%c%c:%c%c\n", t[0], t[1], t[2], t[3], t[4], t[5], t[6], t[7],
            t[8], t[9], t[10], t[11]);
  for (uint32_t i = 0; i < MAC_SIZE; i++) {
    const int32_t high = hex_digit(t[2 * i]);
    const int32_t low = hex_digit(t[2 * i + 1]);
    if (high < 0 || low < 0) {
      LOG_ERROR(chip, "wif_set_hw_mac_addr::src mac illegal.\n");
      return 0;
    }
    mac[i] = static_cast<uint8_t>(high << 4 | low);
  }
  return 1;
}

int32_t choose_mac(const chip &chip, const char *text, uint8_t *mac) {
  if (text != nullptr) return parse_mac(chip, text, mac);
  LOG_DEBUG(chip, "srcMac is null, now set srcMac to defult addr 001122334455\n");
  memcpy(mac, DEFAULT_MAC, MAC_SIZE);
  return 1;
}

int32_t send_mac(const chip &chip, uint32_t socket, const char *text) {
  ioctl_data record = record_of(COMMAND_HW_MAC);
  uint8_t *mac = record.pri_data;
  if (choose_mac(chip, text, mac) != 1) return 0;
  LOG_DEBUG(chip, "hwMAC  %02x:%02x:%02x:%02x:%02x:%02x\n", mac[0], mac[1], mac[2], mac[3], mac[4], mac[5]);
  return send_record(chip, socket, record);
}

}  // namespace

const test_step rx_power_save = {send_power_save_off, "wifi_set_pm_switch stop failed\n"};
const test_step rx_mode = {send_mode, "wifi_ioctl_set_band fail.\n"};
const test_step rx_band = {send_band, "wifi_ioctl_set_band fail.\n"};
const test_step rx_channel = {send_channel, "wifi_ioctl_set_channel fail.\n"};
const test_step rx_chain = {send_chain, "wifi_ioctl_setmimo_channel fail, ret[%d].\n"};

int32_t hex_digit(char digit) {
  if (digit >= '0' && digit <= '9') return digit - '0';
  if (digit >= 'a' && digit <= 'f') return digit - 'a' + 10;
  if (digit >= 'A' && digit <= 'F') return digit - 'A' + 10;
  return -1;
}

uint32_t wifi_set_hw_mac_addr(const chip &chip, const char *mac) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return 0;
  const int32_t result = send_mac(chip, socket, mac);
  wl_config_sockets_close(socket);
  return static_cast<uint32_t>(result);
}

uint32_t wifi_start_rx(const chip &chip, const char *mac) {
  chip.state.rx = 1;
  LOG_DEBUG(chip, "wifi_start_rx.\n");
  const int32_t result = static_cast<int32_t>(wifi_set_hw_mac_addr(chip, mac));
  if (result != 1) {
    LOG_ERROR(chip, "wifi_set_hw_mac_addr failed, ret[%d].\n", result);
    return 0;
  }
  if (run_steps(chip, chip.rx.steps) != 1) return 0;
  return static_cast<uint32_t>(switch_on(chip, COMMAND_RX, chip.state.rx));
}

int32_t stop_receiving(const chip &chip) {
  chip.state.rx = 0;
  const int32_t result = wl_config_sockets_send(chip, COMMAND_RX, 0);
  LOG_DEBUG(chip, "wifi_stop_rx::ret[%d].\n", result);
  return result;
}

uint32_t wifi_stop_rx(const chip &chip) {
  if (chip.tx.stops_only_when_started && chip.state.rx == 0) {
    LOG_INFO(chip, "%s_wifi_stop_rx::already rx=0, return", chip.name);
    return 1;
  }
  return static_cast<uint32_t>(stop_receiving(chip));
}

uint32_t wifi_get_rx_rssi(const chip &chip, uint32_t *rssi) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return 0;
  ioctl_data record = record_of(COMMAND_RSSI);
  const int32_t result = send_record(chip, socket, record);
  wl_config_sockets_close(socket);
  *rssi = answer_u32(record);
  return static_cast<uint32_t>(result);
}

uint32_t wifi_get_rx_pckg(const chip &chip) {
  const uint32_t socket = open_socket(chip);
  if (socket == 0) return 0;
  ioctl_data record = record_of(COMMAND_RX_PACKETS);
  const uint32_t packets = send_record(chip, socket, record) == 1 ? answer_u32(record) : NO_PACKET_COUNT;
  wl_config_sockets_close(socket);
  return packets;
}

}  // namespace orva
