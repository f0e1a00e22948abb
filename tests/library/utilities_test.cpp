// SPDX-License-Identifier: Apache-2.0
// What a station uses around the RF tests: roam, scan, expiry age, connection, UPC code, antenna, bus,
// switches.
#include "tests/support/self_check_fixture.h"

#include <algorithm>

namespace {

class StationUtilities : public SelfCheckTest {
protected:
  bool newer() const { return is(vq2050_case) || is(vq2070_case); }
};
INSTANTIATE_TEST_SUITE_P(, StationUtilities, ALL_CHIPS, name_of_case);

const struct {
  const char *name;
  std::vector<std::string> chips;
} presence[] = {
    {"wifi_set_tas_ant_switch", {"vq2050", "vq2040a", "vq2070"}},
    {"wifi_selcal_disable_set", {"vq2050", "vq2040a", "vq2070"}},
    {"wifi_test_broadcast_loop", {"vq2040a"}},
    {"wifi_set_pcie_sdio_mode", {"vq2050", "vq2070"}},
    {"wl_config_wipin_test", {"vq2050", "vq2040a", "vq2070"}},
    {"wl_config_pmu_check", {"vq2050", "vq2040a", "vq2070"}},
    {"wifi_check_pmu", {"vq2050", "vq2040a", "vq2070"}},
    {"wl_config_wkup_io_test", {"vq2050", "vq2040a", "vq2070"}},
    {"wl_config_pcie_test", {"vq2050", "vq2070"}},
};

/// Those that every chip has are called below and in the other tests.
TEST_P(StationUtilities, AndProbesAreOnExactlyTheChipsThatHaveThem) {
  for (const auto &[name, chips] : presence) {
    const bool wanted = std::find(chips.begin(), chips.end(), chip().name) != chips.end();
    EXPECT_EQ(has_symbol(std::string(chip().name) + "_" + name), wanted) << name;
  }
}

// ---- Roam and scan
// -----------------------------------------------------------------------------------------

const char *const roam_start = "log 6 wpa_cli_orva roam start\\n\n";
const char *const roam_failed = "log 6 wpa_cli_orva roam failed\\n\n";

class Roam : public StationUtilities {
protected:
  uint32_t roam(const std::string &target) { return PUBLIC(wifi_start_roam)(target.c_str()); }

  /// As the chip says that a target was too long, whether or not the line ends.
  std::string too_long() const {
    return std::string("log 6 ") +
           pick("cmd str format err.", "vq2050_wifi_start_roam:: cmd str format err.\\n",
                "vq2040a_wifi_start_roam: snprintf_s failed.",
                "vq2070_wifi_start_roam:: cmd str format err.\\n") +
           "\n";
  }
};
INSTANTIATE_TEST_SUITE_P(, Roam, ALL_CHIPS, name_of_case);

TEST_P(Roam, PassesTheTargetOnAsItStands) {
  for (const char *target : {"02:00:5e:AA:bb:01", "02:00:5E:10:20:30"}) {
    EXPECT_EQ(roam(target), 1U);
    expect_contacts(roam_start + ("sh wpa_cli_orva roam " + std::string(target)) + " = 0\n");
  }
}

/// The client refuses all of these; what counts is the command line, at most 99 characters long.
TEST_P(Roam, TargetsOfEveryLengthReachTheClient) {
  for (const size_t length : {0U, 1U, 80U, 81U, 82U, 200U}) {
    SCOPED_TRACE(length);
    EXPECT_EQ(roam(std::string(length, 'a')), 0U);
    expect_contacts(roam_start + (length > 81 ? too_long() : "") + "sh wpa_cli_orva roam " +
                    std::string(std::min<size_t>(length, 81), 'a') + " = 255\n" + roam_failed);
  }
}

TEST_P(Roam, RunsWhatTheFormattingLeft) {
  fail("snprintf_s");
  EXPECT_EQ(roam("02:00:5E:10:20:30"), 1U);
  expect_contacts(roam_start + too_long() + "sh  = 0\n");
}

TEST_P(Roam, NullTargetRunsNothing) {
  EXPECT_EQ(PUBLIC(wifi_start_roam)(nullptr), 0U);
  expect_contacts(std::string(roam_start) + "log 6 wpa_cli_orva roam mac is null\\n\n");
}

TEST_P(Roam, FailsWithTheShell) {
  fail("fork");
  EXPECT_EQ(roam("02:00:5E:10:20:30"), 0U);
  expect_contacts(std::string(roam_start) + roam_failed);
}

TEST_P(Roam, ScanTellsWhetherTheClientTookIt) {
  EXPECT_EQ(PUBLIC(wifi_start_roam_scan)(), 1U);
  expect_contacts("log 6 wpa_cli_orva scan start\\n\nsh wpa_cli_orva scan = 0\n");
  set("supplicant.running", "false");
  EXPECT_EQ(PUBLIC(wifi_start_roam_scan)(), 0U);
  expect_contacts("log 6 wpa_cli_orva scan start\\n\nsh wpa_cli_orva scan = 255\n"
                  "log 6 wpa_cli_orva scan failed\\n\n");
}

// ---- Expiry age
// --------------------------------------------------------------------------------------------

class ExpiryAge : public StationUtilities {
protected:
  uint32_t command() const { return pick(26U, 37U, 32U, 37U); }
  uint32_t set_age(uint32_t age) { return PUBLIC(wifi_set_bss_expire_age)(static_cast<int32_t>(age)); }

