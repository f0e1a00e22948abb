// SPDX-License-Identifier: Apache-2.0
// The older chips' calibration block: copied from the driver, scaled, pushed back, printed, cleared.
#include "tests/support/calibration_fixture.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <sstream>

namespace {

using block_t = std::vector<uint8_t>;

class CalibrationBlock : public CalibrationTest {
protected:
  static constexpr size_t block_size = 104;

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
  static lines_t print_lines(const block_t &block) {
    lines_t lines = {"log 3 $_print_data wifi caldata:[\\n"};
    for (size_t i = 0; i < block.size() && block[i] != 0; i += 4) {
      char group[40];
      snprintf(group, sizeof group, "log 3 0x%x",
               block[i] << 24U | block[i + 1] << 16 | block[i + 2] << 8 | block[i + 3]);
      lines.emplace_back(group);
    }
    lines.emplace_back("log 3 ]\\n");
    return lines;
  }
  static lines_t in_order(std::initializer_list<lines_t> parts) {
    lines_t all;
    for (const lines_t &part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
  }
  uint32_t scale(int32_t mode, int32_t band, int32_t bandwidth, const char *gain) {
    return PUBLIC(wifi_nvram_calibrate_set)(1, 2, mode, band, bandwidth, 9999, gain);
  }
  uint32_t copy() { return PUBLIC(wifi_nvram_set)(nullptr, nullptr, 0); }
};

class BlockCopy : public CalibrationBlock {};
INSTANTIATE_TEST_SUITE_P(Chips, BlockCopy, BLOCK_COPY_CHIPS, name_of_case);

TEST_P(BlockCopy, CopiesTheDriversBlock) {
  block_t block = ramp(0x80);
  for (const size_t end : {block_size, size_t{8}, size_t{1}}) {  // a 0 at a group's start ends the print
    if (end < block_size) block[end] = 0;
    phone_driver_answer(18, block.data(), block.size());
    forget();
    EXPECT_EQ(copy(), 1U);
    EXPECT_EQ(block_in_nv(), block);
    expect_transcript(in_order({{"socket", "ioctl 18 00000000"},
                                print_lines(block),
                                {"close", "write 340 WINVRAM ~",
                                 "log 3 $_read_wifi_caldata_from_dts write cal data to nvm success\\n"}}));
  }
}

TEST_P(BlockCopy, KeepsTheOldBlockWhenTheDriverFails) {
  block_t unusable = ramp(5), block = ramp(9);
  unusable[0] = 0;
  const block_t old = ramp(7);
  put_block(old);
  fail("socket");
  EXPECT_EQ(copy(), 0U);
  expect_transcript(
      {"socket!", "log 6 $_wl_config_sockets_open[~]:socket failed:-1\\n", "log 6 socket create fail.\\n"});
  phone_driver_answer(18, unusable.data(), unusable.size());
  forget();
  EXPECT_EQ(copy(), 0U);
  const std::string no_data =
      "log 6 $_read_wifi_caldata_from_dts ioctl fail or fetch caldata fail, wifi caldata is: \\n";
  expect_transcript({"socket", "ioctl 18 00000000", no_data, "close"});
  fail("ioctl:18", 1, 2);  // nothing comes back
  EXPECT_EQ(copy(), 0U);
  phone_driver_answer(18, block.data(), block.size());
  set("driver.refuse", "18");
  forget();
  EXPECT_EQ(copy(), 0U);  // refused with a block in the record: printed, not kept
  const lines_t after_refusal = split(transcript(), '\n');
  for (const std::string &line : print_lines(block)) EXPECT_TRUE(happened(line)) << line;
  EXPECT_EQ(after_refusal.back(), "close");
  EXPECT_EQ(block_in_nv(), old);
}

TEST_P(BlockCopy, TellsWhatElseFails) {
  put_block(ramp(7));
  fail("nv_write:340");
  EXPECT_EQ(copy(), 0U);
  EXPECT_TRUE(happened("log 6 $_read_wifi_caldata_from_dts write cal data to nvm failed\\n"));
  EXPECT_EQ(block_in_nv(), ramp(7));
  forget();
  fail("memcpy_s");
  EXPECT_EQ(copy(), 1U);  // it goes on
  EXPECT_TRUE(happened(is(vq2040a_case) ? "log 6 $_read_wifi_caldata_from_dts: memcpy_s failed.\\n"
                                        : "log 6 $_read_wifi_caldata_from_dts: memcpy_s failed."));
  forget();
  fail("ioctl:18");  // the retry helps
  EXPECT_EQ(copy(), 1U);
}

class RawBlock : public CalibrationBlock {};
INSTANTIATE_TEST_SUITE_P(Chips, RawBlock, ::testing::Values(&vq2040_case), name_of_case);

const struct {
  const char *line;
  size_t first, last;
} block_modes[] = {{" 2.4G 20M 11b \\n", 0, 1},  {" 2.4G 20M 11g\\n", 2, 6}, {" 2.4G 20M 11n\\n", 7, 12},
                   {" 2.4G 40M 11n\\n", 13, 20}, {" 5G 11a\\n", 21, 25},     {" 5G 20M 11n\\n", 26, 31},
                   {" 5G 40M 11n\\n", 32, 38},   {" 5G 80M 11ac\\n", 39, 44}};

int mode_index(int mode, int band, int bandwidth) {
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
    const int index = mode_index(mode, band, bandwidth);
    block_t block = ramp(100);
    put_block(block);
    forget();
    EXPECT_EQ(scale(mode, band, bandwidth, "1"), index < 0 ? 0U : 1U) << mode << band << bandwidth;
    if (index >= 0) {
      for (size_t k = block_modes[index].first; k <= block_modes[index].last; k++) block[2 * k + 1] = 112;
      EXPECT_TRUE(happened(std::string("log 3 $_wifi_nvram_calibrate_set") + block_modes[index].line))
          << transcript();
    } else {
      EXPECT_TRUE(happened(
          "log 6 $_wifi_nvram_calibrate_set input mode is not available, mode=" + std::to_string(mode) +
          ",band=" + std::to_string(band) + ",bandwidth=" + std::to_string(bandwidth) + " \\n"));
    }
    EXPECT_EQ(block_in_nv(), block) << mode << band << bandwidth;
  }
}

TEST_P(RawBlock, ScalesAsTheTableTells) {
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
    ASSERT_EQ(happened("log 3 $_wifi_nvram_calibrate_set cal_res=~, >0xee, set cal_res as 0xee\\n"), cut == 1)
        << line;
    rows++;
  }
  EXPECT_GT(rows, 1000U);
}

