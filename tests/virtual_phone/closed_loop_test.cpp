// SPDX-License-Identifier: Apache-2.0
// Set, measure, correct, verify: a unit with an error in its RF hardware is brought to the wanted power by
// the library's own calibration. Runs over every parameter of every chip's catalogue, so it is linked with
// the library's objects.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "common/catalogue.h"
#include "include/wifi_factory_test_orva.h"
#include "tests/support/profiles.h"
#include "virtual_phone/phone.h"

namespace orva {

namespace {

constexpr double tolerance_db = 0.3;

/// One value of a unit's power error, a transmission that shows it and the request that corrects it.
struct target {
  std::string key;
  unsigned values, index;
  uint8_t chain, mode, band, bandwidth;
  int32_t mhz;
  int32_t at_mode, dbm;
  double most_gain_db = 3;
};

/// A parameter of a chip with all its targets.
struct loop_case {
  const chip *profile;
  std::string parameter;
  std::vector<target> targets;
};

target target_of(const cal_row &row, unsigned values, unsigned index, int32_t mhz, int32_t dbm = 15) {
  const int32_t at_mode = row.mode == 2 ? 2 : row.bandwidth == 3 ? 5 : 4;
  return {std::string("rf.error.") + row.param,
          values,
          index,
          row.chain,
          row.mode,
          row.band,
          row.bandwidth,
          mhz,
          at_mode,
          dbm};
}

/// A 40 MHz channel does not fit around the outer centres.
std::vector<target> offset_targets(const cal_row &row) {
  std::vector<target> all;
  for (int32_t mhz = row.bandwidth ? 2422 : 2412; mhz <= (row.bandwidth ? 2462 : 2472); mhz += 5) {
    if (mhz != REFERENCE_CHANNEL_MHZ)
      all.push_back(target_of(row, 13, static_cast<unsigned>(mhz - 2412) / 5, mhz));
  }
  return all;
}

std::vector<target> power_targets(const cal_row &row) {
  if (row.band == 0) return {target_of(row, 1, 0, REFERENCE_CHANNEL_MHZ)};
  if (row.bandwidth == 3) return {target_of(row, 2, 0, 5250), target_of(row, 2, 1, 5570)};
  const int32_t dbm = strstr(row.param, "low") != nullptr ? 5 : 15;
  return {target_of(row, 4, 0, 5180, dbm), target_of(row, 4, 1, 5600, dbm), target_of(row, 4, 2, 5700, dbm),
          target_of(row, 4, 3, 5825, dbm)};
}

/// The codes of wide channels are near the largest, so that a weak unit can be raised by less than 3 dB.
std::vector<target> block_targets() {
  std::vector<target> all;
  const auto add = [&](uint8_t mode, uint8_t band, uint8_t bandwidth, int32_t mhz) {
    const auto index = static_cast<unsigned>(all.size());
    all.push_back({"rf.error.block", 8, index, 0, mode, band, bandwidth, mhz, mode, 15,
                   index == 7   ? 1.6
                   : index == 6 ? 2.6
                                : 3});
  };
  add(2, 0, 0, 2442), add(3, 0, 0, 2442), add(4, 0, 0, 2442), add(4, 0, 1, 2442);
  add(1, 1, 0, 5180), add(4, 1, 0, 5180), add(5, 1, 1, 5190), add(5, 1, 2, 5210);
  return all;
}

std::vector<loop_case> cases_of(const chip *profile) {
  if (profile->calibration == nullptr) return {{profile, "block", block_targets()}};
  std::vector<loop_case> all;
  for (const cal_row &row : profile->calibration->power)
    all.push_back({profile, row.param, power_targets(row)});
  for (const cal_row &row : profile->calibration->per_channel)
    all.push_back({profile, row.param, offset_targets(row)});
  return all;
}

std::vector<loop_case> all_cases() {
  std::vector<loop_case> all;
  for (const chip *profile : profiles) {
    const auto cases = cases_of(profile);
    all.insert(all.end(), cases.begin(), cases.end());
  }
  return all;
}

/// The station: it sets the library up, measures what leaves the antenna, and corrects.
class station {
public:
  explicit station(const chip *profile) : profile_(profile) {
    phone_reset();
    set("chip", profile->name);
  }

  static void set(const std::string &key, const std::string &value) {
    char error[300] = "";
    ASSERT_EQ(phone_set(key.c_str(), value.c_str(), error, sizeof error), 0) << error;
  }

  /// A unit that is exact but for one value.
  static void give_error(const target &at, double db) {
    std::string values;
    for (unsigned i = 0; i < at.values; i++)
      values += (i ? "," : "") + std::to_string(i == at.index ? db : 0.0);
    set(at.key, values);
  }

  /// Measured less wanted power in dB. Takes the interface up for it, and down.
  double error(const target &at) const {
    start(at);
    const double measured = power();
    stop();
    return measured - at.dbm;
  }

  static void stop() {
    EXPECT_EQ(wifi_stop_tx(), 1U);
    EXPECT_EQ(wifi_stop_testmode(), 1U);
  }

  void start(const target &at) const {
    EXPECT_EQ(wifi_start_testmode(), 1U);
    EXPECT_EQ(wifi_set_mode(at.at_mode), 1U);
    wifi_set_band(at.bandwidth);
    wifi_set_channel(at.mhz);
    wifi_set_rate(at.at_mode == 2 ? 1100 : 600);
    wifi_set_power(at.dbm * profile_->power_divisor);
    if (has_chains()) wifi_setmimo_channel(at.chain + 1);
    EXPECT_EQ(wifi_start_tx(), 1U);
  }