  static std::string begins(const std::string &age) {
    return "log 3 @_wifi_set_bss_expire_age::age[" + age + "].\\n\nsocket\n";
  }
  static std::string runs(const std::string &age, const std::string &status) {
    return "close\nsleep 1000\nsh wpa_cli_orva bss_expire_age " + age + " = " + status + "\n";
  }
  static constexpr const char *failed = "log 6 @_wifi_set_bss_expire_age failed\\n\n";
};
INSTANTIATE_TEST_SUITE_P(, ExpiryAge, ALL_CHIPS, name_of_case);

TEST_P(ExpiryAge, GoesToTheDriverWholeAndToTheClientSigned) {
  const struct {
    uint32_t age;
    const char *bytes, *text;
  } ages[] = {{0, "00000000", "0"},
              {180, "b4000000", "180"},
              {0x7FFFFFFF, "ffffff7f", "2147483647"},
              {0x80000000, "00000080", "-2147483648"},
              {0xFFFFFFFF, "ffffffff", "-1"}};
  for (const auto &[age, bytes, text] : ages) {
    EXPECT_EQ(set_age(age), 1U);
    expect_contacts(begins(text) + sends(command(), bytes) + runs(text, "0") + "sleep 1000\n");
  }
}

TEST_P(ExpiryAge, NeedsDriverAndClient) {
  fail("shell:wpa_cli_orva bss_expire_age 180", 2, 2, 7);
  refuse(command());
  EXPECT_EQ(set_age(180), 0U);
  expect_contacts(begins("180") + refused(command(), "b4000000") + runs("180", "0") + "sleep 1000\n");
  EXPECT_EQ(set_age(180), 0U);
  expect_contacts(begins("180") + refused(command(), "b4000000") + runs("180", "7") + failed);
  set("driver.refuse", "");
  EXPECT_EQ(set_age(180), 0U);
  expect_contacts(begins("180") + sends(command(), "b4000000") + runs("180", "7") + failed);
}

TEST_P(ExpiryAge, WithoutASocketOnlyTheClientHearsOfIt) {
  fail("socket");
  EXPECT_EQ(set_age(5), 0U);
  expect_contacts("log 3 @_wifi_set_bss_expire_age::age[5].\\n\n" + no_socket() +
                  "sh wpa_cli_orva bss_expire_age 5 = 0\nsleep 1000\n");
}

TEST_P(ExpiryAge, OnlyVq2070NoticesThatFormattingFailed) {
  fail("snprintf_s");
  EXPECT_EQ(set_age(5), 1U);
  expect_contacts(begins("5") + sends(command(), "05000000") + "close\nsleep 1000\n" +
                  (is(vq2070_case) ? "log 6 vq2070_param_to_string: snprintf_s failed.\n" : "") +
                  "sh  = 0\nsleep 1000\n");
}

// ---- Connection
// --------------------------------------------------------------------------------------------

class Connection : public StationUtilities {
protected:
  uint32_t command() const { return pick(27U, 38U, 33U, 38U); }
  uint32_t read() {
    return PUBLIC(wifi_conn_info)(reinterpret_cast<char *>(ssid_.at()), bssid_.at(), rssi_.at());
  }
  /// As the driver answers: a byte that nobody reads, SSID, BSSID, RSSI.
  static std::string record(const std::string &ssid, const std::string &bssid, char rssi) {
    std::string text(1, '\x99');
    text += ssid + std::string(33 - ssid.size(), '\0') + bssid;
    return text + rssi + std::string(20, '\x66');
  }
  static std::string told(const std::string &ssid, const std::string &bssid, const std::string &rssi) {
    const std::string name = "log 6 @_wifi_conn_info:";
    return name + "ssid:" + ssid + "\\n\n" + name + "bssid:" + bssid + "\\n\n" + name + "rssi:" + rssi +
           "\\n\n";
  }
  void expect_outputs(const std::string &wanted) const {
    EXPECT_EQ(ssid_.text() + bssid_.text() + rssi_.text(), wanted.substr(1, 40));
    EXPECT_TRUE(ssid_.only(33) && bssid_.only(6) && rssi_.only(1));
  }

