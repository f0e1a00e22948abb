// SPDX-License-Identifier: Apache-2.0
// What a station uses around the RF tests: which bytes of an answer reach the caller, and in which form.
#include "tests/support/margins.h"
#include "tests/support/phone_fixture.h"

namespace {

class Utilities : public ChipTest {
protected:
  uint32_t command(const char *name) const { return static_cast<uint32_t>(command_id(name)); }
};
INSTANTIATE_TEST_SUITE_P(Chips, Utilities, ALL_CHIPS, name_of_case);

/// The command line has room for 99 characters. What no longer fits is cut, the log says so, and the client
/// is asked all the same.
TEST_P(Utilities, RoamTargetsAreCutAtTheCommandLinesEnd) {
  for (const size_t length : {0U, 1U, 80U, 81U, 82U, 200U}) {
    SCOPED_TRACE(length);
    EXPECT_EQ(PUBLIC(wifi_start_roam)(std::string(length, 'a').c_str()), 0U) << "no client takes these";
    expect_contacts(std::string("log 6 \"wpa_cli_orva roam start\\n\"\n") +
                    (length > 81 ? "log 6 {*}\n" : "") + "fork\nsh -c \"wpa_cli_orva roam " +
                    std::string(std::min<size_t>(length, 81), 'a') +
                    "\" -> 255\nwaitpid{*}\nlog 6 \"wpa_cli_orva roam failed\\n\"\n");
  }
}

/// Formatting that failed leaves an empty command, which the shell runs with success.
TEST_P(Utilities, AnEmptyCommandIsRunWhereFormattingFails) {
  fail("snprintf_s", 1, 2);
  EXPECT_EQ(PUBLIC(wifi_start_roam)("02:00:5E:10:20:30"), 1U);
  EXPECT_TRUE(happened("sh -c \"\" -> 0"));
  forget();
  EXPECT_EQ(PUBLIC(wifi_set_bss_expire_age)(5), 1U);
  EXPECT_TRUE(happened("sh -c \"\" -> 0"));
}

/// The driver gets all 32 bits, the client's command line a signed number.
TEST_P(Utilities, TheExpiryAgeIsSignedOnTheCommandLine) {
  const std::pair<int32_t, const char *> ages[] = {
      {180, "180"}, {INT32_MAX, "2147483647"}, {INT32_MIN, "-2147483648"}, {-1, "-1"}};
  for (const auto &[age, text] : ages) {
    forget();
    EXPECT_EQ(PUBLIC(wifi_set_bss_expire_age)(age), 1U);
    ASSERT_EQ(sent().size(), 1U);
    EXPECT_EQ(sent()[0].id, command("bss_expire_age"));
    EXPECT_EQ(sent()[0].value(), static_cast<uint32_t>(age));
    EXPECT_TRUE(happened(std::string("sh -c \"wpa_cli_orva bss_expire_age ") + text + "\" -> 0"));
  }
}

/// As the driver answers: a byte that nobody reads, SSID, BSSID, RSSI.
std::string connection(const std::string &ssid, int rssi) {
  return "\x99" + ssid + std::string(33 - ssid.size(), '\0') + "\x02\x0A\x5E\xF0\xFF\x01" +
         static_cast<char>(rssi) + std::string(20, '\x66');
}

TEST_P(Utilities, TheConnectionIsCopiedWithoutOneByteMore) {
  const std::pair<std::string, int> cases[] = {{std::string(32, 's'), 200}, {"line 7", 127}, {"", 128}};
  for (const bool refused : {false, true}) {
    set("driver.refuse", refused ? std::to_string(command("connection_info")) : "");
    for (const auto &[ssid, level] : cases) {
      guarded<33> name;
      guarded<6> address;
      guarded<1> rssi;
      const std::string given = connection(ssid, level);
      answer_bytes(command("connection_info"), given);
      EXPECT_EQ(PUBLIC(wifi_conn_info)(reinterpret_cast<char *>(name.at()), address.at(), rssi.at()),
                refused ? 0U : 1U);
      EXPECT_EQ(name.text() + address.text() + rssi.text(), given.substr(1, 40))
          << "also what a refused command left in the record";
      EXPECT_TRUE(name.only(33) && address.only(6) && rssi.only(1));
    }
  }
}

/// Without a socket vq2040a returns 0; the others return 1, which looks like a code.
TEST_P(Utilities, TheUpcCodeIsReturnedWholeAndItsLowByteStored) {
  guarded<1> one, two, upc;
  const auto read = [&] { return PUBLIC(wifi_get_upc_code)(one.at(), two.at(), upc.at()); };
  fail("socket");
  EXPECT_EQ(read(), is("vq2040a") ? 0U : 1U);
  EXPECT_TRUE(one.only(0) && two.only(0) && upc.only(0));
  for (const uint32_t code : {300U, 1U, 65536U, 0x80000000U}) {
    answer(24, code);
    EXPECT_EQ(read(), code);
    EXPECT_EQ(*upc.at(), code & 255);
    EXPECT_TRUE(*one.at() == 0 && *two.at() == 0);
    EXPECT_TRUE(one.only(1) && two.only(1) && upc.only(1));
  }
}

/// The flag disables: exactly 1 stores 0, anything else stores 1, and test mode sends what is stored.
TEST_P(Utilities, OnlyAFlagOfExactly1DisablesSelfCalibration) {
  if (!has("wifi_selcal_disable_set")) GTEST_SKIP() << "the chip has no such operation";
  const auto sent_at_start = [&] {
    forget();
    PUBLIC(wifi_start_testmode)();
    uint32_t found = 99;
    for (const sent_command &each : sent())
      found = each.id == command("self_calibration") ? each.value() : found;
    PUBLIC(wifi_stop_testmode)();
    return found;
  };
  EXPECT_EQ(sent_at_start(), 1U);
  for (const int32_t flag : {1, 0, 2, -1, 0x101, 1}) {
    EXPECT_EQ(PUBLIC(wifi_selcal_disable_set)(flag), 1U);
    EXPECT_EQ(sent_at_start(), flag == 1 ? 0U : 1U) << flag;
  }
}

}  // namespace
