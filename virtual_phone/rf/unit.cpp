// SPDX-License-Identifier: Apache-2.0
// The table of a unit's quantities, the draw of a unit from its seed, and both as keys of a description.
#include "unit.h"

#include "random.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <iterator>
#include <vector>

namespace phone::rf {
namespace {

struct row {
  const char *key;
  unsigned count;  // values
  milli typical, typical_of_second, deviation, least, most;
  const char *unit, *meaning;
};

// Typical values and deviations are explained in README.md.
#define CURVE(name, count, what)                                                                             \
  { "rf.error." name, count, 0, 0, 800, -6000, 6000, "dB", "error of the power set by " name what }
#define LOW_CURVE(name)                                                                                      \
  {                                                                                                          \
    "rf.error." name, 4, 0, 0, 100, -6000, 6000, "dB",                                                       \
        "further error of the power set by " name ", four sub-bands"                                         \
  }
#define OFFSET(name, count, what)                                                                            \
  { "rf.error." name, count, 0, 0, 250, -6000, 6000, "dB", "power error that " name " cancels, " what }
#define CHAIN(n)                                                                                             \
  CURVE("pa2gccka" n, 1, ""), CURVE("pa2ga" n, 1, ""), CURVE("pa2g40a" n, 1, ""),                            \
      CURVE("pa5ga" n, 4, ", four sub-bands"), LOW_CURVE("pa5glowa" n),                                      \
      OFFSET("mf2gccka" n, channels_2g, "channels 1 to 13"),                                                 \
      OFFSET("mf2ga" n, channels_2g, "channels 1 to 13"),                                                    \
      OFFSET("mf2g40a" n, channels_2g, "channels 1 to 13"), OFFSET("dpn160c" n, 2, "5250 and 5570 MHz")

// clang-format off
constexpr row rows[] = {
    CHAIN("0"), CHAIN("1"),
    {"rf.error.block", 8, 0, 0, 600, -6000, 6000, "dB", "power error of each mode of the calibration block"},
    {"rf.detector_slope", 2, 0, 0, 400, -10000, 10000, "%", "slope error of each chain's power detector"},
    {"rf.saturation", 2, 26000, 25000, 400, 0, 40000, "dBm", "saturated output, 2.4 and 5 GHz"},
    {"rf.evm_floor", 2, -39000, -37000, 800, -60000, -5000, "dB", "EVM far from saturation, 2.4 and 5 GHz"},
    {"rf.leakage", 1, -32000, 0, 2000, -80000, 0, "dBc", "carrier leakage"},
    {"rf.crystal", 1, 0, 0, 2500, -200000, 200000, "ppm", "crystal's frequency error at 25 degrees"},
    {"rf.noise_figure", 2, 4500, 5500, 300, 0, 40000, "dB", "receiver's noise figure, 2.4 and 5 GHz"},
    {"rf.implementation_loss", 1, 2500, 0, 300, 0, 20000, "dB", "receiver's loss against ideal demodulation"},
    {"rf.rssi_offset", 2, 0, 0, 1000, -30000, 30000, "dB", "error of each chain's reported level"},
    {"rf.antenna_loss", 2, 0, 300, 80, -10000, 60000, "dB", "loss to each antenna beyond the design's"},
    {"rf.temperature", 1, 25000, 0, 0, -40000, 125000, "degrees", "chip's temperature in degrees Celsius"},
    {"rf.drift", 1, -10, 0, 2, -200, 200, "dB/K", "change of the output power with temperature"},
};
// clang-format on
static_assert(std::size(rows) == quantities, "a row per quantity");

constexpr bool has_second(const row &row) { return row.count == 2; }
static_assert(std::all_of(std::begin(rows), std::end(rows),
                          [](auto &row) { return has_second(row) || row.typical_of_second == 0; }),
              "a second typical value without a second value");

constexpr struct {
  const char *name;
  uint32_t bit;
} fault_words[] = {{"wrong_fem", wrong_fem},
                   {"cold_joint", cold_joint},
                   {"open_antenna", open_antenna},
                   {"bad_crystal", bad_crystal}};

constexpr const char *seed_key = "unit", *fault_key = "rf.fault";
constexpr int64_t largest_seed = UINT32_MAX;
constexpr size_t first_row_key = 2;

/// The reference channel's offset is zero by definition: power curves are corrected there.
constexpr unsigned reference_channel = 6;

bool is_reference(const row &row, unsigned i) { return row.count == channels_2g && i == reference_channel; }

milli typical(const row &row, unsigned i) {
  return has_second(row) && i == 1 ? row.typical_of_second : row.typical;
}

milli drawn(const row &row, unsigned i, random_stream &stream) {
  int64_t spread = stream.normal() * row.deviation / (int64_t{1} << 32);
  int64_t value = is_reference(row, i) ? 0 : typical(row, i) + spread;
  return static_cast<milli>(std::clamp<int64_t>(value, row.least, row.most));
}

void draw(struct unit &unit) {
  for (unsigned q = 0; q < quantities; q++) {
    if (unit.given >> q & 1) continue;
    const row &row = rows[q];
    auto stream = stream_of(static_cast<uint64_t>(unit.seed), row.key);
    for (unsigned i = 0; i < row.count; i++)
      unit.value[q][i] = unit.seed < 0 ? typical(row, i) : drawn(row, i, stream);
  }
}

/// The items of a list separated by commas; spaces around an item do not count.
std::vector<std::string_view> items(std::string_view text) {
  std::vector<std::string_view> all;
  for (;;) {
    size_t comma = text.find(',');
    std::string_view item = text.substr(0, comma);
    item.remove_prefix(std::min(item.find_first_not_of(' '), item.size()));
    item = item.substr(0, item.find_last_not_of(' ') + 1);
    all.push_back(item);
    if (comma == text.npos) return all;
    text.remove_prefix(comma + 1);
  }
}

std::string shown(milli value) {
  std::string text = value < 0 ? "-" : "";
  text += std::to_string(std::abs(value) / 1000);
  std::string rest = std::to_string(1000 + std::abs(value) % 1000).substr(1);
  rest.resize(rest.find_last_not_of('0') + 1);
  return rest.empty() ? text : text + "." + rest;
}

std::string expected(const row &row) {
  std::string range = " from " + shown(row.least) + " to " + shown(row.most) + " " + row.unit;
  if (row.count == 1) return "a number" + range;
  return "one number for all or " + std::to_string(row.count) + " numbers separated by commas, each" + range;
}

/// The comparisons also refuse a NaN.
bool read_milli(std::string_view text, const row &row, milli &value) {
  double number = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (error != std::errc{} || end != text.data() + text.size()) return false;
  double scaled = std::round(number * 1000);
  if (!(scaled >= row.least && scaled <= row.most)) return false;
  value = static_cast<milli>(scaled);
  return true;
}

std::string set_quantity(struct unit &unit, unsigned q, std::string_view text) {
  const row &row = rows[q];
  auto given = items(text);
  if (given.size() != 1 && given.size() != row.count) return expected(row);
  milli read[most_values] = {};
  for (unsigned i = 0; i < row.count; i++)
    if (!read_milli(given[given.size() == 1 ? 0 : i], row, read[i])) return expected(row);
  std::copy_n(read, row.count, unit.value[q]);
  unit.given |= uint64_t{1} << q;
  return "";
}

std::string get_quantity(const struct unit &unit, unsigned q) {
  std::string text = shown(unit.value[q][0]);
  for (unsigned i = 1; i < rows[q].count; i++) text.append(",").append(shown(unit.value[q][i]));
  return text;
}

std::string set_seed(struct unit &unit, std::string_view text) {
  int64_t seed = -1;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seed);
  bool whole = error == std::errc{} && end == text.data() + text.size() && seed >= 0 && seed <= largest_seed;
  if (!whole && text != "none") return "none or a number from 0 to " + std::to_string(largest_seed);
  unit.seed = whole ? seed : -1;
  draw(unit);
  return "";
}

std::string set_faults(struct unit &unit, std::string_view text) {
  uint32_t bits = 0;
  for (auto word : items(text)) {
    if (text.empty() || text == "none") break;
    auto found = std::find_if(std::begin(fault_words), std::end(fault_words),
                              [&](auto &known) { return word == known.name; });
    if (found == std::end(fault_words))
      return "none, or some of wrong_fem, cold_joint, open_antenna and bad_crystal, separated by commas";
    bits |= found->bit;
  }
  unit.faults = bits;
  return "";
}

std::string get_faults(const struct unit &unit) {
  std::string text;
  for (auto &word : fault_words)
    if (unit.faults & word.bit) text.append(text.empty() ? "" : ",").append(word.name);
  return text.empty() ? "none" : text;
}

unsigned find_quantity(std::string_view key) {
  auto found = std::find_if(std::begin(rows), std::end(rows), [&](auto &row) { return key == row.key; });
  return static_cast<unsigned>(found - std::begin(rows));
}

}  // namespace

