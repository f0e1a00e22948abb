// SPDX-License-Identifier: Apache-2.0
// Arbitrary answers of the driver, accepted or refused, to every operation that reads one.
#include <algorithm>
#include <memory>

#include "fuzz/library.h"
#include "include/vq2040.h"
#include "include/wifi_factory_test_orva.h"
#include "virtual_phone/phone.h"
#include "virtual_phone/radio_chips.h"

using namespace fuzz;

namespace {

void read_rssi() {
  uint32_t rssi = 0;
  expect(wifi_get_rx_rssi(&rssi) <= 1, "the signal strength answers something else");
}

void read_check_time(size_t digits) {
  uint32_t time = 0;
  const auto die_id = std::make_unique<uint8_t[]>(digits);
  expect(conn_test_get_checktime_of_chipcheck(nullptr, &time, die_id.get()) == 0 && time == 100,
         "the check time is another");
  for (size_t i = 0; i < digits; i++) {
    const char c = static_cast<char>(die_id[i]);
    expect((c >= '0' && c <= '9') || (c >= 'A' && c <= 'F'), "the die identifier is no hexadecimal text");
  }
}

void read_upc() {
  uint8_t first = 1, second = 1, upc = 0;
  const uint32_t code = wifi_get_upc_code(&first, &second, &upc);
  expect(first == 0 && second == 0 && upc == static_cast<uint8_t>(code), "the UPC code is another");
}

void read_connection() {
  const auto ssid = std::make_unique<char[]>(33);
  const auto bssid = std::make_unique<uint8_t[]>(6);
  uint8_t rssi = 0;
  expect(wifi_conn_info(ssid.get(), bssid.get(), &rssi) <= 1, "the connection answers something else");
}

void read_packets() { wifi_get_rx_pckg(); }
void check_fem() { expect(wifi_hw_get(nullptr) <= 1, "the FEM check answers something else"); }
void check_weld() { expect(wifi_test_weld() <= 1, "the weld test answers something else"); }
void check_chip() {
  conn_test_chipcheck(nullptr, nullptr, nullptr);
  conn_test_get_chipcheck_result(nullptr, nullptr, nullptr);
}
void copy_block() {
  expect(wifi_nvram_set(nullptr, nullptr, 0) <= 1, "copying the block answers something else");
}
void correct() {
  static constexpr struct {
    int32_t group, mode, band, bandwidth, freq;
  } requests[] = {{0, 0, 0, 0, 2442}, {0, 2, 0, 0, 2442}, {0, 0, 1, 0, 5180}, {1, 0, 1, 3, 5570}};
  for (const auto &r : requests) {
    expect(wifi_nvram_calibrate_set(0, r.group, r.mode, r.band, r.bandwidth, r.freq, "3") <= 1,
           "a correction answers something else");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
  static constexpr void (*readers[])() = {read_rssi,  read_upc,   read_connection, read_packets, check_fem,
                                          check_weld, check_chip, copy_block,      correct};
  constexpr size_t count = std::size(readers);
  input from(bytes, size);
  const size_t chip = from.byte() % chips;
  begin(chip);
  const size_t reader = from.byte() % (count + 1);
  const uint8_t refused = from.byte() % RADIO_COMMANDS;
  const bool refuses = from.byte() % 4 == 0;
  const std::string data = from.rest();
  char error[200] = "";
  for (uint32_t command = 0; command < RADIO_COMMANDS; command++) {
    phone_driver_answer(command, data.data(), std::min(data.size(), size_t{256}));
  }
  if (refuses) phone_set("driver.refuse", std::to_string(refused).c_str(), error, sizeof error);
  if (reader == count) {
    read_check_time(4 * radio_chip_die_words(static_cast<uint32_t>(chip)));
  } else {
    readers[reader]();
  }
  end();
  return 0;
}
