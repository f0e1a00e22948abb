// SPDX-License-Identifier: Apache-2.0
#include "console/tester/instrument_profile.h"

#include "console/tester/filled_text.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <fstream>
// As the virtual phone has it: both become part of one program.
#define TOML_EXCEPTIONS 0
#include <toml++/toml.h>

namespace console {
namespace {

struct action_row {
  const char *name;
  std::vector<std::string> may_name;
};

const action_row actions[] = {
    {"reset", {}},
    {"select_port", {"port"}},
    {"set_path_loss", {"points", "port"}},
    {"expect_power", {"dbm"}},
    {"channel", {"band", "bandwidth_hz", "bandwidth_mhz", "channel", "hz", "mhz"}},
    {"trigger_timeout", {"ms", "s"}},
    {"average", {"count"}},
    {"measure_burst", {}},
    {"load_waveform", {"bandwidth_mhz", "format", "rate"}},
    {"generator_level", {"dbm"}},
    {"send_packets", {"count"}},
};
const std::vector<std::string> point_names = {"db", "hz", "mhz"};
const std::set<std::string> text_names = {"points", "band", "format", "rate"};

/** The values, each with the units that its answer may have. */
const std::map<std::string, std::vector<std::string>> value_units = {{"power", {"W", "dBm"}},
                                                                     {"evm", {"dB", "percent"}},
                                                                     {"frequency_error", {"Hz", "ppm"}},
                                                                     {"mask_margin", {"dB"}},
                                                                     {"sent", {"packets"}}};
constexpr const char *outcome_names[] = {"good", "timeout", "over_range", "under_range", "no_sync"};

std::string trim(const std::string &text) {
  auto first = text.find_first_not_of(" \t\r\n");
  return first == text.npos ? "" : std::string(trim_end(text.substr(first)));
}

template <class T> constexpr const char *type_name = "text";
template <> constexpr const char *type_name<int64_t> = "whole number";
template <> constexpr const char *type_name<double> = "number";

/** Takes keys from a table and complains about what is missing, of the wrong type, or left over. */
class reader {
public:
  reader(std::string file, std::string where, const toml::table &from)
      : path(std::move(file)), place(std::move(where)), table(from) {}

  usage_error wrong(std::string_view key, const std::string &what) const {
    return {fmt::format("{}: {}{}{}: {}", path, place, place.empty() ? "" : ".", key, what)};
  }

  template <class T> std::optional<T> find(std::string_view key) {
    taken.emplace(key);
    auto *node = table.get(key);
    if (!node) return std::nullopt;
    auto value = node->value<T>();
    bool exact = std::is_same_v<T, double> ? node->is_number() : node->value_exact<T>().has_value();
    if (!value || !exact) throw wrong(key, fmt::format("is no {}", type_name<T>));
    return value;
  }
  template <class T> T take(std::string_view key) {
    auto value = find<T>(key);
    return value ? *value : throw wrong(key, "is missing");
  }

  reader sub(std::string_view key) {
    taken.emplace(key);
    auto *node = table.get(key);
    if (!node) throw wrong(key, "is missing");
    if (!node->is_table()) throw wrong(key, "is no table");
    return {path, fmt::format("{}{}{}", place, place.empty() ? "" : ".", key), *node->as_table()};
  }

  std::vector<std::string> texts(std::string_view key) {
    taken.emplace(key);
    auto *node = table.get(key);
    if (!node) throw wrong(key, "is missing");
    if (!node->is_array()) throw wrong(key, "is no list");
    std::vector<std::string> all;
    for (auto &item : *node->as_array()) {
      auto text = item.value_exact<std::string>();
      all.push_back(text ? *text : throw wrong(key, "holds something that is no text"));
    }
    return all;
  }

  bool has(std::string_view key) const { return table.contains(key); }

