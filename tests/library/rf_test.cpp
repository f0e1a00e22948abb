// SPDX-License-Identifier: Apache-2.0
// Transmit, receive and test mode: every contact in order, and what each refusal does to the rest.
#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tests/support/rf_expect.h"

namespace {

/// One driver command of a start, with all that is said around it.
struct step {
  uint32_t id;
  std::string text[4];  // by outcome
};

class Sequence : public ChipTest {
protected:
  bool has_chain() const { return is(vq2050_case) || is(vq2070_case); }

  /// `before`, the command, `after`, a pause, and on refusal `failure`. $ in the texts stands for the result.
  step sent_step(uint32_t id, uint32_t value, const std::string &before, const std::string &after,
                 const std::string &pause, const std::string &failure) const {
    step one = {id, {}};
    for (outcome how : {GOOD, RETRIED, REFUSED, NO_SOCKET}) {
      one.text[how] = before + value_command(chip(), id, value, how) + with_result(after, how) + pause;
      if (how == REFUSED || how == NO_SOCKET) one.text[how] += with_result(failure, how);
    }
    return one;
  }

  /// Mode 4 at 2412 MHz and 20 MHz, chain 2: driver mode 7 becomes 10. `failed` is the end of each failure's
  /// text.
  std::vector<step> radio_steps(const std::string &failed) const {
    const std::string band_failed = said(6, "wifi_ioctl_set_band fail" + failed);
    const std::string channel_set = said(3, chip_ + "_wifi_ioctl_set_channel::set wifichannel[1], ret[$].\n");
    std::vector<step> steps = {
        sent_step(2, 10, said(3, "wifi_ioctl_set_mode::set mode[10], frequency[2412].\n"), "", "",
                  band_failed),
        sent_step(4, 0, said(3, "wifi_ioctl_set_band::band[0], band_set[0].\n"), "", "", band_failed),
        sent_step(0, 1, "", channel_set, "", said(6, "wifi_ioctl_set_channel fail" + failed)),
    };
    if (has_chain()) {
      steps.push_back(sent_step(27, 2, said(3, "wifi_ioctl_setmimo_channel::set mimo_channel[2].\n"), "", "",
                                said(6, "wifi_ioctl_setmimo_channel fail, ret[$].\n")));
    }
    return steps;
  }

  step power_save_step(const std::string &failure) const {
    return sent_step(11, 0, "", said(3, "wifi_set_pm_switch::pm_switch[0], ret[$].\n"), "", said(6, failure));
  }

  /// Transmit: rate 6500, power 155.
  std::vector<step> transmit_steps() const {
    const uint32_t power = is(vq2040_case) ? 1 : 15;
    std::vector<step> steps = {power_save_step("wifi_set_pm_switch stop failed, ret[$].\n")};
    for (const step &one : radio_steps(", ret[$].\n")) steps.push_back(one);
    steps.push_back(sent_step(3, 65, said(3, "wifi_ioctl_set_rate::set rate[65].\n"), "", "sleep 1000\n",
                              said(6, "wifi_ioctl_set_channel fail, ret[$].\n")));
    steps.push_back(sent_step(1, power,
                              said(3, "wifi_ioctl_set_power::pow_val[" + std::to_string(power) + "].\n"), "",
                              "sleep 1000\n", said(6, "wifi_ioctl_set_power fail, ret [$].\n")));
    steps.push_back(sent_step(5, 1, "", "", is(vq2070_case) ? "sleep 5000\n" : "", ""));
    return steps;
  }

