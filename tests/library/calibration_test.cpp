// SPDX-License-Identifier: Apache-2.0
// Calibration texts in NV: the arithmetic on a measured error, what a correction makes of any item, and how
// far outputs are written.
#include "include/calibration_types.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <sstream>
#include <tuple>

#include "tests/support/phone_fixture.h"

namespace {

constexpr const char *curve = "1000,-3000,5000";  // shifted by 1: -3031, 5003
constexpr const char *shifted = "1000,-3031,5003";
constexpr const char *driver_curve = "2000,-3000,5000";
constexpr const char *item_340 = "340 WIC0_2G5G_OFDM";

std::string four(const std::string &first, const std::string &second) {
  return first + "," + second + "," + first + "," + first;
}

std::string joined(const std::vector<int> &values) {
  std::string text;
  for (const int value : values) text += (text.empty() ? "" : ",") + std::to_string(value);
  return text;
}

class Calibration : public ChipTest {
protected:
  std::string low_item() const { return has_two_chains() ? "369 WIC0_5GLOW" : "368 WIC0_5GLOW"; }
  uint32_t calibrate(int32_t band, int32_t freq, const std::string &error) {
    return PUBLIC(wifi_nvram_calibrate_set)(0, 0, 0, band, 0, freq, error.c_str());
  }
  /// The item holds a text, and pa2ga0 is corrected by 10.
  uint32_t correct(const std::string &text) {
    put(item_340, text);
    forget();
    return calibrate(0, 2442, "10");
  }
  store_t full_store() const {
    return {{item_340, std::string("pa2ga0=") + curve + ";pa5ga0=" + four(curve, curve) + ";"},
            {low_item(), "pa5glowa0=" + four(curve, curve) + ";"},
            {"363 NV_UNUSED", "u=1;"},
            {"367 WITXCCK", "pa2gccka0=1,2,3;pa2gccka1=4,5,6;"},
            {"396 WIC0_2GMU_OFDM", "mf2ga0=5,5,5,5,5,5,5,5,5,5,5,5,5;"},
            {"340 WINVRAM", "raw"}};
  }
};
INSTANTIATE_TEST_SUITE_P(Chips, Calibration, CHIPS_WITH("check_nvname_2G_normal"), name_of_case);

// ---- Arithmetic ----------------------------------------------------------------------------------------

TEST_P(Calibration, ShiftsCurvesAsExactArithmeticDoes) {
  std::ifstream table(CALIBRATION_TABLE);
  unsigned rows = 0;
  for (std::string kind, error, line; table >> kind && std::getline(table, line);) {
    if (kind != "curve") continue;
    int a, b, c, new_b, new_c;
    std::istringstream(line) >> a >> b >> c >> error >> new_b >> new_c;
    put(item_340, "pa2ga0=" + joined({a, b, c}) + ";");
    EXPECT_EQ(calibrate(0, 2442, error), 1U);
    ASSERT_EQ(stored(item_340), "pa2ga0=" + joined({a, new_b, new_c}) + ";") << line;
    if (++rows % 20 == 0) {
      put(low_item(), "pa5glowa0=" + joined({1, 2, 3, 4, 5, 6, a, b, c, 7, 8, 9}) + ";");
      EXPECT_EQ(calibrate(1, 5660, error), 1U);
      ASSERT_EQ(stored(low_item()),
                "pa5glowa0=" + joined({1, 2, 3, 4, 5, 6, a, new_b, new_c, 7, 8, 9}) + ";");
    }
    forget();
  }
  EXPECT_GT(rows, 1000U);
}

TEST_P(Calibration, Takes5GHzFrequenciesBySubBand) {
  const std::vector<std::pair<int, int>> bands = {{5180, 5320}, {5500, 5640}, {5660, 5720}, {5745, 5825}};
  std::vector<int> edges = {2482, 4900, 6000};
  for (const auto &[first, last] : bands) {
    for (const int edge : {first, last}) edges.insert(edges.end(), {edge - 1, edge, edge + 1});
  }
  const std::string old_values = four(curve, curve);
  for (const int freq : edges) {
    put({{item_340, "pa5ga0=" + old_values + ";"}, {low_item(), "pa5glowa0=" + old_values + ";"}});
    std::string values;
    for (const auto &[first, last] : bands)
      values += std::string(values.empty() ? "" : ",") + (freq >= first && freq <= last ? shifted : curve);
    EXPECT_EQ(calibrate(1, freq, "10"), values != old_values ? 1U : 0U) << freq;
    EXPECT_EQ(stored(),
              (store_t{{item_340, "pa5ga0=" + values + ";"}, {low_item(), "pa5glowa0=" + values + ";"}}))
        << freq;
  }
}

/// 2442 MHz is left out: the reference channel belongs to the curves. The newest chip takes the nearest
/// channel below.
TEST_P(Calibration, TakesChannelsByFrequency) {
  for (int32_t freq = 2400; freq <= 2481; freq++) {
    if (freq == 2442) continue;
    const bool centre = freq >= 2412 && freq <= 2472 && freq % 5 == 2;
    const bool valid = has("get_target_channel") ? freq >= 2408 && freq <= 2476 : centre;
    std::vector<int> values(13, 7);
    put("396 WIC0_2GMU_OFDM", "mf2ga0=" + joined(values) + ";");
    EXPECT_EQ(calibrate(0, freq, "-25"), valid ? 1U : 0U) << freq;
    if (valid) values[static_cast<size_t>((freq - 2412) / 5)] = 25;
    EXPECT_EQ(stored("396 WIC0_2GMU_OFDM"), "mf2ga0=" + joined(values) + ";") << freq;
  }
}

struct error_case {
  const char *text;
  bool within;         // -500 to 500
  const char *offset;  // negated integer part
  const char *curve;   // from 1000,-3000,5000
};
const error_case errors[] = {
    {"0", true, "0", "1000,-3000,5000"},
    {"10", true, "-10", "1000,-3031,5003"},
    {"-10", true, "10", "1000,-2969,4997"},
    {"0.5", true, "0", "1000,-3002,5000"},
    {"-0.99", true, "0", "1000,-2997,5000"},
    {"500", true, "-500", "1000,-4563,5185"},
    {"-500", true, "500", "1000,-1438,4892"},
    {"500.1", false, "-500", "1000,-4563,5185"},
    {"-501", false, "501", "1000,-1434,4892"},
    {"1e3", false, "-1000", "1000,-6125,5446"},
    {"", true, "0", "1000,-3000,5000"},
    {"abc", true, "0", "1000,-3000,5000"},
    {"10abc", true, "-10", "1000,-3031,5003"},
    {"1e30", false, "-2147483648", "1000,-2147483648,2147483647"},
    {"-2147483648", false, "2147483647", "1000,2147483647,2147483647"},
    {"-1e30", false, "2147483647", "1000,2147483647,2147483647"},
    {"nan", false, "0", "1000,0,0"},
};

/// Only the newest chip takes errors of any size; there the results saturate.
TEST_P(Calibration, ReadsTheErrorAsANumber) {
  for (const error_case &error : errors) {
    SCOPED_TRACE(error.text);
    put("396 WIC0_2GMU_OFDM", "mf2ga0=1,2,3,4,5,6,7,8,9,10,11,12,13;");
    put(item_340, std::string("pa2ga0=") + curve + ";");
    const bool taken = error.within || has("get_nvbuf_by_name");
    EXPECT_EQ(calibrate(0, 2412, error.text), taken ? 1U : 0U);
    EXPECT_EQ(calibrate(0, 2442, error.text), taken ? 1U : 0U);
    EXPECT_EQ(stored("396 WIC0_2GMU_OFDM"),
              std::string("mf2ga0=") + (taken ? error.offset : "1") + ",2,3,4,5,6,7,8,9,10,11,12,13;");
    EXPECT_EQ(stored(item_340), std::string("pa2ga0=") + (taken ? error.curve : curve) + ";");
  }
}

// ---- What the item holds afterwards --------------------------------------------------------------------

/// Look-alike names are other entries, all entries keep their order, and a rest without a semicolon is
/// dropped.
TEST_P(Calibration, MergesBetweenOtherEntries) {
  const std::pair<const char *, const char *> items[] = {
      {"", "pa2ga0=2000,-3063,5003;"},  // from the driver
      {"pa5ga0=1;", "pa5ga0=1;pa2ga0=2000,-3063,5003;"},
      {"pa5ga0=1;pa2ga0=1000,-3000,5000;", "pa5ga0=1;pa2ga0=1000,-3031,5003;"},
      {"pa2ga0=1000,-3000,5000;x=1;pa2ga0=7,8,9;", "pa2ga0=1000,-3031,5003;x=1;pa2ga0=1000,-3031,5003;"},
      {"pa2ga0_b=7;pa2ga=4;pa2ga0=1000,-3000,5000;", "pa2ga0_b=7;pa2ga=4;pa2ga0=1000,-3031,5003;"},
      {"pa2ga01=7,8,9;", "pa2ga01=7,8,9;pa2ga0=2000,-3063,5003;"},
      {"x=1;pa2ga0=1000,-3000,5000", "x=1;pa2ga0=2000,-3063,5003;"},
  };
  set("calibration.pa2ga0", driver_curve);
  for (const auto &[before, after] : items) {
    EXPECT_EQ(correct(before), 1U);
    EXPECT_EQ(stored(item_340), after) << before;
  }
}

/// Without a semicolon there is no entry. The newest chip then writes the item back empty, the others not at
/// all.
TEST_P(Calibration, AnItemWithoutASemicolonIsLostOnlyOnTheNewestChip) {
  set("calibration.pa2ga0", driver_curve);
  EXPECT_EQ(correct("pa2ga0=1000,-3000,5000"), 0U);
  EXPECT_EQ(stored(item_340), has("get_nvbuf_by_name") ? "" : "pa2ga0=1000,-3000,5000");
}

/// An item holds 103 characters and a terminator.
TEST_P(Calibration, FullItems) {
  const std::string param = "pa2ga0=1000,-3000,5000;", changed = "pa2ga0=1000,-3031,5003;";
  const std::string filler(103 - param.size() - 3, '1');
  EXPECT_EQ(correct(param + "x=" + filler + ";"), 1U);
  EXPECT_EQ(stored(item_340), changed + "x=" + filler + ";");
  EXPECT_FALSE(happened("log 6 {*}snprintf_s failed{*}"));
  // 104 characters without a terminator: the last one does not count, so neither does its entry.
  EXPECT_EQ(correct(param + "x=" + filler + "1;"), 1U);
  EXPECT_EQ(stored(item_340), changed);
  // What no longer fits is cut, and the log says so.
  const std::string small = "pa2ga0=1000,-1,5000;", grown = "pa2ga0=1000,-32,5000;";
  const std::string rest(103 - small.size() - 3, '2');
  EXPECT_EQ(correct(small + "x=" + rest + ";"), 1U);
  EXPECT_EQ(stored(item_340), (grown + "x=" + rest + ";").substr(0, 103));
  EXPECT_TRUE(happened("log 6 \"{chip}_write_wifi_nvram_param_to_nv:: snprintf_s failed.{*}"));
  EXPECT_EQ(correct("x=" + rest + ";" + small), 1U);
  EXPECT_EQ(stored(item_340), ("x=" + rest + ";" + grown).substr(0, 103));
  EXPECT_TRUE(happened("log 6 \"{chip}_param_to_string: snprintf_s failed.{*}"));
}

TEST_P(Calibration, NvIsAlwaysAskedForWholeItems) {
  put(full_store());
  forget();
  for (const auto &[band, freq] : {std::pair(0, 2442), std::pair(0, 2412), std::pair(1, 5500)})
    EXPECT_EQ(calibrate(band, freq, "10"), 1U);
  PUBLIC(wifi_nvram_calibrate_clean)(1);
  unsigned contacts = 0;
  for (size_t i = 0; i < phone_event_count(); i++) {
    const struct phone_event &event = *phone_event(i);
    if (event.kind != PHONE_NV_READ && event.kind != PHONE_NV_WRITE) continue;
    EXPECT_EQ(event.size, 104U);
    contacts++;
  }
  EXPECT_GE(contacts, 3U * 4U);
}

/// A bounds-checked function that fails may spoil the item at hand, but no other.
TEST_P(Calibration, EachBoundsCheckedCallFails) {
  for (const char *place : {"snprintf_s", "sprintf_s", "memcpy_s", "memset_s", "strncpy_s", "sscanf_s"}) {
    put(full_store());
    forget();
    calibrate(1, 5500, "10");
    const unsigned uses = phone_uses(place);
    for (unsigned n = 1; n <= uses; n++) {
      put(full_store());
      forget();
      fail(place, n);
      calibrate(1, 5500, "10");
      store_t left = stored(), store = full_store();
      for (const std::string &item : {std::string(item_340), low_item()}) {
        store.erase(item);
        left.erase(item);
      }
      EXPECT_EQ(left, store) << place << " " << n;
    }
  }
}

// ---- How far outputs are written -----------------------------------------------------------------------

TEST_P(Calibration, TheEntryWriterStaysInItsRoom) {
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
    EXPECT_EQ(happened("log 6 \"{chip}_param_to_string: snprintf_s failed.{*}"), ideal.size() >= room)
        << room;
  }
  char out[20] = "";
  write(out, sizeof out, "none", values, 0);
  EXPECT_STREQ(out, "none=;");
}