  std::vector<reader> tables(std::string_view key) {
    taken.emplace(key);
    std::vector<reader> all;
    auto *node = table.get(key);
    if (node && !node->is_array_of_tables()) throw wrong(key, "is no list of tables");
    if (node)
      for (auto &item : *node->as_array()) all.emplace_back(path, std::string(key), *item.as_table());
    return all;
  }

  std::regex regex(std::string_view key, const std::string &text) const {
    try {
      return std::regex(text);
    } catch (const std::regex_error &e) {
      throw wrong(key, fmt::format("'{}' is no regular expression: {}", text, e.what()));
    }
  }

  profile_answer answer() {
    profile_answer found{take<std::string>("ask"), find<int64_t>("field"), find<std::string>("pattern"), {}};
    if (found.pattern_text) found.pattern = regex("pattern", *found.pattern_text);
    if (found.field && (found.pattern_text || *found.field < 0))
      throw wrong("field", "give a field from 0, or a pattern, not both");
    return found;
  }

  /** A text that may name these in braces. Filled once for trial, which finds formats that do not fit. */
  const std::string &checked(std::string_view key, const std::vector<std::string> &may_name,
                             const std::string &text) const {
    try {
      fill(text, [&](const std::string &name) -> text_value {
        if (std::ranges::count(may_name, name) == 0)
          throw usage_error{
              fmt::format("'{}' names {}; it may name {}", text, name,
                          may_name.empty() ? "nothing" : fmt::format("{}", fmt::join(may_name, ", ")))};
        return text_names.contains(name) ? text_value("x") : text_value(1.0);
      });
    } catch (const usage_error &e) { throw wrong(key, e.message); }
    return text;
  }

