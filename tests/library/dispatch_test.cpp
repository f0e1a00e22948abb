// SPDX-License-Identifier: Apache-2.0
// Dispatch: which back-end function serves an operation, and that arguments and results pass unchanged.
#include <cstring>

#include "platform/platform.h"
#include "tests/support/phone_fixture.h"

namespace {

// Arguments for a trial call: numbers, a text, or room for an answer.
struct argument {
  enum { NUMBER, TEXT, ROOM } kind;
  int32_t number;
  const char *text;
};
argument n(int32_t number) { return {argument::NUMBER, number, nullptr}; }
argument t(const char *text) { return {argument::TEXT, 0, text}; }
const argument room = {argument::ROOM, 0, nullptr}, null = {argument::TEXT, 0, nullptr};

struct operation {
  const char *name;
  std::vector<argument> arguments;
  const char *back_end = nullptr;  // its name there, where it differs
};

// By operation id.
const std::vector<operation> operations = {
    {"wifi_set_power", {n(-155)}},
    {"wifi_set_mode", {n(5)}},
    {"wifi_set_rate", {n(6500)}},
    {"wifi_set_band", {n(3)}},
    {"wifi_set_channel", {n(5180)}},
    {"wifi_setmimo_channel", {n(2)}},
    {"wifi_start_tx", {}},
    {"wifi_stop_tx", {}},
    {"wifi_set_antenna", {n(1)}},
    {"wifi_start_rx", {t("0123456789ab"), t("ba9876543210")}},
    {"wifi_stop_rx", {}},
    {"wifi_get_rx_rssi", {room}},
    {"wifi_get_rx_pckg", {}},
    {"wifi_hw_get", {null}},
    {"wifi_test_weld", {}},
    {"wifi_start_testmode", {}},
    {"wifi_pt_power_test", {n(-2)}},
    {"wifi_stop_testmode", {}},
    {"wifi_query_setting", {n(13)}},
    {"conn_test_chipcheck", {t("a"), null, t("c")}},
    {"conn_test_get_chipcheck_result", {room, room, room}},
    {"conn_test_get_checktime_of_chipcheck", {null, room, room}},
    {"conn_test_uart_loop", {null}},
    {"conn_test_sdio_loop", {null}},
    {"wifi_nvram_set", {null, null, n(-7)}},
    {"wifi_nvram_calibrate_clean", {n(1)}},
    {"wifi_nvram_calibrate_get", {room, n(104)}},
    {"wifi_nvram_calibrate_set", {n(0), n(1), n(2), n(0), n(1), n(2442), t("20")}},
    {"wifi_get_upc_code", {room, room, room}},
    {"wifi_set_powermode", {n(1), n(-3)}},
    {"wifi_set_tas_ant_mode", {n(2)}, "wifi_set_tas_ant_switch"},
    {"wifi_start_roam", {t("02:00:5E:00:00:09")}},
    {"wifi_start_roam_scan", {}},
    {"wifi_set_bss_expire_age", {n(180)}},
    {"wifi_conn_info", {room, room, room}},
    {"wifi_power_set_range", {room, room}},
    {"wifi_selcal_disable_set", {n(-1)}},
    {"wifi_ru_set", {n(2), t("1a3")}},
    {"wifi_nvram_calibrate_clean_new", {room}},
    {"wifi_test_broadcast_loop", {n(-4)}},
};

/// A call with 64 bits for each argument, so that a test decides what the upper halves hold.
uint32_t call(void *address, const std::vector<uint64_t> &a) {
  const auto at = [&](size_t i) { return i < a.size() ? a[i] : 0; };
  using seven = uint32_t(uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t, uint64_t);
  return reinterpret_cast<seven *>(address)(at(0), at(1), at(2), at(3), at(4), at(5), at(6));
}

class Dispatch : public ChipTest {
protected:
  std::string own_name(const operation &one) const {
    return chip() + "_" + (one.back_end != nullptr ? one.back_end : one.name);
  }
  wifi_func_t get(uint32_t id) { return PUBLIC(wifi_get_func)(id); }