  /// Receive with the address 0a1B2c3D4e5F; on the chip that has RU tests, one for 0x1A3 is armed.
  std::vector<step> receive_steps() const {
    step mac = {9, {}};
    for (outcome how : {GOOD, RETRIED, REFUSED, NO_SOCKET}) {
      mac.text[how] = opening(chip(), how);
      if (how != NO_SOCKET) {
        mac.text[how] += said(3, "srcMac 0a:1B:2c:3D:4e:5F\n") + said(3, "hwMAC  0a:1b:2c:3d:4e:5f\n") +
                         attempts(chip(), 9, 0x3D2C1B0A, how) + "close\n";
      }
      if (how >= REFUSED) mac.text[how] += said(6, "wifi_set_hw_mac_addr failed, ret[0].\n");
    }
    std::vector<step> steps = {mac, power_save_step("wifi_set_pm_switch stop failed\n")};
    for (const step &one : radio_steps(".\n")) steps.push_back(one);
    if (is(vq2070_case)) {
      step unit = {39, {}};
      for (outcome how : {GOOD, RETRIED, REFUSED, NO_SOCKET}) {
        unit.text[how] = direct(chip(), 39, 0x000201A3, how) +
                         (how >= REFUSED ? said(6, "wifi_ioctl_setmimo_channel fail, ret[0].\n") : "");
      }
      steps.push_back(unit);
    }
    steps.push_back(sent_step(8, 1, "", "", is(vq2070_case) ? "sleep 5000\n" : "", ""));
    return steps;
  }

  void configure() {
    EXPECT_EQ(PUBLIC(wifi_set_mode)(4), 1U);
    EXPECT_EQ(PUBLIC(wifi_set_band)(0), 1U);
    EXPECT_EQ(PUBLIC(wifi_set_channel)(2412), 1U);
    EXPECT_EQ(PUBLIC(wifi_set_rate)(6500), 1U);
    EXPECT_EQ(PUBLIC(wifi_set_power)(155), 1U);
    if (!has_chain()) return;
    EXPECT_EQ(PUBLIC(wifi_setmimo_channel)(2), 1U);
  }

  /// Runs a start with each step ending each way; it must stop at the first that fails.
  template <typename Start>
  void try_each_step(const std::vector<step> &steps, const std::string &begin, const Start &start) {
    for (size_t bad = 0; bad < steps.size(); bad++) {
      for (outcome how : {GOOD, RETRIED, REFUSED, NO_SOCKET}) {
        SCOPED_TRACE("command " + std::to_string(steps[bad].id) + ", outcome " + std::to_string(how));
        const bool ends = how >= REFUSED;
        std::string expected = begin;
        for (size_t i = 0; i < (ends ? bad + 1 : steps.size()); i++) {
          expected += steps[i].text[i == bad ? how : GOOD];
        }
        configure();
        forget();
        plan(steps[bad].id, static_cast<unsigned>(bad + 1), how);
        EXPECT_EQ(start(), ends ? 0U : 1U);
        EXPECT_EQ(transcript(), expected);
        expect_tags_and_records();
      }
    }
  }

