// SPDX-License-Identifier: Apache-2.0
// A unit's RF on the virtual phone alone: the draw, the keys, what is sent and what is received. Expected
// levels are written out here a second time, from the standard and from rf/README.md.
#include "tests/support/rf_phone.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace rf_phone;

double number(const std::string &key) { return std::stod(get(key)); }

/// A number in the emission's text.
double emitted(const std::string &name) {
  std::string text = get("state.emission"), mark = "\"" + name + "\":";
  size_t at = text.find(mark);
  return at == text.npos ? NAN : atof(text.c_str() + at + mark.size());
}

class Rf : public testing::Test {
protected:
  void SetUp() override { phone_reset(); }
  void TearDown() override { EXPECT_EQ(phone_left_open(), 0u); }

  static void transmit(const setting &s, int dbm) {
    tune(s, dbm);
    ask("transmit", 1);
  }

  static int32_t rssi() { return static_cast<int32_t>(ask("rssi")); }

  /// Packets of 10000 that the test signal of this level gives.
  static uint32_t packets_at(int dbm) {
    set("radio.rssi", std::to_string(dbm));
    ask("receive", 1);
    phone_set_clock(PHONE_CLOCK_VIRTUAL);
    usleep(500000);
    usleep(500000);
    uint32_t packets = ask("packet_count");
    ask("receive", 0);
    return packets;
  }
};

// ---- The unit --------------------------------------------------------------------------------------------

TEST_F(Rf, ASeedGivesTheSameUnitOnEveryMachine) {
  set("unit", "42");
  EXPECT_EQ(get("rf.crystal"), "2.701");
  EXPECT_EQ(get("rf.error.pa2ga0"), "0.553");
  EXPECT_EQ(get("rf.error.mf2ga0"),
            "-0.268,-0.005,-0.204,0.026,0.278,-0.061,0,0.134,0.242,-0.554,-0.059,0.454,-0.49");
  transmit(mcs7, 15);
  EXPECT_EQ(
      get("state.emission"),
      "{\"mhz\":2442,\"bandwidth_mhz\":20,\"format\":\"ht\",\"rate\":\"mcs7\",\"frequency_error_ppm\":2.701,"
      "\"leakage_dbc\":-37.097,\"mask_margin_db\":11.736,\"chains\":[{\"chain\":0,\"power_dbm\":15.529,"
      "\"evm_db\":-32.797}]}");
}

TEST_F(Rf, UnitsAreSpreadAsDocumented) {
  const struct {
    const char *key;
    double mean, deviation;
  } cases[] = {{"rf.crystal", 0, 2.5}, {"rf.error.pa2ga1", 0, 0.8}, {"rf.leakage", -32, 2}};
  constexpr int units = 1000;
  for (auto &c : cases) {
    double sum = 0, squares = 0;
    for (int seed = 0; seed < units; seed++) {
      set("unit", std::to_string(seed));
      sum += number(c.key);
      squares += (number(c.key) - c.mean) * (number(c.key) - c.mean);
    }
    EXPECT_NEAR(sum / units, c.mean, c.deviation * 0.1) << c.key;
    EXPECT_NEAR(std::sqrt(squares / units), c.deviation, c.deviation * 0.1) << c.key;
  }
}

TEST_F(Rf, AGivenQuantityStaysWhateverTheUnit) {
  set("unit", "7");
  std::string drawn = get("rf.evm_floor");
  set("rf.crystal", "12.5");
  EXPECT_EQ(get("rf.evm_floor"), drawn);
  set("unit", "8");
  EXPECT_EQ(get("rf.crystal"), "12.5");
  EXPECT_NE(get("rf.evm_floor"), drawn);
  set("unit", "none");
  EXPECT_EQ(get("rf.evm_floor"), "-39,-37") << "typical";
  EXPECT_EQ(get("rf.crystal"), "12.5");
}