  void restart() {
    ChipTest::TearDown();
    ChipTest::SetUp();
  }

  /// Calls on a fresh phone and a fresh library: result, room and transcript in one text.
  std::string outcome_of(const std::string &name, const operation &one, uint64_t rubbish) {
    restart();
    std::vector<std::vector<char>> rooms(one.arguments.size(), std::vector<char>(4096, 1));
    std::vector<uint64_t> values;
    for (size_t i = 0; i < one.arguments.size(); i++) {
      const argument &a = one.arguments[i];
      if (a.kind == argument::NUMBER) values.push_back(static_cast<uint32_t>(a.number) | rubbish << 32);
      if (a.kind == argument::TEXT) values.push_back(reinterpret_cast<uintptr_t>(a.text));
      if (a.kind == argument::ROOM) values.push_back(reinterpret_cast<uintptr_t>(rooms[i].data()));
    }
    std::string text = std::to_string(call(symbol(name), values)) + "\n" + transcript();
    for (const std::vector<char> &bytes : rooms) text.append(bytes.data(), bytes.size());
    return text + std::to_string(call(symbol("wifi_query_setting"), {11}));
  }
};

TEST_P(Dispatch, EachIdGivesTheChipsOwnFunctionOrNone) {
  for (uint32_t id = 0; id < 256; id++) {
    SCOPED_TRACE(id);
    const bool there = id < operations.size() && has_symbol(own_name(operations[id]));
    const auto wanted = there ? reinterpret_cast<wifi_func_t>(symbol(own_name(operations[id]))) : nullptr;
    EXPECT_EQ(get(id), wanted);
    EXPECT_EQ(get(id + 0x4200), wanted) << "only the low byte counts";
  }
  EXPECT_EQ(transcript(), "");
}

TEST_P(Dispatch, EachWrapperPassesArgumentsAndResultOn) {
  for (const operation &one : operations) {
    if (!has_symbol(own_name(one))) continue;
    SCOPED_TRACE(one.name);
    const std::string direct = outcome_of(own_name(one), one, 0);
    EXPECT_EQ(outcome_of(one.name, one, 0), direct);
    EXPECT_EQ(outcome_of(one.name, one, 0xDEADBEEF), direct)
        << "upper halves of arguments are not the callee's";
    EXPECT_EQ(outcome_of(own_name(one), one, 0x00000001), direct)
        << "upper halves of arguments are not the callee's";
  }
}

TEST_P(Dispatch, AnUnknownChipHasNoOperation) {
  for (const uint32_t index : {uint32_t{ORVA_SUBCHIPS}, 255U, 256U, 0xFFFFFFFFU}) {
    set("subchip", std::to_string(index));
    forget();
    for (uint32_t id = 0; id < 256; id++) EXPECT_EQ(get(id), nullptr);
    EXPECT_EQ(PUBLIC(wifi_set_power)(155), 0U);
    EXPECT_EQ(PUBLIC(wifi_test_broadcast_loop)(0), 1U) << "success without action";
    expect_contacts("log 6 [WIFI_ORVA_FAC_TEST] \"wifi_set_power::funcname is null.\\n\"\n");
  }
}

/// A phone's answer may change between calls; nothing is remembered.
TEST_P(Dispatch, TheChipIsAskedForOnEveryCall) {
  PUBLIC(wifi_set_rate)(1);
  set("subchip", is(chip_names[1]) ? "0" : "1");
  PUBLIC(wifi_set_rate)(2);
  std::vector<std::string> tags;
  int asked = 0;
  for (size_t i = 0; i < phone_event_count(); i++) {
    asked += phone_event(i)->kind == PHONE_SUBCHIP;
    if (phone_event(i)->kind == PHONE_LOG) tags.emplace_back(phone_event(i)->name);
  }
  EXPECT_EQ(asked, 2);
  ASSERT_EQ(tags.size(), 2U);
  EXPECT_NE(tags[0], tags[1]);
}

INSTANTIATE_TEST_SUITE_P(Chips, Dispatch, ALL_CHIPS, name_of_case);

}  // namespace
