// SPDX-License-Identifier: Apache-2.0
// Settings and RF tests: rules over all frequencies and modes, and the state after a start.
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>
#include <optional>

#include "tests/support/phone_fixture.h"

namespace {

class Rf : public ChipTest {
protected:
  int32_t query(int32_t item) { return PUBLIC(wifi_query_setting)(item); }
  void configure() {
    EXPECT_EQ(PUBLIC(wifi_set_mode)(4), 1U);
    EXPECT_EQ(PUBLIC(wifi_set_band)(0), 1U);
    EXPECT_EQ(PUBLIC(wifi_set_channel)(2412), 1U);
    EXPECT_EQ(PUBLIC(wifi_set_rate)(6500), 1U);
    EXPECT_EQ(PUBLIC(wifi_set_power)(155), 1U);
  }
};

// ---- Channel numbers -----------------------------------------------------------------------------------

/// By arithmetic alone: the number at 20 MHz minus the distance to the centre of the wider band.
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

TEST_P(Rf, EveryFrequencyHasItsChannelNumberOrNone) {
  for (int32_t band = -1; band <= 4; band++) {
    PUBLIC(wifi_set_band)(band);
    for (int32_t frequency = 0; frequency <= 5900; frequency += frequency == 2500 ? 2600 : 1) {
      if (frequency == 1) frequency = 2400;
      const std::optional<int32_t> number = channel_number(frequency, band);
      forget();
      const uint32_t result = back_end<uint32_t(int32_t)>("wifi_ioctl_set_channel")(frequency);
      ASSERT_EQ(result, number ? 1U : 0U) << frequency << " MHz, band " << band;
      ASSERT_EQ(sent_values(), number ? "0=" + std::to_string(*number) : "")
          << frequency << " MHz, band " << band;
    }
  }
}

/// 2477 to 2483 MHz are 5 GHz for the channel number and still 2.4 GHz for the mode.
TEST_P(Rf, AFrequencyWithoutAChannelEndsAStartBeforeTheChannelCommand) {
  const struct {
    int32_t channel, band, mode_sent;
  } cases[] = {{2417, 1, 10}, {2476, 0, 10}, {2477, 0, 10}, {2483, 0, 10}, {2485, 0, 7},
               {2412, 2, 10}, {5182, 0, 7},  {5830, 3, 7},  {5180, 4, 7}};
  configure();
  for (const auto &one : cases) {
    SCOPED_TRACE(one.channel);
    PUBLIC(wifi_set_channel)(one.channel);
    PUBLIC(wifi_set_band)(one.band);
    const int32_t code = one.band == 2 ? 3 : one.band == 3 ? 7 : one.band;
    const std::string radio = "11=0 2=" + std::to_string(one.mode_sent) + " 4=" + std::to_string(code);
    forget();
    EXPECT_EQ(PUBLIC(wifi_start_tx)(), 0U);
    EXPECT_EQ(sent_values(), radio);
    forget();
    EXPECT_EQ(PUBLIC(wifi_start_rx)("000000000000", nullptr), 0U);
    EXPECT_EQ(sent_values(), "9=0 " + radio);
  }
}

class SubBand : public ChipTest {};
INSTANTIATE_TEST_SUITE_P(Chips, SubBand, CHIPS_WITH("get_5g_band"), name_of_case);

TEST_P(SubBand, LimitsOfFiveGigahertz) {
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

// ---- Settings ------------------------------------------------------------------------------------------

/// The lookup takes the low byte; the setting keeps the whole number, also of an unknown mode.
TEST_P(Rf, AnUnknownModeIsKeptButTheDriversStays) {
  const bool newest = has("wifi_ru_set");
  const int32_t drivers[] = {3, 0, 1, 4, 7, 6, newest ? 12 : 2, newest ? 2 : -1};
  PUBLIC(wifi_set_channel)(2484);  // high enough that no mode is exchanged
  int32_t last = 0;
  for (const int32_t mode : {0, 1, 2, 3, 4, 5, 6, 7, 8, 257, -250, 255, -1}) {
    SCOPED_TRACE(mode);
    const uint32_t low = static_cast<uint32_t>(mode) & 255;
    const int32_t driver = low < 8 ? drivers[low] : -1;
    EXPECT_EQ(PUBLIC(wifi_set_mode)(mode), driver >= 0 ? 1U : 0U);
    EXPECT_EQ(query(2), mode);
    if (driver >= 0) last = driver;
    forget();
    EXPECT_EQ(PUBLIC(wifi_start_tx)(), 1U);
    EXPECT_EQ(sent().at(1).value(), static_cast<uint32_t>(last));
  }
}

/// Channel, power and rate count as set from 1 on; the other settings read back as they were given.
TEST_P(Rf, QueriesShowWhatWasSet) {
  for (const int32_t value : {1, 0, -5}) {
    PUBLIC(wifi_set_channel)(value);
    PUBLIC(wifi_set_power)(value);
    PUBLIC(wifi_set_rate)(value);
    PUBLIC(wifi_set_antenna)(value);
    PUBLIC(wifi_set_mode)(value);
    for (const int32_t item : {3, 5, 7}) EXPECT_EQ(query(item), value < 1 ? -1 : value) << item;
    for (const int32_t item : {2, 11}) EXPECT_EQ(query(item), value) << item;
  }
}

/// A power goes out at once, but in test mode it waits for the next start.
TEST_P(Rf, PowerIsSentAtOnceOutsideTestModeOnly) {
  const std::string sent_at_once = command_id("connection_power") >= 0 ? "25=-1" : "1=-15";
  EXPECT_EQ(PUBLIC(wifi_set_power)(-155), 1U);
  EXPECT_EQ(sent_values(), sent_at_once);
  PUBLIC(wifi_start_testmode)();
  forget();
  EXPECT_EQ(PUBLIC(wifi_set_power)(200), 1U);
  EXPECT_EQ(sent_values(), "");
  EXPECT_EQ(query(5), 200);
  PUBLIC(wifi_stop_testmode)();
  fail("shell:ifconfig wlan0 up", 1, 1, 4);
  EXPECT_EQ(PUBLIC(wifi_start_testmode)(), 0U);
  forget();
  PUBLIC(wifi_set_power)(-155);
  EXPECT_EQ(sent_values(), sent_at_once) << "an entry that failed is no test mode";
}

/// The wait until the start costs no bit of a setting.
TEST_P(Rf, SettingsKeepTheirWidthUntilTheStart) {
  PUBLIC(wifi_start_testmode)();
  for (const int32_t power : {70000000, -70000000, INT32_MAX}) {
    configure();
    PUBLIC(wifi_set_power)(power);
    EXPECT_EQ(query(5), power < 1 ? -1 : power);
    forget();
    EXPECT_EQ(PUBLIC(wifi_start_tx)(), 1U);
    std::optional<uint32_t> given;
    for (const sent_command &each : sent()) {
      if (each.id == 1) given = each.value();
    }
    EXPECT_EQ(given, static_cast<uint32_t>(power / (is("vq2040") ? 100 : 10)));
    PUBLIC(wifi_stop_tx)();
  }
  PUBLIC(wifi_set_rate)(INT32_MAX);
  PUBLIC(wifi_set_channel)(70000);
  EXPECT_EQ(query(7), INT32_MAX);
  EXPECT_EQ(query(3), 70000);
}

/// Characters in front of an unreadable page.
class page_end {
public:
  explicit page_end(const std::string &text) {
    EXPECT_NE(static_cast<void *>(pages_), MAP_FAILED);
    EXPECT_EQ(mprotect(pages_ + page_, page_, PROT_NONE), 0);
    at_ = static_cast<char *>(memcpy(pages_ + page_ - text.size(), text.data(), text.size()));
  }
  ~page_end() { munmap(pages_, 2 * page_); }
  page_end(const page_end &) = delete;
  page_end &operator=(const page_end &) = delete;
  const char *text() const { return at_; }

private:
  size_t page_ = static_cast<size_t>(sysconf(_SC_PAGESIZE));
  char *pages_ = static_cast<char *>(
      mmap(nullptr, 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
  const char *at_ = nullptr;
};

/// Neither past the last digit nor past a terminator before it.
TEST_P(Rf, NothingIsReadPastTheDigitsOfAnAddressOrAssociation) {
  const page_end address("0a1b2c3d4e5f"), association("1a3"), terminated(std::string("0a", 3));
  const auto set_address = back_end<uint32_t(const char *)>("wifi_set_hw_mac_addr");
  EXPECT_EQ(set_address(address.text()), 1U);
  EXPECT_EQ(set_address(terminated.text()), 0U);
  if (!has("wifi_ru_set")) return;
  EXPECT_EQ(PUBLIC(wifi_ru_set)(1, association.text()), 1U);
  EXPECT_EQ(PUBLIC(wifi_ru_set)(1, terminated.text()), 1U);
}

// ---- State after a start or stop -----------------------------------------------------------------------

/// The newer chips raise the transmit flag before anything is sent, so a start that failed wants a stop.
TEST_P(Rf, TheTransmitFlagOfAFailedStart) {
  configure();
  fail("ioctl:11", 1, 2);
  EXPECT_EQ(PUBLIC(wifi_start_tx)(), 0U);
  EXPECT_EQ(query(9), has_two_chains() ? 1 : 0);
  for (const bool first : {true, false}) {
    forget();
    EXPECT_EQ(PUBLIC(wifi_stop_tx)(), 1U);
    EXPECT_EQ(sent_values(), first || !has_two_chains() ? "5=0" : "");
    EXPECT_EQ(query(9), 0);
  }
}

/// Every chip raises the receive flag first.
TEST_P(Rf, TheReceiveFlagOfAFailedStart) {
  EXPECT_EQ(PUBLIC(wifi_start_rx)("00112233445G", nullptr), 0U);
  EXPECT_EQ(query(10), 1);
  for (const bool first : {true, false}) {
    forget();
    EXPECT_EQ(PUBLIC(wifi_stop_rx)(), 1U);
    EXPECT_EQ(sent_values(), first || !has_two_chains() ? "8=0" : "");
    EXPECT_EQ(query(10), 0);
  }
}

/// Leaving test mode stops a receive test, not a transmit test, and keeps the settings. Where wlan0 stays up,
/// test mode stays on although the receive test is over.
TEST_P(Rf, LeavingTestMode) {
  for (const bool goes_down : {false, true}) {
    PUBLIC(wifi_start_testmode)();
    configure();
    EXPECT_EQ(PUBLIC(wifi_start_tx)(), 1U);
    EXPECT_EQ(PUBLIC(wifi_start_rx)(nullptr, nullptr), 1U);
    forget();
    if (!goes_down) fail("shell:ifconfig wlan0 down");
    EXPECT_EQ(PUBLIC(wifi_stop_testmode)(), goes_down ? 1U : 0U);
    EXPECT_EQ(sent_values(), "8=0");
    EXPECT_EQ(query(1), goes_down ? 0 : 1);
    EXPECT_EQ(query(10), 0);
    EXPECT_EQ(query(5), 155);
  }
}

/// Chips without a driver command for the power test write to a debug node.
class NodePowerTest : public ChipTest {};
INSTANTIATE_TEST_SUITE_P(Chips, NodePowerTest, CHIPS_WITHOUT_COMMAND("power_test"), name_of_case);

/// A short write is not an error: the node takes one byte or none.
TEST_P(NodePowerTest, IgnoresWhatTheNodeTook) {
  fail("write");
  EXPECT_EQ(PUBLIC(wifi_pt_power_test)(1), 1U);
}

/// In a process without standard input the node is descriptor 0.
TEST_P(NodePowerTest, TakesDescriptor0ForTheNode) {
  const int input = dup(STDIN_FILENO);
  close(STDIN_FILENO);
  EXPECT_EQ(PUBLIC(wifi_pt_power_test)(1), 1U);
  dup2(input, STDIN_FILENO);
  close(input);
  EXPECT_TRUE(happened("write \"4\"")) << transcript();
}

class ResourceUnit : public ChipTest {
protected:
  /// The RU command of a receive start as setting and association id; "" where none is sent.
  std::string started() {
    PUBLIC(wifi_set_channel)(2484);
    forget();
    EXPECT_EQ(PUBLIC(wifi_start_rx)(nullptr, nullptr), 1U);
    for (const sent_command &one : sent()) {
      if (static_cast<int>(one.id) == command_id("ru_setting"))
        return std::to_string(one.value() >> 16) + " " + std::to_string(one.value() & 0xFFFF);
    }
    return "";
  }
};

TEST_P(ResourceUnit, AnArmedTestServesOneReceiveStart) {
  EXPECT_EQ(started(), "");
  const struct {
    int32_t set;
    const char *aid, *started;
  } cases[] = {
      {2, "1a3", "2 419"}, {1, "FfFzz", "1 4095"}, {1, "1z3", "1 259"}, {2, nullptr, "2 1"}, {0, "fff", ""}};
  for (const auto &one : cases) {
    EXPECT_EQ(PUBLIC(wifi_ru_set)(one.set, one.aid), 1U);
    EXPECT_EQ(started(), one.started);
    EXPECT_EQ(started(), "") << "used up";
  }
  EXPECT_EQ(PUBLIC(wifi_ru_set)(2, "123"), 1U);
  for (const int32_t set : {3, -1}) EXPECT_EQ(PUBLIC(wifi_ru_set)(set, "456"), 0U);
  EXPECT_EQ(started(), "2 291") << "a refused setting changes nothing";
}

INSTANTIATE_TEST_SUITE_P(Chips, ResourceUnit, CHIPS_WITH("wifi_ru_set"), name_of_case);
INSTANTIATE_TEST_SUITE_P(Chips, Rf, ALL_CHIPS, name_of_case);

}  // namespace
