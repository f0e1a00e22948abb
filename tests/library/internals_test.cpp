// SPDX-License-Identifier: Apache-2.0
// Inner functions with arguments that no table of today leads to.
#include <gtest/gtest.h>

#include <string>

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
    EXPECT_TRUE(
        logged.find("_get_driver_param_num: nv_num is 777, nv_name is SOME_ITEM. cannot get param\"") !=
        logged.npos)
        << logged;
    EXPECT_TRUE(logged.find("_wifi_querry_nvram_parameter_from_driver:invalid param_num\"") != logged.npos)
        << logged;
  }
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
