#include "within.h"

#include "text.h"

#include <fmt/format.h>
#include <optional>

namespace station {
namespace {

struct range {
  int64_t low = INT64_MIN;
  int64_t high = INT64_MAX;
};

std::optional<range> parse_range(const std::string &text) {
  auto dots = text.find("..");
  if (dots == text.npos) {
    auto number = parse_number(text);
    return number ? std::optional(range{*number, *number}) : std::nullopt;
  }
  auto low = text.substr(0, dots), high = text.substr(dots + 2);
  range r;
  if (low.empty() && high.empty()) return std::nullopt;
  for (auto [part, bound] : {std::pair(&low, &r.low), std::pair(&high, &r.high)})
    if (!part->empty()) {
      auto number = parse_number(*part);
      if (!number) return std::nullopt;
      *bound = *number;
    }
  return r;
}

bool meets(const std::string &limit, const std::string &value) {
  auto number = parse_number(value);
  auto allowed = parse_range(limit);
  if (number && allowed) return *number >= allowed->low && *number <= allowed->high;
  return glob(limit, value);
}

}  // namespace

std::string limits_error(const std::string &limits) {
  for (auto &limit : split(limits, ',')) {
    if (limit == "*") continue;
    auto r = parse_range(limit);
    if (!r)
      return fmt::format(
          "\"{}\" is no limit: give a number, LOW..HIGH, LOW.., ..HIGH, a list with commas, or *", limit);
    if (r->low > r->high)
      return fmt::format("\"{}\" allows nothing: its low end is above its high end", limit);
  }
  return "";
}

bool within(const std::string &limits, const std::string &value) {
  if (limits == value) return true;
  for (auto &limit : split(limits, ','))
    if (meets(limit, value)) return true;
  return false;
}

}  // namespace station
