// SPDX-License-Identifier: Apache-2.0
// Self-checks: how each one reads the driver's answer, what it leaves of an answer that was refused, and
// which bytes of its outputs it writes.
#include "tests/support/margins.h"
#include "tests/support/phone_fixture.h"

namespace {

/// How a probe reads its answer and prints it.
enum reading { whole, low_half, low_half_short, low_byte };

/// An answer, whether it passes the probes that read all of it or its low half, and what each reading logs.
struct verdict {
  uint32_t answer;
  bool passes_whole, passes_half;
  const char *logged[4];
};

// clang-format off
const verdict verdicts[] = {
    {0,          true,  true,  {"0",           "0",           "0",      "0"}},
    {1,          false, false, {"1",           "1",           "1",      "1"}},
    {0xFF,       false, false, {"255",         "255",         "255",    "255"}},
    {0x1FF,      false, false, {"511",         "511",         "511",    "255"}},
    {0x8000,     false, false, {"32768",       "32768",       "-32768", "0"}},
    {65535,      false, false, {"65535",       "65535",       "-1",     "255"}},
    {65536,      false, true,  {"65536",       "65536",       "0",      "0"}},
    {0x80000000, false, true,  {"-2147483648", "-2147483648", "0",      "0"}},
};
// clang-format on

/// A probe: the driver command that it sends, by name, and how it reads the answer.
struct probe {
  const char *function, *command;
  reading read;
};

const probe all_probes[] = {{"wl_config_wifi_efuse_get", "efuse_status", whole},
                            {"wl_config_wipin_test", "pin_test", whole},
                            {"wl_config_pmu_check", "pmu_check", low_byte},
                            {"wl_config_wkup_io_test", "wakeup_io", low_half},
                            {"wl_config_pcie_test", "pcie_test", low_half}};

bool passes(const verdict &judged, reading read) {
  return read == low_half || read == low_half_short ? judged.passes_half : judged.passes_whole;
}

class SelfCheck : public ChipTest {
protected:
  /// Those that the chip exports.
  std::vector<probe> probes() const {
    std::vector<probe> found;
    for (probe each : all_probes) {
      if (is("vq2040a") && each.read == low_half) each.read = low_half_short;
      if (has(each.function)) found.push_back(each);
    }
    return found;
  }
  uint32_t id(const probe &each) const { return static_cast<uint32_t>(command_id(each.command)); }
  /// Whether the weld test of a good phone sends the probe's command.
  bool is_in_weld(const probe &each) {
    forget();
    EXPECT_EQ(PUBLIC(wifi_test_weld)(), 1U);
    for (const sent_command &one : sent()) {
      if (one.id == id(each)) return true;
    }
    return false;
  }

