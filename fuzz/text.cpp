// SPDX-License-Identifier: Apache-2.0
// Arbitrary texts from a caller: address filter, association id, roaming target, measured error.
#include "fuzz/library.h"
#include "include/wifi_factory_test_orva.h"
#include "virtual_phone/phone.h"
#include "virtual_phone/radio_chips.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

using namespace fuzz;

namespace {

uint32_t fitted;  // sub-chip index

bool is_hex(char c) { return strchr("0123456789abcdefABCDEF", c) != nullptr && c != '\0'; }

/// The number of hexadecimal digits at the start of a text, at most `most`.
size_t digits(const char *text, size_t most) {
  size_t count = 0;
  while (count < most && is_hex(text[count])) count++;
  return count;
}

void receive(const text &mac) {
  wifi_set_channel(2412);
  wifi_set_band(0);
  const uint32_t result = wifi_start_rx(mac.get(), nullptr);
  expect(result == (digits(mac.get(), 12) == 12 ? 1U : 0U), "an address filter is taken or refused wrongly");
}

/// The association id that a receive start sends.
uint32_t sent_association_id() {
  wifi_set_channel(2484);
  wifi_start_rx(nullptr, nullptr);
  for (size_t i = 0; i < phone_event_count(); i++) {
    const auto *event = phone_event(i);
    if (event->kind != PHONE_IOCTL) continue;
    const auto id = static_cast<uint32_t>(event->number[2]);
    if (radio_chip_command(fitted, id) != RADIO_CMD_RESOURCE_UNIT) continue;
    const auto *data = static_cast<const uint8_t *>(event->data) + RADIO_DATA_AT;
    return data[0] | static_cast<uint32_t>(data[1]) << 8;
  }
  expect(false, "an armed RU test is not sent");
  return 0;
}

void arm(const text &aid) {
  if (wifi_ru_set(2, aid.get()) != 1) return;  // only one chip has it
  uint32_t value = 0;
  size_t i = 0;
  for (bool inside = true; i < 3; i++) {
    inside = inside && aid.get()[i] != '\0';
    const char c = inside ? aid.get()[i] : '\0';
    value =
        value * 16 + (is_hex(c) ? static_cast<uint32_t>(strtol(std::string(1, c).c_str(), nullptr, 16)) : 0);
  }
  expect(sent_association_id() == value, "an association id is read wrongly");
}

void roam(const text &target) {
  wifi_start_roam(target.get());
  for (size_t i = 0; i < phone_event_count(); i++) {
    const auto *event = phone_event(i);
    if (event->kind != PHONE_EXEC) continue;
    const std::string command = (std::string("wpa_cli_orva roam ") + target.get()).substr(0, 99);
    expect(command == event->text, "the roaming command is another");
  }
}

void correct(const text &error) {
  expect(wifi_nvram_calibrate_set(0, 0, 2, 0, 0, 2442, error.get()) <= 1,
         "a correction answers something else");
  expect(wifi_nvram_calibrate_set(0, 0, 0, 1, 0, 5500, error.get()) <= 1,
         "a correction answers something else");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
  static constexpr void (*users[])(const text &) = {receive, arm, roam, correct};
  input from(bytes, size);
  fitted = from.byte() % chips;
  begin(fitted);
  const uint8_t user = from.byte() % std::size(users);
  users[user](text(from.rest()));
  end();
  return 0;
}
