// SPDX-License-Identifier: Apache-2.0
// Reading all calibration and clearing it by scope: exactly which items go, in which order, what the log
// says, and what is left when any one NV call fails.
#include "tests/support/calibration_fixture.h"

#include <algorithm>
#include <cstring>

namespace {

/// What a clean must do, step by step, on a store of its own; the n-th NV call fails.
class clean_model {
public:
  clean_model(bool is_vq2050, const store_t &store, unsigned failing)
      : store_(store), vq2050_(is_vq2050), failing_(failing) {}

  /// Empties items; fewer than `enough` successes is told, on request after each write.
  void empty(const lines_t &items, unsigned enough, bool told_each_time, const std::string &message) {
    unsigned done = 0;
    for (size_t i = 0; i < items.size(); i++) {
      done += write(items[i], "");
      if (done < enough && (told_each_time || i + 1 == items.size())) say(message);
    }
  }

  /// Clears an item except for one parameter.
  void keep(const std::string &item, const std::string &param) {
    const std::string text = read(item);
    if (write(item, "")) {
      say(std::string("log 4 $_") + (vq2050_ ? "write_nvpattern_to_nv" : "get_nvbuf_by_name") +
          " ,nvram_cal_data=\\n");
    }
    const std::string kept = entries(text, param + "=");
    if (vq2050_) {
      keep_as_vq2050(item, text, kept);
    } else {
      if (!kept.empty()) {
        say("log 3 $_fill_nvbuf_by_pattern: var_output is " + kept + " ");
        say("log 3 $_get_nvbuf_by_name: var_output is " + kept + ", Varptr is ~");
      }
      write_back(item, kept);
    }
  }

  const store_t &store() const { return store_; }
  const lines_t &lines() const { return lines_; }
  unsigned calls() const { return calls_; }

private:
  void say(const std::string &line) { lines_.push_back(line); }
  bool call_fails() { return ++calls_ == failing_; }

  std::string read(const std::string &item) {
    const bool fails = call_fails();
    say("read " + item + (fails ? "!" : ""));
    if (fails)
      say("log 6 $_read_wifi_nvram_param_from_nv get " + item.substr(4) + " fail, nv_num is " +
          item.substr(0, 3) + ", ret: -1");
    return fails || store_.count(item) == 0 ? "" : store_.at(item);
  }
  bool write(const std::string &item, const std::string &text) {
    const bool fails = call_fails();
    say("write " + item + (fails ? "! " : " ") + text);
    if (fails) return false;
    store_.erase(item);
    if (!text.empty()) store_[item] = text;
    return true;
  }
  void write_back(const std::string &item, const std::string &text) {
    if (!write(item, text)) say("log 6 $_write_nvpattern_to_nv::write nv fail\\n");
  }
  void keep_as_vq2050(const std::string &item, const std::string &text, const std::string &kept) {
    if (text.empty())
      return say("log 4 $_write_nvpattern_to_nv::not find nv_data to write back, data_len is 0");
    if (kept.empty()) return say("log 4 $_write_nvpattern_to_nv::not find nv_data to write back");
    say("log 4 $_write_nvpattern_to_nv ,nvram_cal_data=" + kept + "\\n");
    write_back(item, kept);
  }
  /// The entries that begin so: on vq2050 all of them, else the first.
  std::string entries(const std::string &text, const std::string &beginning) const {
    std::string found;
    size_t start = 0;
    for (size_t end = text.find(';'); end != std::string::npos;
         start = end + 1, end = text.find(';', start)) {
      if (text.compare(start, beginning.size(), beginning) != 0) continue;
      found += text.substr(start, end + 1 - start);
      if (!vq2050_) break;
    }
    return found;
  }