TEST_P(RawBlock, TellsEachStep) {
  block_t block = ramp(200);
  block[3] = 0;
  block[40] = 0;
  put_block(block);
  forget();
  EXPECT_EQ(scale(2, 0, 0, "1"), 1U);
  block_t scaled = block;
  scaled[1] = 224;
  expect_transcript(in_order(
      {{"log 3 $_wifi_nvram_calibrate_set delta gain:1\\n",
        "log 3 $_wifi_nvram_calibrate_set 2.4G 20M 11b \\n",
        "log 3 $_wifi_nvram_calibrate_set parse ret: mode=2,band=0,bandwidth=0,delta_gain=1.000000 \\n",
        "read 340 WINVRAM"},
       print_lines(block),
       {"log 3 $_wifi_nvram_calibrate_set nvm_cal_data[3]==0, ignore the calibrate data \\n"},
       print_lines(scaled),
       {"write 340 WINVRAM ~", "socket", "ioctl 19 41e04200", "close"}}));
  ASSERT_EQ(sent().size(), 1U);
  block_t pushed = scaled;
  pushed.resize(256);
  EXPECT_EQ(sent()[0].data, pushed);
  block = ramp(213);
  block[11] = 0;
  put_block(block);
  forget();
  EXPECT_EQ(scale(3, 0, 0, "1"), 1U);
  EXPECT_TRUE(
      happened("log 3 $_wifi_nvram_calibrate_set nvm_cal_data[11]==0, ignore the calibrate data \\n"));
  EXPECT_EQ(scale(2, 0, 0, "1"), 1U);
  EXPECT_TRUE(happened("log 3 $_wifi_nvram_calibrate_set cal_res=239, >0xee, set cal_res as 0xee\\n"));
  EXPECT_EQ(block_in_nv()[5], 238);
}

