// SPDX-License-Identifier: Apache-2.0
// Writes what the library does, for each chip and subject a file: every contact of every exported function
// with the phone, where all goes well and where a contact fails.
//   transcript FOLDER    writes FOLDER/CHIP/SUBJECT.txt; folders are made where they lack
#include <dlfcn.h>

#include <cerrno>
#include <cstring>
#include <filesystem>

#include "include/calibration_types.h"
#include "tests/golden/book.h"
#include "tests/support/chips.h"
#include "virtual_phone/phone.h"

namespace golden {
namespace {

using enum before;
const char *const no_text = nullptr;
const scene fresh = {""};
/// 0x12345678: each byte differs, so that a value cut to fewer bits shows.
constexpr int32_t wide = 305419896;

/// The phone's driver answers a command with these bytes.
scene answering(uint32_t command, const std::vector<uint8_t> &bytes, before needs = nothing) {
  std::string digits;
  char two[3];
  for (const uint8_t byte : bytes) {
    snprintf(two, sizeof two, "%02x", byte);
    digits += two;
  }
  return {"command " + std::to_string(command) + " answers " + digits, needs,
          [=](const bench &) { phone_driver_answer(command, bytes.data(), bytes.size()); }};
}

scene keyed(const std::string &key, const std::string &value, before needs = nothing) {
  return {key + " = " + value, needs, [=](const bench &) { bench::set(key, value); }};
}

/// An NV item holds this text.
scene stored(uint32_t number, const char *name, const std::string &text) {
  return {std::to_string(number) + " " + name + " holds \"" + text + "\"", nothing, [=](const bench &) {
            char item[ORVA_NV_ITEM_SIZE] = {};
            memcpy(item, text.data(), std::min(text.size(), sizeof item));
            phone_nv_put(number, name, item);
          }};
}

scene after(const std::string &words, std::function<void(const bench &)> calls, before needs = nothing) {
  return {words, needs, std::move(calls)};
}

struct planned {
  std::string place;
  unsigned nth, times;
  int value = 0;
};

/// Faults that happen together, counted from the call on.
scene failing(const std::string &words, const std::vector<planned> &faults, before needs = nothing) {
  return {words, needs, [=](const bench &) {
            for (const planned &f : faults) phone_fault(f.place.c_str(), f.nth, f.times, f.value);
          }};
}

/// The driver refuses a command and leaves bytes in the record all the same.
scene refused_with(uint32_t command, const std::string &digits, before needs = nothing) {
  const std::string id = std::to_string(command);
  return {"command " + id + " refused with " + digits + " in the record", needs, [=](const bench &) {
            bench::set("driver.answer", id + ":" + digits);
            bench::set("driver.refuse", id);
          }};
}

const std::string up = "shell:ifconfig wlan0 up", down = "shell:ifconfig wlan0 down";
const scene never_up = failing("wlan0 does not come up", {{up, 1, 2, 1}});
const scene neither_up_nor_down =
    failing("wlan0 comes neither up nor down", {{up, 1, 2, 1}, {down, 1, 0, 1}});
const scene up_at_second_try =
    failing("wlan0 does not go down, then comes up", {{up, 1, 1, 1}, {down, 1, 1, 1}});
const scene second_socket_fails =
    failing("descriptor 0, and then no socket", {{"socket", 1, 1, -1000}, {"socket", 2, 1}});

// ---- Dispatch ------------------------------------------------------------------------------------------

std::string symbol_at(const void *address) {
  Dl_info info;
  if (address == nullptr) return "null";
  return dladdr(address, &info) != 0 && info.dli_sname != nullptr ? info.dli_sname : "an unnamed address";
}

void dispatch(book &book) {
  book.heading("wifi_get_func by op id");
  const bench bench(book.chip());
  auto *get = reinterpret_cast<const void *(*)(uint32_t)>(bench.find("wifi_get_func"));
  for (const uint32_t op :
       {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15, 16, 17, 18,  19,  20,  21, 22,
        23, 24, 25, 26, 27, 28, 29, 30, 31, 32, 33, 34, 35, 36, 37, 38, 39, 40, 255, 256, 257, 295}) {
    book.text(std::to_string(op) + " " + symbol_at(get(op)));
  }
}

/// On a phone whose platform names no chip of the family, and on a chip without the operation.
void dispatch_missing(book &book) {
  book.heading("sub-chip 255: no back end");
  const bench bench(book.chip());
  bench::set("subchip", "255");
  book.line(bench, "wifi_get_func", uint32_t{0});
  book.line(bench, "wifi_set_power", 155);
  book.line(bench, "wifi_set_mode", 4);
  book.line(bench, "wifi_set_rate", 100);
  book.line(bench, "wifi_set_band", 0);
  book.line(bench, "wifi_set_channel", 2412);
  book.line(bench, "wifi_setmimo_channel", 1);
  book.line(bench, "wifi_start_tx");
  book.line(bench, "wifi_stop_tx");
  book.line(bench, "wifi_set_antenna", 1);
  book.line(bench, "wifi_start_rx", no_text, no_text);
  book.line(bench, "wifi_stop_rx");
  book.line(bench, "wifi_get_rx_rssi", output{4});
  book.line(bench, "wifi_get_rx_pckg");
  book.line(bench, "wifi_hw_get", nullptr);
  book.line(bench, "wifi_test_weld");
  book.line(bench, "wifi_start_testmode");
  book.line(bench, "wifi_pt_power_test", 1);
  book.line(bench, "wifi_stop_testmode");
  book.line<int32_t>(bench, "wifi_query_setting", 1);
  book.line(bench, "conn_test_chipcheck", nullptr, nullptr, nullptr);
  book.line(bench, "conn_test_get_chipcheck_result", nullptr, nullptr, nullptr);
  book.line(bench, "conn_test_get_checktime_of_chipcheck", nullptr, output{4}, output{36});
  book.line(bench, "conn_test_uart_loop", nullptr);
  book.line(bench, "conn_test_sdio_loop", nullptr);
  book.line(bench, "wifi_nvram_set", nullptr, nullptr, 0);
  book.line(bench, "wifi_nvram_calibrate_clean", 1);
  book.line(bench, "wifi_nvram_calibrate_get", output{104}, 104);
  book.line(bench, "wifi_nvram_calibrate_set", 0, 0, 0, 0, 0, 2442, "1");
  book.line(bench, "wifi_get_upc_code", output{1}, output{1}, output{1});
  book.line(bench, "wifi_set_powermode", 1, 0);
  book.line(bench, "wifi_set_tas_ant_mode", 1);
  book.line(bench, "wifi_start_roam", "02:00:5E:10:20:31");
  book.line(bench, "wifi_start_roam_scan");
  book.line(bench, "wifi_set_bss_expire_age", 60);
  book.line(bench, "wifi_conn_info", output{33}, output{6}, output{1});
  book.line(bench, "wifi_power_set_range", output{1}, output{1});
  book.line(bench, "wifi_selcal_disable_set", 1);
  book.line(bench, "wifi_ru_set", 1, "001");
  book.line(bench, "wifi_nvram_calibrate_clean_new", words{{1, 1, 1, 1}});
  book.line(bench, "wifi_test_broadcast_loop", 1);
}

void write_dispatch(book &book) {
  dispatch(book);
  dispatch_missing(book);
  const bench bench(book.chip());
  bench::set("subchip", "4294967295");
  book.heading("sub-chip 4294967295");
  book.line(bench, "wifi_set_power", 155);
}

// ---- Driver channel and shell --------------------------------------------------------------------------

/// Opens, and gives back what it got.
std::string open_and_close(void *function, arguments &) {
  const uint32_t socket = reinterpret_cast<uint32_t (*)()>(function)();
  if (socket == 0) return "0";
  reinterpret_cast<int (*)(int)>(dlsym(RTLD_DEFAULT, "close"))(static_cast<int>(socket));
  return "a descriptor";
}

void write_driver_and_shell(book &book) {
  book.heading("driver sockets");
  book.call_as(fresh, own{"wl_config_sockets_open"}, open_and_close, true);
  book.call_as(second_socket_fails, own{"wl_config_sockets_open"}, open_and_close, false);
  book.call<int32_t>(fresh, own{"wl_config_sockets_close"}, lent_socket{});
  book.call<int32_t>(fresh, own{"wl_config_sockets_close"}, uint32_t{999});

  book.heading("shell");
  book.try_faults<int32_t>(fresh, own{"system_call"}, "ifconfig wlan0 down");
  book.call<int32_t>(fresh, own{"system_call"}, no_text);
  book.call<int32_t>(failing("waitpid interrupted twice", {{"waitpid", 1, 2, EINTR}}), own{"system_call"},
                     "ifconfig wlan0 down");
  book.try_faults<int32_t>(fresh, own{"run_cmd_by_stream"}, "netcfg", output{40, true}, uint32_t{40});
  for (const uint32_t size : {2U, 1U, 0U}) {
    book.call<int32_t>(fresh, own{"run_cmd_by_stream"}, "netcfg", output{4}, size);
  }
  book.try_faults<int32_t>(fresh, own{"try_to_boot_up"});
  for (const scene &scene : {never_up, neither_up_nor_down, up_at_second_try}) {
    book.call<int32_t>(scene, own{"try_to_boot_up"});
  }
  for (const int32_t result : {0, 1, -1}) book.call<void>(fresh, own{"check_securef_ret"}, result);

  book.heading("value setters");
  for (const char *setter : {"freq", "pow", "mode", "rate", "band", "tx", "rx", "pm", "ant", "mimo",
                             "bus_chan", "pt", "tas_ant", "bss"}) {
    const std::string name = std::string("ioctl_data_") + setter + "_set";
    const bench bench(book.chip());
    book.line<void>(bench, own{name.c_str()}, output{6}, uint32_t{0x01020304});
  }

  book.heading("atoi");
  if (!book.exported("atoi")) return;
  const bench bench(book.chip());
  for (int c = 1; c < 256; c++) {
    const std::string said = book.outcome(bench, own{"atoi"}, static_cast<char>(c));
    if (said != "-> 0; log 6 \"wif_set_hw_mac_addr::des aid illegal.\\n\"") {
      book.text(std::string(1, static_cast<char>(c)) + " " + said);
    }
  }
  book.line(bench, own{"atoi"}, 'g');
}

// ---- Settings ------------------------------------------------------------------------------------------

void query_all(book &book, const bench &bench) {
  for (int32_t item = 0; item <= 15; item++) book.line<int32_t>(bench, "wifi_query_setting", item);
  book.line<int32_t>(bench, "wifi_query_setting", 257);
}

void write_settings(book &book) {
  const int32_t extremes[] = {-2147483647 - 1, -100, -99, -98, -1, 0, 1, 2, 3, 255, 256, 257, 2147483647};

  book.heading("settings of a library just loaded");
  query_all(book, bench(book.chip()));

  book.heading("each setting given, then all read back");
  {
    const bench bench(book.chip());
    book.line(bench, "wifi_set_mode", 4);
    book.line(bench, "wifi_set_rate", 6500);
    book.line(bench, "wifi_set_band", 2);
    book.line(bench, "wifi_set_channel", 5210);
    book.line(bench, "wifi_set_power", 155);
    book.line(bench, "wifi_set_antenna", 2);
    book.line(bench, "wifi_setmimo_channel", 2);
    query_all(book, bench);
  }
  book.heading("settings not above zero, read back");
  {
    const bench bench(book.chip());
    for (const int32_t value : {0, -5}) {
      book.outcome(bench, "wifi_set_channel", value);
      book.outcome(bench, "wifi_set_power", value);
      book.outcome(bench, "wifi_set_rate", value);
      for (const int32_t item : {3, 5, 7}) book.line<int32_t>(bench, "wifi_query_setting", item);
    }
  }
  book.heading("power outside test mode");
  book.try_faults(fresh, "wifi_set_power", 155);
  {
    const bench bench(book.chip());
    for (const int32_t power :
         {-2147483647 - 1, -200, -99, -10, -9, -1, 0, 9, 10, 99, 100, 199, 655360, 2147483647}) {
      book.line(bench, "wifi_set_power", power);
    }
  }
  book.heading("power in test mode");
  book.call({"in test mode", test_mode}, "wifi_set_power", 155);
  book.try_faults({"in test mode", test_mode}, own{"wifi_ioctl_set_power"}, 155);

  book.heading("mode");
  {
    const bench bench(book.chip());
    for (int32_t mode = -1; mode <= 16; mode++) {
      book.line(bench, "wifi_set_mode", mode);
      book.line<int32_t>(bench, "wifi_query_setting", 2);
    }
    for (const int32_t mode : {255, 256, 257, 260, 2147483647}) book.line(bench, "wifi_set_mode", mode);
  }
  book.heading("bandwidth, rate, channel");
  {
    const bench bench(book.chip());
    for (const int32_t value : extremes) {
      book.line(bench, "wifi_set_band", value);
      book.line(bench, "wifi_set_rate", value);
      book.line(bench, "wifi_set_channel", value);
    }
  }
  book.heading("antenna");
  book.try_faults(fresh, "wifi_set_antenna", 1);
  {
    const bench bench(book.chip());
    for (const int32_t value : extremes) book.line(bench, "wifi_set_antenna", value);
  }
  book.heading("power and antenna are recorded even if refused");
  {
    const bench bench(book.chip());
    phone_fault("ioctl", 1, 4, 0);
    book.outcome(bench, "wifi_set_power", 155);
    book.outcome(bench, "wifi_set_antenna", 2);
    for (const int32_t item : {5, 11}) book.line<int32_t>(bench, "wifi_query_setting", item);
    for (const int32_t item : {-1, -2147483647}) book.line<int32_t>(bench, "wifi_query_setting", item);
  }
  book.heading("MIMO chain");
  {
    const bench bench(book.chip());
    for (const int32_t value : extremes) book.line(bench, "wifi_setmimo_channel", value);
    for (const char *subchip : {"0", "1", "2", "3", "7", "257"}) {
      bench::set("subchip", subchip);
      book.text(std::string("the platform reports sub-chip ") + subchip);
      for (const int32_t chain : {1, 3}) book.line(bench, own{"wifi_setmimo_channel"}, chain);
    }
  }
}

// ---- Mode, bandwidth and channel as the driver gets them -----------------------------------------------

/// Outcomes over frequencies: each channel number on its own, runs of equal refusals as one line.
class channel_table {
public:
  explicit channel_table(book &book) : book_(book) {}
  ~channel_table() { flush(); }
  channel_table(const channel_table &) = delete;
  channel_table &operator=(const channel_table &) = delete;

