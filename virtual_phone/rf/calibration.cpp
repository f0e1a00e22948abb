// SPDX-License-Identifier: Apache-2.0
#include "calibration.h"

#include "../phone.h"
#include "../radio_chips.h"
#include "../radio_keys.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <string>

namespace phone::rf {
namespace {

constexpr unsigned curve_values = 3;

/// Power steps below this use the low-power curve of 5 GHz, in dBm.
constexpr double low_power_below_dbm = 10;

struct nv_place {
  uint32_t number;
  const char *name;
};

struct parameter_row {
  const char *name;
  unsigned count;
  unsigned board;  // the board's own value, RADIO_PARAMETERS for none
  nv_place two_chains, one_chain;
};

// clang-format off
const parameter_row rows[] = {
    {"pa2gccka0", 3, RADIO_PA2GCCKA0, {367, "WITXCCK"}, {367, "WITXCCK"}},
    {"pa2ga0", 3, RADIO_PA2GA0, {340, "WIC0_2G5G_OFDM"}, {340, "WIC0_2G5G_OFDM"}},
    {"pa2g40a0", 3, RADIO_PA2G40A0, {384, "WIC0_2G40M"}, {384, "WIC0_2G40M"}},
    {"pa5ga0", 12, RADIO_PA5GA0, {340, "WIC0_2G5G_OFDM"}, {340, "WIC0_2G5G_OFDM"}},
    {"pa5glowa0", 12, RADIO_PA5GLOWA0, {369, "WIC0_5GLOW"}, {368, "WIC0_5GLOW"}},
    {"mf2gccka0", 13, RADIO_PARAMETERS, {400, "WIC0_MUCCK"}, {398, "WIC0_MUCCK"}},
    {"mf2ga0", 13, RADIO_PARAMETERS, {396, "WIC0_2GMU_OFDM"}, {396, "WIC0_2GMU_OFDM"}},
    {"mf2g40a0", 13, RADIO_PARAMETERS, {398, "WIC0_2GMF40M"}, {397, "WIC0_2GMF40M"}},
    {"dpn160c0", 2, RADIO_PARAMETERS, {386, "WIC0_5G160M"}, {385, "WIC0_5G160M"}},
    {"pa2gccka1", 3, RADIO_PA2GCCKA1, {367, "WITXCCK"}, {}},
    {"pa2ga1", 3, RADIO_PA2GA1, {368, "WIC1_2G5G_OFDM"}, {}},
    {"pa2g40a1", 3, RADIO_PA2G40A1, {385, "WIC1_2G40M"}, {}},
    {"pa5ga1", 12, RADIO_PA5GA1, {368, "WIC1_2G5G_OFDM"}, {}},
    {"pa5glowa1", 12, RADIO_PA5GLOWA1, {370, "WIC1_5GLOW"}, {}},
    {"mf2gccka1", 13, RADIO_PARAMETERS, {401, "WIC1_MUCCK"}, {}},
    {"mf2ga1", 13, RADIO_PARAMETERS, {397, "WIC1_2GMU_OFDM"}, {}},
    {"mf2g40a1", 13, RADIO_PARAMETERS, {399, "WIC1_2GMF40M"}, {}},
    {"dpn160c1", 2, RADIO_PARAMETERS, {387, "WIC1_5G160M"}, {}},
};
// clang-format on
static_assert(std::size(rows) == parameters, "a row per parameter");

constexpr nv_place block_place = {340, "WINVRAM"};

/// The last frequency of each sub-band in MHz; gaps between sub-bands belong to the lower one.
constexpr int sub_band_ends[] = {5409, 5649, 5730};

bool has_two_chains(uint32_t chip) { return radio_chip_command(chip, 27) == RADIO_CMD_CHAIN; }

/// Where the chip's driver looks for a parameter; a null name where it does not.
nv_place place_of(uint32_t chip, const parameter_row &row) {
  if (uses_block(chip)) return {};
  return has_two_chains(chip) ? row.two_chains : row.one_chain;
}

/// Reads at most most_values decimals separated by commas. Returns how many there are.
unsigned read_values(std::string_view text, int32_t *values) {
  unsigned count = 0;
  const char *at = text.data(), *end = at + text.size();
  while (count < most_values) {
    auto [next, error] = std::from_chars(at, end, values[count]);
    if (error != std::errc{}) break;
    count++;
    if (next == end || *next != ',') break;
    at = next + 1;
  }
  return count;
}

/// The values after "name=" in an item's text, up to the semicolon; "" without such an entry.
std::string_view entry_of(std::string_view text, std::string_view name) {
  while (!text.empty()) {
    std::string_view entry = text.substr(0, text.find(';'));
    bool found = entry.size() > name.size() && entry.starts_with(name) && entry[name.size()] == '=';
    if (found) return entry.substr(name.size() + 1);
    text.remove_prefix(std::min(entry.size() + 1, text.size()));
  }
  return "";
}

/// An item that cannot be read counts as empty: the driver comes up with the board's values.
void read_item(nv_place place, uint8_t *bytes) {
  memset(bytes, 0, RADIO_BLOCK_SIZE);
  if (place.name && phone_nv_get(place.number, place.name, bytes) != 0) memset(bytes, 0, RADIO_BLOCK_SIZE);
}

curve curve_at(const int32_t *values) { return {double(values[0]), double(values[1]), double(values[2])}; }

const char *nominal_text(unsigned board) {
  for (size_t i = 0; const struct radio_key *key = radio_key(i); i++)
    if (key->at == offsetof(struct radio, parameter) + board * RADIO_BLOCK_SIZE) return key->initial;
  return "";
}

/// The design's curve, which the board's own value is unless the description says otherwise.
curve nominal_curve(unsigned parameter, unsigned index) {
  int32_t values[most_values] = {};
  read_values(nominal_text(rows[parameter].board), values);
  return curve_at(values + curve_values * index);
}

curve stored_curve(const struct radio &radio, const loaded_calibration &loaded, unsigned parameter,
                   unsigned index) {
  const auto &stored = loaded.parameter[parameter];
  if (stored.count) return curve_at(stored.value + curve_values * index);
  int32_t values[most_values] = {};
  unsigned count = read_values(radio.parameter[rows[parameter].board], values);
  if (count < rows[parameter].count) return nominal_curve(parameter, index);
  return curve_at(values + curve_values * index);
}

unsigned sub_band_of(int mhz) {
  return static_cast<unsigned>(
      std::count_if(std::begin(sub_band_ends), std::end(sub_band_ends), [&](int end) { return mhz > end; }));
}

unsigned curve_parameter_for(const tuning &at, format format, double power_dbm) {
  if (at.is_5g()) return power_dbm < low_power_below_dbm ? pa5glowa : pa5ga;
  if (format == format::dsss) return pa2gccka;
  return at.bandwidth_mhz == 20 ? pa2ga : pa2g40a;
}

/// Channel 14 has no offset.
unsigned offset_parameter_for(const tuning &at, format format, unsigned &index) {
  if (at.is_5g()) {
    index = at.mhz == 5570;
    return at.bandwidth_mhz == 160 && (at.mhz == 5250 || at.mhz == 5570) ? dpn160c : parameters;
  }
  if (at.mhz < 2412 || at.mhz > 2472) return parameters;
  index = static_cast<unsigned>(at.mhz - 2412) / 5;
  if (format == format::dsss) return mf2gccka;
  return at.bandwidth_mhz == 20 ? mf2ga : mf2g40a;
}

struct block_mode {
  unsigned first, count;  // of its pairs
};
constexpr block_mode block_modes[] = {{0, 2}, {2, 5}, {7, 6}, {13, 8}, {21, 5}, {26, 6}, {32, 7}, {39, 6}};

unsigned block_mode_for(const tuning &at, format format) {
  if (!at.is_5g() && format == format::dsss) return 0;
  bool legacy = format == format::ofdm || format == format::dsss;
  if (!at.is_5g()) return legacy ? 1 : at.bandwidth_mhz == 20 ? 2 : 3;
  return legacy ? 4 : at.bandwidth_mhz == 20 ? 5 : at.bandwidth_mhz == 40 ? 6 : 7;
}

/// The codes of a mode serve its rates in order, each as many of them as the count gives.
unsigned code_at(const block_mode &mode, const modulation &sent) {
  unsigned pair = mode.first + sent.rate * mode.count / rates_of(sent.format);
  return 2 * pair + 1;
}

const uint8_t *nominal_block() {
  static const auto *const radio = [] {
    auto *fresh = new struct radio;
    radio_init(fresh);
    return fresh;
  }();
  return radio->block;
}

void load_parameter(uint32_t chip, unsigned parameter, loaded_calibration &loaded) {
  uint8_t bytes[RADIO_BLOCK_SIZE];
  read_item(place_of(chip, rows[parameter]), bytes);
  const char *text = reinterpret_cast<const char *>(bytes);
  auto &into = loaded.parameter[parameter];
  into.count = read_values(entry_of({text, strnlen(text, sizeof(bytes))}, rows[parameter].name), into.value);
  if (into.count < rows[parameter].count) into.count = 0;
}

}  // namespace

bool uses_block(uint32_t chip) { return radio_chip_command(chip, 19) == RADIO_CMD_BLOCK_PUSH; }

void load_calibration(uint32_t chip, loaded_calibration &loaded) {
  loaded = {};
  if (uses_block(chip)) {
    read_item(block_place, loaded.block);
    loaded.has_block = loaded.block[0] != 0;
    return;
  }
  for (unsigned i = 0; i < parameters; i++) load_parameter(chip, i, loaded);
}

double curve::at(double x) const { return (a * x * x + 64 * b * x + 65536 * c) / 65536; }

double curve::inverse(double reading) const {
  if (a == 0) return b == 0 ? 0 : 1024 * (reading - c) / b;
  double half = 32 * b;
  double square = half * half - a * 65536 * (c - reading);
  return (std::sqrt(std::max(square, 0.0)) - half) / a;
}

power_setting setting_for(const struct radio &radio, const loaded_calibration &loaded, const tuning &at,
                          format format, double power_dbm) {
  power_setting set{};
  unsigned first = at.chain * parameters_of_chain;
  set.curve_parameter = first + curve_parameter_for(at, format, power_dbm);
  set.curve_index = at.is_5g() ? sub_band_of(at.mhz) : 0;
  set.stored = stored_curve(radio, loaded, set.curve_parameter, set.curve_index);
  set.nominal = nominal_curve(set.curve_parameter, set.curve_index);
  unsigned offset = offset_parameter_for(at, format, set.offset_index);
  set.offset_parameter = offset == parameters ? parameters : first + offset;
  if (offset == parameters) return set;
  const auto &stored = loaded.parameter[set.offset_parameter];
  if (stored.count) set.offset_db = stored.value[set.offset_index] / 10.0;
  return set;
}

block_setting block_setting_for(const struct radio &radio, const loaded_calibration &loaded, const tuning &at,
                                const modulation &sent) {
  unsigned mode = block_mode_for(at, sent.format);
  unsigned code = code_at(block_modes[mode], sent);
  const uint8_t *block = loaded.has_block ? loaded.block : radio.block;
  uint8_t nominal = nominal_block()[code];
  return {mode, block[code] ? block[code] : nominal, nominal};
}

}  // namespace phone::rf
