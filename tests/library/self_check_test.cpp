// SPDX-License-Identifier: Apache-2.0
// The chip check, its result, the check time with the die identifier, and the two bus loops.
#include "tests/support/self_check_fixture.h"

#include <cstdio>

namespace {

const std::pair<uint32_t, const char *> codes[] = {{0, "0"},
                                                   {1, "1"},
                                                   {0xFF, "255"},
                                                   {0x1FF, "511"},
                                                   {65535, "65535"},
                                                   {65536, "65536"},
                                                   {0x80000000, "-2147483648"},
                                                   {0xFFFFFFFD, "-3"}};

class ChipCheck : public SelfCheckTest {
protected:
  uint32_t start() { return PUBLIC(conn_test_chipcheck)(&a_, &b_, &c_); }
  uint32_t fetch() { return PUBLIC(conn_test_get_chipcheck_result)(&a_, &b_, &c_); }

  static constexpr const char *begin = "log 6 begin to start socket\\n\n";
  static constexpr const char *enter = "log 6 enter conn_test_get_chipcheck_result\\n\n";
  uint8_t a_ = 0x11, b_ = 0x22;
  uint32_t c_ = 0x33333333;
};
INSTANTIATE_TEST_SUITE_P(, ChipCheck, ALL_CHIPS, name_of_case);

TEST_P(ChipCheck, SucceedsWithAnyCodeAndLogsItAfterClosing) {
  for (const auto &[code, told] : codes) {
    answer(13, code);
    EXPECT_EQ(start(), 0U) << told;
    expect_contacts("socket\n" + sends(13) + "close\nlog 6 conn_test_chipcheck." + told + "\\n\n");
  }
}

TEST_P(ChipCheck, ResultIsTheFirmwaresOwnCode) {
  for (const auto &[code, told] : codes) {
    answer(14, code);
    EXPECT_EQ(fetch(), code);
    expect_contacts(enter + ("socket\n" + sends(14)) + "close\nlog 6 conn_test_get_chipcheck_result." + told +
                    "\\n\n");
  }
  EXPECT_TRUE(a_ == 0x11 && b_ == 0x22 && c_ == 0x33333333);
}

TEST_P(ChipCheck, NullArgumentsOnlyAddALine) {
  for (int absent = 0; absent < 3; absent++) {
    SCOPED_TRACE(absent);
    uint8_t *a = absent == 0 ? nullptr : &a_, *b = absent == 1 ? nullptr : &b_;
    uint32_t *c = absent == 2 ? nullptr : &c_;
    EXPECT_EQ(PUBLIC(conn_test_chipcheck)(a, b, c), 0U);
    expect_contacts(begin + ("socket\n" + sends(13)) + "close\nlog 6 conn_test_chipcheck.0\\n\n");
    EXPECT_EQ(PUBLIC(conn_test_get_chipcheck_result)(a, b, c), 0U);
    expect_contacts(enter + (begin + ("socket\n" + sends(14))) +
                    "close\nlog 6 conn_test_get_chipcheck_result.0\\n\n");
  }
}

TEST_P(ChipCheck, TellsTheDriverOfARunningTestOnceTheMemoryTimeWasAsked) {
  for (int item : {1, 2, 5, 11, 14}) PUBLIC(wifi_query_setting)(item);
  start();
  EXPECT_EQ(sent_values(), "13=0");
  PUBLIC(wifi_query_setting)(13);
  start();
  fetch();
  start();
  EXPECT_EQ(sent_values(),
            is(vq2050_case) || is(vq2070_case) ? "13=0 13=1 14=0 13=1" : "13=0 13=0 14=0 13=0");
}

TEST_P(ChipCheck, RefusalAndNoSocketGive1WhateverTheDriverLeft) {
  const std::string nine("\x09\0\0\0", 4);
  refuse(13, nine);
  EXPECT_EQ(start(), 1U);
  expect_contacts("socket\n" + refused(13, "00000000", "09000000") +
                  "log 6 conn_test_chipcheck fail.\\n\nclose\n");
  refuse(14, nine);
  EXPECT_EQ(fetch(), 1U);
  expect_contacts(enter + ("socket\n" + refused(14, "00000000", "09000000")) +
                  "log 6 conn_test_chipcheck getresult fail.\\n\nclose\n");
  fail("socket", 1, 2);
  EXPECT_EQ(start(), 1U);
  expect_contacts(no_socket());
  EXPECT_EQ(fetch(), 1U);
  expect_contacts(enter + no_socket());
}

// ---- Loops
// -------------------------------------------------------------------------------------------------

struct loop {
  const char *name;
  uint32_t command;
};

class BusLoops : public SelfCheckTest {
protected:
  uint32_t run(const loop &which) {
    return function(static_cast<uint32_t (*)(const void *)>(nullptr), which.name)(nullptr);
  }

