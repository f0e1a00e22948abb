// SPDX-License-Identifier: Apache-2.0
// The driver channel and the shell runner where the system behaves unusually.
#include <cerrno>
#include <cstring>

#include "tests/support/phone_fixture.h"
#include "virtual_phone/script.h"

namespace {

class Driver : public ChipTest {
protected:
  /// Switches power save off: one value command, id 11.
  uint32_t switch_off() { return back_end<uint32_t(uint32_t)>("wifi_set_pm_switch")(0); }
  static std::vector<int64_t> closed() {
    std::vector<int64_t> descriptors;
    for (size_t i = 0; i < phone_event_count(); i++) {
      if (phone_event(i)->kind == PHONE_CLOSE) descriptors.push_back(phone_event(i)->number[0]);
    }
    return descriptors;
  }
};

/// Some drivers return a count. Only a negative result is a refusal.
TEST_P(Driver, APositiveIoctlResultIsSuccess) {
  fail("ioctl", 1, 1, -5);
  EXPECT_EQ(switch_off(), 1U);
  expect_contacts("socket\nioctl {*} 0b000000 0 -> 5\nclose\npause 1000 us\n"
                  "log 3 \"wifi_set_pm_switch::pm_switch[0], ret[1].\\n\"\n");
}

/// A caller takes descriptor 0 for a failure, so the library opens a second socket and closes 0.
TEST_P(Driver, DescriptorZeroIsExchangedAndClosed) {
  fail("socket", 1, 1, -1000);
  EXPECT_EQ(switch_off(), 1U);
  const std::vector<int64_t> descriptors = closed();
  ASSERT_EQ(descriptors.size(), 2U);
  EXPECT_EQ(descriptors[0], 0);
  EXPECT_NE(descriptors[1], 0);
  EXPECT_EQ(phone_event(3)->kind, PHONE_IOCTL);
  EXPECT_EQ(phone_event(3)->number[0], descriptors[1]);
  expect_contacts("socket -> 0\nsocket\nclose 0\nioctl {*} 0b000000 0\nclose\npause 1000 us\nlog 3 {*}\n");
}

TEST_P(Driver, DescriptorZeroWithoutASecondSocketIsNoSocket) {
  fail("socket", 1, 1, -1000);
  fail("socket", 2);
  EXPECT_EQ(switch_off(), 0U);
  EXPECT_EQ(closed(), std::vector<int64_t>{0});
  expect_contacts(
      "socket -> 0\nsocket -> -1 EMFILE\nclose 0\n"
      "log 6 \"{chip}_wl_config_sockets_open[{*}]:socket failed:-1\\n\"\n"
      "log 6 \"socket create fail.\\n\"\nlog 3 \"wifi_set_pm_switch::pm_switch[0], ret[0].\\n\"\n");
}

TEST_P(Driver, AFailedCloseIsReportedOnce) {
  const uint32_t socket = back_end<uint32_t()>("wl_config_sockets_open")();
  EXPECT_GT(socket, 0U);
  fail("close");
  EXPECT_EQ(back_end<int32_t(uint32_t)>("wl_config_sockets_close")(socket), -1);
  EXPECT_EQ(phone_uses("close"), 1U) << "a close that failed has closed the descriptor";
}

/// 15 characters and the terminator are the request's room; a longer name is cut.
TEST_P(Driver, AnInterfaceNameIsCutToTheRequestsRoom) {
  const auto ask = back_end<int32_t(uint32_t, const char *)>("wl_config_wifi_dbb_get");
  for (const size_t length : {14U, 15U, 16U, 17U}) {
    const std::string name = std::string("wlan0_6789abcdefg").substr(0, length);
    forget();
    const uint32_t socket = back_end<uint32_t()>("wl_config_sockets_open")();
    ask(socket, name.c_str());
    EXPECT_EQ(phone_event(1)->kind, PHONE_IOCTL);
    EXPECT_EQ(phone_event(1)->name, name.substr(0, 15));
    back_end<int32_t(uint32_t)>("wl_config_sockets_close")(socket);
  }
}

/// A parameter's text has 104 bytes in the driver's record; the next byte is not part of it.
TEST_P(Driver, AParametersTextEndsWithItsRoomInTheRecord) {
  const int command = command_id("cal_parameter");
  if (command < 0) return;  // keeps a raw block
  const std::string digits(120, '7');
  answer_bytes(static_cast<uint32_t>(command), digits);
  PUBLIC(wifi_nvram_calibrate_set)(0, 0, 0, 0, 0, 2442, "60");
  EXPECT_TRUE(happened("log 3 \"{*}outbuff=" + digits.substr(0, 104) + "\\n\"")) << transcript();
}

INSTANTIATE_TEST_SUITE_P(Chips, Driver, ALL_CHIPS, name_of_case);

class Shell : public ChipTest {
protected:
  int run(const char *command) { return back_end<int(const char *)>("system_call")(command); }
};

TEST_P(Shell, ACommandGivesItsRawWaitStatus) {
  EXPECT_EQ(run(nullptr), 1);
  EXPECT_EQ(phone_event_count(), 0U) << "no command, nothing to run";
  EXPECT_EQ(run("true"), 0);
  EXPECT_EQ(run("exit 3"), 3 << 8);
  EXPECT_EQ(run("no_such_program"), 127 << 8);
  fail("execl");
  EXPECT_EQ(run("true"), 127 << 8);
  fail("fork");
  EXPECT_EQ(run("true"), -1);
}

TEST_P(Shell, AnInterruptedWaitIsWaitedAgain) {
  fail("waitpid", 1, 3, EINTR);
  EXPECT_EQ(run("exit 2"), 2 << 8);
  EXPECT_EQ(phone_uses("waitpid"), 4U);
  forget();
  fail("waitpid", 1, 1, ECHILD);
  EXPECT_EQ(run("true"), -1);
  EXPECT_EQ(phone_uses("waitpid"), 1U);
  EXPECT_TRUE(
      happened(std::string("log 6 \"{chip}_system_call: execute error, ") + strerror(ECHILD) + "\\n\""));
}

/// At most size - 1 bytes are read; no terminator is written.
TEST_P(Shell, OutputStaysWithinItsRoom) {
  const auto read = back_end<int32_t(const char *, char *, uint32_t)>("run_cmd_by_stream");
  for (const uint32_t size : {0U, 1U, 2U, 16U}) {
    char output[32];
    memset(output, 0x5A, sizeof output);
    EXPECT_EQ(read("echo 0123456789abcdefghij", output, size), size > 1 ? 1 : 0);
    const std::string expected = std::string("0123456789abcdefghij").substr(0, size == 0 ? 0 : size - 1);
    EXPECT_EQ(std::string(output, sizeof output),
              expected + std::string(sizeof output - expected.size(), 0x5A));
  }
}

/// Lines are looked at up to the first that names both; a line without a terminator counts too.
TEST_P(Shell, OnlyALineWithTheInterfaceUpTakesItFromTheFramework) {
  const std::string filler = "wlan0 " + std::string(2039, 'x');
  const struct {
    std::string output;
    int lines;
    bool up;
  } cases[] = {
      {"wlan0 UP 0.0.0.0", 1, true},
      {"UP comes first, wlan0 last", 1, true},
      {"wlan0 DOWN\np2p-wlan0 UP\nwlan0 UP\n", 2, true},
      {"wlan0 DOWN\n\nlo UP\nwlan0 up", 2, false},
      {"eth0 UP 10.0.0.8/24\n", 0, false},
      {filler + "UP", 1, true},
      {filler + "xUP", 1, false},  // cut after 2047 bytes
  };
  for (const auto &one : cases) {
    SCOPED_TRACE(one.output);
    set("netcfg.output", one.output);
    forget();
    EXPECT_EQ(back_end<uint32_t(uint32_t)>("wifi_pt_power_test")(1), 1U);
    EXPECT_EQ(phone_uses("shell:svc wifi disable"), one.up ? 1U : 0U);
    EXPECT_EQ(happened("log 4 \"wlan0 is not up, go through\""), !one.up);
    const std::string all = transcript();
    int lines = 0;
    for (size_t at = 0; (at = all.find("_is_wlan_up: ", at)) != all.npos; at++) lines++;
    EXPECT_EQ(lines, one.lines);
  }
}

/// A netcfg of another make may list other interfaces in spite of grep.
TEST_P(Shell, AnotherInterfaceThatIsUpIsNotTheFrameworks) {
  const std::string listed = "eth0 UP 10.0.0.8/24\nwlan0 DOWN\nUP\n";
  struct phone_event read = {};
  read.kind = PHONE_FREAD;
  read.name = read.text = "";
  read.result = static_cast<int64_t>(listed.size());
  read.data = listed.data();
  read.size = listed.size();
  phone_script(&read);
  EXPECT_EQ(back_end<uint32_t(uint32_t)>("wifi_pt_power_test")(1), 1U);
  EXPECT_EQ(phone_uses("shell:svc wifi disable"), 0U);
  EXPECT_TRUE(happened("log 3 \"{chip}_is_wlan_up: eth0 UP 10.0.0.8/24\"")) << transcript();
}

/// The check gets 64 bits and looks at the low 32.
TEST_P(Shell, ABoundsCheckedResultCountsByItsLowHalf) {
  if (!has_two_chains()) return;  // not exported
  const auto check = back_end<void(uint64_t)>("check_securef_ret");
  check(0);
  check(0x500000000);
  expect_contacts("");
  check(22);
  check(0xFFFFFFFF);
  const std::string failed = "log 6 \"{chip}_check_securef_ret::securef_ret fail, pls check.\"\n";
  expect_contacts(failed + failed);
}

INSTANTIATE_TEST_SUITE_P(Chips, Shell, ALL_CHIPS, name_of_case);

}  // namespace
