// SPDX-License-Identifier: Apache-2.0
// Inner functions with arguments that no table of today leads to.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "common/caldata.h"
#include "common/driver_param.h"
#include "tests/support/contacts.h"
#include "tests/support/profiles.h"
#include "virtual_phone/phone.h"

namespace {

void fit(const orva::chip &chip) {
  phone_reset();
  char error[200] = "";
  ASSERT_EQ(phone_set("chip", chip.name, error, sizeof error), 0) << error;
}

/// Each parameter of the catalogues has a number; a row without one must not reach the driver.
TEST(Internals, AParameterThatTheDriverDoesNotNumberIsNotAsked) {
  for (const orva::chip *chip : orva::profiles) {
    if (chip->calibration == nullptr) continue;
    SCOPED_TRACE(chip->name);
    fit(*chip);
    const orva::cal_row row = {0, 0, 0, 0, "unheard-of", {777, "SOME_ITEM"}};
    char text[128] = {};
    EXPECT_EQ(orva::query_driver(*chip, row, text, sizeof text), 0);
    EXPECT_EQ(phone_uses("ioctl"), 0U);
    EXPECT_EQ(text[0], '\0');
    std::string logged;
    for (const std::string &line : support::contacts(chip->name))
      logged += line.starts_with("log") ? line + "\n" : "";
    const std::string name = chip->name;
    EXPECT_EQ(logged, "log 6 \"" + name +
                          "_get_driver_param_num: nv_num is 777, nv_name is SOME_ITEM. cannot get param\"\n"
                          "log 6 \"" +
                          name +
                          "_wifi_querry_nvram_parameter_from_driver:invalid param_num\"\n"
                          "log 6 \"" +
                          name + "_getparam_from_wifi_chip,wifi chip param get failed!\\n\"\n");
  }
}

/// The vq2040a searches rows 1 to 11 of its list only.
TEST(Internals, TheSearchForAParametersNumberHasItsLimits) {
  const auto number = [](const char *param) {
    const orva::cal_row row = {0, 0, 0, 0, param, {777, "SOME_ITEM"}};
    return orva::vq2040a.calibration->param_number(orva::vq2040a, row);
  };
  fit(orva::vq2040a);
  EXPECT_EQ(number("null"), 6) << "not row 0";
  EXPECT_EQ(number("pa2gccka0"), 1);
  EXPECT_EQ(number("pa5glowa0_band1"), 10);
  EXPECT_EQ(number("ppa2gcwa0"), -1) << "row 12";
}

/// The result has room for eight rows.
TEST(Internals, ALookupOfManyRowsKeepsWhatFits) {
  const std::vector<orva::cal_row> nine(9, {0, 0, 0, 0, "pa2ga0", {340, "SOME_ITEM"}});
  orva::cal_row rows[9];
  std::copy(nine.begin(), nine.end(), rows);
  orva::calibration crowded = *orva::vq2050.calibration;
  crowded.power = rows;
  orva::chip chip = orva::vq2050;
  chip.calibration = &crowded;
  fit(chip);
  const orva_cal_lookup found = orva::find_rows(chip, {0, 0, 0, 0, orva::REFERENCE_CHANNEL_MHZ});
  EXPECT_EQ(found.count, 8);
  for (uint8_t i = 0; i < 8; i++) EXPECT_EQ(found.map_id[i], i);
}

/// What lies behind a full block is not part of it.
TEST(Internals, ABlockIsPrintedToItsEnd) {
  struct {
    orva::caldata block;
    char after[8];
  } memory;
  memset(&memory, 'A', sizeof memory);
  fit(orva::vq2040);
  orva::print_data(orva::vq2040, memory.block);
  const std::vector<std::string> logged = support::contacts("vq2040");
  EXPECT_EQ(std::count(logged.begin(), logged.end(), "log 3 \"0x41414141\""), 104 / 4);
}

/// Beside a vq2050 the oldest chip stores a chain as well.
TEST(Internals, ARefusedChainIsNotStored) {
  for (uint32_t i = 0; i < ORVA_SUBCHIPS; i++) {
    const orva::chip *chip = orva::profiles[i];
    auto *set_chain = reinterpret_cast<uint32_t (*)(int32_t)>(orva::g_func[orva::OP_SETMIMO_CHANNEL].func[i]);
    if (set_chain == nullptr) continue;
    SCOPED_TRACE(chip->name);
    fit(orva::vq2050);
    for (const int32_t chain : {1, 2}) {
      EXPECT_EQ(set_chain(chain), 1U);
      EXPECT_EQ(chip->state.chain, chain);
    }
    for (const int32_t chain : {0, 3, -1}) {
      EXPECT_EQ(set_chain(chain), 0U);
      EXPECT_EQ(chip->state.chain, 2);
    }
  }
}

}  // namespace
