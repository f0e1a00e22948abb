// SPDX-License-Identifier: Apache-2.0
// The driver channel and the shell runner: what one command costs, and each way it can go wrong.
#include <sys/wait.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tests/support/rf_expect.h"

namespace {

class Driver : public ChipTest {
protected:
  /// Switches power save off: one value command, id 11.
  uint32_t switch_off() { return back_end<uint32_t(uint32_t)>("wifi_set_pm_switch")(0); }
  std::string switched(outcome how) {
    return value_command(chip(), 11, 0, how) +
           said(3, with_result("wifi_set_pm_switch::pm_switch[0], ret[$].\n", how));
  }
  static std::vector<int64_t> closed() {
    std::vector<int64_t> descriptors;
    for (size_t i = 0; i < phone_event_count(); i++) {
      if (phone_event(i)->kind == PHONE_CLOSE) descriptors.push_back(phone_event(i)->number[0]);
    }
    return descriptors;
  }
};

TEST_P(Driver, AValueCommandIsOneSocketOneIoctlOneCloseOnePause) {
  EXPECT_EQ(switch_off(), 1U);
  EXPECT_EQ(transcript(), switched(GOOD));
  EXPECT_EQ(phone_event_count(), 5U) << "contacts beyond these";
  ASSERT_EQ(sent().size(), 1U);
  EXPECT_EQ(sent()[0].magic, chip().magic);
  EXPECT_EQ(sent()[0].data, std::vector<uint8_t>(256, 0));
  EXPECT_STREQ(phone_event(4)->name, chip().tag);
}

TEST_P(Driver, ARefusalIsRetriedOnceAfterTenMilliseconds) {
  for (outcome how : {RETRIED, REFUSED, NO_SOCKET}) {
    forget();
    plan(11, 1, how);
    EXPECT_EQ(switch_off(), how == RETRIED ? 1U : 0U);
    EXPECT_EQ(transcript(), switched(how));
    for (const sent_command &command : sent()) EXPECT_EQ(command.magic, chip().magic);
  }
}

TEST_P(Driver, APositiveIoctlResultIsSuccess) {
  fail("ioctl", 1, 1, -5);
  EXPECT_EQ(switch_off(), 1U);
  EXPECT_EQ(transcript(), switched(GOOD));
}

TEST_P(Driver, DescriptorZeroIsExchangedAndClosed) {
  fail("socket", 1, 1, -1000);
  EXPECT_EQ(switch_off(), 1U);
  EXPECT_EQ(transcript(), "socket\nsocket\nclose\n" + switched(GOOD).substr(strlen("socket\n")));
  ASSERT_EQ(closed().size(), 2U);
  EXPECT_EQ(closed()[0], 0);
  EXPECT_NE(closed()[1], 0);
  EXPECT_EQ(phone_event(3)->kind, PHONE_IOCTL);
  EXPECT_EQ(phone_event(3)->number[0], closed()[1]);
}

TEST_P(Driver, DescriptorZeroWithoutASecondSocketIsNoSocket) {
  fail("socket", 1, 1, -1000);
  fail("socket", 2);
  EXPECT_EQ(switch_off(), 0U);
  EXPECT_EQ(transcript(),
            "socket\nsocket!\nclose\n" +
                said(6, std::string(chip().name) + "_wl_config_sockets_open[" +
                            std::to_string(lines_of(chip()).second_socket) + "]:socket failed:-1\n") +
                said(6, "socket create fail.\n") + said(3, "wifi_set_pm_switch::pm_switch[0], ret[0].\n"));
  EXPECT_EQ(closed(), std::vector<int64_t>{0});
}

TEST_P(Driver, SocketsAreOpenedAndClosedByDescriptor) {
  const auto open = back_end<uint32_t()>("wl_config_sockets_open");
  const auto close = back_end<int32_t(uint32_t)>("wl_config_sockets_close");
  const uint32_t socket = open();
  EXPECT_GT(socket, 0U);
  EXPECT_EQ(close(socket), 0);
  fail("socket", 1, 2);
  EXPECT_EQ(open(), 0U);
  EXPECT_EQ(open(), 0U);
  EXPECT_EQ(logs(6).size(), 2U);
  fail("close");
  EXPECT_EQ(close(open()), -1);
}

INSTANTIATE_TEST_SUITE_P(Chips, Driver, ALL_CHIPS, name_of_case);

/// The older chip's set of value commands leaves out the antenna, so its setter never reaches the driver.
TEST_F(PhoneTest, AnUnknownValueCommandOpensAndClosesButAsksNobody) {
  fit("vq2040a");
  EXPECT_EQ(back_end<uint32_t(int32_t)>("wifi_set_antenna")(1), 0U);
  EXPECT_EQ(
      transcript(),
      "socket\n" +
          said(3,
               "wl_config_test:vq2040a_wl_config_enabled_set[385]:unknow ioctl cmd[21] for enabled set \n") +
          "close\nsleep 1000\n" + said(3, "vq2040a_wifi_set_antenna , set wifi drv_ant:0, ret:0\n"));
}

// ---- The shell -------------------------------------------------------------------------------------------

class Shell : public ChipTest {
protected:
  int run(const char *command) { return back_end<int(const char *)>("system_call")(command); }
  static long count(phone_event_kind kind) {
    long found = 0;
    for (size_t i = 0; i < phone_event_count(); i++) found += phone_event(i)->kind == kind;
    return found;
  }
  /// Takes wlan0 from the framework, as the power test begins by doing, and forgets what comes after.
  std::string taken() {
    EXPECT_EQ(back_end<uint32_t(uint32_t)>("wifi_pt_power_test")(1), 1U);
    std::string text = transcript();
    const std::string enter = said(3, "wl_config_test:" + chip_ + "_wl_config_disable_wifi enter\n");
    EXPECT_NE(text.find(enter), text.npos) << text;
    const size_t begin = text.find(enter);
    return text.substr(begin, text.find(is(vq2040_case) ? "open /sys/vq" : "socket\n") - begin);
  }
  std::string asked() {
    return said(3, "wl_config_test:" + chip_ + "_wl_config_disable_wifi enter\n") +
           "popen /system/bin/netcfg |grep wlan0\n" +
           said(4, chip_ + "_run_cmd_by_stream:exec command:/system/bin/netcfg |grep wlan0");
  }
  std::string shown(const std::string &line) { return said(3, chip_ + "_is_wlan_up: " + line); }
  const std::string not_up = said(4, "wlan0 is not up, go through");
};

TEST_P(Shell, ACommandGivesItsRawWaitStatus) {
  EXPECT_EQ(run(nullptr), 1);
  EXPECT_EQ(phone_event_count(), 0U) << "nothing is run for no command";
  EXPECT_EQ(run("true"), 0);
  EXPECT_EQ(run("exit 3"), 3 << 8);
  EXPECT_EQ(run("no_such_program"), 127 << 8);
  EXPECT_EQ(shell(), (std::vector<std::string>{"true", "exit 3", "no_such_program"}));
  EXPECT_EQ(logs().size(), 0U);
}

TEST_P(Shell, AShellThatCannotBeStartedIsStatus127) {
  fail("execl");
  EXPECT_EQ(run("true"), 127 << 8);
  fail("fork");
  EXPECT_EQ(run("true"), -1);
  EXPECT_EQ(logs().size(), 0U);
}

TEST_P(Shell, AnInterruptedWaitIsWaitedAgain) {
  fail("waitpid", 1, 3, EINTR);
  EXPECT_EQ(run("exit 2"), 2 << 8);
  EXPECT_EQ(count(PHONE_WAIT), 4);
  EXPECT_EQ(logs().size(), 0U);
  forget();
  fail("waitpid", 1, 1, ECHILD);
  EXPECT_EQ(run("true"), -1);
  EXPECT_EQ(count(PHONE_WAIT), 1);
  EXPECT_EQ(logs(), (std::vector<std::string>{"6 " + chip_ + "_system_call: execute error, " +
                                              strerror(ECHILD) + "\n"}));
}

TEST_P(Shell, OutputIsReadUpToOneByteBelowTheSize) {
  const auto read = back_end<int(const char *, char *, size_t)>("run_cmd_by_stream");
  const std::string exec = "4 " + chip_ + "_run_cmd_by_stream:exec command:";
  char buffer[8] = "-------";
  EXPECT_EQ(read("echo 123456", buffer, 6), 1);
  EXPECT_STREQ(buffer, "12345--") << "not terminated, nothing written behind";
  EXPECT_EQ(read("true", buffer, 6), 0);
  EXPECT_EQ(logs(), (std::vector<std::string>{exec + "echo 123456", exec + "true",
                                              "6 " + chip_ + "_run_cmd_by_stream: fread fail\n"}));
  forget();
  fail("popen");
  EXPECT_EQ(read("echo 1", buffer, 6), 0);
  EXPECT_EQ(logs(), (std::vector<std::string>{"6 " + chip_ + "_run_cmd_by_stream: stream is null\n"}));
}

TEST_P(Shell, OnlyALineWithTheInterfaceUpTakesItFromTheFramework) {
  const std::string disabled =
      said(3, "wl_config_test:svc wifi disable\n") + "sh svc wifi disable = 0\nsleep 2000000\n";
  const struct {
    std::string output, lines;
    bool up;
  } cases[] = {
      {"wlan0 UP 0.0.0.0", shown("wlan0 UP 0.0.0.0"), true},
      {"UP comes first, wlan0 last", shown("UP comes first, wlan0 last"), true},
      {"wlan0 DOWN\np2p-wlan0 UP\nwlan0 UP\n", shown("wlan0 DOWN") + shown("p2p-wlan0 UP"), true},
      {"wlan0 DOWN\n\nlo UP\nwlan0 up", shown("wlan0 DOWN") + shown("wlan0 up"), false},
      {"lo UP\n", said(6, chip_ + "_run_cmd_by_stream: fread fail\n"), false},
  };
  for (const auto &one : cases) {
    SCOPED_TRACE(one.output);
    forget();
    set("netcfg.output", one.output);
    EXPECT_EQ(taken(), asked() + one.lines + (one.up ? disabled : not_up));
  }
}

TEST_P(Shell, OutputOfNetcfgIsCutAt2047Bytes) {
  const std::string filler = "wlan0 " + std::string(2039, 'x');
  set("netcfg.output", filler + "UP");
  EXPECT_EQ(taken(), interface_taken(chip(), filler + "UP"));
  forget();
  set("netcfg.output", filler + "xUP");
  EXPECT_EQ(taken(), asked() + shown(filler + "xU") + not_up);
}

TEST_P(Shell, FailuresAroundTheFrameworkAreToldAndPassedOver) {
  set("netcfg.output", "wlan0 UP");
  fail("shell:svc wifi disable", 1, 1, 7);
  EXPECT_EQ(taken(), asked() + shown("wlan0 UP") + said(3, "wl_config_test:svc wifi disable\n") +
                         "sh svc wifi disable = 7\n" + said(6, "svc wifi disable failed.\n") +
                         "sleep 2000000\n");
  forget();
  fail("popen");
  const std::string text = taken();
  EXPECT_NE(text.find(said(6, chip_ + "_run_cmd_by_stream: stream is null\n") + not_up), text.npos) << text;
  EXPECT_EQ(text.find("svc"), text.npos);
}

TEST_P(Shell, BootingUpTriesTwice) {
  if (is(vq2040_case) || is(vq2040a_case)) {
    EXPECT_FALSE(has_symbol(chip_ + "_try_to_boot_up"));
    return;
  }
  const auto boot = back_end<int32_t()>("try_to_boot_up");
  const std::string again =
      "sh ifconfig wlan0 up = 1\n" +
      said(3, "wl_config_test:" + chip_ +
                  "_try_to_boot_up:ifconfig wlan0 up failed, wait 5s, and retry again.\n") +
      "sleep 2000000\n";
  EXPECT_EQ(boot(), 0);
  EXPECT_EQ(transcript(), "sh ifconfig wlan0 up = 0\n");
  forget();
  fail("shell:ifconfig wlan0 up");
  EXPECT_EQ(boot(), 0);
  EXPECT_EQ(transcript(), again + "sh ifconfig wlan0 down = 0\nsleep 2000000\nsh ifconfig wlan0 up = 0\n");
  forget();
  fail("shell:ifconfig wlan0 up", 1, 2);
  fail("shell:ifconfig wlan0 down", 1, 1, 9);
  EXPECT_EQ(boot(), 1);
  EXPECT_EQ(transcript(), again + "sh ifconfig wlan0 down = 9\n" +
                              said(3, "wl_config_test:wifi_test_weld:wifi down failed. continue.\n") +
                              "sleep 2000000\nsh ifconfig wlan0 up = 1\n" +
                              said(6, "wifi_test_weld:wifi boot up failed.\n"));
}

TEST_P(Shell, ABoundsCheckedResultCountsByItsLowHalf) {
  if (is(vq2040_case) || is(vq2040a_case)) {
    EXPECT_FALSE(has_symbol(chip_ + "_check_securef_ret"));
    return;
  }
  const auto check = back_end<void(uint64_t)>("check_securef_ret");
  check(0);
  check(0x500000000);
  EXPECT_EQ(transcript(), "");
  check(22);
  check(0xFFFFFFFF);
  const std::string told = said(6, chip_ + "_check_securef_ret::securef_ret fail, pls check.");
  EXPECT_EQ(transcript(), told + told);
}

INSTANTIATE_TEST_SUITE_P(Chips, Shell, ALL_CHIPS, name_of_case);

TEST_F(PhoneTest, HexadecimalDigits) {
  fit("vq2070");
  const auto digit = back_end<uint8_t(int)>("atoi");
  const std::string digits = "0123456789abcdef";
  for (int c = 1; c < 128; c++) {
    forget();
    const size_t value = digits.find(static_cast<char>(tolower(c)));
    const bool known = value != digits.npos;
    EXPECT_EQ(digit(c), known ? value : 0) << c;
    EXPECT_EQ(transcript(), known ? "" : said(6, "wif_set_hw_mac_addr::des aid illegal.\n")) << c;
  }
}

}  // namespace