TEST_F(Rf, BadValuesAreRefusedWithWhatWouldBeRight) {
  const struct {
    const char *key, *value, *right;
  } cases[] = {{"unit", "-1", "none or a number from 0 to 4294967295"},
               {"unit", "4294967296", "none or a number from 0 to 4294967295"},
               {"unit", "7x", "none or a number"},
               {"rf.crystal", "fast", "a number from -200 to 200 ppm"},
               {"rf.crystal", "nan", "a number from -200 to 200 ppm"},
               {"rf.crystal", "200.001", "a number from -200 to 200 ppm"},
               {"rf.crystal", "1,2", "a number from -200 to 200 ppm"},
               {"rf.error.pa5ga0", "1,2,3", "one number for all or 4 numbers separated by commas"},
               {"rf.error.pa5ga0", "1,2,,4", "each from -6 to 6 dB"},
               {"rf.fault", "open_antena", "wrong_fem, cold_joint, open_antenna and bad_crystal"},
               {"state.emission", "null", "can only be read"},
               {"cable", "tester", "HOST:PORT/N"},
               {"cable", "localhost:5026", "HOST:PORT/N"},
               {"cable", "localhost:0/1", "HOST:PORT/N"},
               {"cable", "localhost:5026/0", "HOST:PORT/N"},
               {"cable", "localhost:5026/1000", "HOST:PORT/N"},
               {"cable", "localhost:65536/1", "HOST:PORT/N"},
               {"cable", ":5026/1", "HOST:PORT/N"}};
  for (auto &c : cases) {
    std::string before = get(c.key), message = refusal(c.key, c.value);
    EXPECT_NE(message.find(c.right), message.npos) << c.key << " = " << c.value << ": " << message;
    EXPECT_EQ(message.find(c.key), 0u) << message;
    EXPECT_EQ(get(c.key), before);
  }
}

TEST_F(Rf, ADescriptionGivesAUnitWithFractions) {
  std::string path = testing::TempDir() + "rf_test_" + std::to_string(getpid()) + ".toml";
  std::ofstream(path) << "unit = 3\n[rf]\ncrystal = -1.25\nfault = [\"bad_crystal\", \"cold_joint\"]\n"
                         "[rf.error]\npa5ga0 = [0.5, -1, 1e-3, 2]\n";
  char error[400] = "";
  EXPECT_EQ(phone_load(path.c_str(), error, sizeof(error)), 0) << error;
  unlink(path.c_str());
  EXPECT_EQ(get("unit"), "3");
  EXPECT_EQ(get("rf.crystal"), "-1.25");
  EXPECT_EQ(get("rf.fault"), "cold_joint,bad_crystal");
  EXPECT_EQ(get("rf.error.pa5ga0"), "0.5,-1,0.001,2");
}

// ---- Transmission ----------------------------------------------------------------------------------------

TEST_F(Rf, WithoutAUnitThereIsNoEmissionAndEverythingIsReceived) {
  transmit(mcs7, 15);
  EXPECT_EQ(get("state.emission"), "null");
  ask("transmit", 0);
  set("radio.packet_rate", "300");
  EXPECT_EQ(packets_at(-200), 300u);
  EXPECT_EQ(rssi(), -200);
}

TEST_F(Rf, TheDriversNumbersGiveChannelFormatAndRate) {
  const struct {
    setting s;
    const char *expected;
  } cases[] = {
      {{1, 0, 14, 11}, R"("mhz":2484,"bandwidth_mhz":20,"format":"dsss","rate":"11")"},
      {{1, 0, 1, 5}, R"("mhz":2412,"bandwidth_mhz":20,"format":"dsss","rate":"5.5")"},
      {{4, 0, 13, 54}, R"("mhz":2472,"bandwidth_mhz":20,"format":"ofdm","rate":"54")"},
      {{10, 1, 4, 121}, R"("mhz":2437,"bandwidth_mhz":40,"format":"ht","rate":"mcs6")"},
      {{7, 0, 36, 6}, R"("mhz":5180,"bandwidth_mhz":20,"format":"ht","rate":"mcs0")"},
      {{6, 3, 36, 390}, R"("mhz":5210,"bandwidth_mhz":80,"format":"vht","rate":"mcs9")"},
      {{12, 7, 36, 1200}, R"("mhz":5250,"bandwidth_mhz":160,"format":"he","rate":"mcs11")"},
      {{12, 0, 165, 143}, R"("mhz":5825,"bandwidth_mhz":20,"format":"he","rate":"mcs11")"},
  };
  set("rf.crystal", "0");
  for (auto &c : cases) {
    transmit(c.s, 12);
    EXPECT_EQ(get("state.emission").find(c.expected), 1u) << get("state.emission");
  }
  for (uint32_t beyond : {static_cast<uint32_t>(-3), 15u, 200u}) {
    transmit({7, 0, beyond, 6}, 12);
    EXPECT_EQ(get("state.emission"), "null") << "no synthesiser reaches " << beyond;
  }
  transmit({7, 0, 36, 6}, 12);
  ask("transmit", 0);
  EXPECT_EQ(get("state.emission"), "null");
}

/// Rates of the standard in kb/s, of one stream with the long guard interval, and of HE with 0.8 us.
struct rate_table {
  uint32_t mode, bandwidth;
  const char *format;
  std::vector<uint32_t> kbps;
};
const std::vector<uint32_t> carriers_108 = {13500,  27000,  40500,  54000,  81000,
                                            108000, 121500, 135000, 162000, 180000};