  /** Every key must have been asked for. */
  void end() const {
    for (auto &[key, node] : table)
      if (!taken.contains(std::string(key.str()))) throw wrong(key.str(), "is no key of a profile");
  }

private:
  std::string path, place;
  const toml::table &table;
  std::set<std::string> taken;
};

std::map<std::string, std::vector<std::string>> read_actions(reader from) {
  std::map<std::string, std::vector<std::string>> all;
  for (auto &row : actions) {
    all[row.name] = from.texts(row.name);
    for (auto &text : all[row.name]) from.checked(row.name, row.may_name, text);
  }
  from.end();
  return all;
}

profile_answer read_answer(reader from) {
  auto found = from.answer();
  from.end();
  return found;
}

profile_value read_value(reader from, const std::vector<std::string> &units) {
  auto unit = from.take<std::string>("unit");
  if (std::ranges::count(units, unit) == 0)
    throw from.wrong("unit", fmt::format("'{}': give {}", unit, either(units)));
  auto scale = from.find<double>("scale").value_or(1.0);
  profile_value found{from.answer(), unit, scale};
  from.end();
  return found;
}

void read_values(reader from, instrument_profile &into) {
  if (from.has("missing"))
    for (auto &text : from.texts("missing")) into.missing.insert(text);
  for (auto &[name, units] : value_units) into.values.emplace(name, read_value(from.sub(name), units));
  from.end();
}

void read_outcomes(reader from, instrument_profile &into) {
  into.outcome = from.answer();
  for (auto *name : outcome_names)
    if (from.has(name))
      for (auto &text : from.texts(name)) into.outcomes[text] = name;
  from.end();
  if (!from.has("good")) throw from.wrong("good", "is missing");
}

void read_path_loss(reader from, instrument_profile &into) {
  into.point = from.checked("point", point_names, from.take<std::string>("point"));
  into.separator = from.find<std::string>("separator").value_or(",");
  into.sign = from.find<int64_t>("sign").value_or(1);
  from.end();
  if (into.sign != 1 && into.sign != -1)
    throw from.wrong("sign",
                     fmt::format("{}: give 1 where a loss is positive, -1 where it is a gain", into.sign));
}

void read_connection(reader from, instrument_profile &into) {
  into.termination = from.find<std::string>("termination").value_or("\n");
  into.timeout_ms = from.find<int64_t>("timeout_ms").value_or(5000);
  from.end();
  if (!into.termination.ends_with('\n')) throw from.wrong("termination", "ends in no newline");
  if (into.timeout_ms < 1 || into.timeout_ms > 3'600'000)
    throw from.wrong("timeout_ms", fmt::format("{}: give 1 to 3600000", into.timeout_ms));
}

void read_identity(reader from, instrument_profile &into) {
  into.identify = from.answer();
  if (auto busy = from.find<std::string>("busy")) into.busy = from.regex("busy", *busy);
  from.end();
}

void read_error(reader from, instrument_profile &into) {
  into.error = from.answer();
  from.end();
  if (!into.error.pattern_text || into.error.pattern.mark_count() != 2)
    throw from.wrong("pattern", "is due with two groups, the number and the text of an error");
}

profile_band read_band(reader from) {
  profile_band band{from.take<std::string>("name"), from.take<double>("zero_mhz"),
                    from.take<double>("from_mhz"), from.take<double>("to_mhz")};
  from.end();
  return band;
}

void read_uncertainty(reader from, instrument_profile &into) {
  for (auto &each : quantities) into.uncertainty[each.name] = from.take<double>(each.uncertainty);
  from.end();
}

instrument_profile read_profile(const std::string &path, reader top) {
  instrument_profile all{};
  all.path = path;
  all.name = top.take<std::string>("name");
  read_connection(top.sub("connection"), all);
  read_identity(top.sub("identify"), all);
  read_uncertainty(top.sub("uncertainty"), all);
  all.actions = read_actions(top.sub("actions"));
  read_path_loss(top.sub("path_loss"), all);
  for (auto &band : top.tables("bands")) all.bands.push_back(read_band(band));
  all.done = read_answer(top.sub("done"));
  read_error(top.sub("error"), all);
  read_outcomes(top.sub("outcome"), all);
  read_values(top.sub("values"), all);
  top.end();
  return all;
}

}  // namespace

std::vector<std::string> quantity_names() {
  std::vector<std::string> names;
  for (auto &each : quantities) names.emplace_back(each.name);
  return names;
}

const quantity &find_quantity(const std::string &name) {
  auto found = std::ranges::find(quantities, name, &quantity::name);
  if (found != std::end(quantities)) return *found;
  throw usage_error{fmt::format("\"{}\" is no quantity that a test set measures: give {}.", name,
                                either(quantity_names()))};
}

std::string profile_answer::part_of(const std::string &answer) const {
  if (pattern_text) {
    std::smatch found;
    if (!std::regex_search(answer, found, pattern))
      throw usage_error{fmt::format("{} answered '{}', which does not match {}", ask, answer, *pattern_text)};
    return found.size() > 1 ? found[1].str() : found[0].str();
  }
  if (!field) return trim(answer);
  auto fields = split(answer, ',');
  if (static_cast<size_t>(*field) >= fields.size())
    throw usage_error{fmt::format("{} answered '{}', which has no field {}", ask, answer, *field)};
  return trim(fields[static_cast<size_t>(*field)]);
}

std::optional<double> profile_value::converted(double number, double mhz) const {
  number *= scale;
  if (unit == "W") return number > 0 ? std::optional(10 * std::log10(number * 1e3)) : std::nullopt;
  if (unit == "percent") return number > 0 ? std::optional(20 * std::log10(number / 100)) : std::nullopt;
  return unit == "Hz" ? number / mhz : number;
}

instrument_profile load_instrument_profile(const std::string &path) {
  std::ifstream file(path);
  if (!file)
    throw usage_error{fmt::format("The instrument profile {} cannot be read: {}.", path, strerror(errno))};
  std::string text(std::istreambuf_iterator<char>(file), {});
  auto parsed = toml::parse(text);
  if (!parsed)
    throw usage_error{
        fmt::format("{}:{}: {}", path, parsed.error().source().begin.line, parsed.error().description())};
  return read_profile(path, {path, "", parsed.table()});
}

}  // namespace console