  static constexpr const char *bssid_bytes = "\x02\x0A\x5E\xF0\xFF\x01";
  guarded<33> ssid_;
  guarded<6> bssid_;
  guarded<1> rssi_;
};
INSTANTIATE_TEST_SUITE_P(, Connection, ALL_CHIPS, name_of_case);

TEST_P(Connection, IsCopiedAndLogged) {
  const struct {
    std::string ssid;
    int rssi;
    const char *told;
  } cases[] = {{std::string(32, 's'), 200, "-56"}, {"line 7", 127, "127"}, {"", 128, "-128"}};
  for (const auto &each : cases) {
    const std::string given = record(each.ssid, bssid_bytes, static_cast<char>(each.rssi));
    answer_bytes(command(), given);
    EXPECT_EQ(read(), 1U);
    expect_outputs(given);
    expect_contacts("socket\n" + sends(command()) + "close\n" +
                    told(each.ssid, "02:0A:5E:F0:FF:01", each.told));
  }
}

TEST_P(Connection, OfARefusedCommandIsWhatIsInTheRecord) {
  refuse(command());
  EXPECT_EQ(read(), 0U);
  expect_outputs(std::string(60, '\0'));
  expect_contacts("socket\n" + refused(command()) + "close\n" + told("", "00:00:00:00:00:00", "0"));
  const std::string left = record("left", bssid_bytes, '\x05');
  refuse(command(), left);
  EXPECT_EQ(read(), 0U);
  expect_outputs(left);
}

TEST_P(Connection, WithoutASocketNothingIsWritten) {
  fail("socket");
  EXPECT_EQ(read(), 0U);
  expect_contacts(no_socket());
  EXPECT_TRUE(ssid_.only(0) && bssid_.only(0) && rssi_.only(0));
}

/// vq2040a alone goes on after a copy that failed, and says so for each.
TEST_P(Connection, CopyFailureEndsItOnThreeChips) {
  const std::string wording = pick("wifi_conn_info:: memcpy_s failed.", "wifi_conn_info: memcpy_s failed.",
                                   "wifi_conn_info: memcpy_s faild.", "wifi_conn_info: memcpy_s failed.");
  const std::string line = std::string("6 ") + chip().name + "_" + wording + "\n";
  const bool goes_on = is(vq2040a_case);
  const auto expect = [&](size_t lines) {
    EXPECT_EQ(read(), goes_on ? 1U : 0U);
    const std::vector<std::string> told = logs();
    EXPECT_EQ(std::count(told.begin(), told.end(), line), static_cast<long>(lines));
    EXPECT_EQ(told.size(), goes_on ? lines + 3 : lines);
    EXPECT_TRUE(rssi_.only(goes_on ? 1 : 0));
    forget();
  };
  answer_bytes(command(), record("net", bssid_bytes, '\xC8'));
  fail("memcpy_s", 1, goes_on ? 2 : 1);
  expect(goes_on ? 2 : 1);
  EXPECT_TRUE(bssid_.only(goes_on ? 6 : 0));
  fail("memcpy_s", 2);
  expect(1);
  EXPECT_EQ(ssid_.text(), "net" + std::string(30, '\0'));
}

// ---- UPC code, power range
// ---------------------------------------------------------------------------------

class Upc : public StationUtilities {
protected:
  uint32_t read() { return PUBLIC(wifi_get_upc_code)(one_.at(), two_.at(), upc_.at()); }
  void expect_outputs(uint8_t upc) const {
    EXPECT_TRUE(one_.only(1) && two_.only(1) && upc_.only(1));
    EXPECT_EQ(one_.text() + two_.text() + upc_.text(), std::string(2, '\0') + static_cast<char>(upc));
  }
  static constexpr const char *enter = "log 6 enter wifi_get_upc_code\\n\n";
  static std::string told(const std::string &code) {
    return "close\nlog 6 ioctl_data.pri_data.upc_code." + code + "\\n\n";
  }
  guarded<1> one_, two_, upc_;
};
INSTANTIATE_TEST_SUITE_P(, Upc, ALL_CHIPS, name_of_case);

TEST_P(Upc, CodeIsReturnedWholeAndItsLowByteStored) {
  const struct {
    uint32_t code;
    const char *told;
    uint8_t low;
  } cases[] = {{300, "300", 44}, {1, "1", 1}, {65536, "65536", 0}, {0x80000000, "-2147483648", 0}};
  for (const auto &[code, text, low] : cases) {
    answer(24, code);
    EXPECT_EQ(read(), code);
    expect_outputs(low);
    expect_contacts(enter + ("socket\n" + sends(24)) + told(text));
  }
}

TEST_P(Upc, OfARefusedCommandIsWhatIsInTheRecord) {
  refuse(24);
  EXPECT_EQ(read(), 0U);
  expect_outputs(0);
  expect_contacts(enter + ("socket\n" + refused(24)) + told("0"));
  refuse(24, std::string("\x2A\x01\0\0", 4));
  EXPECT_EQ(read(), 298U);
  expect_outputs(42);
}

TEST_P(Upc, WithoutASocketLooksLikeCode1ExceptOnVq2040a) {
  fail("socket");
  EXPECT_EQ(read(), is(vq2040a_case) ? 0U : 1U);
  expect_contacts(enter + no_socket());
  EXPECT_TRUE(one_.only(0) && two_.only(0) && upc_.only(0));
}

TEST_P(Upc, PowerRangeIsFixed) {
  EXPECT_EQ(PUBLIC(wifi_power_set_range)(one_.at(), two_.at()), 1U);
  EXPECT_EQ(one_.text() + two_.text(), std::string("\0\x0E", 2));
  EXPECT_TRUE(one_.only(1) && two_.only(1));
  expect_contacts("");
}

// ---- Antenna, broadcast loop, bus mode, self-calibration
// -----------------------------------------------------

const std::pair<uint32_t, const char *> switch_values[] = {
    {0, "00000000"}, {1, "01000000"}, {0x80000000, "00000080"}};

class Switches : public StationUtilities {
protected:
  uint32_t tas(uint32_t value) { return PUBLIC(wifi_set_tas_ant_mode)(static_cast<int32_t>(value)); }
  uint32_t broadcast(uint32_t value) { return PUBLIC(wifi_test_broadcast_loop)(static_cast<int32_t>(value)); }

