// SPDX-License-Identifier: Apache-2.0
// Sequences of public calls, with the chip changing and contacts with the phone failing in between.
#include <memory>

#include "fuzz/library.h"
#include "include/wifi_factory_test_orva.h"
#include "virtual_phone/phone.h"

using namespace fuzz;

namespace {

constexpr int most_calls = 24;

void with_outputs(input &from) {
  uint32_t number = 0;
  uint8_t a = 0, b = 0, c = 0;
  const auto die_id = std::make_unique<uint8_t[]>(36);
  const auto ssid = std::make_unique<char[]>(33);
  const auto bssid = std::make_unique<uint8_t[]>(6);
  const auto texts = std::make_unique<char[]>(16 * 104);
  switch (from.byte() % 6) {
  case 0: wifi_get_rx_rssi(&number); break;
  case 1: conn_test_get_checktime_of_chipcheck(nullptr, &number, die_id.get()); break;
  case 2: wifi_conn_info(ssid.get(), bssid.get(), &a); break;
  case 3: wifi_get_upc_code(&a, &b, &c); break;
  case 4: wifi_power_set_range(&a, &b); break;
  default: wifi_nvram_calibrate_get(texts.get(), 104);
  }
}

void with_texts(input &from) {
  const auto bytes = from.some(20);
  const text words(std::string_view(reinterpret_cast<const char *>(bytes.data()), bytes.size()));
  const uint32_t flags[] = {from.word(), from.word(), from.word(), from.word()};
  switch (from.byte() % 6) {
  case 0: wifi_start_rx(words.get(), nullptr); break;
  case 1: wifi_start_rx(nullptr, nullptr); break;
  case 2: wifi_ru_set(from.number(), words.get()); break;
  case 3: wifi_start_roam(words.get()); break;
  case 4: wifi_nvram_calibrate_clean_new(flags); break;
  default: {
    const int32_t group = from.number(), mode = from.number(), band = from.number(), width = from.number();
    wifi_nvram_calibrate_set(from.byte() % 8 == 0, group, mode, band, width, from.number(), words.get());
  }
  }
}

void with_number(input &from) {
  static constexpr uint32_t (*setters[])(int32_t) = {
      wifi_set_power,          wifi_set_mode,           wifi_set_rate,
      wifi_set_band,           wifi_set_channel,        wifi_setmimo_channel,
      wifi_set_antenna,        wifi_pt_power_test,      wifi_nvram_calibrate_clean,
      wifi_set_tas_ant_mode,   wifi_set_bss_expire_age, wifi_selcal_disable_set,
      wifi_test_broadcast_loop};
  const uint8_t choice = from.byte();
  const int32_t value = from.number();
  if (choice % 16 < std::size(setters)) {
    setters[choice % 16](value);
  } else {
    wifi_query_setting(value);
  }
}

void without_arguments(input &from) {
  static constexpr uint32_t (*all[])() = {wifi_start_testmode, wifi_stop_testmode,  wifi_start_tx,
                                          wifi_stop_tx,        wifi_stop_rx,        wifi_get_rx_pckg,
                                          wifi_test_weld,      wifi_start_roam_scan};
  all[from.byte() % std::size(all)]();
}

void with_pointers_not_read(input &from) {
  switch (from.byte() % 6) {
  case 0: wifi_hw_get(nullptr); break;
  case 1: conn_test_chipcheck(nullptr, nullptr, nullptr); break;
  case 2: conn_test_get_chipcheck_result(nullptr, nullptr, nullptr); break;
  case 3: conn_test_uart_loop(nullptr); break;
  case 4: conn_test_sdio_loop(nullptr); break;
  default: wifi_nvram_set(nullptr, nullptr, from.number());
  }
}

void change_phone(input &from) {
  static constexpr const char *places[] = {"socket",   "ioctl",     "close",      "fork",     "execl",
                                           "popen",    "fread",     "pclose",     "open",     "write",
                                           "memcpy_s", "strncpy_s", "snprintf_s", "sscanf_s", "kevoOperaNVWR",
                                           "memset_s", "sprintf_s"};
  char error[200] = "";
  const uint8_t choice = from.byte();
  if (choice % 4 == 0) {
    phone_set("chip", profiles[from.byte() % chips]->name, error, sizeof error);
  } else {
    phone_fault(places[choice / 4 % std::size(places)], 1 + from.byte() % 8, from.byte() % 4, 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *bytes, size_t size) {
  static constexpr void (*kinds[])(input &) = {
      with_number, with_number,  without_arguments,      without_arguments,
      with_texts,  with_outputs, with_pointers_not_read, change_phone};
  input from(bytes, size);
  begin(from.byte());
  for (int call = 0; call < most_calls && !from.empty(); call++) kinds[from.byte() % std::size(kinds)](from);
  end();
  return 0;
}
