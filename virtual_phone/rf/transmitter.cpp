// SPDX-License-Identifier: Apache-2.0
#include "transmitter.h"

#include <algorithm>
#include <cmath>

namespace phone::rf {
namespace {

// What the board's faults do. README.md gives the reasons.
constexpr double wrong_fem_error_db = -4, wrong_fem_evm_db = 8;
constexpr double cold_joint_loss_db = 8, open_antenna_loss_db = 22;
constexpr double bad_crystal_ppm = 35, bad_crystal_evm_db = 3;

constexpr double least_output_dbm = -30;
/// A detector's slope error turns its curve around this power.
constexpr double slope_pivot_dbm = 15;
constexpr double reference_degrees = 25;

// Compression: at 7 dB below saturation the third-order products limit EVM to -27 dB and the spectrum's
// shoulder to -34 dBr; both rise by 2 dB per dB. DSSS peaks are 3 dB lower.
constexpr double back_off_db = 7, evm_at_back_off_db = -27, shoulder_at_back_off_db = -34;
constexpr double compression_slope = 2, dsss_peak_relief_db = 3;
constexpr double converter_noise_dbm = -45, shoulder_floor_db = -45, mask_at_shoulder_db = -28;

// An AT-cut crystal's frequency over temperature, in ppm/K and ppm/K^3.
constexpr double crystal_linear = -0.1, crystal_cubic = 1.05e-4;

double number(milli value) { return value / 1000.0; }
milli rounded(double value) { return static_cast<milli>(std::lround(value * 1000)); }

double in_power(double db) { return std::pow(10, db / 10); }
double sum_in_db(double a, double b) { return 10 * std::log10(in_power(a) + in_power(b)); }

double error_of(const unit &unit, unsigned parameter, unsigned index) {
  return number(unit.value[error_of_parameters + parameter][index]);
}

/// The low-power path shares the ordinary one's error and adds its own.
double curve_error(const unit &unit, const power_setting &set) {
  double error = error_of(unit, set.curve_parameter, set.curve_index);
  if (set.curve_parameter % parameters_of_chain != pa5glowa) return error;
  return error + error_of(unit, set.curve_parameter - pa5glowa + pa5ga, set.curve_index);
}

/// The power at which the unit's detector reads what the driver waits for.
double controlled_by_curve(const struct radio &radio, const unit &unit, const loaded_calibration &loaded,
                           const tuning &at, format format) {
  double wanted = static_cast<int32_t>(radio.power);
  auto set = setting_for(radio, loaded, at, format, wanted);
  double slope = 1 + number(unit.value[detector_slope][at.chain]) / 100;
  double nominal = set.nominal.inverse(set.stored.at(wanted + set.offset_db));
  double output = curve_error(unit, set) + slope_pivot_dbm + (nominal - slope_pivot_dbm) / slope;
  return set.offset_parameter == parameters ? output
                                            : output + error_of(unit, set.offset_parameter, set.offset_index);
}

double controlled_by_block(const struct radio &radio, const unit &unit, const loaded_calibration &loaded,
                           const tuning &at, const modulation &sent) {
  auto set = block_setting_for(radio, loaded, at, sent);
  double gain = 20 * std::log10(double(set.stored) / set.nominal);
  return static_cast<int32_t>(radio.power) + gain + number(unit.value[error_of_block][set.mode]);
}

double amplifier_output(const struct radio &radio, const unit &unit, uint32_t faults,
                        const loaded_calibration &loaded, const tuning &at, const modulation &sent) {
  double output = uses_block(radio.chip) ? controlled_by_block(radio, unit, loaded, at, sent)
                                         : controlled_by_curve(radio, unit, loaded, at, sent.format);
  output += number(unit.value[drift][0]) * (number(unit.value[temperature][0]) - reference_degrees);
  if (faults & wrong_fem) output += wrong_fem_error_db;
  return std::clamp(output, least_output_dbm, number(unit.value[saturation][at.is_5g()]));
}

/// How far the amplifier is above the back-off at which compression's figures are given.
double compression(const unit &unit, const tuning &at, format format, double output) {
  double relief = format == format::dsss ? dsss_peak_relief_db : 0;
  return compression_slope * (output + back_off_db - relief - number(unit.value[saturation][at.is_5g()]));
}

double evm(const unit &unit, uint32_t faults, const tuning &at, format format, double output) {
  double floor = number(unit.value[evm_floor][at.is_5g()]);
  if (faults & wrong_fem) floor += wrong_fem_evm_db;
  if (faults & bad_crystal) floor += bad_crystal_evm_db;
  double distorted = sum_in_db(floor, evm_at_back_off_db + compression(unit, at, format, output));
  return sum_in_db(distorted, converter_noise_dbm - output);
}

double mask_margin(const unit &unit, const tuning &at, format format, double output) {
  double products = shoulder_at_back_off_db + compression(unit, at, format, output);
  return mask_at_shoulder_db - sum_in_db(shoulder_floor_db, products);
}

double frequency_error(const unit &unit, uint32_t faults) {
  double away = number(unit.value[temperature][0]) - reference_degrees;
  double error = number(unit.value[crystal][0]) + away * (crystal_linear + crystal_cubic * away * away);
  return faults & bad_crystal ? error + bad_crystal_ppm : error;
}

}  // namespace

double path_loss(const struct radio &radio, const unit &unit, uint32_t faults, unsigned chain) {
  double loss = number(unit.value[antenna_loss][radio.antenna == 1]);
  if (chain != 0) return loss;
  if (faults & cold_joint) loss += cold_joint_loss_db;
  if (faults & open_antenna) loss += open_antenna_loss_db;
  return loss;
}

std::optional<emission> emission_of(const struct radio &radio, const unit &unit, uint32_t faults,
                                    const loaded_calibration &loaded) {
  if (!radio.up || !radio.transmitting) return std::nullopt;
  tuning at = tuning_of(radio);
  if (!at.is_reachable()) return std::nullopt;
  modulation sent = modulation_of(radio);
  double output = amplifier_output(radio, unit, faults, loaded, at, sent);
  return emission{.at = at,
                  .sent = sent,
                  .power_dbm = rounded(output - path_loss(radio, unit, faults, at.chain)),
                  .evm_db = rounded(evm(unit, faults, at, sent.format, output)),
                  .frequency_error_ppm = rounded(frequency_error(unit, faults)),
                  .leakage_dbc = unit.value[leakage][0],
                  .mask_margin_db = rounded(mask_margin(unit, at, sent.format, output))};
}

}  // namespace phone::rf