  store_t store_;
  lines_t lines_;
  bool vq2050_;
  unsigned failing_, calls_ = 0;
};

enum part { low_0, high_0, low_1, high_1 };  // 2.4 and 5 GHz of the chains, in the order of the flags

class CalibrationClean : public CalibrationTest {
protected:
  /// Every item in use, items that two parts share among them.
  store_t full_store() const {
    store_t store = {{"340 WINVRAM", "block"}, {"363 NV_UNUSED", "unused=1;"}};
    for (const cal_row &row : catalogue())
      store[row.item] += row.param + "=1," + std::to_string(row.map_id) + ";";
    if (!is(vq2040a_case)) store["387 WIC0_5G160M"] = "other=1;";  // the number under the other chain's name
    if (is(vq2040a_case)) store["385 WIC0_5G160M"] = "wide=1;";
    return store;
  }
  /// Shared items with duplicates, look-alikes, gaps and texts without an end.
  static store_t odd_store() {
    return {{"340 WIC0_2G5G_OFDM", "pa2ga0=1;pa5ga0=2;;pa5ga0=3;pa5ga0_b=4;"},
            {"367 WITXCCK", "pa2gccka0x=1;pa2gccka10=2;pa2gccka1=3"},
            {"368 WIC1_2G5G_OFDM", "pa5ga1"},
            {"369 WIC0_5GLOW", std::string(103, 'x')}};
  }

  clean_model start(const store_t &store, unsigned failing) const {
    return clean_model(is(vq2050_case), store, failing);
  }
  void empty(clean_model &model, const lines_t &items, unsigned enough, bool told_each_time = false) const {
    model.empty(items, enough, told_each_time,
                is(vq2040a_case)
                    ? "log 6 $_wifi_nvram_calibrate_clean, clean wifi nvram calibrate data has error\\n"
                    : "log 6 $_clean_all_nvparam::one or more nv clean fail!\\n");
  }
  void all(clean_model &model) const { empty(model, items(), is(vq2040a_case) ? 9 : 15); }

  void clean_part(clean_model &model, part which) const {
    switch (which) {
    case low_0:
      empty(model,
            {"363 NV_UNUSED", "384 WIC0_2G40M", "396 WIC0_2GMU_OFDM", "398 WIC0_2GMF40M", "400 WIC0_MUCCK"},
            4);
      model.keep("340 WIC0_2G5G_OFDM", "pa5ga0");
      return model.keep("367 WITXCCK", "pa2gccka1");
    case low_1:
      empty(model,
            {"363 NV_UNUSED", "385 WIC1_2G40M", "397 WIC1_2GMU_OFDM", "399 WIC1_2GMF40M", "401 WIC1_MUCCK"},
            4);
      model.keep("368 WIC1_2G5G_OFDM", "pa5ga1");
      return model.keep("367 WITXCCK", "pa2gccka0");
    case high_0:
      model.keep("340 WIC0_2G5G_OFDM", "pa2ga0");
      return empty(model, {"363 NV_UNUSED", "369 WIC0_5GLOW", "386 WIC0_5G160M"}, 2);
    case high_1:
      model.keep("368 WIC1_2G5G_OFDM", "pa2ga1");
      return empty(model, {"363 NV_UNUSED", "370 WIC1_5GLOW", "387 WIC1_5G160M"}, 2);
    }
  }
  void clean_as_vq2050(clean_model &model, int scope) const {
    switch (scope) {
    case 2:
      empty(model,
            {"340 WIC0_2G5G_OFDM", "363 NV_UNUSED", "369 WIC0_5GLOW", "384 WIC0_2G40M", "386 WIC0_5G160M",
             "396 WIC0_2GMU_OFDM", "398 WIC0_2GMF40M", "400 WIC0_MUCCK"},
            7, true);
      return model.keep("367 WITXCCK", "pa2gccka1");
    case 3:
      empty(model,
            {"363 NV_UNUSED", "368 WIC1_2G5G_OFDM", "370 WIC1_5GLOW", "385 WIC1_2G40M", "387 WIC0_5G160M",
             "397 WIC1_2GMU_OFDM", "399 WIC1_2GMF40M", "401 WIC1_MUCCK"},
            7, true);
      return model.keep("367 WITXCCK", "pa2gccka0");
    case 4:
      empty(model,
            {"363 NV_UNUSED", "367 WITXCCK", "384 WIC0_2G40M", "385 WIC1_2G40M", "396 WIC0_2GMU_OFDM",
             "397 WIC1_2GMU_OFDM", "398 WIC0_2GMF40M", "399 WIC1_2GMF40M", "400 WIC0_MUCCK",
             "401 WIC1_MUCCK"},
            9, true);
      model.keep("340 WIC0_2G5G_OFDM", "pa5ga0");
      return model.keep("368 WIC1_2G5G_OFDM", "pa5ga1");
    case 5:
      empty(model,
            {"363 NV_UNUSED", "369 WIC0_5GLOW", "370 WIC1_5GLOW", "386 WIC0_5G160M", "387 WIC1_5G160M"}, 4,
            true);
      model.keep("340 WIC0_2G5G_OFDM", "pa2ga0");
      return model.keep("368 WIC1_2G5G_OFDM", "pa2ga1");
    default: return;
    }
  }
  void clean_scope(clean_model &model, int scope) const {
    static const std::map<int, std::vector<part>> parts = {
        {2, {low_0, high_0}}, {3, {low_1, high_1}}, {4, {low_0, low_1}}, {5, {high_0, high_1}}};
    if (scope == 1) return all(model);
    if (is(vq2040a_case)) return;
    if (is(vq2050_case)) return clean_as_vq2050(model, scope);
    for (const part which : parts.at(scope)) clean_part(model, which);
  }

