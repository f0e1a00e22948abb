// SPDX-License-Identifier: Apache-2.0
// Walks every row of every constant table: a missing text, a double or absent id or a value out of range
// fails here, before any behaviour does. Linked with the library's objects, so that tables and test state can
// be looked at.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <set>
#include <string>

#include "common/catalogue.h"
#include "common/channel.h"
#include "common/driver.h"
#include "common/receive.h"
#include "common/settings.h"
#include "common/start_steps.h"
#include "common/testmode.h"
#include "common/transmit.h"
#include "tests/support/chips.h"
#include "tests/support/profiles.h"
#include "virtual_phone/phone.h"
#include "virtual_phone/radio_commands.h"

namespace orva {

namespace {

/// Rows that no exported function leads to are written out here, since no behaviour shows them.
struct table_case {
  const chip *profile;
  std::set<uint32_t> values;                   // commands that the value sender accepts
  std::vector<std::pair<int, int>> mode_rows;  // driver mode, AT mode
  int unknown_command;                         // line number
  std::vector<orva::driver_param> numbers;     // of the driver's parameters
};

const std::vector<std::pair<int, int>> older_modes = {{0, 1}, {1, 2}, {2, 6}, {3, 0}, {4, 3}, {5, 6},
                                                      {6, 5}, {7, 4}, {8, 6}, {9, 6}, {12, 6}};
const std::vector<std::pair<int, int>> newest_modes = {{0, 1},  {1, 2},  {2, 7}, {3, 0}, {4, 3},
                                                       {5, 7},  {6, 5},  {7, 4}, {8, 7}, {9, 7},
                                                       {10, 7}, {12, 6}, {14, 7}};
const std::set<uint32_t> newer_values = {0, 1, 2, 3, 4, 5, 8, 11, 21, 27, 32, 34, 35, 37};
const std::vector<driver_param> newer_numbers = {
    {"pa2gccka0", 0}, {"pa2ga0", 1},   {"pa2g40a0", 2}, {"pa5ga0", 3},    {"pa2gccka1", 4},
    {"pa2ga1", 5},    {"pa2g40a1", 6}, {"pa5ga1", 7},   {"pa5glowa0", 8}, {"pa5glowa1", 9}};
const std::vector<driver_param> own_numbers = {{"null", 0},       {"pa2gccka0", 1}, {"pa2ga0", 2},
                                               {"pa2g40a0", 3},   {"pa5ga0", 4},    {"null", 6},
                                               {"null", 7},       {"null", 8},      {"pa5ga0_band1", 8},
                                               {"pa2gcwa0", 9},   {"pa5glowa0", 5}, {"pa5glowa0_band1", 10},
                                               {"ppa2gcwa0", 11}, {"null", 12}};
const table_case cases[] = {
    {&vq2040, {0, 1, 2, 3, 4, 5, 8, 11, 21, 25, 26}, older_modes, 282, {}},
    {&vq2050, newer_values, older_modes, 521, newer_numbers},
    {&vq2040a, {0, 1, 2, 3, 4, 5, 8, 10, 11, 12, 20, 25, 30, 32}, older_modes, 385, own_numbers},
    {&vq2070, newer_values, newest_modes, 633, newer_numbers},
};

std::ostream &operator<<(std::ostream &out, const table_case &one) { return out << one.profile->name; }

std::vector<int32_t> numbers_of(const test_state &s) {
  return {s.status, s.mode,    s.mode_driver, s.channel_mhz, s.freq, s.rate,     s.bandwidth,
          s.power,  s.antenna, s.chain,       s.tx,          s.rx,   s.mem_time, s.chipcheck_result};
}

/// Taken before any test changes it.
const std::vector<std::vector<int32_t>> states_at_load = [] {
  std::vector<std::vector<int32_t>> all;
  for (const chip *each : profiles) all.push_back(numbers_of(each->state));
  return all;
}();

bool is_text(const char *text) { return text != nullptr && *text != '\0'; }

/// A message takes at most one value.
void expect_message(const char *text) {
  ASSERT_TRUE(is_text(text));
  const char *first = strchr(text, '%');
  if (first != nullptr) { EXPECT_EQ(strchr(first + 1, '%'), nullptr) << text; }
}

class Tables : public ::testing::TestWithParam<table_case> {
protected:
  void SetUp() override { phone_reset(); }
  const chip &profile() const { return *GetParam().profile; }
  /// The sub-chip index.
  uint32_t index() const {
    return static_cast<uint32_t>(std::find(profiles, profiles + ORVA_SUBCHIPS, &profile()) - profiles);
  }
};

TEST_P(Tables, EachMessageTakesOneValue) {
  EXPECT_NE(profile().channel_of, nullptr);
  for (const char *text :
       {profile().mode.unknown, profile().die_id.boots_as, profile().utilities.roam_format_error,
        profile().utilities.conn_info_copy_failure, profile().utilities.powermode_logged_as}) {
    expect_message(text);
  }
}

TEST_P(Tables, CommandIdsAreInRangeAndOnlyOnce) {
  const auto &c = profile().command;
  std::set<int> seen;
  for (int id : {c.pmu_check, c.wakeup_io, c.pcie, c.conn_info, c.dyn_interval, c.selfcali_interval,
                 c.power_test, c.tas_antenna, c.bss_expire_age, c.calibration_query}) {
    if (id == NO_COMMAND) continue;
    EXPECT_TRUE(id >= 26 && id <= 38) << id << ": the ids below mean the same on every chip";
    EXPECT_TRUE(seen.insert(id).second) << id << " has two meanings";
  }
  for (int id : {c.power_test, c.bss_expire_age}) {
    if (id != NO_COMMAND) { EXPECT_TRUE(GetParam().values.contains(static_cast<uint32_t>(id))) << id; }
  }
}

TEST_P(Tables, WhatAChipHasNotIsAbsentEverywhere) {
  const chip &p = profile();
  const auto agree = [](bool there, const probe_lines &lines) {
    EXPECT_EQ(there, lines.fail != 0);
    if (there) { EXPECT_EQ(lines.pass, lines.fail + 4) << "the two messages are four lines apart"; }
  };
  agree(p.command.pmu_check != NO_COMMAND, p.probe.pmu);
  agree(p.command.wakeup_io != NO_COMMAND, p.probe.wakeup_io);
  agree(p.command.pcie != NO_COMMAND, p.probe.pcie);
  agree(radio_command_id(index(), "pin_test") >= 0, p.probe.pin);
  EXPECT_EQ(p.command.selfcali_interval != NO_COMMAND, p.state.selcal_disable_switch != nullptr);
  EXPECT_EQ(p.command.selfcali_interval != NO_COMMAND, p.testmode.sets_selfcali_interval);
  EXPECT_EQ(p.utilities.selcal_logged_as != nullptr, p.state.selcal_disable_switch != nullptr);
  EXPECT_EQ(p.command.calibration_query != NO_COMMAND, p.calibration != nullptr);
  EXPECT_TRUE(!p.testmode.sets_dyn_interval || p.command.dyn_interval != NO_COMMAND);
}

/// Also what no exported function shows.
TEST_P(Tables, StateAtLoad) {
  const int32_t mem_time = &profile() == &vq2040 ? 255 : 10;
  EXPECT_EQ(states_at_load[index()],
            (std::vector<int32_t>{0, 0, 0, 0, 0, 0, -1, POWER_NOT_SET, -1, 0, 0, 0, mem_time, 0}));
}

// ---- The value sender's set -------------------------------------------------------------------------

TEST_P(Tables, ValueCommandRows) {
  uint32_t last = 0;
  for (const value_command &row : profile().value_commands) {
    EXPECT_TRUE(&row == profile().value_commands.begin() || row.id > last)
        << row.id << " is out of order or double";
    last = row.id;
    uint8_t data[256] = {};
    EXPECT_TRUE(GetParam().values.contains(row.id)) << row.id;
    ASSERT_NE(row.set, nullptr) << row.id;
    row.set(data, 0x87654321);
    const bool half = radio_chip_command(index(), row.id) == RADIO_CMD_BUS_MODE;  // 16 bits
    const uint8_t expected[4] = {0x21, 0x43, static_cast<uint8_t>(half ? 0 : 0x65),
                                 static_cast<uint8_t>(half ? 0 : 0x87)};
    EXPECT_EQ(memcmp(data, expected, 4), 0) << row.id;
    for (size_t i = 4; i < sizeof data; i++) ASSERT_EQ(data[i], 0) << row.id;
  }
}

TEST_P(Tables, OnlyListedCommandsReachTheDriver) {
  for (uint32_t id = 0; id < 300; id++) {
    phone_events_clear();
    wl_config_sockets_send(profile(), id, 1);
    std::vector<phone_event_kind> kinds;
    std::string logged;
    for (size_t i = 0; i < phone_event_count(); i++) {
      kinds.push_back(phone_event(i)->kind);
      if (logged.empty() && kinds.back() == PHONE_LOG) logged = phone_event(i)->text;
    }
    ASSERT_GE(kinds.size(), 4U);
    const bool accepted = GetParam().values.contains(id);
    EXPECT_EQ(kinds[1], accepted ? PHONE_IOCTL : PHONE_LOG) << id;
    if (accepted) continue;
    EXPECT_EQ(kinds, (std::vector{PHONE_SOCKET, PHONE_LOG, PHONE_CLOSE, PHONE_SLEEP})) << id;
    EXPECT_EQ(logged, std::string("wl_config_test:") + profile().name + "_wl_config_enabled_set[" +
                          std::to_string(GetParam().unknown_command) + "]:unknow ioctl cmd[" +
                          std::to_string(id) + "] for enabled set \n");
  }
}

// ---- Modes and steps --------------------------------------------------------------------------------

TEST_P(Tables, ModeRows) {
  std::vector<std::pair<int, int>> rows;
  for (const at_mode &row : profile().mode.at_modes) {
    rows.emplace_back(static_cast<int>(row.driver_mode), static_cast<int>(row.at_mode));
  }
  EXPECT_EQ(rows, GetParam().mode_rows);
}

TEST_P(Tables, ExchangedModesAndRates) {
  std::set<int> from, to;
  for (const mode_remap &row : profile().mode.remaps) {
    EXPECT_TRUE(from.insert(row.mode).second) << +row.mode;
    EXPECT_TRUE(to.insert(row.below_2484_mhz).second) << +row.below_2484_mhz;
    EXPECT_LT(row.below_2484_mhz, 16);
  }
  for (int mode : to) EXPECT_FALSE(from.contains(mode)) << mode << " would be exchanged twice";
  std::set<int> rates;
  for (const rate_code &row : profile().tx.rate_codes) {
    EXPECT_TRUE(rates.insert(row.rate).second) << row.rate;
    EXPECT_TRUE(row.rate > 0 && row.code >= 0 && row.code < 100) << row.rate;
  }
}

TEST_P(Tables, StepsAreThereOnceWithTheirMessage) {
  for (const auto *steps : {&profile().tx.steps, &profile().rx.steps}) {
    const bool transmit = steps == &profile().tx.steps;
    std::set<const start_step *> seen;
    EXPECT_GE(steps->count, 4U);
    for (const start_step *step : *steps) {
      ASSERT_NE(step, nullptr);
      EXPECT_TRUE(seen.insert(step).second) << step->failure;
      EXPECT_NE(step->run, nullptr);
      expect_message(step->failure);
      const std::string text = step->failure;
      EXPECT_EQ(text.back(), '\n') << text;
      const bool has_result = text.find("[%d]") != text.npos, of_chain = text.find("mimo") != text.npos;
      EXPECT_EQ(has_result, transmit || of_chain) << text;
    }
    ASSERT_NE(steps->rows[0]->run, nullptr);
    EXPECT_EQ(steps->rows[0]->run, send_power_save_off);
  }
}

TEST_P(Tables, WeldSteps) {
  EXPECT_GE(profile().weld_steps.count, 4U);
  for (const weld_step *step : profile().weld_steps) {
    ASSERT_NE(step, nullptr);
    EXPECT_NE(step->run, nullptr);
    if (step->failure != nullptr) expect_message(step->failure);
  }
}

// ---- Calibration ------------------------------------------------------------------------------------

void expect_catalogue(const calibration &c, const list<cal_row> &rows, std::set<std::string> &params) {
  for (const cal_row &row : rows) {
    ASSERT_TRUE(is_text(row.param) && is_text(row.item.name));
    EXPECT_TRUE(params.insert(row.param).second) << row.param << " is listed twice";
    EXPECT_TRUE(row.chain <= (c.has_chains ? 1U : 0U)) << row.param;
    EXPECT_TRUE(row.mode == 0 || row.mode == 2) << row.param;
    EXPECT_TRUE(row.band <= 1 && row.bandwidth <= 3 && row.bandwidth != 2) << row.param;
    const std::string name = row.param;
    EXPECT_EQ(row.mode == 2, name.find("cck") != name.npos) << name;
    EXPECT_EQ(row.bandwidth == 1, name.find("40") != name.npos) << name;
    EXPECT_EQ(row.bandwidth == 3, name.find("160") != name.npos) << name;
    EXPECT_EQ(row.band == 1, name.find("5g") != name.npos || name.starts_with("dpn")) << name;
    EXPECT_EQ(name.back(), static_cast<char>('0' + row.chain)) << "the last digit is the chain's";
    bool stored = false;
    for (const nv_item &item : c.items) {
      stored |= item.number == row.item.number && strcmp(item.name, row.item.name) == 0;
    }
    EXPECT_TRUE(stored) << row.param << " is in item " << row.item.number << ", which is not among the items";
  }
}

TEST_P(Tables, Catalogue) {
  if (profile().calibration == nullptr) return;
  const calibration &c = *profile().calibration;
  std::set<std::string> params, names;
  expect_catalogue(c, c.per_channel, params);
  expect_catalogue(c, c.power, params);
  uint32_t last = 0;
  for (const nv_item &item : c.items) {
    EXPECT_TRUE(item.number > last && item.number >= 340 && item.number <= 401) << item.number;
    last = item.number;
    ASSERT_TRUE(is_text(item.name));
    EXPECT_TRUE(names.insert(item.name).second) << item.name << " names two items";
  }
  const std::vector<driver_param> &numbers = GetParam().numbers;
  EXPECT_TRUE(std::equal(c.driver_params.begin(), c.driver_params.end(), numbers.begin(), numbers.end(),
                         [](const driver_param &one, const driver_param &other) {
                           return strcmp(one.name, other.name) == 0 && one.number == other.number;
                         }));
  for (const cal_row &row : c.power) {
    const auto asked_for = [&](const driver_param &listed) { return strcmp(listed.name, row.param) == 0; };
    EXPECT_TRUE(row.bandwidth == 3 || std::any_of(numbers.begin(), numbers.end(), asked_for))
        << row.param << " cannot be asked for";
  }
  EXPECT_NE(c.param_number, nullptr);
  expect_message(c.answer_copy_failure);
  EXPECT_GE(c.largest_error, 0.0F);
}

INSTANTIATE_TEST_SUITE_P(Chips, Tables, ::testing::ValuesIn(cases),
                         [](const auto &one) { return std::string(one.param.profile->name); });

// ---- What the chips share ---------------------------------------------------------------------------

/// chips/chips.txt, from which the lists here are made, is in the order of the sub-chip index.
TEST(SharedTables, TheListOfChipsIsInSubChipOrder) {
  ASSERT_EQ(std::size(chip_names), RADIO_CHIPS) << "chips/chips.txt and virtual_phone/radio_chips.h disagree";
  for (uint32_t i = 0; i < ORVA_SUBCHIPS; i++) {
    EXPECT_STREQ(chip_names[i], radio_chip_name(i)) << "sub-chip " << i;
    EXPECT_STREQ(chip_names[i], profiles[i]->name) << "the name in chips/" << chip_names[i] << "/profile.cpp";
  }
}

TEST(SharedTables, EveryChipIsWrittenOutHere) {
  for (size_t i = 0; i < ORVA_SUBCHIPS; i++) {
    ASSERT_LT(i, std::size(cases)) << "tables_test.cpp has no row for " << chip_names[i];
    EXPECT_EQ(cases[i].profile, profiles[i]) << "tables_test.cpp: row " << i << " is not " << chip_names[i];
  }
  EXPECT_EQ(std::size(cases), ORVA_SUBCHIPS);
}

TEST(SharedTables, LineNumbersAreUsedOnce) {
  std::set<int> seen;
  for (const table_case &one : cases) {
    const auto &l = one.profile->line;
    int last = 0;
    for (int line :
         {l.socket_failed, l.second_socket_failed, l.ioctl_fail, l.retry_fail, l.unknown_command}) {
      EXPECT_GT(line, last) << one.profile->name;
      last = line;
      EXPECT_TRUE(seen.insert(line).second) << line << " is on two chips";
    }
    EXPECT_EQ(l.second_socket_failed - l.socket_failed, 7) << one.profile->name;
    EXPECT_EQ(l.retry_fail - l.ioctl_fail, 4) << one.profile->name;
  }
}

TEST(SharedTables, NoChipWritesAnothersState) {
  std::map<const void *, const char *> owners;
  for (const table_case &one : cases) {
    const test_state &s = one.profile->state;
    for (const void *variable :
         {static_cast<const void *>(&s.status), static_cast<const void *>(&s.mode),
          static_cast<const void *>(&s.mode_driver), static_cast<const void *>(&s.channel_mhz),
          static_cast<const void *>(&s.freq), static_cast<const void *>(&s.rate),
          static_cast<const void *>(&s.bandwidth), static_cast<const void *>(&s.power),
          static_cast<const void *>(&s.antenna), static_cast<const void *>(&s.chain),
          static_cast<const void *>(&s.tx), static_cast<const void *>(&s.rx),
          static_cast<const void *>(&s.mem_time), static_cast<const void *>(&s.chipcheck_result),
          static_cast<const void *>(s.running_test), static_cast<const void *>(s.selcal_disable_switch)}) {
      if (variable == nullptr) continue;
      EXPECT_TRUE(owners.emplace(variable, one.profile->name).second)
          << one.profile->name << " and " << owners[variable];
    }
  }
}

TEST(SharedTables, ChannelRows) {
  std::set<std::pair<uint32_t, uint32_t>> keys;
  for (const freq_bw &row : g_ast_freq_bw) {
    EXPECT_TRUE(keys.emplace(row.is_5g, row.bandwidth).second);
    EXPECT_TRUE(row.is_5g <= 1 && row.bandwidth <= 3 && row.offset <= 0 && row.offset >= -14);
    EXPECT_EQ(row.step_mhz, 5U);
    EXPECT_LT(row.first_mhz, row.end_mhz);
    EXPECT_EQ((row.end_mhz - row.first_mhz) % row.step_mhz, 0U);
  }
  EXPECT_EQ(keys, (std::set<std::pair<uint32_t, uint32_t>>{{0, 0}, {0, 1}, {1, 0}, {1, 1}, {1, 2}, {1, 3}}));
}

TEST(SharedTables, DispatchRows) {
  std::set<wifi_func_t> seen;
  for (uint32_t id = 0; id <= OPERATIONS; id++) {
    EXPECT_EQ(g_func[id].op_id, id);
    int served = 0;
    for (wifi_func_t function : g_func[id].func) {
      if (function == nullptr) continue;
      served++;
      EXPECT_TRUE(seen.insert(function).second) << "row " << id << " holds another row's function";
    }
    EXPECT_EQ(served == 0, id == OPERATIONS) << "row " << id;
  }
}

}  // namespace
}  // namespace orva