// The gain's text is judged first, then the mode, then the gain.
TEST_P(RawBlock, JudgesTextThenModeThenGain) {
  const block_t block = ramp(50);
  put_block(block);
  for (const char *text : {static_cast<const char *>(nullptr), ""}) {
    forget();
    EXPECT_EQ(scale(9, 0, 0, text), 0U);
    expect_transcript({"log 6 $_wifi_nvram_calibrate_set illegal delta_gain_set\\n"});
  }
  forget();
  EXPECT_EQ(scale(9, 0, 0, "0"), 0U);
  expect_transcript(
      {"log 3 $_wifi_nvram_calibrate_set delta gain:0\\n",
       "log 6 $_wifi_nvram_calibrate_set input mode is not available, mode=9,band=0,bandwidth=0 \\n"});
  const std::vector<std::pair<const char *, const char *>> illegal = {
      {"0", "0.000000"}, {"5.5", "5.500000"},    {"-5.5", "-5.500000"}, {"abc", "0.000000"},
      {"nan", "nan"},    {"1e3", "1000.000000"}, {"1e30", "~"},         {"500", "500.000000"}};
  for (const auto &[text, printed] : illegal) {
    forget();
    EXPECT_EQ(scale(3, 0, 0, text), 0U) << text;
    expect_transcript(
        {std::string("log 3 $_wifi_nvram_calibrate_set delta gain:") + text + "\\n",
         "log 3 $_wifi_nvram_calibrate_set 2.4G 20M 11g\\n",
         std::string("log 6 $_wifi_nvram_calibrate_set illegal delta_gain or zero, delta_gain=") + printed +
             "\\n"});
  }
  EXPECT_EQ(block_in_nv(), block);
  for (const char *text : {"5", "-5", "0.01", "1abc"}) EXPECT_EQ(scale(3, 0, 0, text), 1U) << text;
}

TEST_P(RawBlock, EachStepOfScalingFails) {
  const block_t block = ramp(100);
  block_t scaled = block;
  scaled[1] = scaled[3] = 112;
  const struct {
    const char *place;
    unsigned times;
    const block_t &left;
    lines_t told;
  } failures[] = {
      {"nv_read:340", 1, block, {"log 6 $_wifi_nvram_calibrate_set, read_wifi_caldata_from_nv failed\\n"}},
      {"nv_write:340", 1, block, {"log 6 $_wifi_nvram_calibrate_set write_wifi_caldata_to_nv  fail\\n"}},
      {"socket",
       1,
       scaled,
       {"log 6 socket create fail.\\n", "log 6 $_wifi_nvram_calibrate_set, wifi_caldata_set failed\\n"}},
      {"ioctl:19", 2, scaled, {"log 6 $_wifi_nvram_calibrate_set, wifi_caldata_set failed\\n"}},
  };
  for (const auto &failure : failures) {
    SCOPED_TRACE(failure.place);
    put_block(block);
    forget();
    fail(failure.place, 1, failure.times);
    EXPECT_EQ(scale(2, 0, 0, "1"), 0U);
    EXPECT_EQ(block_in_nv(), failure.left);
    for (const std::string &line : failure.told) EXPECT_TRUE(happened(line)) << line;
    EXPECT_EQ(phone_left_open(), 0U);
  }
}

TEST_P(RawBlock, ReadsAsHexadecimalDigits) {
  block_t block = ramp(0xAB);
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
    size_t bytes = 0;  // the write position stays below size - 2, and the byte at 184 is the last
    while (2 * bytes < room - 2 && 2 * bytes <= 184) bytes++;
    std::string out(room + 16, '#');
    forget();
    EXPECT_EQ(get(out.data(), size), 1U);
    EXPECT_EQ(std::string(out.c_str()), digits.substr(0, 2 * bytes)) << size;
    EXPECT_EQ(out.substr(room), std::string(16, '#')) << size;
    expect_transcript({"read 340 WINVRAM", "log 3 $_wifi_nvram_calibrate_get wifi caldata:0x" +
                                               digits.substr(0, 2 * bytes) + "\\n"});
  }
  for (const int size : {103, 1, 0, -1}) {
    std::string out(200, '#');
    forget();
    EXPECT_EQ(get(out.data(), size), 0U) << size;
    EXPECT_EQ(out, std::string(200, '#')) << size;
    EXPECT_EQ(phone_uses("kevoOperaNVWR"), 0U);
  }
  std::string out(104, '#');
  fail("nv_read:340");
  EXPECT_EQ(get(out.data(), 104), 0U);
  EXPECT_EQ(out, std::string(104, '\0'));
}

