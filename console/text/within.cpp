// SPDX-License-Identifier: Apache-2.0
#include "console/text/within.h"

#include "console/text/text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <fmt/format.h>
#include <iterator>
#include <optional>

namespace console {

std::optional<double> parse_value(const std::string &text) {
  if (auto whole = parse_number(text)) return static_cast<double>(*whole);
  double value = 0;
  auto end = text.data() + text.size();
  auto [stop, error] = std::from_chars(text.data(), end, value, std::chars_format::fixed);
  bool finite = error == std::errc{} && stop == end && std::isfinite(value);
  return finite ? std::optional(value) : std::nullopt;
}

std::string without_exponent(const std::string &text) {
  auto value = parse_real(text);
  if (parse_value(text) || !value || !std::isfinite(*value)) return text;
  char digits[400];  // the longest has a sign, 323 zeros, a point and 17 digits
  auto made = std::to_chars(std::begin(digits), std::end(digits), *value, std::chars_format::fixed);
  return {std::begin(digits), made.ptr};
}

namespace {

struct range {
  double low = -HUGE_VAL;
  double high = HUGE_VAL;
};

std::optional<range> parse_range(const std::string &text) {
  auto dots = text.find("..");
  if (dots == text.npos) {
    auto number = parse_value(text);
    return number ? std::optional(range{*number, *number}) : std::nullopt;
  }
  auto low = text.substr(0, dots), high = text.substr(dots + 2);
  range r;
  if (low.empty() && high.empty()) return std::nullopt;
  for (auto [part, bound] : {std::pair(&low, &r.low), std::pair(&high, &r.high)})
    if (!part->empty()) {
      auto number = parse_value(*part);
      if (!number) return std::nullopt;
      *bound = *number;
    }
  return r;
}

bool meets(const std::string &limit, const std::string &value) {
  auto number = parse_value(value);
  auto allowed = parse_range(limit);
  if (number && allowed) return *number >= allowed->low && *number <= allowed->high;
  return glob(limit, value);
}

std::string limit_error(const std::string &limit) {
  if (limit == "*") return "";
  auto r = parse_range(limit);
  if (!r)
    return fmt::format(
        "\"{}\" is no limit: give a number, LOW..HIGH, LOW.., ..HIGH, a list with commas, or *", limit);
  if (r->low > r->high) return fmt::format("\"{}\" allows nothing: its low end is above its high end", limit);
  return "";
}

}  // namespace

std::string limits_error(const std::string &limits) {
  for (auto &limit : split(limits, ','))
    if (auto wrong = limit_error(limit); !wrong.empty()) return wrong;
  return "";
}

std::string range_error(const std::string &limits) {
  for (auto &limit : split(limits, ','))
    if (limit.find("..") != limit.npos)
      if (auto wrong = limit_error(limit); !wrong.empty()) return wrong;
  return "";
}

bool within(const std::string &limits, const std::string &value) {
  if (limits == value) return true;
  for (auto &limit : split(limits, ','))
    if (meets(limit, value)) return true;
  return false;
}

bool names_value(const std::string &limits, const std::string &value) {
  auto number = parse_value(value);
  auto is_it = [&](auto &limit) {
    auto named = parse_value(limit);
    return limit == value || (named && number && *named == *number);
  };
  return std::ranges::any_of(split(limits, ','), is_it);
}

}  // namespace console