  static double power() {
    char text[1024] = "";
    phone_get("state.emission", text, sizeof text);
    const char *found = strstr(text, "\"power_dbm\":");
    EXPECT_NE(found, nullptr) << text;
    return found != nullptr ? atof(found + strlen("\"power_dbm\":")) : NAN;
  }

  /// The chip with a block takes a gain in dB and has to have a block in NV, the others an error in tenths.
  void correct(const target &at, double measured_error) const {
    const bool block = profile_->calibration == nullptr;
    if (block && !has_block_in_nv()) { EXPECT_EQ(wifi_nvram_set(nullptr, nullptr, 0), 1U); }
    const std::string text = std::to_string(block ? -measured_error : 10 * measured_error);
    EXPECT_EQ(wifi_nvram_calibrate_set(0, at.chain, at.mode, at.band, at.bandwidth, at.mhz, text.c_str()),
              1U);
  }

private:
  bool has_chains() const { return profile_->calibration != nullptr && profile_->calibration->has_chains; }
  static bool has_block_in_nv() {
    uint8_t item[104] = {};
    return phone_nv_get(340, "WINVRAM", item) == 0 && item[0] != 0;
  }

  const chip *profile_;
};

class ClosedLoop : public ::testing::TestWithParam<loop_case> {};

std::string name_of(const ::testing::TestParamInfo<loop_case> &info) {
  return std::string(info.param.profile->name) + "_" + info.param.parameter;
}
INSTANTIATE_TEST_SUITE_P(Parameters, ClosedLoop, ::testing::ValuesIn(all_cases()), name_of);

TEST_P(ClosedLoop, AnErrorIsMeasuredAndCorrected) {
  for (const target &at : GetParam().targets) {
    for (const double wrong : {0.5, 3.0, -0.5, -at.most_gain_db}) {
      SCOPED_TRACE(at.key + " at " + std::to_string(at.mhz) + " MHz wrong by " + std::to_string(wrong));
      const station station(GetParam().profile);
      station::give_error(at, wrong);
      double error = station.error(at);
      EXPECT_NEAR(error, wrong, 0.05);
      for (int corrections = 0; corrections < 2 && std::abs(error) > tolerance_db; corrections++) {
        station.correct(at, error);
        error = station.error(at);
      }
      EXPECT_LE(std::abs(error), tolerance_db);
    }
  }
}

TEST_P(ClosedLoop, ACorrectionOfTheWrongSignMakesItWorse) {
  for (const target &at : GetParam().targets) {
    SCOPED_TRACE(at.key + " at " + std::to_string(at.mhz) + " MHz");
    const station station(GetParam().profile);
    station::give_error(at, -1);
    const double error = station.error(at);
    station.correct(at, -error);
    EXPECT_GT(std::abs(station.error(at)), std::abs(error) + 0.5);
  }
}

class ClosedLoopOfChip : public ::testing::TestWithParam<const chip *> {
protected:
  static target first_target() { return cases_of(GetParam()).front().targets.front(); }
};
INSTANTIATE_TEST_SUITE_P(Chips, ClosedLoopOfChip, ::testing::ValuesIn(profiles),
                         [](const auto &chip) { return std::string(chip.param->name); });

TEST_P(ClosedLoopOfChip, TheDriverReadsNvWhenTheInterfaceComesUp) {
  const target at = first_target();
  const station station(GetParam());
  station::give_error(at, 2);
  station.start(at);
  const double before = station::power();
  station.correct(at, 2);
  const bool pushes = GetParam()->calibration == nullptr;  // to the driver, besides NV
  EXPECT_NEAR(station::power(), pushes ? before - 2 : before, 0.1);
  station::stop();
  EXPECT_NEAR(station.error(at), 0, 0.1) << "the end of test mode took the interface down";
  phone_nv_clear();
  EXPECT_NEAR(station.error(at), 2, 0.1) << "without NV the board's own values hold";
}

TEST_P(ClosedLoopOfChip, AnyDrawnUnitIsCalibratedAsAWhole) {
  for (const char *seed : {"1", "2", "4294967295"}) {
    const station station(GetParam());
    station::set("unit", seed);
    const auto cases = cases_of(GetParam());
    double worst = 0;
    for (const loop_case &each : cases) {
      if (each.parameter.find("low") != std::string::npos) continue;  // moves with the ordinary curve
      for (const target &at : each.targets) {
        const double error = station.error(at);
        worst = std::max(worst, std::abs(error));
        if (std::abs(error) > 0.05) station.correct(at, error);
      }
    }
    EXPECT_GT(worst, 0.5) << "unit " << seed << " needed no calibration";
    for (const loop_case &each : cases) {
      for (const target &at : each.targets)
        EXPECT_LE(std::abs(station.error(at)), tolerance_db)
            << "unit " << seed << " " << at.key << " " << at.mhz;
    }
  }
}

TEST_P(ClosedLoopOfChip, CurvesAddUpAndOffsetsAreSet) {
  const chip *profile = GetParam();
  if (profile->calibration == nullptr) return;
  const target curve = power_targets(profile->calibration->power.rows[0]).front();
  const target offset = offset_targets(profile->calibration->per_channel.rows[0]).front();
  const station station(profile);
  station::give_error(curve, 0);
  station.correct(curve, 1);
  station.correct(curve, 1);
  EXPECT_NEAR(station.error(curve), -2, 0.1);
  station.correct(curve, -2);
  station.correct(offset, 1);
  station.correct(offset, 1);
  EXPECT_NEAR(station.error(offset), -1, 0.1);
  EXPECT_NEAR(station.error(curve), 0, 0.1) << "another channel's";
}

}  // namespace

}  // namespace orva
