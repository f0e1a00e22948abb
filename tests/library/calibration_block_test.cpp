// SPDX-License-Identifier: Apache-2.0
// The older chips' calibration block: which pairs a mode scales, the arithmetic, and how far outputs are
// written.
#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>

#include "tests/support/phone_fixture.h"

namespace {

using block_t = std::vector<uint8_t>;
constexpr size_t block_size = 104;

class Block : public ChipTest {
protected:
  static block_t block_in_nv() {
    block_t block(block_size);
    EXPECT_EQ(phone_nv_get(340, "WINVRAM", block.data()), 0);
    return block;
  }
  static void put_block(const block_t &block) { ASSERT_EQ(phone_nv_put(340, "WINVRAM", block.data()), 0); }
  /// First bytes of the pairs 0x41 and on, second bytes all the same.
  static block_t ramp(uint8_t code) {
    block_t block(block_size, code);
    for (size_t i = 0; i < block_size; i += 2) block[i] = static_cast<uint8_t>(i / 2 + 0x41);
    return block;
  }
  uint32_t scale(int32_t mode, int32_t band, int32_t bandwidth, const char *gain) {
    return PUBLIC(wifi_nvram_calibrate_set)(1, 2, mode, band, bandwidth, 9999, gain);
  }
  uint32_t copy() { return PUBLIC(wifi_nvram_set)(nullptr, nullptr, 0); }
};

class BlockCopy : public Block {};
INSTANTIATE_TEST_SUITE_P(Chips, BlockCopy, CHIPS_WITH_COMMAND("cal_block_fetch"), name_of_case);

TEST_P(BlockCopy, KeepsTheOldBlockUntilTheDriverGivesAGoodOne) {
  const block_t old = ramp(7), good = ramp(9);
  block_t unusable = ramp(5);
  unusable[0] = 0;
  put_block(old);
  fail("socket");
  EXPECT_EQ(copy(), 0U);
  phone_driver_answer(18, unusable.data(), unusable.size());
  EXPECT_EQ(copy(), 0U);
  phone_driver_answer(18, good.data(), good.size());
  set("driver.refuse", "18");
  EXPECT_EQ(copy(), 0U) << "refused with a block in the record";
  set("driver.refuse", "");
  fail("nv_write:340");
  EXPECT_EQ(copy(), 0U);
  EXPECT_EQ(block_in_nv(), old);
  fail("ioctl:18");
  EXPECT_EQ(copy(), 1U) << "the retry helps";
  EXPECT_EQ(block_in_nv(), good);
}

class RawBlock : public Block {};
INSTANTIATE_TEST_SUITE_P(Chips, RawBlock, CHIPS_WITH_COMMAND("cal_block_push"), name_of_case);

/// First and last pair of each row of modes, from 2.4 GHz 11b to 5 GHz 80 MHz.
const std::pair<size_t, size_t> pairs_of[] = {{0, 1},   {2, 6},   {7, 12},  {13, 20},
                                              {21, 25}, {26, 31}, {32, 38}, {39, 44}};

int row_of(int mode, int band, int bandwidth) {
  if (mode == 3) return 1;
  if (mode == 2) return 0;
  if (mode == 4 && band == 0 && bandwidth <= 1) return bandwidth == 0 ? 2 : 3;
  if (mode == 1 && band == 1) return 4;
  if ((mode == 4 || mode == 5) && band == 1 && bandwidth <= 1) return bandwidth == 0 ? 5 : 6;
  return mode == 5 && band == 1 && bandwidth == 2 ? 7 : -1;
}

TEST_P(RawBlock, EachModeHasItsPairs) {
  for (int key = 0; key < 8 * 3 * 4; key++) {
    const int mode = key / 12, band = key / 4 % 3, bandwidth = key % 4;
    const int row = row_of(mode, band, bandwidth);
    block_t block = ramp(100);
    put_block(block);
    EXPECT_EQ(scale(mode, band, bandwidth, "1"), row < 0 ? 0U : 1U) << mode << band << bandwidth;
    if (row >= 0) {
      for (size_t k = pairs_of[row].first; k <= pairs_of[row].second; k++) block[2 * k + 1] = 112;
    }
    EXPECT_EQ(block_in_nv(), block) << mode << band << bandwidth;
  }
}

TEST_P(RawBlock, ScalesAsExactArithmeticDoes) {
  std::ifstream table(CALIBRATION_TABLE);
  unsigned rows = 0;
  for (std::string kind, line, gain; table >> kind && std::getline(table, line);) {
    if (kind != "code") continue;
    int code, expected, cut;
    std::istringstream(line) >> gain >> code >> expected >> cut;
    put_block(ramp(static_cast<uint8_t>(code)));
    forget();
    EXPECT_EQ(scale(2, 0, 0, gain.c_str()), 1U);
    ASSERT_EQ(block_in_nv()[1], expected) << line;
    ASSERT_EQ(happened("log 3 {*}cal_res={*}, >0xee, set cal_res as 0xee\\n\""), cut == 1) << line;
    rows++;
  }
  EXPECT_GT(rows, 1000U);
}

/// -5 to 5 dB without 0; a text that starts with a number counts.
TEST_P(RawBlock, TakesGainsUpToFiveDecibels) {
  put_block(ramp(50));
  for (const char *text : {"", "0", "5.5", "-5.5", "abc", "nan", "1e3", "1e30", "500"}) {
    EXPECT_EQ(scale(3, 0, 0, text), 0U) << text;
  }
  EXPECT_EQ(scale(3, 0, 0, nullptr), 0U);
  EXPECT_EQ(block_in_nv(), ramp(50));
  for (const char *text : {"5", "-5", "0.01", "1abc"}) EXPECT_EQ(scale(3, 0, 0, text), 1U) << text;
}

/// Two digits a byte while the position stays below size - 2; the byte at 184 is the last.
TEST_P(RawBlock, ReadsAsHexadecimalDigits) {
  const block_t block = ramp(0xAB);
  put_block(block);
  std::string digits;
  for (const uint8_t byte : block) {
    char two[3];
    snprintf(two, sizeof two, "%02x", byte);
    digits += two;
  }
  const auto get = PUBLIC(wifi_nvram_calibrate_get);
  for (const int size : {104, 105, 106, 150, 185, 186, 187, 188, 208, 300}) {
    const size_t room = static_cast<size_t>(size);
    size_t bytes = 0;
    while (2 * bytes < room - 2 && 2 * bytes <= 184) bytes++;
    std::string out(room + 16, '#');
    EXPECT_EQ(get(out.data(), size), 1U);
    EXPECT_EQ(std::string(out.c_str()), digits.substr(0, 2 * bytes)) << size;
    EXPECT_EQ(out.substr(room), std::string(16, '#')) << size;
  }
  for (const int size : {103, 1, 0, -1}) {
    std::string out(200, '#');
    forget();
    EXPECT_EQ(get(out.data(), size), 0U) << size;
    EXPECT_EQ(out, std::string(200, '#')) << size;
    EXPECT_EQ(phone_uses("kevoOperaNVWR"), 0U);
  }
}

class ItemAccess : public Block {};
INSTANTIATE_TEST_SUITE_P(Chips, ItemAccess, CHIPS_WITH("read_wifi_nvram_param_from_nv"), name_of_case);

TEST_P(ItemAccess, ItemsAreReadWithinTheGivenRoom) {
  const auto read =
      back_end<int32_t(char *, uint32_t, uint32_t, const char *)>("read_wifi_nvram_param_from_nv");
  put("396 WIC0_2GMU_OFDM", "mf2ga0=1,2;");
  for (const uint32_t size : std::initializer_list<uint32_t>{128, 104, 12, 11, 1}) {
    std::string out(140, '#');
    const std::string expected = std::string("mf2ga0=1,2;").substr(0, size - 1);
    EXPECT_EQ(read(out.data(), size, 396, "WIC0_2GMU_OFDM"), static_cast<int32_t>(expected.size()));
    EXPECT_EQ(out.substr(0, size), expected + std::string(size - expected.size(), '\0'));
    EXPECT_EQ(out.substr(size), std::string(140 - size, '#')) << size;
  }
}

/// The caller says how much of the block is written.
TEST_P(ItemAccess, ABlockIsWrittenAsLongAsItsCallerSays) {
  const block_t block(block_size, 0x33);
  for (const uint32_t size : std::initializer_list<uint32_t>{104, 20}) {
    forget();
    EXPECT_EQ((back_end<int32_t(const void *, uint32_t)>("write_wifi_caldata_to_nv")(block.data(), size)),
              104);
    ASSERT_EQ(phone_event_count(), 1U);
    EXPECT_EQ(phone_event(0)->size, size);
  }
}

}  // namespace
