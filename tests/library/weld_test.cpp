// SPDX-License-Identifier: Apache-2.0
// The weld test: what each chip does in which order, and how each step ends it.
#include "tests/support/self_check_fixture.h"

namespace {

/// Restarting wlan0 the way it begins: up, a second's rest, a socket, the baseband's number.
const char *const opening = R"(sh ifconfig wlan0 up = 0
sleep 1000000
socket
log 3 wifi_test_weld:get_dbb_num\n
)";

const char *const down_failed = "log 3 wl_config_test:wifi_test_weld:wifi down failed. continue.\\n\n";
const char *const down = "sh ifconfig wlan0 down = 0\n";

/// What follows the baseband's number on a good phone.
const char *const good_vq2040 = R"(ioctl 20 00000000
log 3 wl_config_test:The efuse status of wifi is : 0\n
close
sh ifconfig wlan0 down = 0
)";
const char *const good_newer = R"(ioctl 20 00000000
log 3 wl_config_test:The efuse status of wifi is : 0\n
ioctl 25 00000000
log 3 wl_config_wifi_pin_test:@_wl_config_wipin_test[#1]:The pin test of WIFI result is : 0\n
sh ifconfig wlan0 down = 0
ioctl 30 00000000
log 3 wl_config_wkup_io_test:@_wl_config_wkup_io_test[#2]:The pin test of WIFI result is : 0\n
ioctl 31 00000000
log 3 wl_config_pcie_test:@_wl_config_pcie_test[#3]:The pin test of WIFI result is : 0\n
close
)";
const char *const good_vq2040a = R"(log 3 vq2040a_wl_config_wkup_io_test begin!\n
sh ifconfig wlan0 down = 0
ioctl 27 00000000
log 3 wl_config_wkup_io_test:vq2040a_wl_config_wkup_io_test[1042]:The pin test of WIFI result is : 0\n
close
sh ifconfig wlan0 down = 0
)";
std::string replaced(std::string text, const std::string &from, const std::string &to) {
  for (size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

class WeldTest : public SelfCheckTest {
protected:
  /// Test mode is on beforehand, so that a change of the test status shows.
  void SetUp() override {
    SelfCheckTest::SetUp();
    EXPECT_EQ(PUBLIC(wifi_start_testmode)(), 1U);
    forget();
  }

  uint32_t weld() { return PUBLIC(wifi_test_weld)(); }

  static std::string begins() { return "log 3 wifi_test_weld:wifi_test_weld\\n\n" + service_stopped(); }

  std::string dbb(const std::string &text) const {
    return "log 3 wl_config_test:@_wl_config_wifi_dbb_get[" + std::to_string(pick(912, 1307, 1062, 1436)) +
           "]:The DBB number of WIFI is : " + text + "\\n\n";
  }

  std::string good() const {
    std::string steps = pick(good_vq2040, good_newer, good_vq2040a, good_newer);
    steps = replaced(steps, "#1", is(vq2050_case) ? "1240" : "1369");
    steps = replaced(steps, "#2", is(vq2050_case) ? "1264" : "1393");
    steps = replaced(steps, "#3", is(vq2050_case) ? "1288" : "1417");
    return begins() + opening + sends(6) + dbb("DBB-20C4-0117") + steps;
  }

  /// Everything of a good run before a command.
  std::string until(uint32_t command) const {
    const std::string run = good();
    return run.substr(0, run.find("ioctl " + std::to_string(command) + " "));
  }

  void expect_left(bool up, int32_t test_status) {
    EXPECT_EQ(phone_interface_up(), up ? 1 : 0);
    EXPECT_EQ(PUBLIC(wifi_query_setting)(1), test_status);
    forget();
  }
};
INSTANTIATE_TEST_SUITE_P(, WeldTest, ALL_CHIPS, name_of_case);

TEST_P(WeldTest, PassesOnAGoodPhoneAndEndsTestMode) {
  EXPECT_EQ(weld(), 1U);
  expect_contacts(good());
  expect_left(false, 0);
}

TEST_P(WeldTest, GoesOnWhenTheInterfaceWillNotGoDown) {
  fail("shell:ifconfig wlan0 down", 1, 0);
  EXPECT_EQ(weld(), 1U);
  expect_contacts(replaced(good(), down, std::string("sh ifconfig wlan0 down = 1\n") + down_failed));
  expect_left(true, 0);
}

TEST_P(WeldTest, TriesTwiceToBootUp) {
  const std::string tells =
      "sh ifconfig wlan0 up = 1\n"
      "log 3 wl_config_test:@_wifi_test_weld:ifconfig wlan0 up failed, wait 5s, and retry again.\\n\n"
      "sleep 1000000\n";
  fail("shell:ifconfig wlan0 up", 1, 2);
  fail("shell:ifconfig wlan0 down", 1, 1);
  EXPECT_EQ(weld(), 0U);
  expect_contacts(begins() + tells + "sh ifconfig wlan0 down = 1\n" + down_failed +
                  "sleep 1000000\nsh ifconfig wlan0 up = 1\nlog 6 wifi_test_weld:wifi boot up failed.\\n\n");
  expect_left(false, 1);

  fail("shell:ifconfig wlan0 up", 1, 1);
  EXPECT_EQ(weld(), 1U);
  expect_contacts(replaced(good(), opening, tells + down + "sleep 1000000\n" + opening));
}

TEST_P(WeldTest, LeavesTheInterfaceUpWithoutASocket) {
  fail("socket");
  EXPECT_EQ(weld(), 0U);
  expect_contacts(begins() + "sh ifconfig wlan0 up = 0\nsleep 1000000\n" + no_socket());
  expect_left(true, 1);
}

TEST_P(WeldTest, EndsWithoutTheBasebandsNumber) {
  refuse(6);
  EXPECT_EQ(weld(), 0U);
  expect_contacts(begins() + opening + refused(6) + dbb("") +
                  "log 6 wifi_test_weld: can not get DBB number of WIFI\\n\nclose\n");
  expect_left(true, 1);
}

// ---- Steps that judge an answer
// ----------------------------------------------------------------------------

/// A step of one chip: its line up to the value, the wording it ends with, and where it leaves wlan0.
struct step {
  uint32_t command;
  const char *line;
  const char *ending;
  bool up;
};
const char *const efuse_fails = "log 6 wifi_test_weld:  efuse status of wifi fail\\n\nclose\n";
const char *const pin_fails = "log 6 wifi_test_weld:  pin of wifi test fail\\n\nclose\n";
#define RESULT "]:The pin test of WIFI result is : "
#define PIN    "log 6 wl_config_wifi_pin_test:@_wl_config_wipin_test["
#define WAKEUP "log 6 wl_config_wkup_io_test:@_wl_config_wkup_io_test["
#define PCIE   "log 6 wl_config_pcie_test:@_wl_config_pcie_test["
const step efuse = {20, "log 3 wl_config_test:The efuse status of wifi is : ", efuse_fails, true};

const std::vector<step> steps_vq2040 = {efuse};
const std::vector<step> steps_vq2050 = {efuse,
                                        {25, PIN "1236" RESULT, pin_fails, true},
                                        {30, WAKEUP "1260" RESULT, pin_fails, false},
                                        {31, PCIE "1284" RESULT, pin_fails, false}};
const std::vector<step> steps_vq2040a = {{27, WAKEUP "1038" RESULT, pin_fails, false}};
const std::vector<step> steps_vq2070 = {efuse,
                                        {25, PIN "1365" RESULT, pin_fails, true},
                                        {30, WAKEUP "1389" RESULT, pin_fails, false},
                                        {31, PCIE "1413" RESULT, pin_fails, false}};

/// Fails at every step in turn; each bad answer or refusal must end the test there.
class WeldSteps : public WeldTest {
protected:
  const std::vector<step> &steps() const {
    return *pick(&steps_vq2040, &steps_vq2050, &steps_vq2040a, &steps_vq2070);
  }

  void expect_end(const step &failing, const std::string &attempt, const std::string &value) {
    SCOPED_TRACE("command " + std::to_string(failing.command) + " gave " + value);
    set("interface.up", "true");
    PUBLIC(wifi_start_testmode)();
    forget();
    EXPECT_EQ(weld(), 0U);
    expect_contacts(until(failing.command) + attempt + failing.line + value + "\\n\n" + failing.ending);
    expect_left(failing.up, 1);
    phone_driver_answers_clear();
  }
};
INSTANTIATE_TEST_SUITE_P(, WeldSteps, ALL_CHIPS, name_of_case);

TEST_P(WeldSteps, EndAtABadAnswer) {
  const std::pair<uint32_t, const char *> bad[] = {
      {1, "1"}, {0xFF, "255"}, {0x1FF, "511"}, {0x7FFF, "32767"}};
  for (const step &each : steps()) {
    for (const auto &[given, told] : bad) {
      answer(each.command, given);
      expect_end(each, sends(each.command), told);
    }
    answer(each.command, 65535);
    expect_end(each, sends(each.command), is(vq2040a_case) ? "-1" : "65535");
  }
}

TEST_P(WeldSteps, EndWhenTheDriverRefuses) {
  for (const step &each : steps()) {
    refuse(each.command);
    expect_end(each, refused(each.command), "0");
    refuse(each.command, std::string("\x12\0\0\0", 4));
    expect_end(each, refused(each.command, "00000000", "12000000"), "18");
  }
}

TEST_P(WeldSteps, AnswersAbove16BitsEndOnlyTheStepsThatReadThemWhole) {
  const std::pair<uint32_t, const char *> high[] = {{65536, "65536"}, {0x80000000, "-2147483648"}};
  for (const step &each : steps()) {
    for (const auto &[given, told] : high) {
      answer(each.command, given);
      if (each.command == 20 || each.command == 25) {
        expect_end(each, sends(each.command), told);
        continue;
      }
      SCOPED_TRACE("command " + std::to_string(each.command) + " gave " + told);
      EXPECT_EQ(weld(), 1U);
      const char *where = each.command == 31 ? "_pcie_test[" : "_wkup_io_test[";
      const std::string passed = good();
      const size_t value = passed.find(": 0\\n", passed.find(where));
      expect_contacts(passed.substr(0, value) + ": " + (is(vq2040a_case) ? "0" : told) +
                      passed.substr(value + 3));
      phone_driver_answers_clear();
    }
  }
}

}  // namespace
