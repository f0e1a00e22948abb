// SPDX-License-Identifier: Apache-2.0
// Settings, their translation for the driver, channel numbers, queries, read-backs and text arguments.
#include <cstring>
#include <optional>

#include "tests/support/rf_expect.h"

namespace {

class Settings : public ChipTest {
protected:
  bool has_chain() const { return is(vq2050_case) || is(vq2070_case); }
  int32_t query(int32_t item) { return PUBLIC(wifi_query_setting)(item); }
};

TEST_P(Settings, WhatIsOnlyRecordedIsToldAndNotSent) {
  EXPECT_EQ(PUBLIC(wifi_set_rate)(-6500), 1U);
  EXPECT_EQ(PUBLIC(wifi_set_band)(7), 1U);
  EXPECT_EQ(PUBLIC(wifi_set_channel)(5180), 1U);
  EXPECT_EQ(transcript(), said(3, "wifi_set_rate::rate[-6500].\n") +
                              said(3, "wifi_ioctl_set_band::band[7].\n") +
                              said(3, "wifi_set_channel::set channel[5180].\n"));
}

TEST_P(Settings, PowerGoesOutAtOnceOnlyOutsideTestMode) {
  const bool older = is(vq2040_case);
  const struct {
    int32_t power, tenth, hundredth;
  } cases[] = {{155, 15, 1}, {-99, -9, 0}, {-1999, -199, -19}, {0, 0, 0}, {INT32_MIN, -214748364, -21474836}};
  for (const auto &one : cases) {
    for (outcome how : {GOOD, REFUSED, NO_SOCKET}) {
      const int32_t step = older ? one.hundredth : one.tenth;
      const std::string recorded = said(3, "wifi_set_power::pow[" + std::to_string(one.power) + "].\n");
      forget();
      plan(older ? 25 : 1, 1, how);
      EXPECT_EQ(PUBLIC(wifi_set_power)(one.power), how == GOOD ? 1U : 0U);
      EXPECT_EQ(transcript(),
                recorded +
                    said(3, std::string(older ? "wifi_ioctl_set_conn_power" : "wifi_ioctl_set_power") +
                                "::pow_val[" + std::to_string(step) + "].\n") +
                    value_command(chip(), older ? 25 : 1, static_cast<uint32_t>(step), how) + "sleep 1000\n" +
                    (how != GOOD && !older ? said(6, "wifi_ioctl_set_power fail, ret [0].\n") : ""));
    }
  }
  PUBLIC(wifi_start_testmode)();
  forget();
  EXPECT_EQ(PUBLIC(wifi_set_power)(200), 1U);
  EXPECT_EQ(transcript(), said(3, "wifi_set_power::pow[200].\n"));
  EXPECT_EQ(query(5), 200);
  forget();
  EXPECT_EQ(back_end<uint32_t(int32_t)>("wifi_ioctl_set_power")(-155), 1U);
  const uint32_t step = older ? static_cast<uint32_t>(-1) : static_cast<uint32_t>(-15);
  EXPECT_EQ(transcript(),
            said(3, std::string("wifi_ioctl_set_power::pow_val[") + (older ? "-1" : "-15") + "].\n") +
                value_command(chip(), 1, step) + "sleep 1000\n");
}

TEST_P(Settings, AntennaOneIsSentAsZeroAndEveryOtherAsOne) {
  if (is(vq2040a_case)) return;  // its value sender knows no such command
  for (int32_t antenna : {1, 0, 2, -1}) {
    for (outcome how : {GOOD, REFUSED, NO_SOCKET}) {
      const uint32_t value = antenna == 1 ? 0 : 1;
      forget();
      plan(21, 1, how);
      EXPECT_EQ(PUBLIC(wifi_set_antenna)(antenna), how == GOOD ? 1U : 0U);
      EXPECT_EQ(transcript(), value_command(chip(), 21, value, how) +
                                  said(3, with_result(chip_ + "_wifi_set_antenna , set wifi drv_ant:" +
                                                          std::to_string(value) + ", ret:$\n",
                                                      how)));
      EXPECT_EQ(query(11), antenna);
    }
  }
}

TEST_P(Settings, OneOfTwoChainsCanBeChosen) {
  if (is(vq2040a_case)) {
    EXPECT_FALSE(has_symbol("vq2040a_wifi_setmimo_channel"));
    return;
  }
  const auto choose = back_end<uint32_t(int32_t)>("wifi_setmimo_channel");
  const std::string illegal = said(6, "wifi_setmimo_channel::set mimo parameter illegal.\n"),
                    chosen = said(3, "wifi_setmimo_channel::channel[2].\n");
  for (int32_t chain : {0, 3, -1}) {
    forget();
    EXPECT_EQ(choose(chain), 0U);
    EXPECT_EQ(transcript(), illegal);
  }
  forget();
  EXPECT_EQ(choose(2), has_chain() ? 1U : 0U);
  EXPECT_EQ(transcript(),
            has_chain() ? chosen : said(6, "wifi_setmimo_channel::Vq2040 dont support mimo.\n"));
  forget();
  if (has_chain()) {
    EXPECT_EQ(choose(3), 0U);
    forget();
    EXPECT_EQ(back_end<uint32_t(uint32_t)>("wifi_ioctl_setmimo_channel")(9), 1U);
    EXPECT_EQ(transcript(),
              said(3, "wifi_ioctl_setmimo_channel::set mimo_channel[9].\n") + value_command(chip(), 27, 9));
    forget();
    PUBLIC(wifi_set_channel)(2484);
    EXPECT_EQ(PUBLIC(wifi_start_tx)(), 1U);
    EXPECT_NE(sent_values().find(" 27=2 "), std::string::npos)
        << "kept after a refused choice: " << sent_values();
    return;
  }
  set("subchip", "1");
  EXPECT_EQ(choose(2), 1U);
  set("subchip", "2");
  EXPECT_EQ(choose(2), 0U);
  EXPECT_EQ(transcript(), chosen + said(6, "wifi_setmimo_channel::Unsupported sub_chip type.\n"));
}

TEST_P(Settings, ModesAreLookedUpByTheirLowByte) {
  const bool newest = is(vq2070_case);
  const int32_t drivers[] = {3, 0, 1, 4, 7, 6, newest ? 12 : 2, newest ? 2 : -1};
  PUBLIC(wifi_set_channel)(2484);  // high enough that no mode is exchanged
  int32_t last = 0;
  for (int32_t mode : {0, 1, 2, 3, 4, 5, 6, 7, 8, 257, -250, 255, -1}) {
    SCOPED_TRACE(mode);
    const uint32_t low = static_cast<uint32_t>(mode) & 255;
    const int32_t driver = low < 8 ? drivers[low] : -1;
    const std::string told = "wifi_set_mode::mode[" + std::to_string(mode) + "]";
    forget();
    EXPECT_EQ(PUBLIC(wifi_set_mode)(mode), driver >= 0 ? 1U : 0U);
    const std::string unknown =
        newest ? said(6, "vq2070_wifi_set_mode::not invalid mode idx") : said(6, told + ".\n");
    EXPECT_EQ(transcript(),
              (newest ? said(6, told + ".\n") : "") +
                  (driver < 0 ? unknown : said(3, told + ", enable[" + std::to_string(driver) + "].\n")));
    EXPECT_EQ(query(2), mode) << "kept even when unknown";
    if (driver >= 0) last = driver;
    forget();
    EXPECT_EQ(PUBLIC(wifi_start_tx)(), 1U);
    EXPECT_EQ(sent().at(1).value(), static_cast<uint32_t>(last)) << "an unknown mode keeps the driver's";
  }
}

TEST_P(Settings, DriverModesAreExchangedBelow2484) {
  const auto set_mode = back_end<uint32_t(uint32_t, int32_t)>("wifi_ioctl_set_mode");
  for (uint32_t mode = 0; mode < 16; mode++) {
    for (int32_t frequency : {0, 2412, 2483, 2484, 5180}) {
      uint32_t wanted = mode;
      if (frequency < 2484 && mode == 7) wanted = 10;
      if (frequency < 2484 && mode == 8) wanted = 11;
      if (frequency < 2484 && mode == 12 && is(vq2070_case)) wanted = 13;
      forget();
      EXPECT_EQ(set_mode(mode, frequency), 1U);
      EXPECT_EQ(transcript(), said(3, "wifi_ioctl_set_mode::set mode[" + std::to_string(wanted) +
                                          "], frequency[" + std::to_string(frequency) + "].\n") +
                                  value_command(chip(), 2, wanted));
    }
  }
}

TEST_P(Settings, BandwidthsHaveCodes) {
  for (int32_t band : {-1, 0, 1, 2, 3, 4}) {
    const int32_t code = band == 2 ? 3 : band == 3 ? 7 : band;
    forget();
    EXPECT_EQ(back_end<uint32_t(int32_t)>("wifi_ioctl_set_band")(band), 1U);
    EXPECT_EQ(transcript(), said(3, "wifi_ioctl_set_band::band[" + std::to_string(band) + "], band_set[" +
                                        std::to_string(code) + "].\n") +
                                value_command(chip(), 4, static_cast<uint32_t>(code)));
  }
}

// ---- Channel numbers
// ---------------------------------------------------------------------------------------

/// By arithmetic alone: the number at 20 MHz less what a wider band's centre lies below it.
std::optional<int32_t> channel_number(int32_t frequency, int32_t band) {
  const int32_t below[] = {0, 2, 6, 14};
  if (frequency == 2484) return 14;
  if (band < 0 || band > 3) return std::nullopt;
  const bool high = frequency >= 2477;
  if (!high && band > 1) return std::nullopt;
  const int32_t first = high ? 5180 : 2412, last = high ? 5825 : 2472;
  if (frequency < first || frequency > last || (frequency - first) % 5 != 0) return std::nullopt;
  const int32_t number = (high ? 36 : 1) + (frequency - first) / 5 - below[band];
  return number == 0 ? std::nullopt : std::optional(number);
}

class Channels : public Settings {
protected:
  /// What is said when no number comes out.
  std::string complaint(int32_t frequency, int32_t band) const {
    const bool no_such_band = band < 0 || band > 3;
    const std::string number = std::to_string(band);
    if (is(vq2070_case)) {
      if (!no_such_band && (frequency > 2476 || band < 2)) return "";
      return said(6, "vq2070_wifi_get_channel_by_bw_freq::error bw and freq combination,freq[" +
                         std::to_string(frequency) + "], bandwidth[" + number + "]");
    }
    if (no_such_band) return said(6, "wifi_ioctl_set_channel::wrong band[" + number + "].\n");
    return band == 2 && frequency < 2477 ? said(6, "wl_config_test::2.4GHz have no 80M bandwidth.\n") : "";
  }