  /// Runs a clean once with everything good and once with each of its NV calls failing.
  template <typename Model, typename Run>
  void sweep(const store_t &store, const lines_t &first_lines, const Model &expect, const Run &run) {
    unsigned calls = 0;
    for (unsigned failing = 0; failing <= calls; failing++) {
      SCOPED_TRACE("NV call " + std::to_string(failing) + " fails");
      clean_model model = start(store, failing);
      expect(model);
      calls = std::max(calls, model.calls());
      put(store);
      forget();
      if (failing > 0) fail("kevoOperaNVWR", failing);
      run();
      lines_t lines = first_lines;
      lines.insert(lines.end(), model.lines().begin(), model.lines().end());
      expect_transcript(lines);
      EXPECT_EQ(stored(), model.store());
      if (HasFailure()) return;
    }
  }
};
INSTANTIATE_TEST_SUITE_P(Chips, CalibrationClean, TEXT_CHIPS, name_of_case);

TEST_P(CalibrationClean, EachScopeWithEachNvCallFailing) {
  for (const store_t &store : {full_store(), odd_store(), store_t{}}) {
    for (int scope = 1; scope <= 5; scope++) {
      SCOPED_TRACE("scope " + std::to_string(scope));
      sweep(
          store, {}, [&](clean_model &model) { clean_scope(model, scope); },
          [&] { EXPECT_EQ(PUBLIC(wifi_nvram_calibrate_clean)(scope), 1U); });
    }
  }
}

// What survives, spelt out once: the keepers of the clean by flags meet the items that two parts share.
TEST_P(CalibrationClean, SurvivorsOfAFullStore) {
  const bool one_chain = is(vq2040a_case);
  const std::map<int, lines_t> gone_by_name = {
      {2,
       {"mf2ga0", "mf2gccka0", "mf2g40a0", "pa2ga0", "pa2gccka0", "pa2g40a0", "pa5ga0", "pa5glowa0",
        "dpn160c0"}},
      {3,
       {"mf2ga1", "mf2gccka1", "mf2g40a1", "pa2ga1", "pa2gccka1", "pa2g40a1", "pa5ga1", "pa5glowa1",
        "dpn160c1"}},
      {4,
       {"mf2ga0", "mf2gccka0", "mf2g40a0", "pa2ga0", "pa2gccka0", "pa2g40a0", "mf2ga1", "mf2gccka1",
        "mf2g40a1", "pa2ga1", "pa2gccka1", "pa2g40a1"}},
      {5, {"pa5ga0", "pa5glowa0", "dpn160c0", "pa5ga1", "pa5glowa1", "dpn160c1"}}};
  for (const auto &[scope, names] : gone_by_name) {
    put(full_store());
    PUBLIC(wifi_nvram_calibrate_clean)(scope);
    std::string left;
    for (const auto &[item, text] : stored()) left += text;
    for (const cal_row &row : catalogue()) {
      bool gone = !one_chain && std::find(names.begin(), names.end(), row.param) != names.end();
      if (is(vq2050_case) && scope == 3 && row.param == "dpn160c1")
        gone = false;  // cleared under the wrong name
      EXPECT_EQ(left.find(row.param + "=") == std::string::npos, gone) << scope << " " << row.param;
    }
    EXPECT_EQ(stored("363 NV_UNUSED").empty(), !one_chain) << scope;
    EXPECT_EQ(stored("340 WINVRAM"), "block");
  }
}

TEST_P(CalibrationClean, OtherScopesTouchNothing) {
  put(full_store());
  forget();
  for (const int scope : {0, 6, -1, 257}) {
    EXPECT_EQ(PUBLIC(wifi_nvram_calibrate_clean)(scope), 1U);
    const std::string code = std::to_string(scope);
    if (!is(vq2040a_case)) {
      EXPECT_TRUE(happened("log 6 $_wifi_nvram_calibrate_clean::wrong input param[" + code + "]~"));
    }
  }
  EXPECT_EQ(phone_uses("kevoOperaNVWR"), 0U);
}

TEST_P(CalibrationClean, ReadsAllItemsWithinTheToldRoom) {
  store_t stores[] = {full_store(), {}, {}};
  for (const std::string &item : items())
    stores[1][item] = item.substr(4) + std::string(104 - item.size() + 2, '=') + ";";
  for (const store_t &store : stores) {
    put(store);
    for (const size_t size : std::initializer_list<size_t>{0, 1, 2, 50, 103, 104, 128}) {
      const size_t room = items().size() * size;
      std::string expected;
      for (const std::string &item : items())
        expected += size == 0 || store.count(item) == 0 ? "" : store.at(item).substr(0, size - 1);
      std::vector<char> out(room + 64, '#');
      EXPECT_EQ(PUBLIC(wifi_nvram_calibrate_get)(out.data(), static_cast<int32_t>(size)), 1U);
      if (size > 0) { EXPECT_EQ(std::string(out.data(), strnlen(out.data(), room)), expected) << size; }
      EXPECT_EQ(std::string(out.data() + room, 64), std::string(64, '#')) << size;
    }
  }
}

TEST_P(CalibrationClean, ReadsOnWhereAnItemFails) {
  store_t store = full_store();
  store.erase("384 WIC0_2G40M");  // an empty one is no failure
  const lines_t all_items = items();
  for (size_t failing = 0; failing <= all_items.size(); failing++) {
    put(store);
    forget();
    if (failing > 0) fail("kevoOperaNVWR", static_cast<unsigned>(failing), 1, 3);
    std::string expected;
    lines_t lines;
    for (size_t i = 0; i < all_items.size(); i++) {
      const std::string &item = all_items[i], number = item.substr(0, 3);
      const bool fails = i + 1 == failing;
      if (!fails && store.count(item) != 0) expected += store.at(item);
      lines.push_back("read " + item + (fails ? "!" : ""));
      if (!fails) continue;
      lines.push_back("log 6 $_read_wifi_nvram_param_from_nv get " + item.substr(4) + " fail, nv_num is " +
                      number + ", ret: 3");
      lines.push_back("log 6 $_wifi_nvram_calibrate_get:read param from nv failed, nv_num[" + number + "]");
    }
    char out[16 * 104];
    EXPECT_EQ(PUBLIC(wifi_nvram_calibrate_get)(out, 104), 1U);
    EXPECT_EQ(out, expected) << failing;
    expect_transcript(lines);
    EXPECT_EQ(stored(), store);
  }
}

class CalibrationCleanParts : public CalibrationClean {};
INSTANTIATE_TEST_SUITE_P(Chips, CalibrationCleanParts, TWO_CHAIN_CHIPS, name_of_case);

TEST_P(CalibrationCleanParts, EachFlagCombinationWithEachNvCallFailing) {
  for (uint32_t bits = 0; bits < 16; bits++) {
    uint32_t flags[4];  // any value but 0 is on
    for (uint32_t i = 0; i < 4; i++) flags[i] = (bits >> i & 1) * (i == 2 ? 0x100 : i + 1);
    const std::string told = "log 4 $_wifi_nvram_calibrate_clean_new:2gc0_en[" + std::to_string(flags[0]) +
                             "], 5gc0_en[" + std::to_string(flags[1]) + "], 2gc1_en[" +
                             std::to_string(flags[2]) + "], 5gc1_en[" + std::to_string(flags[3]) + "]";
    SCOPED_TRACE(told);
    for (const store_t &store : {full_store(), odd_store()}) {
      sweep(
          store, {told + "~"},
          [&](clean_model &model) {
            for (uint32_t i = 0; i < 4; i++) {
              if (flags[i] != 0) clean_part(model, static_cast<part>(i));
            }
          },
          [&] { EXPECT_EQ(PUBLIC(wifi_nvram_calibrate_clean_new)(flags), 1U); });
    }
  }
}

TEST_P(CalibrationCleanParts, SingleRoutines) {
  const std::vector<std::pair<std::string, part>> routines = {
      {"2G_C0", low_0}, {"2G_C1", low_1}, {"5G_C0", high_0}, {"5G_C1", high_1}};
  for (const auto &[name, which] : routines) {
    const auto run = back_end<void(uint32_t)>("clean_nvparam_" + name);
    for (const uint32_t enable : std::initializer_list<uint32_t>{0, 1, 2}) {
      SCOPED_TRACE(name);
      const part wanted = which;
      sweep(
          full_store(), {},
          [&](clean_model &model) {
            if (enable != 0) clean_part(model, wanted);
          },
          [&] { run(enable); });
    }
  }
  const auto by_chain = back_end<void(uint32_t)>("clean_nvparam_by_rfcore");
  const auto by_band = back_end<void(uint32_t)>("clean_nvparam_by_rffreq");
  for (const uint32_t which : std::initializer_list<uint32_t>{0, 1}) {
    const int code = static_cast<int>(which);
    sweep(
        full_store(), {}, [&](clean_model &model) { clean_scope(model, 2 + code); },
        [&] { by_chain(which); });
    sweep(
        full_store(), {}, [&](clean_model &model) { clean_scope(model, 4 + code); }, [&] { by_band(which); });
  }
  sweep(
      full_store(), {}, [&](clean_model &model) { all(model); },
      [&] { back_end<void()>("clean_all_nvparam")(); });
}

// More than one failure: the thresholds.
TEST_P(CalibrationCleanParts, ToleratesOneFailure) {
  for (const unsigned failures : {1U, 2U}) {
    forget();
    fail("kevoOperaNVWR", 3, failures);
    PUBLIC(wifi_nvram_calibrate_clean)(1);
    EXPECT_EQ(logs(6).size(), failures - 1);
    forget();
    fail("kevoOperaNVWR", 1, failures);
    back_end<void(uint32_t)>("clean_nvparam_2G_C0")(1);
    EXPECT_EQ(logs(6).size(), failures - 1);
    forget();
    fail("nv_write:363");
    if (failures == 2) fail("nv_write:386");
    back_end<void(uint32_t)>("clean_nvparam_5G_C0")(1);
    EXPECT_EQ(logs(6).size(), failures - 1);
  }
}

TEST_P(CalibrationCleanParts, KeepOnlyNeedsBothNames) {
  const auto keep = back_end<void(uint32_t, const char *, uint32_t, const char *)>("write_nvpattern_to_nv");
  put(full_store());
  for (const auto &[item, param] : std::vector<std::pair<const char *, const char *>>{
           {nullptr, "pa2ga0"}, {"WIC0_2G5G_OFDM", nullptr}, {nullptr, nullptr}}) {
    forget();
    keep(340, item, 104, param);
    expect_transcript({"log 6 write_to_nv_para_check::null ptr!"});
  }
  fail("snprintf_s");  // nothing is kept then; both chips tell it in the older one's name
  keep(340, "WIC0_2G5G_OFDM", 104, "pa5ga0");
  EXPECT_TRUE(happened("log 6 vq2050_write_nvpattern_to_nv:: snprrintf_s failed."));
  EXPECT_EQ(stored("340 WIC0_2G5G_OFDM"), "");
  sweep(
      full_store(), {}, [](clean_model &model) { model.keep("340 WIC0_2G5G_OFDM", "pa5ga0"); },
      [&] { keep(340, "WIC0_2G5G_OFDM", 104, "pa5ga0"); });
}

}  // namespace