void clear_unit(struct unit &unit) {
  unit = {.seed = -1, .given = 0, .faults = 0, .value = {}};
  draw(unit);
}

unsigned count_of(unsigned quantity) { return rows[quantity].count; }

size_t unit_keys() { return first_row_key + quantities; }

const char *unit_key(size_t i, const char **meaning) {
  static std::string meanings[quantities];
  const char *what = i == 0   ? "the unit: a seed that its RF hardware is drawn from, or none"
                     : i == 1 ? "faults of the board's RF: wrong_fem, cold_joint, open_antenna, bad_crystal"
                              : nullptr;
  if (i < first_row_key) {
    if (meaning) *meaning = what;
    return i == 0 ? seed_key : fault_key;
  }
  size_t q = i - first_row_key;
  if (q >= quantities) return nullptr;
  if (meanings[q].empty()) meanings[q] = std::string(rows[q].meaning) + ", in " + rows[q].unit;
  if (meaning) *meaning = meanings[q].c_str();
  return rows[q].key;
}

const char *find_unit_key(std::string_view name) {
  for (size_t i = 0; const char *key = unit_key(i, nullptr); i++)
    if (name == key) return key;
  return nullptr;
}

std::string set_unit_key(struct unit &unit, std::string_view key, std::string_view value) {
  if (key == seed_key) return set_seed(unit, value);
  if (key == fault_key) return set_faults(unit, value);
  return set_quantity(unit, find_quantity(key), value);
}

std::string get_unit_key(const struct unit &unit, std::string_view key) {
  if (key == seed_key) return unit.seed < 0 ? "none" : std::to_string(unit.seed);
  if (key == fault_key) return get_faults(unit);
  return get_quantity(unit, find_quantity(key));
}

}  // namespace phone::rf
