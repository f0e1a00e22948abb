// SPDX-License-Identifier: Apache-2.0
#include "tests/support/bench.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "virtual_phone/phone.h"

namespace support {

namespace {

struct stored {
  uint32_t number;
  const char *name, *text;
};
constexpr stored calibration[] = {
    {340, "WIC0_2G5G_OFDM", "pa2ga0=-190,6100,-800;pa5ga0=1,2,3,4,5,6,7,8,9,10,11,12;"},
    {367, "WITXCCK", "pa2gccka0=-190,6100,-800;pa2gccka1=1,2,3;"},
    {368, "WIC1_2G5G_OFDM", "pa2ga1=1,2,3;pa5ga1=1,2,3,4,5,6,7,8,9,10,11,12;"},
    {369, "WIC0_5GLOW", "pa5glowa0=1,2,3,4,5,6,7,8,9,10,11,12;"},
    {387, "WIC1_5G160M", "dpn160c1=4,5;"},
    {396, "WIC0_2GMU_OFDM", "mf2ga0=1,2,3,4,5,6,7,8,9,10,11,12,13;"},
};

// What the phone answers, so that what is recorded of the library does not hang on the phone's own values.
constexpr struct {
  const char *key, *value;
} answers[] = {
    {"identity.die_id", "12AB 0F00 3C51 7788 0001 A5A5 00FE 9D42 600D"},
    {"identity.dbb", "DBB-20C4-0117"},
    {"identity.upc", "37"},
    {"radio.rssi", "-52"},
    {"ap.ssid", "factory-line-7"},
    {"ap.bssid", "02:00:5E:10:20:30"},
    {"ap.rssi", "-47"},
    {"calibration.pa2gccka0", "11,-310,5050"},
    {"calibration.pa2ga0", "10,-300,5000"},
    {"calibration.pa2g40a0", "10,-305,5020"},
    {"calibration.pa5ga0", "8,-260,5100,9,-270,5150,9,-280,5200,10,-290,5250"},
    {"calibration.pa2gccka1", "12,-315,5060"},
    {"calibration.pa2ga1", "11,-302,5010"},
    {"calibration.pa2g40a1", "11,-307,5030"},
    {"calibration.pa5ga1", "8,-261,5101,9,-271,5151,9,-281,5201,10,-291,5251"},
    {"calibration.pa5glowa0", "8,-262,5102,9,-272,5152,9,-282,5202,10,-292,5252"},
    {"calibration.pa5glowa1", "8,-263,5103,9,-273,5153,9,-283,5203,10,-293,5253"},
    {"calibration.block", "0150 0152 0260 0262 0264 0266 0268 0370 0371 0372 0373 0374 0375 "
                          "0480 0481 0482 0483 0484 0485 0486 0487 0590 0591 0592 0593 0594 "
                          "06A0 06A1 06A2 06A3 06A4 06A5 07B0 07B1 07B2 07B3 07B4 07B5 07B6 "
                          "08C0 08C1 08C2 08C3 08C4 08C5 0000 0000 0000 0000 0000 0000 0000"},
};

[[noreturn]] void give_up(const char *reason) {
  fprintf(stderr, "bench: %s\n", reason);
  _exit(2);
}

}  // namespace

void store_calibration() {
  char item[104] = {};
  memset(item, 0x41, sizeof item);
  phone_nv_put(340, "WINVRAM", item);
  for (const stored &row : calibration) {
    memset(item, 0, sizeof item);
    memcpy(item, row.text, strlen(row.text));
    phone_nv_put(row.number, row.name, item);
  }
}

bench::bench(const std::string &chip) : chip_(chip) {
  phone_reset();
  set("chip", chip);
  for (const auto &answer : answers) set(answer.key, answer.value);
  handle_ = dlopen("libwifi_factory_test_orva.so", RTLD_NOW | RTLD_LOCAL);
  if (handle_ == nullptr) give_up(dlerror());
}

bench::~bench() { dlclose(handle_); }

void bench::set(const std::string &key, const std::string &value) {
  char error[200] = "";
  if (phone_set(key.c_str(), value.c_str(), error, sizeof error) != 0) give_up(error);
}

void *bench::find(const std::string &name) const { return dlsym(handle_, name.c_str()); }

void bench::enter_test_mode() const {
  call("wifi_start_testmode");
  call("wifi_set_mode", 4);
  call("wifi_set_band", 0);
  call("wifi_set_channel", 2412);
  call("wifi_set_rate", 6500);
  call("wifi_set_power", 155);
  call("wifi_setmimo_channel", 1);
}

void bench::prepare(before needs) const {
  const char *const nowhere = nullptr;
  switch (needs) {
  case before::nothing:
  case before::open_socket: break;
  case before::calibrated: store_calibration(); break;
  case before::settings: call("wifi_set_channel", 2437); break;
  case before::test_mode: enter_test_mode(); break;
  case before::transmitting:
    enter_test_mode();
    call("wifi_start_tx");
    break;
  case before::ru_test:
    call("wifi_ru_set", 2, "0a5");
    enter_test_mode();
    break;
  case before::receiving:
    enter_test_mode();
    call("wifi_start_rx", nowhere, nowhere);
    break;
  }
}

}  // namespace support