  /// Every line under the chip's tag; every record with the chip's magic and nothing behind its value.
  void expect_tags_and_records() {
    for (size_t i = 0; i < phone_event_count(); i++) {
      if (phone_event(i)->kind != PHONE_LOG) continue;
      EXPECT_STREQ(phone_event(i)->name, chip().tag);
    }
    for (const sent_command &command : sent()) {
      EXPECT_EQ(command.magic, chip().magic);
      const long used = command.id == 9 ? 6 : 4;
      EXPECT_TRUE(
          std::all_of(command.data.begin() + used, command.data.end(), [](uint8_t b) { return b == 0; }));
    }
  }
};

TEST_P(Sequence, TransmitStart) {
  try_each_step(transmit_steps(), said(3, "wifi_start_tx::start tx enable.\n"),
                [&] { return PUBLIC(wifi_start_tx)(); });
}

TEST_P(Sequence, ReceiveStart) {
  const std::string begin = said(3, "wifi_start_rx.\n");
  try_each_step(receive_steps(), begin, [&] {
    if (is(vq2070_case)) {
      EXPECT_EQ(PUBLIC(wifi_ru_set)(2, "1a3"), 1U);
      forget();
    }
    return PUBLIC(wifi_start_rx)("0a1B2c3D4e5Fxyz", nullptr);
  });
}

struct values_case {
  int32_t mode, channel, band, rate, power;
  const char *older, *vq2050, *vq2040a, *vq2070;  // what is sent
};

TEST_P(Sequence, TransmitSendsTheSettingsAsTheDriverWantsThem) {
  const values_case cases[] = {
      {4, 2412, 0, 6500, 155, "11=0 2=10 4=0 0=1 3=65 1=1 5=1", "11=0 2=10 4=0 0=1 27=0 3=65 1=15 5=1",
       "11=0 2=10 4=0 0=1 3=65 1=15 5=1", "11=0 2=10 4=0 0=1 27=0 3=65 1=15 5=1"},
      {4, 2484, -1, 12150, -155, "11=0 2=7 4=-1 0=14 3=11 1=-1 5=1",
       "11=0 2=7 4=-1 0=14 27=0 3=121 1=-15 5=1", "11=0 2=7 4=-1 0=14 3=11 1=-15 5=1",
       "11=0 2=7 4=-1 0=14 27=0 3=121 1=-15 5=1"},
      {6, 2412, 1, 65, -9, "11=0 2=2 4=1 0=-1 3=0 1=0 5=1", "11=0 2=2 4=1 0=-1 27=0 3=0 1=0 5=1",
       "11=0 2=2 4=1 0=-1 3=0 1=0 5=1", "11=0 2=13 4=1 0=-1 27=0 3=0 1=0 5=1"},
      {6, 5825, 3, -250, 0, "11=0 2=2 4=7 0=151 3=-2 1=0 5=1", "11=0 2=2 4=7 0=151 27=0 3=-2 1=0 5=1",
       "11=0 2=2 4=7 0=151 3=-2 1=0 5=1", "11=0 2=12 4=7 0=151 27=0 3=-2 1=0 5=1"},
      {0, 5180, 2, 0, -99, "11=0 2=3 4=3 0=30 3=0 5=1", "11=0 2=3 4=3 0=30 27=0 3=0 5=1",
       "11=0 2=3 4=3 0=30 3=0 5=1", "11=0 2=3 4=3 0=30 27=0 3=0 5=1"},
  };
  for (const values_case &one : cases) {
    SCOPED_TRACE(one.vq2070);
    PUBLIC(wifi_set_mode)(one.mode);
    PUBLIC(wifi_set_channel)(one.channel);
    PUBLIC(wifi_set_band)(one.band);
    PUBLIC(wifi_set_rate)(one.rate);
    PUBLIC(wifi_set_power)(one.power);
    forget();
    EXPECT_EQ(PUBLIC(wifi_start_tx)(), 1U);
    EXPECT_EQ(sent_values(), is(vq2040_case)    ? one.older
                             : is(vq2050_case)  ? one.vq2050
                             : is(vq2040a_case) ? one.vq2040a
                                                : one.vq2070);
  }
}

/// 2477 to 2483 MHz are 5 GHz for the channel number and still 2.4 GHz for the mode.
TEST_P(Sequence, AFrequencyWithoutAChannelEndsAStartBeforeTheChannelCommand) {
  const struct {
    int32_t channel, band, mode_sent;
  } cases[] = {{2417, 1, 10}, {2476, 0, 10}, {2477, 0, 10}, {2483, 0, 10}, {2485, 0, 7},
               {2412, 2, 10}, {2412, 3, 10}, {5182, 0, 7},  {5830, 3, 7},  {5180, 4, 7}};
  for (const auto &one : cases) {
    SCOPED_TRACE(one.channel);
    configure();
    PUBLIC(wifi_set_channel)(one.channel);
    PUBLIC(wifi_set_band)(one.band);
    const int code = one.band == 2 ? 3 : one.band == 3 ? 7 : one.band;
    const std::string radio = "11=0 2=" + std::to_string(one.mode_sent) + " 4=" + std::to_string(code);
    forget();
    EXPECT_EQ(PUBLIC(wifi_start_tx)(), 0U);
    EXPECT_EQ(sent_values(), radio);
    EXPECT_EQ(logs().back(), "6 wifi_ioctl_set_channel fail, ret[0].\n");
    forget();
    EXPECT_EQ(PUBLIC(wifi_start_rx)("000000000000", nullptr), 0U);
    EXPECT_EQ(sent_values(), "9=0 " + radio);
    EXPECT_EQ(logs().back(), "6 wifi_ioctl_set_channel fail.\n");
  }
}

TEST_P(Sequence, TransmitStopAndItsFlag) {
  const bool has_flag = has_chain();
  const std::string already = said(4, chip_ + "_wifi_stop_tx::already tx=0, return");
  const auto on = [&] { return PUBLIC(wifi_query_setting)(9); };
  configure();
  fail("ioctl:11", 1, 2);
  EXPECT_EQ(PUBLIC(wifi_start_tx)(), 0U);
  EXPECT_EQ(on(), has_flag ? 1 : 0) << "raised before anything is sent, on the newer chips";
  for (bool first : {true, false}) {
    forget();
    EXPECT_EQ(PUBLIC(wifi_stop_tx)(), 1U);
    EXPECT_EQ(transcript(), has_flag && !first ? already : value_command(chip(), 5, 0));
    EXPECT_EQ(on(), 0);
  }
  for (outcome how : {REFUSED, NO_SOCKET}) {
    EXPECT_EQ(PUBLIC(wifi_start_tx)(), 1U);
    forget();
    plan(5, 1, how);
    EXPECT_EQ(PUBLIC(wifi_stop_tx)(), 0U);
    EXPECT_EQ(transcript(), value_command(chip(), 5, 0, how) + said(6, "wifi_stop_tx::socket send failed\n"));
    EXPECT_EQ(on(), 0);
  }
}

TEST_P(Sequence, ReceiveStopAndItsFlag) {
  const std::string stopped = value_command(chip(), 8, 0) + said(3, "wifi_stop_rx::ret[1].\n");
  const auto on = [&] { return PUBLIC(wifi_query_setting)(10); };
  EXPECT_EQ(PUBLIC(wifi_start_rx)("00112233445G", nullptr), 0U);
  EXPECT_EQ(on(), 1) << "raised before anything is sent";
  for (bool first : {true, false}) {
    forget();
    EXPECT_EQ(PUBLIC(wifi_stop_rx)(), 1U);
    EXPECT_EQ(transcript(),
              has_chain() && !first ? said(4, chip_ + "_wifi_stop_rx::already rx=0, return") : stopped);
    EXPECT_EQ(on(), 0);
  }
  EXPECT_EQ(PUBLIC(wifi_start_rx)("00112233445G", nullptr), 0U);
  forget();
  plan(8, 1, REFUSED);
  EXPECT_EQ(PUBLIC(wifi_stop_rx)(), 0U);
  EXPECT_EQ(transcript(), value_command(chip(), 8, 0, REFUSED) + said(3, "wifi_stop_rx::ret[0].\n"));
  EXPECT_EQ(on(), 0);
}

// ---- Test mode -------------------------------------------------------------------------------------------

class TestMode : public Sequence {
protected:
  void SetUp() override {
    Sequence::SetUp();
    set("netcfg.output", "wlan0 UP");
  }
  uint32_t self_calibration() const { return is(vq2040a_case) ? 31 : 36; }

