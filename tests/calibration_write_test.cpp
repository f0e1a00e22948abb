// Calibration by a measured error: which parameter of which item it reaches, what it makes of the values,
// what the item holds afterwards, and what is lost when NV or the driver fails.
#include "tests/calibration_test.h"

#include "include/calibration_types.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <sstream>
#include <tuple>

namespace {

// What the newer chips add after a memory or string function that failed.
constexpr const char *check_failed = "log 6 $_check_securef_ret::securef_ret fail, pls check.";

class CalibrationWrite : public CalibrationTest {
protected:
  static constexpr const char *curve = "1000,-3000,5000";  // shifted by 1: -3031, 5003
  static constexpr const char *shifted = "1000,-3031,5003";
  static constexpr const char *driver_curve = "2000,-3000,5000";  // shifted by 1: -3063, 5003
  static constexpr const char *driver_shifted = "2000,-3063,5003";
  static constexpr int32_t sub_band_1 = 5500;

  static std::string four(const std::string &first, const std::string &second) {
    return first + "," + second + "," + first + "," + first;
  }
  /// A parameter's values before and after an error of 10 at frequency_of().
  static std::string before(const std::string &param) {
    if (param[0] == 'm') return "5,5,5,5,5,5,5,5,5,5,5,5,5";
    if (param[0] == 'd') return "3,4";
    return param[2] == '5' ? four(curve, curve) : curve;
  }
  static std::string after(const std::string &param) {
    if (param[0] == 'm') return "5,-10,5,5,5,5,5,5,5,5,5,5,5";
    if (param[0] == 'd') return "3,-10";
    return param[2] == '5' ? four(curve, shifted) : shifted;
  }
  static int32_t frequency_of(const std::string &param) {
    if (param[0] == 'm') return 2417;
    if (param[0] == 'd') return 5570;
    return param[2] == '5' ? sub_band_1 : 2442;
  }
  std::vector<const cal_row *> rows_sharing(const cal_row &one) const {
    std::vector<const cal_row *> rows;
    for (const cal_row &row : catalogue()) {
      if (std::tie(row.per_channel, row.group, row.mode, row.band, row.bandwidth) ==
          std::tie(one.per_channel, one.group, one.mode, one.band, one.bandwidth))
        rows.push_back(&row);
    }
    return rows;
  }
  /// One item with one parameter, then a request for it.
  uint32_t calibrate_item(const std::string &param, const std::string &text,
                          const std::string &error = "10") {
    const cal_row &row = row_of(param);
    put(row.item, text);
    forget();
    return calibrate(row, frequency_of(param), error);
  }
  orva_cal_lookup look_up(int32_t group, int32_t mode, int32_t band, int32_t bandwidth, int32_t freq) {
    const std::string name = "wifi_get_nvnum_parname_from_at_param";
    const auto u = [](int32_t value) { return static_cast<uint32_t>(value); };
    if (is(vq2040a_case))
      return back_end<orva_cal_lookup(uint32_t, uint32_t, uint32_t, int32_t)>(name)(u(mode), u(band),
                                                                                    u(bandwidth), freq);
    return back_end<orva_cal_lookup(uint32_t, uint32_t, uint32_t, uint32_t, int32_t)>(name)(
        u(group), u(mode), u(band), u(bandwidth), freq);
  }
  lines_t lookup_lines(const cal_row &row, int32_t freq) const {
    std::string request = "mode=" + std::to_string(row.mode) + ",band=" + std::to_string(row.band) +
                          ",bandwidth=" + std::to_string(row.bandwidth) + ",freq=" + std::to_string(freq);
    if (!is(vq2040a_case)) request = "group=" + std::to_string(row.group) + "," + request;
    lines_t lines = {"log 6 $_wifi_get_nvnum_parname_from_at_param enter:" + request + ",\\n"};
    for (const cal_row *match : rows_sharing(row))
      lines.push_back("log 4 $_wifi_get_nvnum_parname_from_at_param:map_id is " +
                      std::to_string(match->map_id));
    return lines;
  }
  static void append(lines_t &lines, const lines_t &more) {
    lines.insert(lines.end(), more.begin(), more.end());
  }
  /// A catalogue whose every parameter has a value, between entries that look alike and must stay.
  store_t full_store() const {
    store_t store;
    for (const cal_row &row : catalogue()) store[row.item] += row.param + "=" + before(row.param) + ";";
    store["340 WINVRAM"] = "raw";
    return store;
  }
};
INSTANTIATE_TEST_SUITE_P(Chips, CalibrationWrite, TEXT_CHIPS, name_of_case);

// ---- Which rows -------------------------------------------------------------------------------------------

TEST_P(CalibrationWrite, EveryRequestFindsItsRows) {
  for (const int32_t freq : {0, 2407, 2412, 2441, 2442, 2443, 2481, 2482, 2484, 5180, 5825}) {
    for (int32_t key = 0; key < 3 * 4 * 3 * 5; key++) {
      const int32_t group = key % 3, mode = key / 3 % 4, band = key / 12 % 3, bandwidth = key / 36;
      const bool per_channel = freq <= 2481 && freq != 2442;
      std::vector<uint8_t> ids;
      for (const cal_row &row : catalogue()) {
        const bool same_group = is(vq2040a_case) || row.group == group;
        if (row.per_channel == per_channel && same_group && row.mode == mode && row.band == band &&
            row.bandwidth == bandwidth)
          ids.push_back(row.map_id);
      }
      const orva_cal_lookup found = look_up(group, mode, band, bandwidth, freq);
      EXPECT_EQ(std::vector<uint8_t>(found.map_id, found.map_id + found.count), ids)
          << group << mode << band << bandwidth << " " << freq;
      const int table = per_channel ? ORVA_CAL_PER_CHANNEL : ORVA_CAL_POWER;
      EXPECT_EQ(found.table, ids.empty() ? ORVA_CAL_NONE : table);
    }
  }
}

TEST_P(CalibrationWrite, EachRowIsCorrectedInItsItemAndNothingElseChanges) {
  for (const cal_row &row : catalogue()) {
    SCOPED_TRACE(row.param);
    store_t store = full_store();
    const std::string decoy = "pa=3;" + row.param + "_x=7;";
    store[row.item] = decoy + row.param + "=" + before(row.param) + ";last=1,2;";
    for (const cal_row *match : rows_sharing(row)) {
      if (match != &row) store[match->item] = match->param + "=" + before(match->param) + ";z=-9;";
    }
    put(store);
    EXPECT_EQ(calibrate(row, frequency_of(row.param), "10"), 1U);
    store[row.item] = decoy + row.param + "=" + after(row.param) + ";last=1,2;";
    for (const cal_row *match : rows_sharing(row)) {
      if (match != &row) store[match->item] = match->param + "=" + after(match->param) + ";z=-9;";
    }
    EXPECT_EQ(stored(), store);
  }
}

TEST_P(CalibrationWrite, AnEmptyStoreStartsFromTheDriverOrFromZeros) {
  for (const cal_row &row : catalogue()) {
    SCOPED_TRACE(row.param);
    phone_nv_clear();
    store_t expected;
    std::vector<int> numbers;
    for (const cal_row *match : rows_sharing(row)) {
      const bool power = match->driver_number >= 0;
      if (power) set("calibration." + match->param, before(match->param));
      if (power) numbers.push_back(match->driver_number);
      expected[match->item] += match->param + "=" +
                               (power             ? after(match->param)
                                : row.per_channel ? "0,-10,0,0,0,0,0,0,0,0,0,0,0"
                                                  : "0,-10") +
                               ";";
    }
    forget();
    EXPECT_EQ(calibrate(row, frequency_of(row.param), "10"), 1U);
    EXPECT_EQ(stored(), expected);
    ASSERT_EQ(sent().size(), numbers.size());
    for (size_t i = 0; i < numbers.size(); i++) {
      std::vector<uint8_t> data(256);
      data[111 - 8] = static_cast<uint8_t>(numbers[i]);  // the last byte of the 104-byte area
      EXPECT_EQ(sent()[i].data, data);
      EXPECT_EQ(sent()[i].id, is(vq2040a_case) ? 26U : 29U);
    }
  }
}

TEST_P(CalibrationWrite, RefusesWhatNoRowMatches) {
  const auto set_calibration = PUBLIC(wifi_nvram_calibrate_set);
  put(full_store());
  forget();
  EXPECT_EQ(set_calibration(1, 0, 0, 0, 0, 2442, "10"), 0U);
  expect_transcript({"log 6 $_wifi_nvram_calibrate_set AT parameter < cal_type > error, should be 0\\n"});
  EXPECT_EQ(set_calibration(0, 0, 1, 0, 0, 2442, "10"), 0U);
  EXPECT_TRUE(happened("log 6 $_wifi_nvram_calibrate_set, AT param wrong!"));
  EXPECT_EQ(set_calibration(0, 0, 0, 1, 0, 2412, "10"), 0U);  // 5 GHz by band, 2.4 GHz by frequency
  EXPECT_EQ(set_calibration(0, 2, 0, 0, 0, 2442, "10"), is(vq2040a_case) ? 1U : 0U);  // one chain: not read
  if (!is(vq2040a_case)) { EXPECT_EQ(stored(), full_store()); }
}

// ---- What it makes of the values --------------------------------------------------------------------------

TEST_P(CalibrationWrite, ShiftsCurvesAsTheTableTells) {
  std::ifstream table(CALIBRATION_TABLE);
  const cal_row &low = row_of("pa2ga0"), &high = row_of("pa5glowa0");
  unsigned rows = 0;
  for (std::string kind, error, line; table >> kind && std::getline(table, line);) {
    if (kind != "curve") continue;
    int a, b, c, new_b, new_c;
    std::istringstream(line) >> a >> b >> c >> error >> new_b >> new_c;
    put(low.item, "pa2ga0=" + joined({a, b, c}) + ";");
    EXPECT_EQ(calibrate(low, 2442, error), 1U);
    ASSERT_EQ(stored(low.item), "pa2ga0=" + joined({a, new_b, new_c}) + ";") << line;
    if (++rows % 20 == 0) {
      put(high.item, "pa5glowa0=" + joined({1, 2, 3, 4, 5, 6, a, b, c, 7, 8, 9}) + ";");
      EXPECT_EQ(calibrate(high, 5660, error), 1U);
      ASSERT_EQ(stored(high.item), "pa5glowa0=" + joined({1, 2, 3, 4, 5, 6, a, new_b, new_c, 7, 8, 9}) + ";");
    }
    forget();
  }
  EXPECT_GT(rows, 1000U);
}

TEST_P(CalibrationWrite, Takes5GHzFrequenciesBySubBand) {
  const std::vector<std::pair<std::pair<int, int>, size_t>> bands = {
      {{5180, 5320}, 0}, {{5500, 5640}, 1}, {{5660, 5720}, 2}, {{5745, 5825}, 3}};
  const cal_row &row = row_of("pa5ga0");
  std::vector<int> edges = {2482, 4900, 6000};
  for (const auto &[range, index] : bands) {
    for (const int edge : {range.first, range.second}) edges.insert(edges.end(), {edge - 1, edge, edge + 1});
  }
  for (const int freq : edges) {
    store_t store = {{row.item, "pa5ga0=" + four(curve, curve) + ";"},
                     {row_of("pa5glowa0").item, "pa5glowa0=" + four(curve, curve) + ";"}};
    put(store);
    forget();
    const uint32_t result = calibrate(row, freq, "10");
    lines_t parts(4, curve);
    for (const auto &[range, index] : bands) {
      if (freq >= range.first && freq <= range.second) parts[index] = shifted;
    }
    const bool valid = parts != lines_t(4, curve);
    for (auto &[item, text] : store)
      text = text.substr(0, text.find('=') + 1) + parts[0] + "," + parts[1] + "," + parts[2] + "," +
             parts[3] + ";";
    EXPECT_EQ(stored(), store) << freq;
    EXPECT_EQ(result, valid ? 1U : 0U) << freq;
    EXPECT_EQ(happened("log 6 $_calibrate_nvram_param 5G freq is not matched\\n"), !valid) << freq;
    EXPECT_EQ(happened("log 6 $_wifi_nvram_calibrate_set ,calibrate_nvram_param handled failed\\n"), !valid);
  }
}

TEST_P(CalibrationWrite, TakesChannelsByFrequency) {
  const cal_row &row = row_of("mf2ga0");
  for (int32_t freq = 2400; freq <= 2481; freq++) {
    if (freq == 2442) continue;  // the reference channel belongs to the curves
    const bool centre = freq >= 2412 && freq <= 2472 && freq % 5 == 2;
    const bool valid = is(vq2070_case) ? freq >= 2408 && freq <= 2476 : centre;
    std::vector<int> values(13, 7);
    put(row.item, "mf2ga0=" + joined(values) + ";");
    forget();
    EXPECT_EQ(calibrate(row, freq, "-25"), valid ? 1U : 0U) << freq;
    if (valid) values[static_cast<size_t>((freq - 2412) / 5)] = 25;
    EXPECT_EQ(stored(row.item), "mf2ga0=" + joined(values) + ";") << freq;
    if (!is(vq2070_case)) {
      EXPECT_EQ(happened("log 6 $_calibrate_nvram_param 2g freq is not matched\\n"), !valid) << freq;
    }
    EXPECT_EQ(happened("log 6 $_wifi_nvram_calibrate_set ,calibrate_nvram_param handled failed\\n"), !valid);
  }
}

TEST_P(CalibrationWrite, OtherFrequenciesAreRefusedByFamily) {
  put(full_store());
  EXPECT_EQ(calibrate(row_of("pa2ga0"), 2484, "10"), 0U);  // a power row, but not at the reference channel
  EXPECT_TRUE(happened("log 6 $_wifi_nvram_calibrate_set ,calibrate_nvram_param handled failed\\n"));
  EXPECT_EQ(stored(), full_store());
  if (is(vq2040a_case)) return;
  const cal_row &wide = row_of("dpn160c1");
  EXPECT_EQ(calibrate(wide, 5250, "-1.9"), 1U);
  EXPECT_EQ(stored(wide.item), "dpn160c1=1,4;");
  EXPECT_EQ(calibrate(wide, 5255, "10"), 0U);
  EXPECT_TRUE(happened("log 6 $_calibrate_nvram_param invalid 160M freq\\n"));
  EXPECT_EQ(stored(wide.item), "dpn160c1=1,4;");
}

struct error_case {
  const char *text;
  bool within;          // -500 to 500
  const char *printed;  // as the refusal prints it
  const char *offset;   // negated integer part
  const char *curve;    // from 1000,-3000,5000
};
const error_case errors[] = {
    {"0", true, "", "0", "1000,-3000,5000"},
    {"10", true, "", "-10", "1000,-3031,5003"},
    {"-10", true, "", "10", "1000,-2969,4997"},
    {"0.5", true, "", "0", "1000,-3002,5000"},
    {"-0.99", true, "", "0", "1000,-2997,5000"},
    {"500", true, "", "-500", "1000,-4563,5185"},
    {"-500", true, "", "500", "1000,-1438,4892"},
    {"500.1", false, "500.100006", "-500", "1000,-4563,5185"},
    {"-501", false, "-501.000000", "501", "1000,-1434,4892"},
    {"1e3", false, "1000.000000", "-1000", "1000,-6125,5446"},
    {"", true, "", "0", "1000,-3000,5000"},
    {"abc", true, "", "0", "1000,-3000,5000"},
    {"10abc", true, "", "-10", "1000,-3031,5003"},
    {"1e30", false, "~", "-2147483648", "1000,-2147483648,2147483647"},
    {"-1e30", false, "~", "2147483647", "1000,2147483647,2147483647"},
    {"nan", false, "nan", "0", "1000,0,0"},
};

TEST_P(CalibrationWrite, ReadsTheErrorAsANumber) {
  const bool bounded = !is(vq2070_case);
  const cal_row &channel = row_of("mf2ga0"), &power = row_of("pa2ga0");
  for (const error_case &error : errors) {
    SCOPED_TRACE(error.text);
    put(channel.item, "mf2ga0=1,2,3,4,5,6,7,8,9,10,11,12,13;");
    put(power.item, std::string("pa2ga0=") + curve + ";");
    forget();
    const bool taken = error.within || !bounded;
    EXPECT_EQ(calibrate(channel, 2412, error.text), taken ? 1U : 0U);
    if (!taken)
      expect_transcript({std::string("log 6 $_wifi_nvram_calibrate_set , shift =") + error.printed +
                         " , too big and not valid\\n"});
    EXPECT_EQ(calibrate(power, 2442, error.text), taken ? 1U : 0U);
    const std::string first = taken ? error.offset : "1";
    EXPECT_EQ(stored(channel.item), "mf2ga0=" + first + ",2,3,4,5,6,7,8,9,10,11,12,13;");
    EXPECT_EQ(stored(power.item), std::string("pa2ga0=") + (taken ? error.curve : curve) + ";");
  }
}

// ---- What the item holds afterwards -----------------------------------------------------------------------

struct item_case {
  const char *before, *after;
  bool from_driver;  // nothing usable in the item
};
const item_case item_cases[] = {
    {"", "pa2ga0=2000,-3063,5003;", true},
    {"pa2ga0=1000,-3000,5000;pa5ga0=1;", "pa2ga0=1000,-3031,5003;pa5ga0=1;", false},
    {"pa5ga0=1;pa2ga0=1000,-3000,5000;", "pa5ga0=1;pa2ga0=1000,-3031,5003;", false},
    {"pa5ga0=1;", "pa5ga0=1;pa2ga0=2000,-3063,5003;", true},
    {"x=1;;pa2ga0=1000,-3000,5000;;", "x=1;pa2ga0=1000,-3031,5003;", false},
    {";", "pa2ga0=2000,-3063,5003;", true},
    {"pa2ga0=1000,-3000,5000;x=1;pa2ga0=7,8,9;", "pa2ga0=1000,-3031,5003;x=1;pa2ga0=1000,-3031,5003;", false},
    {"pa2ga0_b=7,8,9;pa2ga=4;pa2ga0=1000,-3000,5000;", "pa2ga0_b=7,8,9;pa2ga=4;pa2ga0=1000,-3031,5003;",
     false},
    {"pa2ga01=7,8,9;", "pa2ga01=7,8,9;pa2ga0=2000,-3063,5003;", true},
    {"pa2ga0;x=1;", "pa2ga0;x=1;pa2ga0=2000,-3063,5003;", true},
    {"pa2ga0=;x=1;", "pa2ga0=2000,-3063,5003;x=1;", true},
    {"pa2ga0=1000,-3000;", "pa2ga0=1000,-3031;", false},  // as many values as were read
    {"pa2ga0=1000;", "pa2ga0=1000;", false},
    {"pa2ga0=1000,-3000,5000,9,9;", "pa2ga0=1000,-3031,5003;", false},
    {"x=1;pa2ga0=1000,-3000,5000", "x=1;pa2ga0=2000,-3063,5003;", true},  // the rest is no entry
};

TEST_P(CalibrationWrite, MergesIntoAnyItem) {
  set("calibration.pa2ga0", driver_curve);
  for (const item_case &item : item_cases) {
    SCOPED_TRACE(item.before);
    EXPECT_EQ(calibrate_item("pa2ga0", item.before), 1U);
    EXPECT_EQ(stored("340 WIC0_2G5G_OFDM"), item.after);
    EXPECT_EQ(sent().size(), item.from_driver ? 1U : 0U);
  }
}

TEST_P(CalibrationWrite, ItemWithoutASemicolonIsLostOnlyOnTheNewestChip) {
  set("calibration.pa2ga0", driver_curve);
  const std::string text = "pa2ga0=1000,-3000,5000";
  for (const bool writable : {true, false}) {
    if (!writable && is(vq2070_case)) fail("nv_write:340");
    EXPECT_EQ(calibrate_item("pa2ga0", text), 0U);
    EXPECT_EQ(stored("340 WIC0_2G5G_OFDM"), is(vq2070_case) && writable ? "" : text);
    EXPECT_EQ(phone_uses("nv_write:340"), is(vq2070_case) ? 1U : 0U);
    EXPECT_TRUE(happened("log 6 $_wifi_nvram_calibrate_set write TX nvram param failed, VarName=pa2ga0\\n"));
  }
}

TEST_P(CalibrationWrite, FullItems) {
  const std::string param = "pa2ga0=1000,-3000,5000;", changed = "pa2ga0=1000,-3031,5003;";
  const std::string filler(103 - param.size() - 3, '1');
  EXPECT_EQ(calibrate_item("pa2ga0", param + "x=" + filler + ";"), 1U);
  EXPECT_EQ(stored("340 WIC0_2G5G_OFDM"), changed + "x=" + filler + ";");
  EXPECT_FALSE(happened("log 6 ~snprintf_s failed~"));
  // 104 characters without an end: the last one does not count, so neither does its entry.
  EXPECT_EQ(calibrate_item("pa2ga0", param + "x=" + filler + "1;"), 1U);
  EXPECT_EQ(stored("340 WIC0_2G5G_OFDM"), changed);
  // What no longer fits is cut, and the log tells.
  const std::string small = "pa2ga0=1000,-1,5000;", grown = "pa2ga0=1000,-32,5000;";
  const std::string rest(103 - small.size() - 3, '2');
  EXPECT_EQ(calibrate_item("pa2ga0", small + "x=" + rest + ";"), 1U);
  EXPECT_EQ(stored("340 WIC0_2G5G_OFDM"), (grown + "x=" + rest + ";").substr(0, 103));
  EXPECT_TRUE(happened("log 6 $_write_wifi_nvram_param_to_nv:: snprintf_s failed.~"));
  EXPECT_EQ(calibrate_item("pa2ga0", "x=" + rest + ";" + small), 1U);
  EXPECT_EQ(stored("340 WIC0_2G5G_OFDM"), ("x=" + rest + ";" + grown).substr(0, 103));
  EXPECT_TRUE(happened("log 6 $_param_to_string: snprintf_s failed.~"));
}

TEST_P(CalibrationWrite, UnreadableValuesFail) {
  for (const char *text : {"pa2ga0=abc;x=1;", "pa2ga0=,,;x=1;"}) {
    EXPECT_EQ(calibrate_item("pa2ga0", text), 0U);
    EXPECT_TRUE(happened("log 6 $_wifi_nvram_calibrate_set ,get param num failed\\n"));
    EXPECT_EQ(stored("340 WIC0_2G5G_OFDM"), text);
  }
}

// ---- The whole conversation -------------------------------------------------------------------------------

TEST_P(CalibrationWrite, TellsEachStepOfACorrection) {
  EXPECT_EQ(calibrate_item("pa2ga0", "x=1;pa2ga0=1000,-3000,5000;"), 1U);
  lines_t expected = lookup_lines(row_of("pa2ga0"), 2442);
  append(expected,
         {"read 340 WIC0_2G5G_OFDM",
          "log 4 $_fill_nvbuf_by_pattern,nvme param is loaded,name=pa2ga0, value=1000,-3000,5000\\n",
          "log 3 $_get_nvbuf_by_name: var_output is 1000,-3000,5000, Varptr is ~",
          "log 3 $_getparam_from_wifi_chip,varbuff=1000,-3000,5000\\n", "read 340 WIC0_2G5G_OFDM",
          "log 3 $_append_nvbuf: wr var_output is ~",
          "log 3 $_get_nvbuf_by_name ,nvram_cal_data=x=1;pa2ga0=1000,-3031,5003;\\n",
          "write 340 WIC0_2G5G_OFDM x=1;pa2ga0=1000,-3031,5003;",
          "log 3 $_wifi_nvram_calibrate_set write TX nvram param success, VarName=pa2ga0\\n"});
  expect_transcript(expected);
}

TEST_P(CalibrationWrite, TellsEachStepOfADriverQuery) {
  const bool one_chain = is(vq2040a_case);
  set("calibration.pa5ga0", four(curve, curve));
  const cal_row &row = row_of("pa5glowa0");
  const std::string driver_text = four(driver_curve, driver_curve),
                    merged = four(driver_curve, driver_shifted);
  set("calibration.pa5glowa0", driver_text);
  put("340 WIC0_2G5G_OFDM", "pa5ga0=" + four(curve, curve) + ";");
  forget();
  EXPECT_EQ(calibrate(row, sub_band_1, "10"), 1U);
  const size_t start = transcript().find("read " + row.item);
  ASSERT_NE(start, std::string::npos);
  const std::string number = std::to_string(row.driver_number);
  const lines_t expected = {
      "read " + row.item,
      "log 3 $_getparam_from_wifi_chip,wifi chip param is loaded, name=pa5glowa0, value=\\n",
      "socket",
      one_chain ? "log ~ $_get_driver_param_num: param_num is 10, nv_name is pa5glowa0, case_entry is 5"
                : "log 4 $_get_driver_param_num: nv_num is 369, nv_name is ~, param num is 8",
      "log 6 $_wifi_querry_nvram_parameter_from_driver:param_num = " + number,
      std::string("ioctl ") + (one_chain ? "26" : "29") + " 00000000",
      "close",
      "log 3 querry nvram, nvram_var_name=pa5glowa0, outbuff=" + driver_text + "\\n",
      "log 3 varbuff = " + driver_text + ",name = pa5glowa0",
      "read " + row.item,
      "log 3 $_get_nvbuf_by_name:rd var_out is pa5glowa0=" + merged + ";",
      "write " + row.item + " pa5glowa0=" + merged + ";",
      "log 3 $_wifi_nvram_calibrate_set write TX nvram param success, VarName=pa5glowa0\\n"};
  const lines_t all = split(transcript(), '\n');
  ASSERT_GE(all.size(), expected.size());
  for (size_t i = 0; i < expected.size(); i++) {
    const std::string &found = all[all.size() - expected.size() + i];
    EXPECT_TRUE(matches(expected[i].c_str(), found.c_str())) << "want " << expected[i] << "\ngot  " << found;
  }
}

// ---- Failures ---------------------------------------------------------------------------------------------

TEST_P(CalibrationWrite, DriverQueryFails) {
  const cal_row &row = row_of("pa2ga0");
  const std::string command = is(vq2040a_case) ? "26" : "29";
  const lines_t copy_failed = {is(vq2040a_case)
                                   ? "log 6 memcpy_s error.\\n"
                                   : "log 6 $_wifi_querry_nvram_parameter_from_driver: memcpy_s failed.\\n"};
  const std::vector<std::tuple<std::string, unsigned, lines_t>> failures = {
      {"socket", 1, {"log 6 socket create fail.\\n", "log 3 varbuff = ,name = pa2ga0"}},
      {"ioctl:" + command, 2, {"log 6 get_dp_init_from_driver failed, continue.\\n"}},
      {"memcpy_s", 1, copy_failed}};
  for (const auto &[place, times, lines] : failures) {
    SCOPED_TRACE(place);
    put(row.item, "x=1;");
    forget();
    fail(place, 1, times);
    EXPECT_EQ(calibrate(row, 2442, "10"), 0U);
    for (const std::string &line : lines) EXPECT_TRUE(happened(line)) << line << "\n" << transcript();
    EXPECT_TRUE(happened("log 6 $_getparam_from_wifi_chip,wifi chip param get failed!\\n"));
    EXPECT_EQ(happened(check_failed), place == "memcpy_s" && !is(vq2040a_case));
    EXPECT_TRUE(happened("log 6 $_wifi_nvram_calibrate_set ,get param num failed\\n"));
    EXPECT_EQ(stored(row.item), "x=1;");
    EXPECT_EQ(phone_left_open(), 0U);
  }
  for (const char *answer : {"", "none"}) {
    set("calibration.pa2ga0", answer);
    forget();
    EXPECT_EQ(calibrate(row, 2442, "10"), 0U) << answer;
    EXPECT_TRUE(happened("log 6 $_wifi_nvram_calibrate_set ,get param num failed\\n"));
  }
  set("calibration.pa2ga0", curve);
  fail("ioctl:" + command);  // the retry helps
  EXPECT_EQ(calibrate(row, 2442, "10"), 1U);
  EXPECT_EQ(stored(row.item), std::string("x=1;pa2ga0=") + shifted + ";");
}

// The two parameters of one 5 GHz request take three NV calls each: find, merge, write.
TEST_P(CalibrationWrite, EachNvCallOfADoubleRequestFails) {
  const cal_row &first = row_of("pa5ga0"), &second = row_of("pa5glowa0");
  const std::string old_curve = four(curve, curve), new_curve = four(curve, shifted);
  const std::string fetched = four(driver_curve, driver_shifted);
  const store_t before = {{first.item, "pa2ga0=1,2,3;pa5ga0=" + old_curve + ";"},
                          {second.item, "pa5glowa0=" + old_curve + ";z=9;"},
                          {"363 NV_UNUSED", "u=1;"}};
  set("calibration.pa5ga0", four(driver_curve, driver_curve));
  set("calibration.pa5glowa0", four(driver_curve, driver_curve));
  const std::string first_done = "pa2ga0=1,2,3;pa5ga0=" + new_curve + ";";
  const std::string second_done = "pa5glowa0=" + new_curve + ";z=9;";
  struct outcome {
    uint32_t result;
    std::string first, second;
  };
  const std::vector<outcome> outcomes = {
      {1, "pa2ga0=1,2,3;pa5ga0=" + fetched + ";", second_done},  // the driver's values instead
      {1, "pa5ga0=" + new_curve + ";", second_done},             // its neighbour is lost
      {0, before.at(first.item), before.at(second.item)},
      {1, first_done, "pa5glowa0=" + fetched + ";z=9;"},
      {1, first_done, "pa5glowa0=" + new_curve + ";"},
      {0, first_done, before.at(second.item)}};
  for (unsigned n = 0; n < outcomes.size(); n++) {
    SCOPED_TRACE(n + 1);
    const cal_row &row = n < 3 ? first : second;
    put(before);
    forget();
    fail("kevoOperaNVWR", n + 1, 1, 7);
    EXPECT_EQ(calibrate(first, sub_band_1, "10"), outcomes[n].result);
    EXPECT_EQ(stored(), (store_t{{first.item, outcomes[n].first},
                                 {second.item, outcomes[n].second},
                                 {"363 NV_UNUSED", "u=1;"}}));
    const std::string number = row.item.substr(0, 3), name = row.item.substr(4);
    if (n % 3 == 2) {
      EXPECT_TRUE(happened("log 6 $_write_wifi_nvram_param_to_nv,7"));
      EXPECT_TRUE(happened(
          "log 6 $_wifi_nvram_calibrate_set write TX nvram param failed, VarName=" + row.param + "\\n"));
    } else {
      EXPECT_TRUE(happened("log 6 $_read_wifi_nvram_param_from_nv get " + name + " fail, nv_num is " +
                           number + ", ret: 7"));
    }
    EXPECT_EQ(phone_uses("kevoOperaNVWR"), outcomes[n].result == 1 || n > 2 ? 6U : 3U);
  }
}

TEST_P(CalibrationWrite, NvIsAlwaysAskedForWholeItems) {
  put(full_store());
  forget();
  for (const cal_row &row : catalogue()) calibrate(row, frequency_of(row.param), "10");
  unsigned contacts = 0;
  for (size_t i = 0; i < phone_event_count(); i++) {
    const struct phone_event &event = *phone_event(i);
    if (event.kind != PHONE_NV_READ && event.kind != PHONE_NV_WRITE) continue;
    EXPECT_EQ(event.size, 104U);
    contacts++;
  }
  EXPECT_GE(contacts, 3 * catalogue().size());
}

// A bounds-checked function that fails anywhere may spoil the item at hand, but no other, and no memory.
TEST_P(CalibrationWrite, EachBoundsCheckedCallFails) {
  bool value_lost = false;
  for (const char *place : {"snprintf_s", "sprintf_s", "memcpy_s", "memset_s", "strncpy_s", "sscanf_s"}) {
    put(full_store());
    forget();
    calibrate(row_of("pa5ga0"), sub_band_1, "10");
    const unsigned uses = phone_uses(place);
    for (unsigned n = 1; n <= uses; n++) {
      store_t store = full_store();
      put(store);
      forget();
      fail(place, n);
      calibrate(row_of("pa5ga0"), sub_band_1, "10");
      store_t left = stored();
      for (const char *param : {"pa5ga0", "pa5glowa0"}) {
        store.erase(row_of(param).item);
        left.erase(row_of(param).item);
      }
      EXPECT_EQ(left, store) << place << " " << n;
      if (!happened("log 6 $_fill_nvbuf_by_pattern::strcpy failed")) continue;
      value_lost = true;
      EXPECT_EQ(happened(check_failed), !is(vq2040a_case));
    }
  }
  EXPECT_TRUE(value_lost);
}

// ---- Single steps -----------------------------------------------------------------------------------------

TEST_P(CalibrationWrite, EntryWriterStaysInItsRoom) {
  const auto write =
      back_end<void(char *, uint32_t, const char *, const uint32_t *, uint32_t)>("param_to_string");
  const uint32_t values[] = {12, static_cast<uint32_t>(-300), 0x80000000};
  const std::string ideal = "x=1;pa2ga0=12,-300,-2147483648;";
  for (uint32_t room = 5; room <= 40; room++) {
    char out[48];
    memset(out, '#', sizeof out);
    memcpy(out, "x=1;", 5);
    forget();
    write(out, room, "pa2ga0", values, 3);
    EXPECT_EQ(std::string(out), ideal.substr(0, room - 1)) << room;
    EXPECT_EQ(std::string(out + room, sizeof out - room), std::string(sizeof out - room, '#')) << room;
    EXPECT_EQ(happened("log 6 $_param_to_string: snprintf_s failed.~"), ideal.size() >= room) << room;
  }
  char out[20] = "";
  write(out, sizeof out, "none", values, 0);
  EXPECT_STREQ(out, "none=;");
}

TEST_P(CalibrationWrite, NameFamiliesTakeBeginnings) {
  const std::vector<std::pair<std::string, lines_t>> families = {
      {"2G_normal", {"pa2gccka0", "pa2gccka1", "pa2ga0", "pa2ga1", "pa2g40a0", "pa2g40a1", "pa2g", "pa"}},
      {"2G_mucal", {"mf2ga0", "mf2ga1", "mf2gccka0", "mf2gccka1", "mf2g40a0", "mf2g40a1", "mf2g4"}},
      {"5G_normal", {"pa5ga0", "pa5ga1", "pa5glowa0", "pa5glowa1", "pa5gl", "pa"}},
      {"5G_160M", {"dpn160c0", "dpn160c1", "dpn"}}};
  lines_t names = {"", "pa2ga2", "pa2ga01", "mf2ga0x", "xpa5ga0", "dpn160c00", "PA2GA0", "mf5"};
  for (const auto &family : families) append(names, family.second);
  for (const auto &[family, members] : families) {
    const auto check = back_end<uint32_t(const char *)>("check_nvname_" + family);
    for (const std::string &name : names) {
      const bool member = name.empty() || std::find(members.begin(), members.end(), name) != members.end();
      EXPECT_EQ(check(name.c_str()) != 0, member) << family << " " << name;
    }
  }
}

TEST_P(CalibrationWrite, BufferRoutineOfTheNewestChip) {
  if (!is(vq2070_case)) return;
  const auto run =
      back_end<void(char *, uint32_t, const orva_nvbuf_request *, uint32_t)>("get_nvbuf_by_name");
  const uint32_t values[] = {7, static_cast<uint32_t>(-8)};
  const orva_nvbuf_request request = {340, "WIC0_2G5G_OFDM", 104, "pa2ga0", 2, values};
  const std::string item = "340 WIC0_2G5G_OFDM", text = "x=1;pa2ga0=1,2,3;pa2ga0=4,5,6;y=2;";
  const std::vector<std::tuple<uint32_t, std::string, std::string>> modes = {
      {ORVA_NVBUF_READ, "1,2,3", text},
      {ORVA_NVBUF_MERGE, "x=1;pa2ga0=7,-8;pa2ga0=7,-8;y=2;", text},
      {ORVA_NVBUF_KEEP_ONLY, "pa2ga0=1,2,3;", ""}};  // emptied, and not written back here
  for (const auto &[mode, result, left] : modes) {
    char out[104] = "";
    put(item, text);
    run(out, sizeof out, &request, mode);
    EXPECT_EQ(out, result);
    EXPECT_EQ(stored(item), left);
    char cut[6] = {0, 0, 0, 0, 0, '#'};
    put(item, text);
    run(cut, 5, &request, mode);
    EXPECT_LT(strnlen(cut, 5), 5U) << mode;
    EXPECT_EQ(cut[5], '#') << mode;
  }
}

}  // namespace