const rate_table rate_tables[] = {
    {1, 0, "dsss", {1000, 2000, 5500, 11000}},
    {4, 0, "ofdm", {6000, 9000, 12000, 18000, 24000, 36000, 48000, 54000}},
    {7, 0, "ht", {6500, 13000, 19500, 26000, 39000, 52000, 58500, 65000}},
    {10, 1, "ht", {carriers_108.begin(), carriers_108.begin() + 8}},
    {11, 1, "vht", carriers_108},
    {6, 3, "vht", {29250, 58500, 87750, 117000, 175500, 234000, 263250, 292500, 351000, 390000}},
    {8, 7, "vht", {58500, 117000, 175500, 234000, 351000, 468000, 526500, 585000, 702000, 780000}},
    {12, 0, "he", {8603, 17206, 25809, 34412, 51618, 68824, 77426, 86029, 103235, 114706, 129044, 143382}},
    {13,
     1,
     "he",
     {17206, 34412, 51618, 68824, 103235, 137647, 154853, 172059, 206471, 229412, 258088, 286765}},
    {12,
     3,
     "he",
     {36029, 72059, 108088, 144118, 216176, 288235, 324265, 360294, 432353, 480392, 540441, 600490}},
    {12,
     7,
     "he",
     {72059, 144118, 216176, 288235, 432353, 576471, 648529, 720588, 864706, 960784, 1080882, 1200980}},
};
const char *const dsss_names[] = {"1", "2", "5.5", "11"};

std::string rate_name(const rate_table &of, size_t i) {
  if (of.mode == 1) return dsss_names[i];
  return of.mode == 4 ? std::to_string(of.kbps[i] / 1000) : "mcs" + std::to_string(i);
}

TEST_F(Rf, ARateIsTheNearestOfItsFormat) {
  set("rf.crystal", "0");
  for (auto &table : rate_tables) {
    transmit({table.mode, table.bandwidth, 36, 0}, 12);
    for (uint32_t code = 0; code <= 1300; code += code < 200 ? 1 : 11) {
      size_t nearest = 0;
      const auto away = [&](size_t i) { return std::abs(int(table.kbps[i] / 1000) - int(code)); };
      for (size_t i = 0; i < table.kbps.size(); i++)
        if (away(i) < away(nearest)) nearest = i;
      ask("rate", code);
      const std::string expected =
          std::string(R"("format":")") + table.format + R"(","rate":")" + rate_name(table, nearest) + "\"";
      ASSERT_NE(get("state.emission").find(expected), std::string::npos) << code << get("state.emission");
    }
  }
}

TEST_F(Rf, TheExactUnitSendsWhatIsWantedUpToSaturation) {
  set("rf.crystal", "0");
  for (uint32_t channel : {7u, 36u, 100u, 132u, 165u}) {
    for (int dbm : {-5, 0, 5, 9, 10, 15, 20, 24}) {
      transmit({7, 0, channel, 65}, dbm);
      EXPECT_NEAR(emitted("power_dbm"), dbm, 0.001) << "channel " << channel;
    }
    transmit({7, 0, channel, 65}, 40);
    EXPECT_NEAR(emitted("power_dbm"), channel == 7 ? 26 : 25, 0.001);
  }
}

TEST_F(Rf, CompressionCostsEvmAndMaskMargin) {
  set("rf.crystal", "0");
  transmit(mcs7, 10);
  EXPECT_LT(emitted("evm_db"), -36);
  EXPECT_GT(emitted("mask_margin_db"), 10);
  transmit(mcs7, 19);
  EXPECT_NEAR(emitted("evm_db"), -27, 0.5) << "7 dB below saturation";
  EXPECT_NEAR(emitted("mask_margin_db"), 6, 0.5);
  transmit(mcs7, 24);
  EXPECT_GT(emitted("evm_db"), -19);
  EXPECT_LT(emitted("mask_margin_db"), 0);
  set("rf.saturation", "30");
  EXPECT_LT(emitted("evm_db"), -23);
}

TEST_F(Rf, FaultsOfTheBoardShowInTheEmission) {
  const struct {
    const char *key, *value, *quantity;
    double change;
  } cases[] = {{"rf.fault", "wrong_fem", "power_dbm", -4},
               {"check.fem", "2", "power_dbm", -4},
               {"rf.fault", "cold_joint", "power_dbm", -8},
               {"check.pin", "0x12", "power_dbm", -8},
               {"rf.fault", "open_antenna", "power_dbm", -22},
               {"rf.fault", "bad_crystal", "frequency_error_ppm", 35},
               {"rf.temperature", "75", "frequency_error_ppm", 8.125},
               {"rf.temperature", "75", "power_dbm", -0.5}};
  for (auto &c : cases) {
    phone_reset();
    set("rf.crystal", "0");
    transmit(mcs7, 15);
    double before = emitted(c.quantity);
    set(c.key, c.value);
    EXPECT_NEAR(emitted(c.quantity) - before, c.change, 0.001) << c.key << " " << c.value;
  }
}