  /// Runs a probe on a socket of the test's own.
  uint32_t run(const char *function, const char *interface = "wlan0") {
    const uint32_t descriptor = back_end<uint32_t()>("wl_config_sockets_open")();
    forget();
    const uint32_t result = back_end<uint32_t(uint32_t, const char *)>(function)(descriptor, interface);
    return back_end<int32_t(uint32_t)>("wl_config_sockets_close")(descriptor) == 0 ? result : 99;
  }
};
INSTANTIATE_TEST_SUITE_P(Chips, SelfCheck, ALL_CHIPS, name_of_case);

TEST_P(SelfCheck, ProbesJudgeTheirPartOfTheAnswer) {
  for (const probe &each : probes()) {
    for (const verdict &judged : verdicts) {
      SCOPED_TRACE(std::string(each.function) + " answered " + std::to_string(judged.answer));
      answer(id(each), judged.answer);
      EXPECT_EQ(run(each.function), passes(judged, each.read) ? 1U : 0U);
      EXPECT_TRUE(happened(std::string("log {*}: ") + judged.logged[each.read] + "\\n\"")) << transcript();
    }
  }
}

/// A bad answer ends the weld test there, with test mode still on; a good end switches it off. wlan0 stays up
/// where a probe fails that runs before the interface goes down.
TEST_P(SelfCheck, TheWeldTestEndsAtTheFirstBadAnswer) {
  for (const probe &each : probes()) {
    if (!is_in_weld(each)) continue;
    for (const verdict &judged : verdicts) {
      SCOPED_TRACE(std::string(each.function) + " answered " + std::to_string(judged.answer));
      set("interface.up", "true");
      PUBLIC(wifi_start_testmode)();
      answer(id(each), judged.answer);
      forget();
      const bool pass = passes(judged, each.read);
      EXPECT_EQ(PUBLIC(wifi_test_weld)(), pass ? 1U : 0U);
      if (!pass) { EXPECT_EQ(sent().back().id, id(each)); }
      EXPECT_EQ(PUBLIC(wifi_query_setting)(1), pass ? 0 : 1);
      EXPECT_EQ(phone_interface_up(), !pass && each.read == whole ? 1 : 0);
      phone_driver_answers_clear();
    }
  }
}

/// What a refused command left in the record is still judged and logged, but the probe fails.
TEST_P(SelfCheck, ProbesFailWhenTheDriverRefusesWhateverItLeft) {
  for (const probe &each : probes()) {
    SCOPED_TRACE(each.function);
    set("driver.refuse", std::to_string(id(each)));
    EXPECT_EQ(run(each.function), 0U);
    answer(id(each), 5);
    EXPECT_EQ(run(each.function), 0U);
    EXPECT_TRUE(happened("log {*}: 5\\n\"")) << transcript();
    phone_driver_answers_clear();
  }
}

/// The PMU check on its own socket judges all 32 bits, though it logs the lowest byte.
TEST_P(SelfCheck, ThePmuCheckJudgesAllBits) {
  if (!has("wifi_check_pmu")) GTEST_SKIP() << "the chip has no such check";
  for (const verdict &judged : verdicts) {
    answer(static_cast<uint32_t>(command_id("pmu_check")), judged.answer);
    EXPECT_EQ(back_end<uint32_t()>("wifi_check_pmu")(), judged.passes_whole ? 1U : 0U) << judged.answer;
  }
}

TEST_P(SelfCheck, TheFrontEndStatusIsGoodWhenZero) {
  for (const verdict &judged : verdicts) {
    answer(7, judged.answer);
    EXPECT_EQ(PUBLIC(wifi_hw_get)(nullptr), judged.passes_whole ? 1U : 0U) << judged.answer;
  }
}

/// There is no wlan1 here.
TEST_P(SelfCheck, ProbesAddressTheInterfaceTheyAreGiven) {
  EXPECT_EQ(run("wl_config_wifi_dbb_get", "wlan1"), 0U);
  for (const probe &each : probes()) EXPECT_EQ(run(each.function, "wlan1"), 0U) << each.function;
}

/// The result is the firmware's code; a start succeeds with any code, and its outputs stay as they were.
TEST_P(SelfCheck, TheChipCheckPassesTheFirmwaresCodeOn) {
  uint8_t a = 0x11, b = 0x22;
  uint32_t c = 0x33333333;
  for (const uint32_t code : {0U, 1U, 0xFFU, 65536U, 0x80000000U, 0xFFFFFFFDU}) {
    answer(13, code);
    answer(14, code);
    EXPECT_EQ(PUBLIC(conn_test_chipcheck)(&a, &b, &c), 0U);
    EXPECT_EQ(PUBLIC(conn_test_get_chipcheck_result)(&a, &b, &c), code);
  }
  EXPECT_TRUE(a == 0x11 && b == 0x22 && c == 0x33333333);
}

/// The newer chips tell the driver that a test is running once the memory time was asked for.
TEST_P(SelfCheck, AskingForTheMemoryTimeMarksTheNextChipChecks) {
  const auto start = [&] { PUBLIC(conn_test_chipcheck)(nullptr, nullptr, nullptr); };
  for (const int32_t item : {1, 2, 5, 11, 14}) PUBLIC(wifi_query_setting)(item);
  start();
  PUBLIC(wifi_query_setting)(13);
  start();
  PUBLIC(conn_test_get_chipcheck_result)(nullptr, nullptr, nullptr);
  start();
  EXPECT_EQ(sent_values(), has_two_chains() ? "13=0 13=1 14=0 13=1" : "13=0 13=0 14=0 13=0");
}

// ---- Die identifier ------------------------------------------------------------------------------------

/// More words than any chip reads, low byte first, and the digits that the first of them make.
const std::string
    words("\xAB\x12\x00\x0F\xEF\xCD\x89\x67\x45\x23\x01\x00\xFF\xFF\x0A\xA0\xFE\x9A\x77\x77\x77\x77", 22);
const std::string digits = "12AB0F00CDEF678923450001FFFFA00A9AFE";

TEST_P(SelfCheck, TheDieIdIsWrittenAsDigitsWithoutOneByteMore) {
  const size_t length = has_two_chains() ? 36 : 32;
  const auto check_time = PUBLIC(conn_test_get_checktime_of_chipcheck);
  for (const bool refused : {true, false}) {
    guarded<40> text;
    guarded<4> time;
    if (!refused) answer_bytes(22, words);
    set("driver.refuse", refused ? "22" : "");
    EXPECT_EQ(check_time(nullptr, reinterpret_cast<uint32_t *>(time.at()), text.at()), 0U)
        << "a refused command gives what is in the record, and counts as success";
    EXPECT_EQ(text.text().substr(0, length), (refused ? std::string(36, '0') : digits).substr(0, length));
    EXPECT_TRUE(text.only(length) && time.only(4));
    EXPECT_EQ(*time.at(), 100);
  }
  guarded<4> flag;
  guarded<40> text;
  EXPECT_EQ((back_end<uint32_t(uint8_t *, uint8_t *)>("wifi_get_die_id")(flag.at(), text.at())), 0U);
  EXPECT_TRUE(*flag.at() == 0 && flag.only(1)) << "one byte of the flag is cleared";
}

/// The transcripts have one fault at a time. Here wlan0 neither comes up nor goes down in between, or goes
/// down no more after another failure.
TEST_P(SelfCheck, TwoFailuresAreBothLogged) {
  uint8_t text[40];
  uint32_t time = 0;
  const auto check_time = [&] { return PUBLIC(conn_test_get_checktime_of_chipcheck)(nullptr, &time, text); };
  const auto stay_down = [] {
    forget();
    fail("shell:ifconfig wlan0 up", 1, 2);
    fail("shell:ifconfig wlan0 down");
  };
  const auto expect_both = [&] {
    EXPECT_TRUE(happened("log 3 \"wl_config_test:wifi_test_weld:wifi down failed. continue.\\n\""))
        << transcript();
    EXPECT_TRUE(happened("log 6 \"wifi_test_weld:wifi boot up failed.\\n\"")) << transcript();
  };
  stay_down();
  EXPECT_EQ(check_time(), 1U);
  expect_both();
  stay_down();
  EXPECT_EQ(PUBLIC(wifi_test_weld)(), 0U);
  expect_both();
  forget();
  fail("socket");
  fail("shell:ifconfig wlan0 down");
  EXPECT_EQ(check_time(), 1U);
  EXPECT_TRUE(happened("log 6 \"wifi_test_weld:wifi shut down failed.\\n\"")) << transcript();
}

}  // namespace
