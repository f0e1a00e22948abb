// SPDX-License-Identifier: Apache-2.0
#include "receiver.h"

#include <algorithm>
#include <cmath>

namespace phone::rf {
namespace {

constexpr uint32_t million = 1000000;
/// More packets than this are not drawn one by one.
constexpr uint32_t most_drawn = 1000000;

// The standard's minimum sensitivities allow for this noise figure and implementation loss.
constexpr double allowed_noise_figure_db = 10, allowed_implementation_loss_db = 5;
constexpr double wrong_fem_noise_db = 6;
constexpr double thermal_noise_dbm_hz = -174;

/// From 10 % to 1 % within 1 dB.
constexpr double waterfall_per_db = 2.4;
/// The ratio of received to lost packets at the sensitivity level: 10 % are lost, 8 % with DSSS.
constexpr double odds_at_sensitivity = 9, odds_at_sensitivity_dsss = 11.5;

// Highest input levels of the standard; this unit's receiver takes more.
constexpr double most_input_dsss_dbm = -10, most_input_2g_dbm = -20, most_input_5g_dbm = -30;
constexpr double overload_margin_db = 6;

double number(milli value) { return value / 1000.0; }

double noise_figure_of(const unit &unit, uint32_t faults, bool is_5g) {
  return number(unit.value[noise_figure][is_5g]) + (faults & wrong_fem ? wrong_fem_noise_db : 0);
}

double sensitivity(const unit &unit, uint32_t faults, const burst &burst) {
  double margin = allowed_noise_figure_db + allowed_implementation_loss_db -
                  noise_figure_of(unit, faults, burst.mhz > 4000) -
                  number(unit.value[implementation_loss][0]);
  double wider = 10 * std::log10(burst.bandwidth_mhz / 20.0);
  return rate_of(burst.sent.format, burst.sent.rate)->sensitivity_dbm + wider - margin;
}

double overload(const burst &burst) {
  double most = burst.sent.format == format::dsss ? most_input_dsss_dbm
                : burst.mhz > 4000                ? most_input_5g_dbm
                                                  : most_input_2g_dbm;
  return most + overload_margin_db;
}

/// The chance that a packet gets through at so many dB above the level of the given odds.
double success(double above_db, double odds) {
  return 1 / (1 + std::exp(-waterfall_per_db * above_db) / odds);
}

}  // namespace

bool hears(const tuning &at, const burst &burst) {
  if (burst.mhz == at.mhz && burst.bandwidth_mhz == at.bandwidth_mhz) return true;
  return burst.mhz == at.primary_mhz && burst.bandwidth_mhz == 20;
}

uint32_t lost_per_million(const unit &unit, uint32_t faults, const burst &burst, double level_dbm) {
  double odds = burst.sent.format == format::dsss ? odds_at_sensitivity_dsss : odds_at_sensitivity;
  double through = success(level_dbm - sensitivity(unit, faults, burst), odds) *
                   success(overload(burst) - level_dbm, odds);
  return static_cast<uint32_t>(std::lround((1 - through) * million));
}

uint32_t received(uint32_t packets, uint32_t lost, random_stream &stream) {
  if (lost == 0) return packets;
  if (packets > most_drawn) return static_cast<uint32_t>(uint64_t{packets} * (million - lost) / million);
  uint64_t threshold = (uint64_t{lost} << 32) / million;
  uint32_t count = 0;
  for (uint32_t i = 0; i < packets; i++) count += (stream.next() >> 32) >= threshold;
  return count;
}

int32_t reported_level(const unit &unit, const tuning &at, double level_dbm) {
  return static_cast<int32_t>(std::lround(level_dbm + number(unit.value[rssi_offset][at.chain])));
}

double noise_dbm(const unit &unit, uint32_t faults, const tuning &at) {
  return thermal_noise_dbm_hz + 10 * std::log10(at.bandwidth_mhz * 1e6) +
         noise_figure_of(unit, faults, at.is_5g());
}

}  // namespace phone::rf
