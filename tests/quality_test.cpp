// What coverage and mutation found untried: single steps of the back ends, and answers that no table of today
// asks for.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

#include "chips/vq2040/profile.h"
#include "include/vq2040.h"
#include "chips/vq2040a/profile.h"
#include "include/vq2040a.h"
#include "chips/vq2050/profile.h"
#include "include/vq2050.h"
#include "chips/vq2070/profile.h"
#include "include/vq2070.h"
#include "common/calibration.h"
#include "common/shell.h"
#include "virtual_phone/phone.h"

namespace {

struct back_end {
  const orva::chip *chip;
  uint32_t (*set_country)();
  int32_t (*run_by_stream)(const char *command, char *output, uint32_t size);
  uint32_t (*set_address)(const char *mac);
  uint32_t (*set_chain)(int32_t chain);  // null: there is no such operation
};

class BackEnd : public ::testing::TestWithParam<back_end> {
protected:
  void SetUp() override {
    phone_reset();
    set("chip", GetParam().chip->name);
  }
  void TearDown() override { EXPECT_EQ(phone_left_open(), 0U); }

  static void set(const char *key, const char *value) {
    char error[200] = "";
    ASSERT_EQ(phone_set(key, value, error, sizeof error), 0) << error;
  }
  static std::string last_log() {
    for (size_t i = phone_event_count(); i-- > 0;) {
      if (phone_event(i)->kind == PHONE_LOG) return phone_event(i)->text;
    }
    return "";
  }
  static bool logged(const std::string &text) {
    for (size_t i = 0; i < phone_event_count(); i++) {
      if (phone_event(i)->kind == PHONE_LOG && text == phone_event(i)->text) return true;
    }
    return false;
  }
};

const back_end back_ends[] = {{&orva::vq2040, vq2040_wifi_set_country_all, vq2040_run_cmd_by_stream,
                               vq2040_wifi_set_hw_mac_addr, vq2040_wifi_setmimo_channel},
                              {&orva::vq2050, vq2050_wifi_set_country_all, vq2050_run_cmd_by_stream,
                               vq2050_wifi_set_hw_mac_addr, vq2050_wifi_setmimo_channel},
                              {&orva::vq2040a, vq2040a_wifi_set_country_all, vq2040a_run_cmd_by_stream,
                               vq2040a_wifi_set_hw_mac_addr, nullptr},
                              {&orva::vq2070, vq2070_wifi_set_country_all, vq2070_run_cmd_by_stream,
                               vq2070_wifi_set_hw_mac_addr, vq2070_wifi_setmimo_channel}};

void PrintTo(const back_end &one, std::ostream *out) { *out << one.chip->name; }

std::vector<back_end> back_ends_that(bool (*wanted)(const back_end &)) {
  std::vector<back_end> chosen;
  std::copy_if(std::begin(back_ends), std::end(back_ends), std::back_inserter(chosen), wanted);
  return chosen;
}

std::string name_of(const ::testing::TestParamInfo<back_end> &one) { return one.param.chip->name; }

class CalibratedBackEnd : public BackEnd {};
class TwoChainBackEnd : public BackEnd {};

INSTANTIATE_TEST_SUITE_P(Chips, BackEnd, ::testing::ValuesIn(back_ends), name_of);
INSTANTIATE_TEST_SUITE_P(Chips, CalibratedBackEnd,
                         ::testing::ValuesIn(back_ends_that([](const back_end &one) {
                           return one.chip->calibration != nullptr;
                         })),
                         name_of);
INSTANTIATE_TEST_SUITE_P(Chips, TwoChainBackEnd, ::testing::ValuesIn(back_ends_that([](const back_end &one) {
                           return one.set_chain != nullptr;
                         })),
                         name_of);

TEST_P(BackEnd, TheCountryCodeGoesToTheDriverAtOnce) {
  EXPECT_EQ(GetParam().set_country(), 1U);
  EXPECT_EQ(phone_uses("ioctl:23"), 1U);
  EXPECT_EQ(last_log(), "set country code 99 successful.\n");
  set("driver.refuse", "23");
  EXPECT_EQ(GetParam().set_country(), 0U);
  EXPECT_EQ(last_log(), "set country code 99 fail.\n");
}

TEST_P(BackEnd, CommandOutputStaysWithinItsRoom) {
  for (const uint32_t size : {0U, 1U, 2U, 16U}) {
    char output[32];
    memset(output, 0x5A, sizeof output);
    EXPECT_EQ(GetParam().run_by_stream("echo 0123456789abcdefghij", output, size), size > 1 ? 1 : 0);
    const std::string expected = std::string("0123456789abcdefghij").substr(0, size == 0 ? 0 : size - 1);
    EXPECT_EQ(std::string(output, expected.size()), expected);
    for (size_t i = expected.size(); i < sizeof output; i++) EXPECT_EQ(output[i], 0x5A) << size << " " << i;
  }
}

TEST_P(CalibratedBackEnd, AParameterThatTheDriverDoesNotNumberIsNotAsked) {
  const orva::chip &chip = *GetParam().chip;
  const orva::cal_row row = {0, 0, 0, 0, "unheard-of", "SOME_ITEM", 777};
  char text[128] = {};
  EXPECT_EQ(orva::query_driver(chip, row, text, sizeof text), 0);
  EXPECT_EQ(phone_uses("ioctl"), 0U);
  const std::string name = chip.name;
  EXPECT_TRUE(logged(name + "_get_driver_param_num: nv_num is 777, nv_name is SOME_ITEM. cannot get param"));
  EXPECT_TRUE(logged(name + "_wifi_querry_nvram_parameter_from_driver:invalid param_num"));
  EXPECT_EQ(last_log(), name + "_getparam_from_wifi_chip,wifi chip param get failed!\n");
}

TEST_P(BackEnd, OnlyARunningWlanInterfaceIsTakenFromTheFramework) {
  const orva::chip &chip = *GetParam().chip;
  const struct {
    const char *netcfg;
    bool taken;
  } cases[] = {{"wlan0 DOWN 0.0.0.0/0\n", false},
               {"wlan0 UP 10.0.0.7/24\n", true},
               {"p2p-wlan0 DOWN 0.0.0.0/0\nwlan0 UP 10.0.0.7/24\n", true},
               {"eth0 UP 10.0.0.8/24\n", false}};
  for (const auto &one : cases) {
    set("netcfg.output", one.netcfg);
    phone_events_clear();
    orva::wl_config_disable_wifi(chip);
    EXPECT_EQ(phone_uses("shell:svc wifi disable"), one.taken ? 1U : 0U) << one.netcfg;
    EXPECT_EQ(logged("wlan0 is not up, go through"), !one.taken) << one.netcfg;
  }
}

TEST_P(BackEnd, NothingIsReadBehindTheTwelveDigitsOfAnAddress) {
  const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  char *pages = static_cast<char *>(
      mmap(nullptr, 2 * page, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  ASSERT_NE(static_cast<void *>(pages), MAP_FAILED);
  ASSERT_EQ(mprotect(pages + page, page, PROT_NONE), 0);
  char *digits = pages + page - 12;
  memcpy(digits, "0a1b2c3d4e5f", 12);
  EXPECT_EQ(GetParam().set_address(digits), 1U);
  munmap(pages, 2 * page);
}

TEST_P(TwoChainBackEnd, ThereAreTwoChainsAndNoThird) {
  // Beside a vq2050 the oldest chip records a chain as well.
  set("subchip", "1");
  for (const int32_t chain : {1, 2}) {
    EXPECT_EQ(GetParam().set_chain(chain), 1U);
    EXPECT_EQ(GetParam().chip->state.core, chain);
  }
  for (const int32_t chain : {0, 3, -1}) {
    EXPECT_EQ(GetParam().set_chain(chain), 0U);
    EXPECT_EQ(GetParam().chip->state.core, 2) << "a refused chain is recorded";
  }
}

}  // namespace