  /// The SDIO loop takes the interface from the framework first, on the chips newer than vq2040.
  std::string before(const loop &which) const {
    return which.command == 17 && !is(vq2040_case) ? service_stopped() : "";
  }

  const loop loops_[2] = {{"conn_test_uart_loop", 16}, {"conn_test_sdio_loop", 17}};
};
INSTANTIATE_TEST_SUITE_P(, BusLoops, ALL_CHIPS, name_of_case);

TEST_P(BusLoops, CloseThenLogSuccessAndLogFailureThenClose) {
  for (const loop &each : loops_) {
    const std::string opening = before(each), line = std::string("log 6 ") + each.name;
    EXPECT_EQ(run(each), 0U);
    expect_contacts(opening + "socket\n" + sends(each.command) + "close\n" + line + " \\n\n");
    refuse(each.command);
    EXPECT_EQ(run(each), 1U);
    expect_contacts(opening + "socket\n" + refused(each.command) + line + " fail.\\n\nclose\n");
    fail("socket");
    EXPECT_EQ(run(each), 1U);
    expect_contacts(opening + no_socket());
  }
}

// ---- Check time and die identifier
// -------------------------------------------------------------------------

/// More words than any chip reads, low byte first.
const char words[] =
    "\xAB\x12\x00\x0F\xEF\xCD\x89\x67\x45\x23\x01\x00\xFF\xFF\x0A\xA0\xFE\x9A\x77\x77\x77\x77";
const char *const digits = "12AB0F00CDEF678923450001FFFFA00A9AFE";

class DieId : public SelfCheckTest {
protected:
  uint32_t check_time() {
    const uint32_t result = PUBLIC(conn_test_get_checktime_of_chipcheck)(nullptr, &time_, text_.at());
    EXPECT_EQ(time_, 100U);
    return result;
  }

  size_t length() const { return pick(32U, 36U, 32U, 36U); }

  /// Every chip but vq2070 logs each character's code.
  std::string told(const std::string &text) const {
    std::string lines;
    char line[60];
    for (size_t i = 0; i < length() && !is(vq2070_case); i++) {
      snprintf(line, sizeof line, "log 6 wifi_get_die_id:0x%x\\n\n", static_cast<unsigned char>(text[i]));
      lines += line;
    }
    return lines;
  }

  void expect_text(const std::string &wanted) const {
    EXPECT_EQ(text_.text().substr(0, length()), wanted.substr(0, length()));
    EXPECT_TRUE(text_.only(length()));
  }

  void expect_no_text() const { EXPECT_TRUE(text_.only(0)); }

  static constexpr const char *up = "sh ifconfig wlan0 up = 0\n";
  static constexpr const char *down = "sh ifconfig wlan0 down = 0\n";
  std::string retry() const {
    return std::string("sh ifconfig wlan0 up = 1\nlog 3 wl_config_test:@_") +
           pick("wifi_get_die_id", "try_to_boot_up", "wifi_get_die_id", "try_to_boot_up") +
           ":ifconfig wlan0 up failed, wait 5s, and retry again.\\n\nsleep 2000000\n";
  }