TEST_P(RawBlock, CleansWhateverTheScope) {
  for (const int scope : {1, 0, 5, -7}) {
    put_block(ramp(9));
    forget();
    EXPECT_EQ(PUBLIC(wifi_nvram_calibrate_clean)(scope), 1U);
    expect_transcript({"write 340 WINVRAM "});
    EXPECT_EQ(block_in_nv(), block_t(block_size));
  }
  put_block(ramp(9));
  fail("nv_write:340");
  EXPECT_EQ(PUBLIC(wifi_nvram_calibrate_clean)(1), 0U);
  EXPECT_TRUE(happened("log 6 $_wifi_nvram_calibrate_clean write cal data to nvm failed\\n"));
  EXPECT_EQ(block_in_nv(), ramp(9));
}

class OtherChips : public CalibrationBlock {};
INSTANTIATE_TEST_SUITE_P(Chips, OtherChips, ALL_CHIPS, name_of_case);

TEST_P(OtherChips, RefuseWhatTheyDoNotHave) {
  if (is(vq2050_case) || is(vq2070_case)) {
    EXPECT_EQ(copy(), 0U);
    expect_transcript({"log 6 $_wifi_nvram_set cal_type = 1, not adapt for orva\\n"});
  } else {
    const uint32_t flags[4] = {1, 1, 1, 1};
    EXPECT_EQ(PUBLIC(wifi_nvram_calibrate_clean_new)(flags), 0U);
    expect_transcript({"log 6 wifi_nvram_clean_new::funcname is null.\\n"});
  }
}

TEST_P(OtherChips, UnknownChipsHaveNoBackEnd) {
  set("subchip", "4");
  char out[104];
  const uint32_t flags[4] = {};
  EXPECT_EQ(copy() + scale(0, 0, 0, "1"), 0U);
  EXPECT_EQ(PUBLIC(wifi_nvram_calibrate_get)(out, 104), 0U);
  EXPECT_EQ(PUBLIC(wifi_nvram_calibrate_clean)(1) + PUBLIC(wifi_nvram_calibrate_clean_new)(flags), 0U);
  expect_transcript({"log 6 wifi_nvram_set::funcname is null.\\n",
                     "log 6 wifi_nvram_calibrate_set::funcname is null.\\n",
                     "log 6 wifi_nvram_calibrate_get::funcname is null.\\n",
                     "log 6 wifi_nvram_calibrate_clean::funcname is null.\\n",
                     "log 6 wifi_nvram_clean_new::funcname is null.\\n"});
}

class BlockWriter : public CalibrationBlock {};
INSTANTIATE_TEST_SUITE_P(Chips, BlockWriter, ::testing::Values(&vq2040a_case), name_of_case);

TEST_P(BlockWriter, WritesAndReadsSingleItems) {
  const auto write = back_end<int32_t(const void *, uint32_t)>("write_wifi_caldata_to_nv");
  const block_t block = ramp(0x33);
  for (const uint32_t size : std::initializer_list<uint32_t>{104, 20}) {
    forget();
    EXPECT_EQ(write(block.data(), size), 104);
    ASSERT_EQ(phone_event_count(), 1U);
    EXPECT_EQ(phone_event(0)->size, size);
    EXPECT_TRUE(happened("write 340 WINVRAM ~"));
  }
  fail("nv_write:340");
  EXPECT_EQ(write(block.data(), 104), -1);

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
  char out[104] = "old";
  forget();
  fail("nv_read:396", 1, 1, 12);
  EXPECT_EQ(read(out, sizeof out, 396, "WIC0_2GMU_OFDM"), -1);
  expect_transcript(
      {"read 396 WIC0_2GMU_OFDM!",
       "log 6 $_read_wifi_nvram_param_from_nv get WIC0_2GMU_OFDM fail, nv_num is 396, ret: 12"});
  EXPECT_STREQ(out, "");
}

}  // namespace
