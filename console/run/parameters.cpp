// SPDX-License-Identifier: Apache-2.0
#include "console/run/parameters.h"

#include "console/text/text.h"
#include "console/text/usage_error.h"
#include "console/text/within.h"

#include <algorithm>
#include <cctype>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <iterator>

namespace console {
namespace {

/** A limit that is neither a range nor a list is a number. */
bool is_number(const std::string &value) {
  return value != "*" && value.find("..") == value.npos && value.find(',') == value.npos &&
         limits_error(value).empty();
}

struct type_row {
  const char *name;
  const char *article;
  bool (*fits)(const std::string &value);
};

constexpr type_row types[] = {
    {"integer", "an", [](auto &value) { return parse_number(value).has_value(); }},
    {"number", "a", is_number},
    {"text", "a", [](auto &) { return true; }},
    {"limits", "", [](auto &value) { return limits_error(value).empty(); }},
};

const type_row &type_of(const parameter &p) {
  auto row = std::ranges::find(types, p.type, &type_row::name);
  if (row != std::end(types)) return *row;
  std::vector<std::string> names;
  for (auto &type : types) names.emplace_back(type.name);
  throw usage_error{fmt::format("parameter {}: \"{}\" is no type: give {}.", p.name, p.type, either(names))};
}

bool is_name(const std::string &name) {
  auto fits = [](unsigned char c) { return isalnum(c) || c == '_'; };
  return !name.empty() && std::ranges::all_of(name, fits);
}

/** "an integer in 0..300" */
std::string wanted_value(const parameter &p) {
  auto article = std::string_view(type_of(p).article);
  auto text = fmt::format("{}{}{}", article, article.empty() ? "" : " ", p.type);
  return p.limits == "*" ? text : fmt::format("{} in {}", text, p.limits);
}

/** "" or what is wrong with the value. */
std::string value_error(const parameter &p, const std::string &value, const char *what) {
  bool in_limits = p.type == "limits" || within(p.limits, value);
  if (type_of(p).fits(value) && in_limits) return "";
  return fmt::format("parameter {}: {} is \"{}\": give {}.", p.name, what, value, wanted_value(p));
}

void check_declaration(const parameter &p) {
  if (!is_name(p.name))
    throw usage_error{fmt::format("parameter: \"{}\" is no name: give letters, digits and _.", p.name)};
  type_of(p);
  auto wrong = p.type == "integer" || p.type == "number" ? limits_error(p.limits) : "";
  if (!wrong.empty()) throw usage_error{fmt::format("parameter {}: {}.", p.name, wrong)};
  if (p.fallback) require(value_error(p, *p.fallback, "the default"));
}

std::string description(const parameter &p) {
  return fmt::format("{} ({}, {})", p.name, wanted_value(p),
                     p.fallback ? fmt::format("default {}", p.fallback->empty() ? "\"\"" : *p.fallback)
                                : "must be given");
}

}  // namespace

given_parameters parse_parameters(const std::vector<std::string> &words) {
  given_parameters all;
  for (auto &word : words) {
    auto equals = word.find('=');
    auto name = word.substr(0, equals);
    if (equals == word.npos || !is_name(name))
      throw usage_error{fmt::format(
          "\"{}\" is no parameter: give NAME=VALUE, as in: run sessions/rf.tcl -- power=155", word)};
    if (std::ranges::find(all, name, &given_parameters::value_type::first) != all.end())
      throw usage_error{fmt::format("The parameter {} is given twice: give it once.", name)};
    all.emplace_back(name, word.substr(equals + 1));
  }
  return all;
}

const parameter &parameters::declare(parameter wanted) {
  check_declaration(wanted);
  if (std::ranges::find(declared, wanted.name, &parameter::name) != declared.end())
    throw usage_error{fmt::format("parameter {}: it is declared already.", wanted.name)};
  auto found = std::ranges::find(given, wanted.name, &given_parameters::value_type::first);
  wanted.given = found != given.end();
  wanted.value = wanted.given ? found->second : wanted.fallback.value_or("");
  if (wanted.given && wrong_value.empty()) wrong_value = value_error(wanted, wanted.value, "the value");
  return declared.emplace_back(std::move(wanted));
}

std::string parameters::taken() const {
  std::vector<std::string> all;
  std::ranges::transform(declared, std::back_inserter(all), description);
  return all.empty() ? "The session takes no parameters."
                     : fmt::format("The session takes {}.", fmt::join(all, ", "));
}

std::string parameters::fault(bool all_declared) const {
  if (!wrong_value.empty()) return fmt::format("{} {}", wrong_value, taken());
  for (auto &p : declared)
    if (!p.given && !p.fallback) return fmt::format("The parameter {} is missing. {}", p.name, taken());
  std::vector<std::string> names;
  for (auto &p : declared) names.push_back(p.name);
  for (auto &[name, value] : given)
    if (all_declared && std::ranges::find(names, name) == names.end())
      return fmt::format("There is no parameter \"{}\".{} {}", name, did_you_mean(name, names), taken());
  return "";
}

}  // namespace console
