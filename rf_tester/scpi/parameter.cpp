// SPDX-License-Identifier: Apache-2.0
#include "rf_tester/scpi/parameter.h"

#include "rf_tester/scpi/errors.h"
#include "rf_tester/scpi/header.h"

#include <charconv>
#include <cmath>
#include <fmt/format.h>

namespace rf_tester::scpi {
namespace {

struct unit {
  dimension of;
  std::string_view name;
  double factor;
};

// As the standard has it, MHZ is megahertz, although M is milli with other units.
constexpr unit units[] = {
    {dimension::frequency, "HZ", 1},    {dimension::frequency, "KHZ", 1e3},
    {dimension::frequency, "MHZ", 1e6}, {dimension::frequency, "MAHZ", 1e6},
    {dimension::frequency, "GHZ", 1e9}, {dimension::level, "DBM", 1},
    {dimension::ratio, "DB", 1},        {dimension::time, "S", 1},
    {dimension::time, "MS", 1e-3},      {dimension::time, "US", 1e-6},
};

struct power_unit {
  std::string_view name;
  double milliwatts;
};
constexpr power_unit power_units[] = {{"W", 1e3}, {"MW", 1}, {"UW", 1e-3}, {"NW", 1e-6}};

[[noreturn]] void wrong_kind(const datum &sent, const parameter &due) {
  const int numbers[] = {numeric_data_not_allowed, character_data_not_allowed, string_data_not_allowed,
                         block_data_not_allowed, expression_data_not_allowed};
  throw failure(numbers[static_cast<size_t>(sent.kind)], std::string(due.name));
}

void require(const datum &sent, data_kind kind, const parameter &due) {
  if (sent.kind != kind) wrong_kind(sent, due);
}

double named_number(const datum &sent, const parameter &due) {
  if (is_choice(sent.text, "MINimum")) return due.least;
  if (is_choice(sent.text, "MAXimum")) return due.most;
  if (is_choice(sent.text, "DEFault") && !std::isnan(due.usual)) return due.usual;
  throw failure(illegal_parameter_value, fmt::format("{} {}", due.name, sent.text));
}

argument bind_number(const datum &sent, const parameter &due) {
  if (sent.kind == data_kind::word) return {named_number(sent, due), "", true};
  require(sent, data_kind::number, due);
  double value = in_base_unit(sent, due.unit, due.scale);
  // The standard rounds a number where an integer is due, and only then looks at its range. Adding 0 removes
  // the sign of -0.
  if (due.kind == parameter_kind::integer) value = std::round(value) + 0.0;
  if (!(value >= due.least && value <= due.most))
    throw failure(data_out_of_range, fmt::format("{} {}: {} to {} {}", due.name, sent.text + sent.unit,
                                                 due.least, due.most, base_unit(due.unit)));
  return {value, "", true};
}

argument bind_boolean(const datum &sent, const parameter &due) {
  if (sent.kind == data_kind::word) {
    if (is_choice(sent.text, "ON")) return {1, "", true};
    if (is_choice(sent.text, "OFF")) return {0, "", true};
    throw failure(illegal_parameter_value, fmt::format("{} {}: ON or OFF", due.name, sent.text));
  }
  require(sent, data_kind::number, due);
  if (!sent.unit.empty()) throw failure(suffix_not_allowed, sent.unit);
  return {std::round(sent.number) == 0 ? 0.0 : 1.0, "", true};
}

argument bind_choice(const datum &sent, const parameter &due) {
  require(sent, data_kind::word, due);
  std::string_view rest = due.choices;
  for (int place = 0; !rest.empty(); place++) {
    const std::string_view choice = rest.substr(0, rest.find('|'));
    if (is_choice(sent.text, choice)) return {static_cast<double>(place), std::string(choice), true};
    rest.remove_prefix(std::min(rest.size(), choice.size() + 1));
  }
  throw failure(illegal_parameter_value, fmt::format("{} {}: {}", due.name, sent.text, due.choices));
}

/** "@3", the list of one port. */
argument bind_port_list(const datum &sent, const parameter &due) {
  require(sent, data_kind::expression, due);
  int port = 0;
  const char *const last = sent.text.data() + sent.text.size();
  if (!sent.text.starts_with('@')) throw failure(invalid_expression, "a list is written (@1)");
  const auto end = std::from_chars(sent.text.data() + 1, last, port);
  if (end.ec != std::errc() || end.ptr != last)
    throw failure(invalid_expression, "name one port, as in (@1)");
  if (port < due.least || port > due.most)
    throw failure(data_out_of_range, fmt::format("{} {}: {} to {}", due.name, port, due.least, due.most));
  return {static_cast<double>(port), "", true};
}

}  // namespace

std::string_view base_unit(dimension d) {
  constexpr std::string_view names[] = {"", "Hz", "dBm", "dB", "s"};
  return names[static_cast<size_t>(d)];
}

double in_base_unit(const datum &sent, dimension d, double scale) {
  if (sent.unit.empty()) return sent.number * scale;
  if (d == dimension::none) throw failure(suffix_not_allowed, sent.unit);
  for (const unit &known : units)
    if (known.of == d && known.name == sent.unit) return sent.number * known.factor;
  for (const power_unit &known : power_units)
    if (d == dimension::level && known.name == sent.unit)
      return 10 * std::log10(sent.number * known.milliwatts);
  throw failure(invalid_suffix, fmt::format("{} is no unit of {}", sent.unit, base_unit(d)));
}

argument bind(const datum &sent, const parameter &due) {
  switch (due.kind) {
  case parameter_kind::number:
  case parameter_kind::integer: return bind_number(sent, due);
  case parameter_kind::boolean: return bind_boolean(sent, due);
  case parameter_kind::choice: return bind_choice(sent, due);
  case parameter_kind::port_list: return bind_port_list(sent, due);
  case parameter_kind::text: break;
  }
  require(sent, data_kind::string, due);
  return {0, sent.text, true};
}

std::vector<argument> bind(const std::vector<datum> &sent, const std::vector<parameter> &due,
                           size_t repeat_from) {
  std::vector<argument> bound;
  const size_t period = due.size() - repeat_from;
  for (const datum &one : sent) {
    size_t place = bound.size();
    if (place >= due.size() && period > 0) place = repeat_from + (place - repeat_from) % period;
    if (place >= due.size()) throw failure(parameter_not_allowed, one.text);
    bound.push_back(bind(one, due[place]));
  }
  for (size_t i = bound.size(); i < due.size(); i++) {
    if (!due[i].optional) throw failure(missing_parameter, std::string(due[i].name));
    bound.emplace_back();
  }
  const size_t left = period > 0 ? (bound.size() - repeat_from) % period : 0;
  if (left != 0) throw failure(missing_parameter, std::string(due[repeat_from + left].name));
  return bound;
}

bool is_choice(std::string_view word, std::string_view spelled) {
  std::vector<int> none;
  return header_pattern(spelled).match({{std::string(word)}}, none) == header_match::yes;
}

}  // namespace rf_tester::scpi