  std::string self_calibrated(outcome how) const {
    if (is(vq2040_case)) return "";
    const std::string name = chip_ + "_wifi_set_selfcali_interval";
    return setting(self_calibration(), 1, how, name + " successful.\n", name + " fail.\n") +
           (how >= REFUSED ? said(6, chip_ + "_wifi_start_testmode::set selfcali_interval failed\n") : "");
  }

  /// A command that an operation fills itself: closed before it tells of success and after it tells of
  /// failure.
  std::string setting(uint32_t id, uint32_t value, outcome how, const std::string &good,
                      const std::string &bad) const {
    std::string text = opening(chip(), how) + attempts(chip(), id, value, how);
    if (how == NO_SOCKET) return text;
    return text + (how == REFUSED ? said(6, bad) + "close\n" : "close\n" + said(6, good));
  }

  std::string country_set(outcome how, outcome power_save) const {
    std::string text =
        setting(23, 0x3939, how, "set country code 99 successful.\n", "set country code 99 fail.\n");
    const bool told = has_chain() ? how >= REFUSED : is(vq2040a_case) && power_save >= REFUSED;
    return text + (told ? said(6, "wifi_set_country all failed\n") : "");
  }

  std::string interval_set(outcome how) const {
    if (!has_chain()) return "";
    return setting(33, 0x3131, how, "set dyn_cali_intervel successful.\n", "set dyn_cali_intervel fail.\n") +
           (how >= REFUSED ? said(6, chip_ + "_wifi_set_dyn_interval failed\n") : "");
  }