class BufferRoutine : public ChipTest {};
INSTANTIATE_TEST_SUITE_P(Chips, BufferRoutine, CHIPS_WITH("get_nvbuf_by_name"), name_of_case);

TEST_P(BufferRoutine, StaysInItsRoom) {
  const auto run =
      back_end<void(char *, uint32_t, const orva_nvbuf_request *, uint32_t)>("get_nvbuf_by_name");
  const uint32_t values[] = {7, static_cast<uint32_t>(-8)};
  const orva_nvbuf_request request = {340, "WIC0_2G5G_OFDM", 104, "pa2ga0", 2, values};
  for (const uint32_t mode : {ORVA_NVBUF_READ, ORVA_NVBUF_MERGE, ORVA_NVBUF_KEEP_ONLY}) {
    char cut[6] = {0, 0, 0, 0, 0, '#'};
    put(item_340, "x=1;pa2ga0=1,2,3;pa2ga0=4,5,6;y=2;");
    run(cut, 5, &request, mode);
    EXPECT_LT(strnlen(cut, 5), 5U) << mode;
    EXPECT_EQ(cut[5], '#') << mode;
  }
}

/// The items that the library reads, in its order, each without what exceeds the size given.
TEST_P(Calibration, AllItemsAreReadWithinTheGivenRoom) {
  const auto get = PUBLIC(wifi_nvram_calibrate_get);
  char scratch[16 * 104];
  EXPECT_EQ(get(scratch, 104), 1U);
  std::vector<std::string> items;
  std::istringstream contacts(transcript());
  for (std::string nv, read, number, name, text; contacts >> nv >> read >> number >> name >> text;)
    items.push_back(number + " " + name);
  EXPECT_EQ(items.size(), has_two_chains() ? 16U : 9U);
  store_t filled;
  for (const std::string &item : items)
    filled[item] = item.substr(4) + std::string(106 - item.size(), '=') + ";";
  for (const store_t &store : {full_store(), filled, store_t{}}) {
    put(store);
    for (const size_t size : std::initializer_list<size_t>{0, 1, 2, 50, 103, 104, 128}) {
      const size_t room = items.size() * size;
      std::string expected;
      for (const std::string &item : items)
        expected += size == 0 || store.count(item) == 0 ? "" : store.at(item).substr(0, size - 1);
      std::vector<char> out(room + 64, '#');
      EXPECT_EQ(get(out.data(), static_cast<int32_t>(size)), 1U);
      if (size > 0) { EXPECT_EQ(std::string(out.data(), strnlen(out.data(), room)), expected) << size; }
      EXPECT_EQ(std::string(out.data() + room, 64), std::string(64, '#')) << size;
    }
  }
}

