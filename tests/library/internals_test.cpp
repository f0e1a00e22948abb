// SPDX-License-Identifier: Apache-2.0
// Inner functions with arguments that no table of today leads to.
#include <gtest/gtest.h>

#include <string>

#include "common/driver_param.h"
#include "include/vq2040.h"
#include "include/vq2050.h"
#include "include/vq2070.h"
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
  }
}

/// Beside a vq2050 the oldest chip stores a chain as well.
TEST(Internals, ARefusedChainIsNotStored) {
  const std::pair<const orva::chip *, uint32_t (*)(int32_t)> setters[] = {
      {&orva::vq2040, vq2040_wifi_setmimo_channel},
      {&orva::vq2050, vq2050_wifi_setmimo_channel},
      {&orva::vq2070, vq2070_wifi_setmimo_channel}};
  for (const auto &[chip, set_chain] : setters) {
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