  void expect_channel(int32_t frequency, int32_t band) {
    const std::optional<int32_t> number = channel_number(frequency, band);
    forget();
    const uint32_t result = back_end<uint32_t(int32_t)>("wifi_ioctl_set_channel")(frequency);
    ASSERT_EQ(result, number ? 1U : 0U) << frequency << " MHz, band " << band;
    const std::string expected = number ? value_command(chip(), 0, static_cast<uint32_t>(*number)) +
                                              said(3, chip_ + "_wifi_ioctl_set_channel::set wifichannel[" +
                                                          std::to_string(*number) + "], ret[1].\n")
                                        : complaint(frequency, band);
    ASSERT_EQ(transcript(), expected) << frequency << " MHz, band " << band;
  }
};

TEST_P(Channels, EveryFrequencyAtEveryBand) {
  for (int32_t band = -1; band <= 4; band++) {
    PUBLIC(wifi_set_band)(band);
    for (int32_t frequency = 2400; frequency <= 2500; frequency++) expect_channel(frequency, band);
    for (int32_t frequency = 5150; frequency <= 5850; frequency++) expect_channel(frequency, band);
    for (int32_t frequency : {0, 1, INT32_MAX}) expect_channel(frequency, band);
  }
}

TEST_P(Channels, ARefusalIsToldAndReturned) {
  PUBLIC(wifi_set_band)(0);
  forget();
  plan(0, 1, REFUSED);
  EXPECT_EQ(back_end<uint32_t(int32_t)>("wifi_ioctl_set_channel")(2412), 0U);
  EXPECT_EQ(transcript(), value_command(chip(), 0, 1, REFUSED) +
                              said(3, chip_ + "_wifi_ioctl_set_channel::set wifichannel[1], ret[0].\n"));
}

TEST_F(PhoneTest, ChannelsByTable) {
  fit("vq2070");
  const auto by_bandwidth = back_end<uint32_t(int32_t, int32_t, uint32_t *)>("wifi_get_channel_by_bw_freq");
  const auto by_row = back_end<uint32_t(uint32_t, int32_t, uint32_t, uint32_t *)>("get_target_channel");
  const int32_t rows[][3] = {{2412, 1, 0},  {2472, 13, 0},  {2412, -1, 1}, {2417, 0, 1},
                             {5180, 36, 2}, {5825, 163, 3}, {5180, 30, 4}, {5825, 151, 5}};
  for (const auto &[frequency, number, row] : rows) {
    const int32_t band = row < 2 ? row : row - 2;
    const uint32_t base = row < 2 ? 0 : 35;
    uint32_t channel = 77;
    EXPECT_EQ(by_bandwidth(frequency, band, &channel), 1U);
    EXPECT_EQ(static_cast<int32_t>(channel), number);
    EXPECT_EQ(by_row(base, row, static_cast<uint32_t>(frequency), &channel), 1U);
    EXPECT_EQ(static_cast<int32_t>(channel), number);
    EXPECT_EQ(by_row(base + 100, row, static_cast<uint32_t>(frequency), &channel), 1U);
    EXPECT_EQ(static_cast<int32_t>(channel), number + 100);
    EXPECT_EQ(by_row(base, row, 2477, &channel), 0U);
    EXPECT_EQ(by_row(base, row, 5830, &channel), 0U);
  }
  uint32_t untouched = 77;
  EXPECT_EQ(by_bandwidth(2484, 0, &untouched), 0U) << "no row holds it; the setter knows it by itself";
  EXPECT_EQ(by_bandwidth(2412, 4, &untouched), 0U);
  EXPECT_EQ(untouched, 77U);
}

TEST_F(PhoneTest, SubBandsOfFiveGigahertz) {
  fit("vq2070");
  const auto sub_band = back_end<int32_t(int32_t)>("get_5g_band");
  const int32_t limits[][3] = {{5180, 5320, 0}, {5500, 5640, 3}, {5660, 5720, 6}, {5745, 5825, 9}};
  for (int32_t frequency = 5150; frequency <= 5850; frequency++) {
    int32_t expected = -1;
    for (const auto &[first, last, number] : limits) {
      if (frequency >= first && frequency <= last) expected = number;
    }
    ASSERT_EQ(sub_band(frequency), expected) << frequency;
  }
}

// ---- Queries and read-backs
// --------------------------------------------------------------------------------

TEST_P(Settings, QueriesBeforeAnythingIsSet) {
  const int32_t time = is(vq2040_case) ? 255 : 10;
  const int32_t fresh[] = {-1, 0, 0, -1, -1, -1, -1, -1, -1, 0, 0, -1, -1, time, -1};
  for (int32_t item : {-1, 0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 13, 14, 256 + 5, INT32_MAX}) {
    SCOPED_TRACE(item);
    const bool unknown = item < 1 || item > 13 || item == 6 || item == 8 || item == 12;
    const std::string number = std::to_string(item);
    forget();
    EXPECT_EQ(query(item), unknown ? -1 : fresh[item]);
    EXPECT_EQ(transcript(), said(6, "enter wifi_query_setting,  type = " + number + "\n") +
                                (unknown && is(vq2070_case)
                                     ? said(6, "vq2070_wifi_query_setting::wrong type[" + number + "]")
                                     : ""));
  }
}

TEST_P(Settings, QueriesTellWhatWasSet) {
  PUBLIC(wifi_set_mode)(99);
  PUBLIC(wifi_set_channel)(1);
  PUBLIC(wifi_set_power)(155);
  PUBLIC(wifi_set_rate)(12150);
  PUBLIC(wifi_set_antenna)(-3);
  const int32_t told[][2] = {{2, 99}, {3, 1}, {4, -1}, {5, 155}, {7, 12150}, {11, -3}};
  for (const auto &[item, value] : told) EXPECT_EQ(query(item), value) << item;
  PUBLIC(wifi_set_channel)(0);
  PUBLIC(wifi_set_power)(-5);
  PUBLIC(wifi_set_rate)(-1);
  for (int32_t item : {3, 5, 7}) EXPECT_EQ(query(item), -1) << "not positive counts as not set: " << item;
}

TEST_P(Settings, SignalAndPacketsAreReadBack) {
  const auto packets = [&] { return PUBLIC(wifi_get_rx_pckg)(); };
  uint32_t signal = 0;
  answer(12, 0xFFFFFFC4);
  answer(10, 4711);
  EXPECT_EQ(PUBLIC(wifi_get_rx_rssi)(&signal), 1U);
  EXPECT_EQ(signal, 0xFFFFFFC4U);
  EXPECT_EQ(packets(), 4711U);
  EXPECT_EQ(transcript(), direct(chip(), 12, 0) + direct(chip(), 10, 0)) << "no pause, nothing said";
  set("driver.refuse", "10,12");
  forget();
  EXPECT_EQ(PUBLIC(wifi_get_rx_rssi)(&(signal = 5)), 0U);
  EXPECT_EQ(signal, 0xFFFFFFC4U) << "written also after a refusal";
  EXPECT_EQ(packets(), 0xFFFFFFFFU);
  EXPECT_EQ(logs().size(), 4U) << "two attempts each";
  forget();
  fail("socket", 1, 2);
  EXPECT_EQ(PUBLIC(wifi_get_rx_rssi)(&(signal = 5)), 0U);
  EXPECT_EQ(signal, 5U) << "untouched without a socket";
  EXPECT_EQ(packets(), 0U);
  EXPECT_EQ(transcript(), opening(chip(), NO_SOCKET) + opening(chip(), NO_SOCKET));
}

TEST_P(Settings, PowerSaveIsSwitchedOnlyByModeOne) {
  const std::string first = is(vq2070_case) ? "vq2070" : "vq2050";  // the oldest two borrow a name
  for (int32_t mode : {1, 0, 2, -1}) {
    for (outcome how : {GOOD, REFUSED}) {
      if (how == REFUSED && mode != 1) continue;
      const outcome end = mode == 1 ? how : REFUSED;
      forget();
      plan(11, 1, how);
      EXPECT_EQ(PUBLIC(wifi_set_powermode)(mode, 5), end == GOOD ? 1U : 0U);
      EXPECT_EQ(transcript(),
                said(3, first + "_wifi_set_powermode::mode[" + std::to_string(mode) + "], ret[5].\n") +
                    (mode == 1 ? value_command(chip(), 11, 5, how) : "") +
                    said(3, with_result(chip_ + "_wifi_set_powermode::ret[$].\n", end)));
    }
  }
}

// ---- Texts
// -------------------------------------------------------------------------------------------------

TEST_P(Settings, AddressesAreTwelveDigits) {
  const auto set_address = back_end<uint32_t(const char *)>("wifi_set_hw_mac_addr");
  const std::string nothing = "srcMac is null, now set srcMac to defult addr 001122334455\n";
  const struct {
    const char *text;
    std::string told;
    std::vector<uint8_t> bytes;
  } cases[] = {
      {nullptr, nothing, {0x00, 0x11, 0x22, 0x33, 0x44, 0x55}},
      {"AABBCCDDEEFF", "srcMac AA:BB:CC:DD:EE:FF\n", {0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}},
      {"aabbccddeeff", "srcMac aa:bb:cc:dd:ee:ff\n", {0xAA, 0xBB, 0xCC, 0xDD, 0xEE, 0xFF}},
      {"0918273645afG!", "srcMac 09:18:27:36:45:af\n", {0x09, 0x18, 0x27, 0x36, 0x45, 0xAF}},
      {"00112233445G", "srcMac 00:11:22:33:44:5G\n", {}},
      {"00:11:22:33:44:55", "srcMac 00::1:1::22::3:3:\n", {}},
      {"@0112233445`", "srcMac @0:11:22:33:44:5`\n", {}},
      {"/01122334455", "srcMac /0:11:22:33:44:55\n", {}},
  };
  for (const auto &one : cases) {
    SCOPED_TRACE(one.told);
    std::string expected = "socket\n" + said(3, one.told);
    forget();
    EXPECT_EQ(set_address(one.text), one.bytes.empty() ? 0U : 1U);
    if (one.bytes.empty()) {
      expected += said(6, "wif_set_hw_mac_addr::src mac illegal.\n") + "close\n";
    } else {
      char bytes[64];
      snprintf(bytes, sizeof bytes, "hwMAC  %02x:%02x:%02x:%02x:%02x:%02x\n", one.bytes[0], one.bytes[1],
               one.bytes[2], one.bytes[3], one.bytes[4], one.bytes[5]);
      const auto word = static_cast<uint32_t>(one.bytes[0] | one.bytes[1] << 8 | one.bytes[2] << 16) |
                        static_cast<uint32_t>(one.bytes[3]) << 24;
      expected += said(3, bytes) + attempts(chip(), 9, word) + "close\n";
      ASSERT_EQ(sent().size(), 1U);
      EXPECT_EQ(memcmp(sent()[0].data.data(), one.bytes.data(), 6), 0);
    }
    EXPECT_EQ(transcript(), expected);
  }
}

class ResourceUnit : public PhoneTest {
protected:
  void SetUp() override {
    PhoneTest::SetUp();
    fit("vq2070");
  }
  /// The RU command of a receive start: "" where none is sent.
  std::string started() {
    PUBLIC(wifi_set_channel)(2484);
    forget();
    EXPECT_EQ(PUBLIC(wifi_start_rx)(nullptr, nullptr), 1U);
    const bool told = logged("4 vq2070_wifi_ioctl_set_axru::not ru mode");
    for (const sent_command &one : sent()) {
      if (one.id != 39) continue;
      EXPECT_FALSE(told);
      return std::to_string(one.value() >> 16) + " " + std::to_string(one.value() & 0xFFFF);
    }
    EXPECT_TRUE(told);
    return "";
  }
};

TEST_F(ResourceUnit, AnArmedTestServesOneReceiveStart) {
  EXPECT_EQ(started(), "");
  const struct {
    int32_t set;
    const char *aid;
    std::string told, started;
  } cases[] = {
      {2, "1a3", said(4, "tmp012 is 1, 10, 3") + said(3, "vq2070_ru_set::en_set[2], desaid[0x1a3].\n"),
       "2 419"},
      {1, "FfFzz", said(4, "tmp012 is 15, 15, 15") + said(3, "vq2070_ru_set::en_set[1], desaid[0xfff].\n"),
       "1 4095"},
      {1, "1z3",
       said(6, "wif_set_hw_mac_addr::des aid illegal.\n") + said(4, "tmp012 is 1, 0, 3") +
           said(3, "vq2070_ru_set::en_set[1], desaid[0x103].\n"),
       "1 259"},
      {2, nullptr, said(3, "vq2070_ru_set::en_set[2], desaid[0x1].\n"), "2 1"},
      {0, "fff", said(3, "vq2070_ru_set::en_set[0], desaid[0x1].\n"), ""},
  };
  for (const auto &one : cases) {
    forget();
    EXPECT_EQ(PUBLIC(wifi_ru_set)(one.set, one.aid), 1U);
    EXPECT_EQ(transcript(), one.told);
    EXPECT_EQ(started(), one.started) << one.told;
    EXPECT_EQ(started(), "") << "used up";
  }
}

TEST_F(ResourceUnit, ARefusedSettingChangesNothing) {
  EXPECT_EQ(PUBLIC(wifi_ru_set)(2, "123"), 1U);
  for (int32_t set : {3, -1}) {
    forget();
    EXPECT_EQ(PUBLIC(wifi_ru_set)(set, "456"), 0U);
    EXPECT_EQ(transcript(), said(6, "vq2070_ru_set::illgeal en_set[" + std::to_string(set) + "]"));
  }
  EXPECT_EQ(started(), "2 291");
}

TEST_F(ResourceUnit, TheArmedTestIsUsedUpHoweverItEnds) {
  const auto send = back_end<uint32_t(uint32_t)>("wifi_ioctl_set_axru");
  for (outcome how : {GOOD, REFUSED, NO_SOCKET}) {
    EXPECT_EQ(PUBLIC(wifi_ru_set)(1, "123"), 1U);
    forget();
    plan(39, 1, how);
    EXPECT_EQ(send(0x456), how == GOOD ? 1U : 0U);
    EXPECT_EQ(transcript(), direct(vq2070_case, 39, 0x10456, how));
    forget();
    EXPECT_EQ(send(0x456), 1U);
    EXPECT_EQ(transcript(), said(4, "vq2070_wifi_ioctl_set_axru::not ru mode"));
  }
}

INSTANTIATE_TEST_SUITE_P(Chips, Settings, ALL_CHIPS, name_of_case);
INSTANTIATE_TEST_SUITE_P(Chips, Channels, ALL_CHIPS, name_of_case);

}  // namespace