// ---- Cleaning ------------------------------------------------------------------------------------------

class CalibrationClean : public Calibration {};
INSTANTIATE_TEST_SUITE_P(Chips, CalibrationClean, CHIPS_WITH("clean_nvparam_2G_C1"), name_of_case);

/// The four flags clean exactly what the four routines clean one after the other.
TEST_P(CalibrationClean, FlagsAddUp) {
  const char *const routines[] = {"2G_C0", "5G_C0", "2G_C1", "5G_C1"};
  for (uint32_t bits = 0; bits < 16; bits++) {
    uint32_t flags[4];  // any value but 0 is on
    put(full_store());
    for (uint32_t i = 0; i < 4; i++) {
      flags[i] = (bits >> i & 1) * (i == 2 ? 0x100 : i + 1);
      back_end<uint32_t(uint32_t)>(std::string("clean_nvparam_") + routines[i])(flags[i]);
    }
    const store_t cleaned_one_by_one = stored();
    put(full_store());
    EXPECT_EQ(PUBLIC(wifi_nvram_calibrate_clean_new)(flags), 1U);
    EXPECT_EQ(stored(), cleaned_one_by_one) << bits;
    EXPECT_EQ(stored() == full_store(), bits == 0);
  }
}

/// vq2050 keeps every entry of the name, vq2070 the first. Look-alikes and a rest without a semicolon go.
TEST_P(CalibrationClean, KeepsOneParameterOfAnItem) {
  const std::tuple<const char *, const char *, const char *> items[] = {
      {"", "", ""},
      {"pa2gccka1=3", "", ""},
      {"pa2gccka0x=1;pa2gccka10=2;pa2gccka1=3", "", ""},
      {"pa2gccka0=1;pa2gccka1=2;;pa2gccka1=3;x=1;", "pa2gccka1=2;pa2gccka1=3;", "pa2gccka1=2;"},
      {"pa2gccka1=2;pa2gccka1=3", "pa2gccka1=2;", "pa2gccka1=2;"},
  };
  const auto keep = back_end<void(uint32_t, const char *, uint32_t, const char *)>("write_nvpattern_to_nv");
  for (const auto &[before, all, first] : items) {
    put("367 WITXCCK", before);
    keep(367, "WITXCCK", 104, "pa2gccka1");
    EXPECT_EQ(stored("367 WITXCCK"), has("get_nvbuf_by_name") ? first : all) << before;
  }
}

/// One item that cannot be cleared is tolerated; only the second is logged.
TEST_P(CalibrationClean, ToleratesOneFailure) {
  const std::string any_error = "log 6 {*}";
  for (const unsigned failures : {1U, 2U}) {
    forget();
    fail("kevoOperaNVWR", 3, failures);
    PUBLIC(wifi_nvram_calibrate_clean)(1);
    EXPECT_EQ(happened(any_error), failures == 2);
    forget();
    fail("kevoOperaNVWR", 1, failures);
    back_end<uint32_t(uint32_t)>("clean_nvparam_2G_C0")(1);
    EXPECT_EQ(happened(any_error), failures == 2);
    forget();
    fail("nv_write:363");
    if (failures == 2) fail("nv_write:386");
    back_end<uint32_t(uint32_t)>("clean_nvparam_5G_C0")(1);
    EXPECT_EQ(happened(any_error), failures == 2);
  }
}

}  // namespace