  void add(int32_t mhz, std::string said) {
    const std::string number = std::to_string(mhz);
    for (size_t at = said.find(number); at != std::string::npos; at = said.find(number, at + 5))
      said.replace(at, number.size(), "<mhz>");
    if (said != said_ || mhz != last_ + 1) flush();
    if (said != said_ || first_ == 0) first_ = mhz;
    said_ = said;
    last_ = mhz;
  }

private:
  void flush() {
    if (first_ == 0) return;
    const std::string range = std::to_string(first_) + (last_ > first_ ? ".." + std::to_string(last_) : "");
    book_.text("  " + range + " " + said_);
    first_ = 0;
    said_.clear();
  }

  book &book_;
  int32_t first_ = 0, last_ = 0;
  std::string said_;
};

/// Of a command that was sent, all but what repeats at every frequency.
std::string shorten(std::string said) {
  const size_t socket = said.find("socket; ");
  const size_t close = said.find("; close");
  if (said.starts_with("-> 1; ") && socket != std::string::npos && close != std::string::npos)
    said = said.substr(socket + 8, close - socket - 8);
  return said;
}

void write_channels(book &book) {
  book.heading("mode by frequency");
  {
    const bench bench(book.chip());
    for (const uint32_t mode : {0, 4, 6, 7, 8, 9, 12, 14, 263, wide}) {
      for (const int32_t mhz : {-1, 0, 2412, 2476, 2483, 2484, 5180})
        book.line(bench, own{"wifi_ioctl_set_mode"}, mode, mhz);
    }
  }
  book.try_faults({"in test mode", test_mode}, own{"wifi_ioctl_set_mode"}, uint32_t{4}, 2412);
  book.heading("bandwidth");
  {
    const bench bench(book.chip());
    for (const uint32_t band : {0U, 1U, 2U, 3U, 4U, 7U, 258U, 0xFFFFFFFFU}) {
      book.line(bench, own{"wifi_ioctl_set_band"}, band);
    }
  }
  book.heading("MIMO chain");
  book.try_faults(fresh, own{"wifi_ioctl_setmimo_channel"}, uint32_t{2});
  book.call(fresh, own{"wifi_ioctl_setmimo_channel"}, uint32_t{wide});
  book.heading("channel");
  book.try_faults({"in test mode", test_mode}, own{"wifi_ioctl_set_channel"}, uint32_t{2412});
  for (const int32_t band : {0, 1, 2, 3, -1, 4}) {
    const bench bench(book.chip());
    book.outcome(bench, "wifi_set_band", band);
    book.text("bandwidth index " + std::to_string(band));
    channel_table table(book);
    const auto add = [&](int32_t mhz) {
      table.add(mhz, shorten(book.outcome(bench, own{"wifi_ioctl_set_channel"}, static_cast<uint32_t>(mhz))));
    };
    for (int32_t mhz = 2405; mhz <= 2490; mhz++) add(mhz);
    for (int32_t mhz = 5170; mhz <= 5835; mhz++) add(mhz);
    book.line(bench, own{"wifi_ioctl_set_channel"}, 0xFFFFFFFFU);
    for (const uint32_t mhz : {2412U, 2484U, 5180U, 5825U})
      book.line(bench, own{"wifi_ioctl_set_channel"}, mhz);
  }
  if (!book.exported("get_5g_band")) return;
  book.heading("channel arithmetic");
  const bench bench(book.chip());
  for (const int32_t bandwidth : {0, 1, 2, 3, 4, -1}) {
    for (const int32_t mhz : {2411, 2412, 2472, 2476, 2477, 2484, 5180, 5825, 5830}) {
      book.line(bench, own{"wifi_get_channel_by_bw_freq"}, mhz, bandwidth, output{4});
    }
  }
  for (int32_t row = 0; row < 6; row++) {
    for (const uint32_t mhz : {2412U, 2472U, 5180U, 5181U, 5825U}) {
      book.line(bench, own{"get_target_channel"}, uint32_t{100}, row, mhz, output{4});
    }
  }
  for (const int32_t mhz : {5179, 5180, 5320, 5321, 5499, 5500, 5640, 5641, 5659, 5660, 5720, 5721, 5744,
                            5745, 5825, 5826, 2412}) {
    book.line<int32_t>(bench, own{"get_5g_band"}, mhz);
  }
}

// ---- RF test -------------------------------------------------------------------------------------------

void write_test_mode(book &book) {
  book.heading("entering test mode");
  book.try_faults({"", nothing}, "wifi_start_testmode");
  book.call({"in test mode already", test_mode}, "wifi_start_testmode");
  book.call({"wlan0 is down", nothing,
             [](const bench &bench) {
               bench.call((bench.chip() + "_system_call").c_str(), "ifconfig wlan0 down");
             }},
            "wifi_start_testmode");
  for (const int32_t flag : {1, 0}) {
    book.call(after("after wifi_selcal_disable_set(" + std::to_string(flag) + ")",
                    [=](const bench &bench) { bench.call("wifi_selcal_disable_set", flag); }),
              "wifi_start_testmode");
  }
  book.heading("leaving test mode");
  book.call(fresh, "wifi_stop_testmode");
  book.try_faults({"in test mode", test_mode}, "wifi_stop_testmode");
  book.try_faults({"receiving", receiving}, "wifi_stop_testmode");
  book.call({"transmitting", transmitting}, "wifi_stop_testmode");
  {
    const bench bench(book.chip());
    bench.prepare(transmitting);
    bench.call("wifi_start_rx", no_text, no_text);
    book.text("\nflags after leaving while transmitting and receiving");
    book.outcome(bench, "wifi_stop_testmode");
    for (const int32_t item : {1, 9, 10}) book.line<int32_t>(bench, "wifi_query_setting", item);
  }
  {
    const bench bench(book.chip());
    book.text("\nafter an interface that did not come up");
    phone_fault(up.c_str(), 1, 1, 1);
    book.outcome(bench, "wifi_start_testmode");
    book.line<int32_t>(bench, "wifi_query_setting", 1);
    book.line(bench, "wifi_set_power", 155);
  }
  {
    const bench bench(book.chip());
    bench.prepare(receiving);
    book.text("\nafter an interface that did not go down");
    phone_fault(down.c_str(), 1, 1, 1);
    book.outcome(bench, "wifi_stop_testmode");
    for (const int32_t item : {1, 9, 10}) book.line<int32_t>(bench, "wifi_query_setting", item);
  }
  {
    const bench bench(book.chip());
    bench.prepare(test_mode);
    book.text("\nsettings survive test mode");
    book.outcome(bench, "wifi_stop_testmode");
    book.outcome(bench, "wifi_start_testmode");
    for (const int32_t item : {2, 3, 5, 7}) book.line<int32_t>(bench, "wifi_query_setting", item);
  }
  book.heading("the framework's interface");
  const std::pair<const char *, const char *> listings[] = {
      {"several lines", "lo UP 127.0.0.1/8\nwlan0 DOWN 0.0.0.0/0\nwlan0 UP 10.0.0.2/24\nwlan1 UP\n"},
      {"no line of wlan0", "lo UP 127.0.0.1/8\n"},
      {"line ends only", "\n\n\n"},
      {"UP in front", "UP is wlan0\n"},
      {"no end", "wlan0 UP"}};
  for (const auto &[words, listing] : listings) {
    const std::string text = listing;
    book.call({words, nothing, [=](const bench &) { bench::set("netcfg.output", text); }},
              "conn_test_sdio_loop", nullptr);
  }
  book.heading("single steps");
  book.try_faults({"in test mode", test_mode}, own{"wifi_set_country_all"});
  book.try_faults({"in test mode", test_mode}, own{"wifi_set_dyn_interval"});
  book.try_faults({"in test mode", test_mode}, own{"wifi_set_selfcali_interval"});
  book.try_faults(fresh, own{"wifi_set_pm_switch"}, uint32_t{0});
  for (const uint32_t value : {1U, uint32_t{wide}}) book.call(fresh, own{"wifi_set_pm_switch"}, value);
  book.try_faults(fresh, "wifi_set_powermode", 1, 0);
  for (const int32_t mode : {1, 0, 2, -1, 257}) {
    for (const int32_t value : {0, wide}) book.call(fresh, "wifi_set_powermode", mode, value);
  }
  book.try_faults(fresh, "wifi_pt_power_test", 1);
  for (const int32_t mode : {0, 2, 256, -1}) book.call(fresh, "wifi_pt_power_test", mode);
}

void set_rf(const bench &bench, int32_t mode, int32_t band, int32_t mhz, int32_t rate, int32_t power) {
  bench.call("wifi_set_mode", mode);
  bench.call("wifi_set_band", band);
  bench.call("wifi_set_channel", mhz);
  bench.call("wifi_set_rate", rate);
  bench.call("wifi_set_power", power);
}

void write_transmit(book &book) {
  book.heading("start");
  book.try_faults({"in test mode, set up", test_mode}, "wifi_start_tx");
  book.call(after("in test mode, nothing set", [](const bench &bench) { bench.call("wifi_start_testmode"); }),
            "wifi_start_tx");
  book.call(fresh, "wifi_start_tx");
  book.call(after("5 GHz, 160 MHz, power not set",
                  [](const bench &bench) {
                    bench.call("wifi_start_testmode");
                    bench.call("wifi_setmimo_channel", 2);
                    set_rf(bench, 5, 3, 5250, 86670, -99);
                  }),
            "wifi_start_tx");
  book.call(after(
                "channel 14", [](const bench &bench) { set_rf(bench, 6, 0, 2484, 1100, 180); }, test_mode),
            "wifi_start_tx");
  book.call(after(
                "a frequency off the grid", [](const bench &bench) { set_rf(bench, 4, 0, 2413, 6500, 155); },
                test_mode),
            "wifi_start_tx");
  const auto with = [](const std::string &words, int32_t mode, int32_t band, int32_t mhz, int32_t power) {
    return after(
        words, [=](const bench &bench) { set_rf(bench, mode, band, mhz, 6500, power); }, test_mode);
  };
  for (const scene &scene :
       {with("2412 MHz at 40 MHz", 4, 1, 2412, 155), with("2417 MHz at 40 MHz", 4, 1, 2417, 155),
        with("80 MHz at 2.4 GHz", 4, 2, 2412, 155), with("80 MHz at 5 GHz", 5, 2, 5210, 155),
        with("AT mode 6 at 2.4 GHz", 6, 0, 2412, 155), with("negative power", 4, 0, 2412, -155)}) {
    book.call(scene, "wifi_start_tx");
    book.call(scene, "wifi_start_rx", no_text, no_text);
  }
  book.call(after("no chain chosen",
                  [](const bench &bench) {
                    bench.call("wifi_start_testmode");
                    set_rf(bench, 4, 0, 2412, 6500, 155);
                  }),
            "wifi_start_tx");
  book.call(after(
                "an unknown mode after a known one",
                [](const bench &bench) { bench.call("wifi_set_mode", 99); }, test_mode),
            "wifi_start_tx");
  book.call(after(
                "a refused chain after chain 2",
                [](const bench &bench) {
                  bench.call("wifi_setmimo_channel", 2);
                  bench.call("wifi_setmimo_channel", 3);
                },
                test_mode),
            "wifi_start_tx");
  book.heading("rates");
  for (const int32_t rate : {0, 1, 65, 99, 100, 550, 1100, 5400, 6500, 12150, 12151, 86670, wide, -1, -100}) {
    book.call(after(
                  "rate " + std::to_string(rate),
                  [=](const bench &bench) { bench.call("wifi_set_rate", rate); }, test_mode),
              "wifi_start_tx");
  }
  book.heading("stop");
  book.try_faults({"transmitting", transmitting}, "wifi_stop_tx");
  book.call({"not started", test_mode}, "wifi_stop_tx");
  {
    const bench bench(book.chip());
    bench.prepare(test_mode);
    book.text("\nthe transmit flag");
    for (const char *function : {"wifi_start_tx", "wifi_stop_tx"}) {
      book.outcome(bench, function);
      book.line<int32_t>(bench, "wifi_query_setting", 9);
    }
    phone_fault("ioctl:5", 1, 2, 0);
    book.outcome(bench, "wifi_start_tx");
    book.line<int32_t>(bench, "wifi_query_setting", 9);
  }
  for (const bool transmit : {true, false}) {
    const bench bench(book.chip());
    bench.prepare(test_mode);
    book.text(std::string("\nthe flag after a start that failed early, ") +
              (transmit ? "transmit" : "receive"));
    phone_fault("ioctl:2", 1, 2, 0);
    if (transmit) {
      book.outcome(bench, "wifi_start_tx");
    } else {
      book.outcome(bench, "wifi_start_rx", no_text, no_text);
    }
    book.line<int32_t>(bench, "wifi_query_setting", transmit ? 9 : 10);
  }
}

void write_receive(book &book) {
  book.heading("start");
  book.try_faults({"in test mode, set up", test_mode}, "wifi_start_rx", "0a1B2c3D4e5F", no_text);
  book.call({"in test mode, set up", test_mode}, "wifi_start_rx", no_text, no_text);
  book.call(after("in test mode, nothing set", [](const bench &bench) { bench.call("wifi_start_testmode"); }),
            "wifi_start_rx", no_text, no_text);
  book.heading("address filter");
  for (const char *mac : {"0a1B2c3D4e5F", "0A1B2C3D4E5F6789", "01020304050F", "0a1B2c3D4e5", "0a1B2c3D4e5G",
                          "", "@`/:gG123456", "00:11:22:33:44"}) {
    book.call({"in test mode", test_mode}, own{"wifi_set_hw_mac_addr"}, mac);
  }
  book.try_faults({"in test mode", test_mode}, own{"wifi_set_hw_mac_addr"}, no_text);
  book.call({"in test mode", test_mode}, "wifi_start_rx", "0a1B2c3D4e5G", no_text);
  book.heading("stop");
  book.try_faults({"receiving", receiving}, "wifi_stop_rx");
  book.call({"not started", test_mode}, "wifi_stop_rx");
  {
    const bench bench(book.chip());
    bench.prepare(test_mode);
    book.text("\nthe receive flag");
    book.outcome(bench, "wifi_start_rx", no_text, no_text);
    book.line<int32_t>(bench, "wifi_query_setting", 10);
    book.outcome(bench, "wifi_stop_rx");
    book.line<int32_t>(bench, "wifi_query_setting", 10);
    book.outcome(bench, "wifi_start_rx", "no address", no_text);
    book.line<int32_t>(bench, "wifi_query_setting", 10);
  }
  book.heading("readings");
  book.try_faults({"receiving", receiving}, "wifi_get_rx_rssi", output{4});
  book.call(refused_with(12, "c9ffffff", receiving), "wifi_get_rx_rssi", output{4});
  book.try_faults(answering(10, {0x78, 0x56, 0x34, 0x12}, receiving), "wifi_get_rx_pckg");
  book.call(answering(10, {0xFF, 0xFF, 0xFF, 0xFF}, receiving), "wifi_get_rx_pckg");
}

void write_ru_test(book &book) {
  book.heading("arming");
  for (const int32_t en_set : {0, 1, 2, 3, 257, -1}) book.call(fresh, "wifi_ru_set", en_set, "0a5");
  for (const char *aid : {"123", "FfF", "12", "1234", "xyz", ""}) book.call(fresh, "wifi_ru_set", 1, aid);
  book.call(fresh, "wifi_ru_set", 2, no_text);
  book.heading("the setting");
  book.call(fresh, own{"wifi_ioctl_set_axru"}, uint16_t{0x0A5});
  book.try_faults({"receive armed", ru_test}, own{"wifi_ioctl_set_axru"}, uint16_t{0x0A5});
  book.call(after(
                "transmit armed", [](const bench &bench) { bench.call("wifi_ru_set", 1, "00f"); }, test_mode),
            own{"wifi_ioctl_set_axru"}, uint16_t{0xFFFF});
  book.call(after(
                "armed twice, sent once",
                [](const bench &bench) {
                  bench.call("wifi_ru_set", 1, "00f");
                  bench.call("wifi_ru_set", 2, "00e");
                  bench.call((bench.chip() + "_wifi_ioctl_set_axru").c_str(), uint16_t{1});
                },
                test_mode),
            own{"wifi_ioctl_set_axru"}, uint16_t{1});
  if (!book.exported("wifi_ioctl_set_axru")) return;
  book.heading("in a receive start");
  book.try_faults({"receive armed", ru_test}, "wifi_start_rx", no_text, no_text);
  const auto armed_then = [&](const std::string &words, std::function<void(const bench &)> calls) {
    return after("receive armed, " + words, std::move(calls), ru_test);
  };
  const scene cases[] = {
      armed_then("then disarmed", [](const bench &bench) { bench.call("wifi_ru_set", 0, "111"); }),
      armed_then("then a refused setting", [](const bench &bench) { bench.call("wifi_ru_set", 3, "111"); }),
      armed_then("started once already",
                 [](const bench &bench) { bench.call("wifi_start_rx", no_text, no_text); }),
      armed_then("a start that failed before the setting",
                 [](const bench &bench) {
                   phone_fault("ioctl:2", 1, 2, 0);
                   bench.call("wifi_start_rx", no_text, no_text);
                 }),
      armed_then("the setting refused once already",
                 [](const bench &bench) {
                   phone_fault("ioctl:39", 1, 2, 0);
                   bench.call("vq2070_wifi_ioctl_set_axru", uint16_t{1});
                 }),
  };
  for (const scene &scene : cases) book.call(scene, "wifi_start_rx", no_text, no_text);
}

void write_rf_test(book &book) {
  write_test_mode(book);
  write_transmit(book);
  write_receive(book);
  write_ru_test(book);
}

// ---- Self-checks ---------------------------------------------------------------------------------------

struct probe {
  const char *name;
  const char *key;  // of the phone: what the probe finds
};
constexpr probe probes[] = {
    {"wl_config_wifi_efuse_get", "check.efuse"}, {"wl_config_wipin_test", "check.pin"},
    {"wl_config_pmu_check", "check.pmu"},        {"wl_config_wkup_io_test", "check.wakeup_io"},
    {"wl_config_pcie_test", "check.pcie"},
};

void write_probes(book &book) {
  book.heading("probes");
  book.try_faults<int32_t>(fresh, own{"wl_config_wifi_dbb_get"}, lent_socket{}, "wlan0");
  book.call<int32_t>(answering(6, std::vector<uint8_t>(256, 'A')), own{"wl_config_wifi_dbb_get"},
                     lent_socket{}, "wlan0");
  for (const probe &probe : probes) {
    book.try_faults<int32_t>(fresh, own{probe.name}, lent_socket{}, "wlan0");
    book.call<int32_t>(fresh, own{probe.name}, lent_socket{}, "wlan1");
    for (const char *found : {"1", "256", "32768", "65536", "65541", "4294967295"}) {
      book.call<int32_t>(keyed(probe.key, found), own{probe.name}, lent_socket{}, "wlan0");
    }
  }
  const uint32_t probe_ids[] = {6, 20, 25, 26, 27, 29, 30, 31};
  for (const char *name : {"wl_config_wifi_dbb_get", "wl_config_wifi_efuse_get", "wl_config_wipin_test",
                           "wl_config_pmu_check", "wl_config_wkup_io_test", "wl_config_pcie_test"}) {
    for (const uint32_t id : probe_ids) {
      const scene scene = refused_with(id, "05000000");
      const bench bench(book.chip());
      scene.prepare(bench);
      const std::string said = book.outcome(bench, own{name}, lent_socket{}, "wlan0");
      if (said.find("EIO") != std::string::npos)
        book.text(std::string(name) + ", " + scene.words + " " + said);
    }
  }
  book.heading("FEM/PA status");
  book.try_faults(fresh, "wifi_hw_get", nullptr);
  book.call(refused_with(7, "05000000"), "wifi_hw_get", nullptr);
  book.call(refused_with(7, "00"), "wifi_hw_get", nullptr);
  for (const char *found : {"1", "65536", "4294967295"}) {
    book.call(keyed("check.fem", found), "wifi_hw_get", nullptr);
  }
  book.heading("PMU check");
  book.try_faults(fresh, own{"wifi_check_pmu"});
  book.call(keyed("check.pmu", "261"), own{"wifi_check_pmu"});
}

void write_chip_check(book &book) {
  book.heading("chip check");
  book.try_faults(fresh, "conn_test_chipcheck", nullptr, nullptr, nullptr);
  book.try_faults(fresh, "conn_test_get_chipcheck_result", nullptr, nullptr, nullptr);
  book.call(fresh, "conn_test_chipcheck", output{1}, output{1}, output{1});
  book.call(fresh, "conn_test_chipcheck", output{1}, output{1}, nullptr);
  book.call(fresh, "conn_test_chipcheck", nullptr, output{1}, output{1});
  book.call(fresh, "conn_test_get_chipcheck_result", output{1}, nullptr, output{4});
  for (const char *code : {"1", "7", "4294967295"}) {
    book.call(keyed("check.chip", code), "conn_test_chipcheck", nullptr, nullptr, nullptr);
    book.call(keyed("check.chip", code), "conn_test_get_chipcheck_result", nullptr, nullptr, nullptr);
  }
  book.call(
      after("after wifi_query_setting(13)", [](const bench &bench) { bench.call("wifi_query_setting", 13); }),
      "conn_test_chipcheck", nullptr, nullptr, nullptr);
  book.heading("bus loops");
  book.try_faults(fresh, "conn_test_uart_loop", nullptr);
  book.try_faults(fresh, "conn_test_sdio_loop", nullptr);
  book.heading("die identifier");
  book.try_faults(fresh, own{"wifi_get_die_id"}, output{4}, output{38});
  book.try_faults(fresh, "conn_test_get_checktime_of_chipcheck", nullptr, output{4}, output{38});
  for (const scene &scene : {never_up, neither_up_nor_down, up_at_second_try}) {
    book.call(scene, own{"wifi_get_die_id"}, output{4}, output{38});
  }
  book.call(failing("no socket, and wlan0 does not go down", {{"socket", 1, 0}, {down, 1, 0, 1}}),
            own{"wifi_get_die_id"}, output{4}, output{38});
  book.call(refused_with(22, "0102030405060708"), own{"wifi_get_die_id"}, output{4}, output{38});
}

void write_self_check(book &book) {
  write_probes(book);
  write_chip_check(book);
  book.heading("weld test");
  book.try_faults(fresh, "wifi_test_weld");
  for (const probe &probe : probes) book.call(keyed(probe.key, "5"), "wifi_test_weld");
  for (const char *found : {"65536", "65535"}) {
    book.call(keyed("check.wakeup_io", found), "wifi_test_weld");
    book.call(keyed("check.pcie", found), "wifi_test_weld");
  }
  for (const scene &scene : {never_up, neither_up_nor_down, up_at_second_try})
    book.call(scene, "wifi_test_weld");
  book.call({"in test mode", test_mode}, "wifi_test_weld");
  {
    const bench bench(book.chip());
    bench.prepare(test_mode);
    book.outcome(bench, "wifi_test_weld");
    book.text("\nthe test mode flag after a weld test");
    book.line<int32_t>(bench, "wifi_query_setting", 1);
  }
  {
    const bench bench(book.chip());
    bench.prepare(test_mode);
    phone_fault(up.c_str(), 1, 2, 1);
    book.outcome(bench, "wifi_test_weld");
    book.text("\nthe test mode flag after a weld test that failed");
    book.line<int32_t>(bench, "wifi_query_setting", 1);
  }
}

// ---- Calibration ---------------------------------------------------------------------------------------

/// Of one request: its result, and what reached the driver and NV.
std::string effect(const std::string &said) {
  std::string kept;
  size_t from = 0;
  while (from < said.size()) {
    size_t to = said.find("; ", from);
    // A text may hold ";" too, but never with a blank after it.
    if (to == std::string::npos) to = said.size();
    const std::string part = said.substr(from, to - from);
    if (part.starts_with("-> ") || part.starts_with("nv write") || part.starts_with("ioctl") ||
        part.starts_with("log 6 \""
                         "vq")) {
      kept += (kept.empty() ? "" : "; ") + part;
    }
    from = to + 2;
  }
  return kept;
}

void write_requests(book &book, bool stored) {
  book.heading(stored ? "requests, NV as calibrated" : "requests, NV empty");
  for (const int32_t group : {0, 1}) {
    for (const int32_t mode : {0, 1, 2, 3, 4, 5}) {
      for (const int32_t band : {0, 1}) {
        for (const int32_t bandwidth : {0, 1, 2, 3}) {
          for (const int32_t freq : {2412, 2442, 5250}) {
            const bench bench(book.chip());
            if (stored) support::store_calibration();
            const std::string said =
                book.outcome(bench, "wifi_nvram_calibrate_set", 0, group, mode, band, bandwidth, freq, "3.6");
            const bool wrong = said.find("AT param wrong!") != std::string::npos;
            if (wrong && (mode != 1 || freq != 2412)) continue;
            book.text("group " + std::to_string(group) + " mode " + std::to_string(mode) + " band " +
                      std::to_string(band) + " bandwidth " + std::to_string(bandwidth) + " freq " +
                      std::to_string(freq) + ": " + effect(said));
          }
        }
      }
    }
  }
}

void write_frequencies(book &book) {
  book.heading("by frequency, one chain-0 parameter of each family, NV as calibrated");
  const auto line = [&](int32_t band, int32_t bandwidth, int32_t freq) {
    const bench bench(book.chip());
    support::store_calibration();
    book.text(std::to_string(freq) + " bandwidth " + std::to_string(bandwidth) + ": " +
              effect(book.outcome(bench, "wifi_nvram_calibrate_set", 0, 0, 0, band, bandwidth, freq, "-12")));
  };
  for (const int32_t freq : {0,    2407, 2408, 2411, 2412, 2413, 2417, 2422, 2427, 2432, 2437, 2441, 2442,
                             2443, 2447, 2452, 2457, 2462, 2467, 2472, 2473, 2476, 2477, 2481, 2482, 2484}) {
    line(0, 0, freq);
  }
  for (const int32_t freq :
       {5179, 5180, 5320, 5321, 5499, 5500, 5640, 5641, 5659, 5660, 5720, 5721, 5744, 5745, 5825, 5826}) {
    line(1, 0, freq);
  }
  for (const int32_t freq : {5210, 5250, 5570, 5775}) line(1, 3, freq);
}

void write_errors(book &book) {
  book.heading("measured errors");
  for (const char *error :
       {"",      "abc",    "0", "-0", "0.4", "0.5",  "-0.5", "1.5",  "-1.5", "12",  "499.99", "500", "-500",
        "500.1", "-500.1", "5", "-5", "5.1", "-5.1", "1e9",  "-1e9", "1e39", "nan", "inf",    " 7",  "7dB"}) {
    const bench bench(book.chip());
    support::store_calibration();
    const int32_t mode = book.chip() == "vq2040" ? 3 : 0;
    book.line(bench, "wifi_nvram_calibrate_set", 0, 0, mode, 0, 0, 2442, error);
    book.text("  offset: " +
              effect(book.outcome(bench, "wifi_nvram_calibrate_set", 0, 0, mode, 0, 0, 2412, error)));
  }
}

/// In full, with every contact failing once.
void write_calibration_sets(book &book) {
  const bool block = book.chip() == "vq2040";
  const scene calibrated_scene = {"NV as calibrated", calibrated};
  const scene empty = {"NV empty"};
  book.heading("in full");
  if (block) {
    book.try_faults(calibrated_scene, "wifi_nvram_calibrate_set", 0, 0, 3, 0, 0, 2442, "1.5");
    book.call(failing("the second NV access answers 7", {{"kevoOperaNVWR", 2, 1, 7}}, calibrated),
              "wifi_nvram_calibrate_set", 0, 0, 3, 0, 0, 2442, "1.5");
    for (const int32_t mode : {1, 2, 4, 5}) {
      for (const int32_t bandwidth : {0, 1, 2}) {
        book.call(calibrated_scene, "wifi_nvram_calibrate_set", 0, 0, mode, 1, bandwidth, 5180, "-1.5");
      }
    }
    book.call({"codes that saturate", nothing,
               [](const bench &) {
                 uint8_t codes[ORVA_NV_ITEM_SIZE];
                 for (size_t i = 0; i < sizeof codes; i++) codes[i] = static_cast<uint8_t>(i * 5);
                 phone_nv_put(340, "WINVRAM", codes);
               }},
              "wifi_nvram_calibrate_set", 0, 0, 4, 0, 1, 2442, "4.9");
    book.call(calibrated_scene, "wifi_nvram_calibrate_set", 0, 0, 3, 0, 0, 2442, no_text);
    book.call(calibrated_scene, "wifi_nvram_calibrate_set", 1, 1, 4, 0, 0, 2412, "0.5");
    book.call(calibrated_scene, "wifi_nvram_calibrate_set", 0, 0, 259, 0, 0, 2412, "0.5");
    book.call(calibrated_scene, "wifi_nvram_calibrate_set", 0, 0, 4, 256, 0, 2412, "0.5");
    book.call(calibrated_scene, "wifi_nvram_calibrate_set", 0, 0, 4, 0, 257, 2412, "0.5");
    book.call({"NV empty"}, "wifi_nvram_calibrate_set", 0, 0, 4, 0, 0, 2412, "0.5");
    return;
  }
  book.try_faults(calibrated_scene, "wifi_nvram_calibrate_set", 0, 0, 0, 0, 0, 2442, "12");
  book.try_faults(calibrated_scene, "wifi_nvram_calibrate_set", 0, 0, 0, 0, 0, 2412, "-7");
  book.try_faults(calibrated_scene, "wifi_nvram_calibrate_set", 0, 0, 0, 1, 0, 5500, "12");
  book.try_faults(empty, "wifi_nvram_calibrate_set", 0, 0, 0, 0, 0, 2442, "12");
  book.try_faults(empty, "wifi_nvram_calibrate_set", 0, 0, 0, 0, 0, 2412, "-7");
  book.try_faults(empty, "wifi_nvram_calibrate_set", 0, 0, 0, 1, 0, 5180, "12");
  book.call(empty, "wifi_nvram_calibrate_set", 0, 1, 0, 1, 3, 5250, "3");
  book.call(empty, "wifi_nvram_calibrate_set", 1, 0, 0, 0, 0, 2442, "12");
  for (const int32_t chain : {2, 256}) {
    book.call(empty, "wifi_nvram_calibrate_set", 0, chain, 0, 0, 0, 2442, "12");
  }
  book.call(empty, "wifi_nvram_calibrate_set", 256, 0, 0, 0, 0, 2442, "12");
  book.call(empty, "wifi_nvram_calibrate_set", 0, 0, 258, 0, 0, 2442, "12");
  book.call(empty, "wifi_nvram_calibrate_set", 0, 0, 0, 257, 0, 5250, "12");
  book.call(empty, "wifi_nvram_calibrate_set", 0, 0, 0, 0, 257, 2442, "12");
  book.call(empty, "wifi_nvram_calibrate_set", 0, 0, 0, 0, 0, 65536 + 2442, "12");
  for (const auto &[mode, bandwidth] : {std::pair{2, 0}, std::pair{0, 1}}) {
    for (const int32_t freq : {2412, 2442}) {
      for (const int32_t chain : {0, 1}) {
        book.call(calibrated_scene, "wifi_nvram_calibrate_set", 0, chain, mode, 0, bandwidth, freq, "8");
      }
    }
  }
  book.heading("the driver's answer out of order");
  const uint32_t query = book.chip() == "vq2040a" ? 26 : 29;
  for (const char *text : {"", "x", "1", "1,2", "1,2,x", "1,2,3,4"}) {
    const std::string answer = text;
    const scene scene =
        answering(query, std::vector<uint8_t>(answer.c_str(), answer.c_str() + answer.size() + 1));
    book.call(scene, "wifi_nvram_calibrate_set", 0, 0, 0, 0, 0, 2442, "8");
  }
  book.call(answering(query, std::vector<uint8_t>(104, '7')), "wifi_nvram_calibrate_set", 0, 0, 0, 0, 0, 2442,
            "8");
  book.call(stored(340, "WIC0_2G5G_OFDM", "pa5ga0=1,2,3,4;"), "wifi_nvram_calibrate_set", 0, 0, 0, 1, 0, 5745,
            "8");
  book.call(stored(340, "WIC0_2G5G_OFDM", "pa2ga0=1,2,3;pa5ga0=" + std::string(83, '1') + ";"),
            "wifi_nvram_calibrate_set", 0, 0, 0, 0, 0, 2442, "2147483647");
  book.heading("stored texts out of order");
  for (const char *text :
       {";", "x", "pa2ga0=1,2;", "pa2ga0=;", "pa2ga0;", "pa2ga0", "pa2ga0=1,2,3", "xpa2ga0=1,2,3;",
        ";;pa2ga0=4,5,6;;", "pa2ga0=1,2,3;pa2ga0=4,5,6;", "pa2g=1,2,3;", "pa2ga0=1,2,3,4,5;",
        "pa2ga0=99999999999,2,3;",
        "pa5ga0=1,2,3,4,5,6,7,8,9,10,11,12;pa2ga0=10000,20000,30000;pa5glowa0=123456789012345678"
        "901234567890123456789012"}) {
    book.call(stored(340, "WIC0_2G5G_OFDM", text), "wifi_nvram_calibrate_set", 0, 0, 0, 0, 0, 2442, "12");
  }
  book.call(stored(396, "WIC0_2GMU_OFDM", "mf2ga0=1,2,3;"), "wifi_nvram_calibrate_set", 0, 0, 0, 0, 0, 2472,
            "9");
}

void write_lookups(book &book) {
  if (!book.exported("wifi_get_nvnum_parname_from_at_param")) return;
  book.heading("lookups");
  const auto look_up = [](const orva_cal_lookup &found) {
    std::string text = std::to_string(found.count) + " in table " + std::to_string(found.table) + ":";
    for (int i = 0; i < found.count; i++) text += " " + std::to_string(found.map_id[i]);
    return text;
  };
  for (const int32_t freq : {2412, 2442, 5180, 2481, 2482}) {
    for (const uint32_t band : {0U, 1U}) {
      book.call_as(
          {"group 0, mode 0, band " + std::to_string(band) + ", bandwidth 0, " + std::to_string(freq) +
           " MHz"},
          own{"wifi_get_nvnum_parname_from_at_param"},
          [=, &book](void *function, arguments &) {
            using one_chain = orva_cal_lookup (*)(uint32_t, uint32_t, uint32_t, int32_t);
            using two_chains = orva_cal_lookup (*)(uint32_t, uint32_t, uint32_t, uint32_t, int32_t);
            return look_up(book.chip() == "vq2040a"
                               ? reinterpret_cast<one_chain>(function)(0, band, 0, freq)
                               : reinterpret_cast<two_chains>(function)(0, 0, band, 0, freq));
          },
          false);
    }
  }
  book.heading("name families");
  const bench bench(book.chip());
  for (const char *name :
       {"",          "p",         "pa2",      "pa2g",     "pa2gccka0", "pa2gccka1", "pa2ga0",
        "pa2ga1",    "pa2g40a0",  "pa2g40a1", "pa2ga",    "pa2ga00",   "mf2ga0",    "mf2ga1",
        "mf2gccka0", "mf2gccka1", "mf2g40a0", "mf2g40a1", "pa5ga0",    "pa5ga1",    "pa5glowa0",
        "pa5glowa1", "pa5glowa2", "dpn160c0", "dpn160c1", "dpn160c2",  "x"}) {
    std::string all = std::string("\"") + name + "\"";
    for (const char *check : {"2G_normal", "2G_mucal", "5G_normal", "5G_160M"}) {
      const std::string function = std::string("check_nvname_") + check;
      all += std::string(" ") + check + " " + book.outcome(bench, own{function.c_str()}, name).substr(3);
    }
    book.text(all);
  }
}

void write_reading_and_cleaning(book &book) {
  const scene full = {"NV as calibrated", calibrated};
  book.heading("reading");
  book.try_faults(full, "wifi_nvram_calibrate_get", output{1664, true}, 104);
  book.call(fresh, "wifi_nvram_calibrate_get", output{1664, true}, 104);
  for (const int32_t size : {103, 105, 300, 30, 1, 0, -1}) {
    book.call(full, "wifi_nvram_calibrate_get", output{size > 0 ? 16 * static_cast<size_t>(size) : 8, true},
              size);
  }
  book.heading("cleaning");
  for (const int32_t scope : {1, 2, 3, 4, 5}) book.try_faults(full, "wifi_nvram_calibrate_clean", scope);
  for (const int32_t scope : {0, 6, 257, -1}) book.call(full, "wifi_nvram_calibrate_clean", scope);
  book.call(full, "wifi_nvram_calibrate_clean_new", words{{1, 1, 1, 1}});
  for (uint32_t one = 0; one < 4; one++) {
    words flags = {{0, 0, 0, 0}};
    flags.values[one] = 2;
    book.call(full, "wifi_nvram_calibrate_clean_new", flags);
  }
  book.call(fresh, "wifi_nvram_calibrate_clean_new", words{{0, 0, 0, 0}});
  book.heading("cleaning, the steps that are exported");
  book.call(full, own{"clean_all_nvparam"});
  for (const char *step :
       {"clean_nvparam_2G_C0", "clean_nvparam_2G_C1", "clean_nvparam_5G_C0", "clean_nvparam_5G_C1"}) {
    for (const uint32_t enable : {1U, 256U, 0U}) book.call(full, own{step}, enable);
  }
  for (const char *step : {"clean_nvparam_by_rfcore", "clean_nvparam_by_rffreq"}) {
    for (const uint32_t which : {0U, 1U, 2U, 256U}) book.call(full, own{step}, which);
  }
}

std::string entry(void *function, arguments &, uint32_t number, const char *name, const char *param,
                  uint32_t mode, uint32_t size) {
  static constexpr uint32_t values[] = {1, 4294967295, 3};
  const orva_nvbuf_request request = {number, name, ORVA_NV_ITEM_SIZE, param, 3, values};
  std::vector<char> out(size + 2, '?');  // the routine starts with an empty text, whatever is there
  out[size + 1] = '\0';
  reinterpret_cast<void (*)(char *, uint32_t, const orva_nvbuf_request *, uint32_t)>(function)(
      out.data(), size, &request, mode);
  return std::string("\"") + out.data() + "\"";
}

void write_items(book &book) {
  const scene full = {"NV as calibrated", calibrated};
  book.heading("one item");
  const char *names[] = {"WITXCCK", no_text};
  for (const char *name : names) {
    book.call<void>(full, own{"write_nvpattern_to_nv"}, uint32_t{367}, name, uint32_t{104}, "pa2gccka1");
  }
  book.call<void>(full, own{"write_nvpattern_to_nv"}, uint32_t{367}, "WITXCCK", uint32_t{104}, no_text);
  book.try_faults<void>(full, own{"write_nvpattern_to_nv"}, uint32_t{367}, "WITXCCK", uint32_t{104},
                        "pa2gccka0");
  book.call<void>(failing("the third NV access answers 7", {{"kevoOperaNVWR", 3, 1, 7}}, calibrated),
                  own{"write_nvpattern_to_nv"}, uint32_t{367}, "WITXCCK", uint32_t{104}, "pa2gccka0");
  for (const char *text : {"", "pa2gccka1", "pa2gccka0=1;pa2gccka1=2;pa2gccka1=3;x", "a=1;"}) {
    book.call<void>(stored(367, "WITXCCK", text), own{"write_nvpattern_to_nv"}, uint32_t{367}, "WITXCCK",
                    uint32_t{104}, "pa2gccka1");
  }
  const char *const modes[] = {"read", "merge", "keep only"};
  for (uint32_t mode = 0; mode < 4; mode++) {
    for (const char *text : {"pa2gccka0=-190,6100;pa2gccka1=1,2,3;", "pa2gccka0=5,6", "pa2gccka1=1;", "",
                             "pa2gccka0=1;;pa2gccka0=2;"}) {
      scene scene = stored(367, "WITXCCK", text);
      scene.words = std::string(mode < 3 ? modes[mode] : "an unknown mode") + ", " + scene.words;
      book.call_as(
          scene, own{"get_nvbuf_by_name"},
          [=](void *function, arguments &store) {
            return entry(function, store, 367, "WITXCCK", "pa2gccka0", mode, 104);
          },
          true);
    }
    book.call_as(
        {std::string("mode ") + std::to_string(mode) + ", a buffer of 12 bytes", calibrated},
        own{"get_nvbuf_by_name"},
        [=](void *function, arguments &store) {
          return entry(function, store, 367, "WITXCCK", "pa2gccka0", mode, 12);
        },
        false);
  }
  for (const uint32_t size : {1U, 0U}) {
    book.call_as(
        {"an absent item, a buffer of " + std::to_string(size) + " bytes"}, own{"get_nvbuf_by_name"},
        [=](void *function, arguments &store) {
          return entry(function, store, 367, "WITXCCK", "pa2gccka0", ORVA_NVBUF_READ, size);
        },
        false);
  }
  book.heading("parameter texts");
  for (const uint32_t size : {104U, 20U, 8U, 7U, 1U}) {
    book.call_as(
        {"a buffer of " + std::to_string(size) + " bytes"}, own{"param_to_string"},
        [=](void *function, arguments &) {
          static constexpr uint32_t values[] = {1, 4294967295, 2147483648, 0};
          std::vector<char> out(size, '\0');
          reinterpret_cast<void (*)(char *, uint32_t, const char *, const uint32_t *, uint32_t)>(function)(
              out.data(), size, "pa2ga0", values, 4);
          return std::string("\"") + out.data() + "\"";
        },
        size == 104);
  }
  book.heading("raw items");
  book.try_faults(fresh, "wifi_nvram_set", nullptr, nullptr, 0);
  book.call(answering(18, std::vector<uint8_t>(104, 0x41)), "wifi_nvram_set", nullptr, nullptr, 0);
  book.call(answering(18, {0, 1, 2}), "wifi_nvram_set", nullptr, nullptr, 0);
  book.call(refused_with(18, "01020304"), "wifi_nvram_set", nullptr, nullptr, 0);
  book.call(answering(18, {1, 2, 3, 4, 5, 0, 7, 8, 0, 10}), "wifi_nvram_set", nullptr, nullptr, 0);
  book.try_faults<int32_t>(fresh, own{"write_wifi_caldata_to_nv"}, "0123456789ab", uint32_t{12});
  book.try_faults<int32_t>(full, own{"read_wifi_nvram_param_from_nv"}, output{104}, uint32_t{104},
                           uint32_t{367}, "WITXCCK");
  book.call<int32_t>(full, own{"read_wifi_nvram_param_from_nv"}, output{20}, uint32_t{20}, uint32_t{367},
                     "WITXCCK");
  for (const char *name : {"A_NAME_OF_THIRTY-ONE_CHARACTERS", "A_NAME_OF_THIRTY-TWO_CHARACTERS_", no_text}) {
    book.call<int32_t>(fresh, own{"read_wifi_nvram_param_from_nv"}, output{4}, uint32_t{4}, uint32_t{367},
                       name);
  }
}

void write_calibration(book &book) {
  write_requests(book, false);
  write_requests(book, true);
  write_frequencies(book);
  write_errors(book);
  book.heading("a wrong calibration type");
  book.call(fresh, "wifi_nvram_calibrate_set", 1, 0, 0, 0, 0, 2442, "1");
  write_calibration_sets(book);
  write_lookups(book);
}

void write_nv(book &book) {
  write_reading_and_cleaning(book);
  write_items(book);
}

// ---- Utilities -----------------------------------------------------------------------------------------

void write_utilities(book &book) {
  book.heading("roaming");
  book.try_faults(fresh, "wifi_start_roam", "02:00:5E:10:20:31");
  book.call(fresh, "wifi_start_roam", no_text);
  for (const size_t length : {81U, 82U, 83U, 120U}) {
    const std::string target(length, 'x');
    book.call_as(
        {std::to_string(length) + " characters"}, "wifi_start_roam",
        [=](void *function, arguments &) {
          return std::to_string(reinterpret_cast<uint32_t (*)(const char *)>(function)(target.c_str()));
        },
        false);
  }
  book.try_faults(fresh, "wifi_start_roam_scan");
  book.try_faults(fresh, "wifi_set_bss_expire_age", 60);
  for (const int32_t age : {0, -1, 2147483647}) book.call(fresh, "wifi_set_bss_expire_age", age);

  book.heading("connection information");
  book.try_faults(fresh, "wifi_conn_info", output{33}, output{6}, output{1});
  book.call({"connected", nothing,
             [](const bench &) {
               bench::set("ap.ssid", "factory net");
               bench::set("ap.bssid", "02:03:04:0a:0b:0c");
               bench::set("ap.rssi", "-61");
             }},
            "wifi_conn_info", output{33}, output{6}, output{1});
  const uint32_t conn_info = book.chip() == "vq2040" ? 27 : book.chip() == "vq2040a" ? 33 : 38;
  const std::string record = "01" + std::string(66, '4') + "aabbccddeeffb0";
  book.call(refused_with(conn_info, record), "wifi_conn_info", output{33}, output{6}, output{1});
  book.heading("UPC code");
  book.try_faults(fresh, "wifi_get_upc_code", output{1}, output{1}, output{1});
  book.call(answering(24, {0x78, 0x56, 0x34, 0x12}), "wifi_get_upc_code", output{1}, output{1}, output{1});
  book.call(refused_with(24, "78563412"), "wifi_get_upc_code", output{1}, output{1}, output{1});
  book.heading("switches");
  book.call(fresh, "wifi_power_set_range", output{1}, output{1});
  book.try_faults(fresh, "wifi_set_tas_ant_mode", 1);
  book.call(fresh, "wifi_set_tas_ant_mode", 65537);
  book.try_faults(fresh, own{"wifi_set_pcie_sdio_mode"}, uint32_t{1});
  book.call(fresh, own{"wifi_set_pcie_sdio_mode"}, uint32_t{65537});
  for (const int32_t flag : {1, 0, 2, 257, -1}) book.call(fresh, "wifi_selcal_disable_set", flag);
  book.try_faults(fresh, "wifi_test_broadcast_loop", 1);
  for (const int32_t value : {0, wide}) book.call(fresh, "wifi_test_broadcast_loop", value);
}

// ---- All -----------------------------------------------------------------------------------------------

struct subject {
  const char *name;
  void (*write)(book &);
};
constexpr subject subjects[] = {
    {"dispatch", write_dispatch},       {"driver_and_shell", write_driver_and_shell},
    {"settings", write_settings},       {"channels", write_channels},
    {"rf_test", write_rf_test},         {"self_check", write_self_check},
    {"calibration", write_calibration}, {"nv", write_nv},
    {"utilities", write_utilities},
};

void write_all(const std::filesystem::path &folder) {
  for (const char *chip : chip_names) {
    std::filesystem::create_directories(folder / chip);
    for (const subject &subject : subjects) {
      book book(folder / chip / (std::string(subject.name) + ".txt"), chip);
      book.text(std::string(chip) + ": " + subject.name);
      subject.write(book);
    }
  }
}

}  // namespace
}  // namespace golden

int main(int count, char **words) {
  if (count != 2 || words[1][0] == '-') {
    fputs("usage: transcript FOLDER\n", stderr);
    return 2;
  }
  golden::write_all(words[1]);
  return 0;
}