  void expect_missing(const std::string &line) {
    EXPECT_EQ(transcript(), line);
    EXPECT_STREQ(phone_event(phone_event_count() - 1)->name, "WIFI_ORVA_FAC_TEST");
  }
};
INSTANTIATE_TEST_SUITE_P(, Switches, ALL_CHIPS, name_of_case);

TEST_P(Switches, MissingOnesAreToldOnVq2040) {
  if (!is(vq2040_case)) return;
  EXPECT_EQ(tas(1), 0U);
  expect_missing("log 6 wifi_set_tas_ant_mode::funcname is null.\\n\n");
  forget();
  EXPECT_EQ(PUBLIC(wifi_selcal_disable_set)(1), 0U);
  expect_missing("log 6 wifi_selcal_disable_set::funcname is null.\\n\n");
}

TEST_P(Switches, TasAntennaOnTheNewerChips) {
  if (!newer()) return;
  for (const auto &[value, bytes] : switch_values) {
    EXPECT_EQ(tas(value), 1U);
    expect_contacts("socket\n" + sends(35, bytes) +
                    "close\nsleep 1000\nlog 3 @_wl_config_sockets_send::tas_switch[" +
                    std::to_string(static_cast<int32_t>(value)) + "], ret[1].\\n\n");
  }
  refuse(35);
  EXPECT_EQ(tas(1), 0U);
  expect_contacts("socket\n" + refused(35, "01000000") +
                  "close\nsleep 1000\nlog 3 @_wl_config_sockets_send::tas_switch[1], ret[0].\\n\n");
  fail("socket");
  EXPECT_EQ(tas(7), 0U);
  expect_contacts(no_socket() + "log 3 @_wl_config_sockets_send::tas_switch[7], ret[0].\\n\n");
}

/// One socket, no pause, and the same words for both: the broadcast loop speaks of the antenna.
TEST_P(Switches, TasAntennaAndBroadcastLoopOnVq2040a) {
  if (!is(vq2040a_case)) return;
  for (const uint32_t command : {34U, 35U}) {
    const auto run = [&](uint32_t value) { return command == 34 ? tas(value) : broadcast(value); };
    for (const auto &[value, bytes] : switch_values) {
      EXPECT_EQ(run(value), 1U);
      expect_contacts("socket\n" + sends(command, bytes) +
                      "close\nlog 6 vq2040a_wifi_set_tas_ant_switch successful.\\n\n");
    }
    refuse(command);
    EXPECT_EQ(run(1), 0U);
    expect_contacts("socket\n" + refused(command, "01000000") +
                    "log 6 vq2040a_wifi_set_tas_ant_switch fail.\\n\nclose\n");
    fail("socket");
    EXPECT_EQ(run(1), 0U);
    expect_contacts(no_socket());
  }
}

TEST_P(Switches, BroadcastLoopSucceedsUnheardElsewhere) {
  if (is(vq2040a_case)) set("subchip", "7");
  EXPECT_EQ(broadcast(1), 1U);
  expect_contacts("");
}

TEST_P(Switches, BusModeIsSentAs16Bits) {
  if (!newer()) return;
  const struct {
    uint32_t mode;
    const char *bytes, *told;
  } modes[] = {{0, "00000000", "0"}, {65537, "01000000", "65537"}, {0xFFFFFFFE, "feff0000", "-2"}};
  const auto set_mode = back_end<uint32_t(uint32_t)>("wifi_set_pcie_sdio_mode");
  const std::string line = "log 3 @_wl_config_sockets_send::l_pcie_sdio_mode[";
  for (const auto &[mode, bytes, told] : modes) {
    EXPECT_EQ(set_mode(mode), 1U);
    expect_contacts("socket\n" + sends(32, bytes) + "close\nsleep 1000\n" + line + told + "], ret[1].\\n\n");
  }
  refuse(32);
  EXPECT_EQ(set_mode(1), 0U);
  expect_contacts("socket\n" + refused(32, "01000000") + "close\nsleep 1000\n" + line + "1], ret[0].\\n\n");
}

TEST_P(Switches, OnlyAFlagOfExactly1EnablesSelfCalibration) {
  if (is(vq2040_case)) return;
  const uint32_t command = pick(0U, 36U, 31U, 36U);
  const auto sent_at_start = [&] {
    forget();
    PUBLIC(wifi_start_testmode)();
    uint32_t found = 99;
    for (const sent_command &each : sent()) found = each.id == command ? each.value() : found;
    PUBLIC(wifi_stop_testmode)();
    return found;
  };
  EXPECT_EQ(sent_at_start(), 1U);
  const std::pair<int32_t, uint32_t> flags[] = {{1, 0}, {0, 1}, {2, 1}, {-1, 1}, {0x101, 1}, {1, 0}};
  for (const auto &[flag, stored] : flags) {
    SCOPED_TRACE(flag);
    forget();
    EXPECT_EQ(PUBLIC(wifi_selcal_disable_set)(flag), 1U);
    expect_contacts(std::string("log 3 ") + pick("", "vq2050", "vq2050", "vq2070") +
                    "_wifi_selcal_disable_set::flag[" + std::to_string(stored) + "].\\n\n");
    EXPECT_EQ(sent_at_start(), stored);
  }
}

}  // namespace