  uint32_t time_ = 0;
  guarded<40> text_;
};
INSTANTIATE_TEST_SUITE_P(, DieId, ALL_CHIPS, name_of_case);

TEST_P(DieId, IsWrittenAsDigitsWithoutOneByteMore) {
  answer_bytes(22, std::string(words, sizeof words - 1));
  EXPECT_EQ(check_time(), 0U);
  expect_text(digits);
  expect_contacts(service_stopped() + up + "socket\n" + sends(22) + told(digits) + "close\n" + down);
  EXPECT_EQ(phone_interface_up(), 0);
}

TEST_P(DieId, ClearsOneByteOfTheFlag) {
  guarded<4> flag;
  EXPECT_EQ((back_end<uint32_t(uint8_t *, uint8_t *)>("wifi_get_die_id")(flag.at(), text_.at())), 0U);
  EXPECT_EQ(*flag.at(), 0);
  EXPECT_TRUE(flag.only(1));
}

TEST_P(DieId, OfARefusedCommandIsWhatIsInTheRecordAndCountsAsSuccess) {
  refuse(22);
  EXPECT_EQ(check_time(), 0U);
  const std::string zeros(36, '0');
  expect_text(zeros);
  expect_contacts(service_stopped() + up + "socket\n" + refused(22) + told(zeros) + "close\n" + down);
  answer_bytes(22, std::string(words, sizeof words - 1));
  EXPECT_EQ(check_time(), 0U);
  expect_text(digits);
}

TEST_P(DieId, TriesTwiceToBootUp) {
  const std::string last_words =
      std::string("log 6 wifi_test_weld:wifi boot up failed.\\n\n") +
      (is(vq2050_case) || is(vq2070_case) ? "log 6 @_wifi_get_die_id::try_boot_up failed.\\n\n" : "");
  fail("shell:ifconfig wlan0 up", 1, 2);
  fail("shell:ifconfig wlan0 down");
  EXPECT_EQ(check_time(), 1U);
  expect_no_text();
  expect_contacts(service_stopped() + retry() + "sh ifconfig wlan0 down = 1\n" +
                  "log 3 wl_config_test:wifi_test_weld:wifi down failed. continue.\\n\nsleep 2000000\n" +
                  "sh ifconfig wlan0 up = 1\n" + last_words);

  fail("shell:ifconfig wlan0 up");
  answer_bytes(22, std::string(words, sizeof words - 1));
  EXPECT_EQ(check_time(), 0U);
  expect_contacts(service_stopped() + retry() + down + "sleep 2000000\n" + up + "socket\n" + sends(22) +
                  told(digits) + "close\n" + down);
}

TEST_P(DieId, WithoutASocketTheInterfaceGoesDownAgain) {
  fail("socket", 1, 2);
  EXPECT_EQ(check_time(), 1U);
  expect_contacts(service_stopped() + up + no_socket() + down);
  EXPECT_EQ(phone_interface_up(), 0);
  fail("shell:ifconfig wlan0 down");
  EXPECT_EQ(check_time(), 1U);
  expect_contacts(service_stopped() + up + no_socket() + "sh ifconfig wlan0 down = 1\n" +
                  "log 6 wifi_test_weld:wifi shut down failed.\\n\n");
  expect_no_text();
}

TEST_P(DieId, IsGoodEvenWhenTheInterfaceWillNotGoDown) {
  fail("shell:ifconfig wlan0 down");
  answer_bytes(22, std::string(words, sizeof words - 1));
  EXPECT_EQ(check_time(), 0U);
  expect_text(digits);
  expect_contacts(service_stopped() + up + "socket\n" + sends(22) + told(digits) + "close\n" +
                  "sh ifconfig wlan0 down = 1\nlog 3 wifi_get_die_id:wifi down failed. continue.\\n\n");
}

}  // namespace