TEST_F(Rf, TextsInNvThatHoldNoCurveCountAsNone) {
  for (const char *text :
       {"", "pa2ga0=1,2;", "pa2ga0", "xpa2ga0=1,2,3;", "pa2ga0=a,b,c;", "pa2ga00=1,2,3;"}) {
    phone_reset();
    char item[104] = "";
    snprintf(item, sizeof(item), "%s", text);
    phone_nv_put(340, "WIC0_2G5G_OFDM", item);
    set("unit", "none");
    set("rf.crystal", "0");
    transmit(mcs7, 15);
    EXPECT_NEAR(emitted("power_dbm"), 15, 0.001) << text;
  }
}

TEST_F(Rf, ADescribedBoardCurveIsUsedUnlessNvHoldsOne) {
  set("rf.crystal", "0");
  set("calibration.pa2ga0", "8192,13056,113");  // shifted by -1 dB
  transmit(mcs7, 15);
  EXPECT_NEAR(emitted("power_dbm"), 16, 0.05);
  char item[104] = "x=1;pa2ga0=8192,12544,88;";  // by 1 dB
  phone_nv_put(340, "WIC0_2G5G_OFDM", item);
  EXPECT_NEAR(emitted("power_dbm"), 16, 0.05) << "the driver reads NV when it comes up";
  set("interface.up", "false");
  set("interface.up", "true");
  transmit(mcs7, 15);
  EXPECT_NEAR(emitted("power_dbm"), 14, 0.05);
}

// ---- Reception -------------------------------------------------------------------------------------------

TEST_F(Rf, PacketsAreLostBelowTheSensitivityOfTheRate) {
  // The standard's minimum, less 15 dB for its allowances, plus 7 dB for this unit's figures in 2.4 GHz, 8 in
  // 5 GHz.
  const struct {
    setting s;
    int sensitivity;
    unsigned lost;  // of 10000
  } cases[] = {{{10, 0, 7, 65}, -64 - 8, 1000},
               {{10, 0, 7, 6}, -82 - 8, 1000},
               {{4, 0, 7, 54}, -65 - 8, 1000},
               {{1, 0, 7, 11}, -76 - 8, 800},
               {{7, 0, 36, 65}, -64 - 7, 1000}};
  set("rf.crystal", "0");
  set("radio.packet_rate", "10000");
  for (auto &c : cases) {
    transmit(c.s, 0);
    ask("transmit", 0);
    EXPECT_NEAR(10000.0 - packets_at(c.sensitivity), c.lost, 60) << c.s.rate;
    EXPECT_LT(packets_at(c.sensitivity - 4), 100u);
    EXPECT_GT(packets_at(c.sensitivity + 3), 9990u);
    EXPECT_GT(packets_at(-40), 9990u);
    EXPECT_LT(packets_at(20), 100u) << "overload";
  }
}

TEST_F(Rf, EachRateHasTheSensitivityOfTheStandardInEachBandwidth) {
  const std::vector<int> mcs = {-82, -79, -77, -74, -70, -66, -65, -64, -59, -57, -54, -52};
  set("rf.crystal", "0");
  set("radio.packet_rate", "10000");
  for (auto &table : rate_tables) {
    for (size_t i = 0; i < table.kbps.size(); i++) {
      tune({table.mode, table.bandwidth, 36, table.kbps[i] / 1000}, 0);
      int least = table.mode == 1   ? std::vector{-83, -80, -79, -76}[i]
                  : table.mode == 4 ? std::vector{-82, -81, -79, -77, -74, -70, -66, -65}[i]
                                    : mcs[i];
      int wider = table.bandwidth == 7 ? 9 : table.bandwidth == 3 ? 6 : table.bandwidth == 1 ? 3 : 0;
      EXPECT_NEAR(10000.0 - packets_at(least + wider - 7), table.mode == 1 ? 800 : 1000, 90)
          << table.format << " " << i << " code " << table.bandwidth;
    }
  }
}

TEST_F(Rf, TheReportedLevelHasTheUnitsErrorAndTheBoardsLoss) {
  set("rf.rssi_offset", "2.4,-1");
  set("radio.rssi", "-50");
  EXPECT_EQ(rssi(), -48);
  ask("mimo_chain", 2);
  EXPECT_EQ(rssi(), -51);
  set("rf.fault", "open_antenna");
  EXPECT_EQ(rssi(), -51) << "the first chain's antenna";
  ask("mimo_chain", 1);
  EXPECT_EQ(rssi(), -70);
}

}  // namespace