  /// Test-mode entry in which command `bad` ends like `how`.
  std::string entry(uint32_t bad, outcome how) const {
    const auto of = [&](uint32_t id) { return id == bad ? how : GOOD; };
    return interface_taken(chip(), "wlan0 UP") + self_calibrated(of(self_calibration())) +
           "sh ifconfig wlan0 up = 0\n" + power_save_step("wifi_set_pm_switch stop failed\n").text[of(11)] +
           country_set(of(23), of(11)) + interval_set(of(33)) +
           said(3, "wl_config_test:wifi test mode enable sucess\n");
  }

  const std::string down = "sh ifconfig wlan0 down = 0\nsleep 1000\n" +
                           said(3, "wl_config_test:disable wifi test mode is sucess\n");
};

TEST_P(TestMode, EntryGoesOnWhateverTheDriverRefuses) {
  std::vector<uint32_t> commands = {11, 23};
  if (!is(vq2040_case)) commands.insert(commands.begin(), self_calibration());
  if (has_chain()) commands.push_back(33);
  for (unsigned i = 0; i < commands.size(); i++) {
    for (outcome how : {GOOD, RETRIED, REFUSED, NO_SOCKET}) {
      SCOPED_TRACE("command " + std::to_string(commands[i]) + ", outcome " + std::to_string(how));
      forget();
      plan(commands[i], i + 1, how);
      EXPECT_EQ(PUBLIC(wifi_start_testmode)(), 1U);
      EXPECT_EQ(transcript(), entry(commands[i], how));
      expect_tags_and_records();
      EXPECT_EQ(PUBLIC(wifi_query_setting)(1), 1);
      forget();
      EXPECT_EQ(PUBLIC(wifi_stop_testmode)(), 1U);
      EXPECT_EQ(transcript(), down);
      EXPECT_EQ(PUBLIC(wifi_query_setting)(1), 0);
    }
  }
}

TEST_P(TestMode, EntryFailsWhenTheInterfaceStaysDown) {
  fail("shell:ifconfig wlan0 up", 1, 1, 4);
  EXPECT_EQ(PUBLIC(wifi_start_testmode)(), 0U);
  EXPECT_EQ(transcript(), interface_taken(chip(), "wlan0 UP") + self_calibrated(GOOD) +
                              "sh ifconfig wlan0 up = 4\n" + said(6, "ifconfig wlan0 up failed\n"));
  EXPECT_EQ(PUBLIC(wifi_query_setting)(1), 0);
  forget();
  PUBLIC(wifi_set_power)(100);
  EXPECT_EQ(sent().size(), 1U) << "off, so a power goes out at once";
}

TEST_P(TestMode, EnteringAndLeavingTwiceDoesNothingTheSecondTime) {
  EXPECT_EQ(PUBLIC(wifi_stop_testmode)(), 1U);
  EXPECT_EQ(transcript(), said(3, "wl_config_test:wifi test mode is disable\n"));
  PUBLIC(wifi_start_testmode)();
  forget();
  EXPECT_EQ(PUBLIC(wifi_start_testmode)(), 1U);
  EXPECT_EQ(transcript(), said(3, "wl_config_test:wifi test mode has enable.\n"));
}

TEST_P(TestMode, LeavingStopsARunningReceiveTestOnly) {
  PUBLIC(wifi_start_testmode)();
  configure();
  EXPECT_EQ(PUBLIC(wifi_start_tx)(), 1U);
  EXPECT_EQ(PUBLIC(wifi_start_rx)(nullptr, nullptr), 1U);
  forget();
  EXPECT_EQ(PUBLIC(wifi_stop_testmode)(), 1U);
  EXPECT_EQ(transcript(), value_command(chip(), 8, 0) + said(3, "wifi_stop_rx::ret[1].\n") + down);
  EXPECT_EQ(PUBLIC(wifi_query_setting)(9), 0);
  EXPECT_EQ(PUBLIC(wifi_query_setting)(10), 0);
  EXPECT_EQ(PUBLIC(wifi_query_setting)(5), 155) << "settings survive";
}

TEST_P(TestMode, AFailedTakeDownLeavesTestModeOnAndReceiveOff) {
  PUBLIC(wifi_start_testmode)();
  configure();
  EXPECT_EQ(PUBLIC(wifi_start_rx)(nullptr, nullptr), 1U);
  forget();
  fail("shell:ifconfig wlan0 down");
  plan(8, 1, REFUSED);
  EXPECT_EQ(PUBLIC(wifi_stop_testmode)(), 0U);
  EXPECT_EQ(transcript(), value_command(chip(), 8, 0, REFUSED) + said(3, "wifi_stop_rx::ret[0].\n") +
                              said(6, "wifi_stop_rx failed\n") + "sh ifconfig wlan0 down = 1\n" +
                              said(6, "ifconfig wlan0 down failed\n"));
  EXPECT_EQ(PUBLIC(wifi_query_setting)(1), 1);
  EXPECT_EQ(PUBLIC(wifi_query_setting)(10), 0);
}

TEST_P(TestMode, CalibrationIntervalsAreSentAlone) {
  if (is(vq2040_case)) {
    EXPECT_FALSE(has_symbol(chip_ + "_wifi_set_selfcali_interval"));
    EXPECT_FALSE(has_symbol(chip_ + "_wifi_set_dyn_interval"));
    return;
  }
  forget();
  EXPECT_EQ(back_end<uint32_t()>("wifi_set_selfcali_interval")(), 1U);
  EXPECT_EQ(back_end<uint32_t()>("wifi_set_dyn_interval")(), 1U);
  EXPECT_EQ(sent_values(), is(vq2040a_case) ? "31=1 28=12593" : "36=1 33=12593");
  forget();
  fail("memcpy_s");
  EXPECT_EQ(back_end<uint32_t()>("wifi_set_dyn_interval")(), 0U);
  EXPECT_EQ(transcript(), "socket\n" + said(6, "memcpy_s error.\n") + "close\n");
}

TEST_P(TestMode, PowerTest) {
  const uint32_t command = is(vq2040a_case) ? 30 : 34;
  const std::string taken = interface_taken(chip(), "wlan0 UP");
  for (outcome how : {GOOD, REFUSED}) {
    for (int32_t mode : {7, 0}) {
      if (is(vq2040_case)) break;
      const std::string number = std::to_string(mode);
      forget();
      plan(command, 1, how);
      EXPECT_EQ(PUBLIC(wifi_pt_power_test)(mode), how == GOOD ? 1U : 0U);
      EXPECT_EQ(transcript(),
                said(3, chip_ + (is(vq2040a_case) ? "_wifi_pt_power_test::mode[" + number + "].\n"
                                                  : "_wifi_pt_power_test:: mode = " + number + ".\n")) +
                    taken + value_command(chip(), command, static_cast<uint32_t>(mode), how));
    }
  }
}

TEST_P(TestMode, PowerTestThroughTheNode) {
  if (!is(vq2040_case)) return;
  const std::string taken = interface_taken(chip(), "wlan0 UP"), node = "open /sys/vq20x0_debug/bfgx_test\n";
  for (int32_t mode : {7, -1, 0}) {
    forget();
    EXPECT_EQ(PUBLIC(wifi_pt_power_test)(mode), 1U);
    EXPECT_EQ(transcript(), taken + node + "write " + (mode != 0 ? "4" : "5") + "\nclose\n");
  }
  forget();
  fail("write");
  EXPECT_EQ(PUBLIC(wifi_pt_power_test)(1), 1U) << "the count written is not checked";
  forget();
  fail("open", 1, 1, ENOENT);
  EXPECT_EQ(PUBLIC(wifi_pt_power_test)(1), 0U);
  EXPECT_EQ(transcript(),
            taken + node +
                said(6, std::string("/sys/vq20x0_debug/bfgx_test open failed, error: ") + strerror(ENOENT)));
}

INSTANTIATE_TEST_SUITE_P(Chips, Sequence, ALL_CHIPS, name_of_case);
INSTANTIATE_TEST_SUITE_P(Chips, TestMode, ALL_CHIPS, name_of_case);

}  // namespace
