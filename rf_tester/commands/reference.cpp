// SPDX-License-Identifier: Apache-2.0
#include "rf_tester/commands/reference.h"

#include "rf_tester/commands/command.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace rf_tester {
namespace {

using scpi::parameter;
using scpi::parameter_kind;

/** Text for a cell of a table. */
std::string cell(std::string_view text) {
  std::string escaped;
  for (const char c : text) escaped += c == '|' ? std::string("\\|") : std::string(1, c);
  return escaped;
}

/** "2.4 GHz" is easier to read than 2.4e+09 Hz. */
std::string with_unit(double value, scpi::dimension d) {
  if (d == scpi::dimension::frequency && value >= 1e6) return fmt::format("{:g} MHz", value / 1e6);
  const auto unit = scpi::base_unit(d);
  return unit.empty() ? fmt::format("{:.9g}", value) : fmt::format("{:.9g} {}", value, unit);
}

std::string range_of(const parameter &p) {
  switch (p.kind) {
  case parameter_kind::number:
  case parameter_kind::integer: break;
  case parameter_kind::boolean: return "ON, OFF, 1 or 0";
  case parameter_kind::choice: return fmt::format("`{}`", cell(p.choices));
  case parameter_kind::text: return "in quotes";
  case parameter_kind::port_list: return fmt::format("(@{:g}) to (@{:g})", p.least, p.most);
  }
  std::string text = fmt::format("{} to {}", with_unit(p.least, p.unit), with_unit(p.most, p.unit));
  if (!std::isnan(p.usual)) text += fmt::format(", default {}", with_unit(p.usual, p.unit));
  return text;
}

std::string names_of(const std::vector<parameter> &all, size_t repeat_from) {
  std::string text;
  for (const parameter &p : all) {
    const std::string name = p.optional ? fmt::format("[<{}>]", p.name) : fmt::format("<{}>", p.name);
    text += fmt::format("{}{}", text.empty() ? "" : ",", name);
  }
  return repeat_from < all.size() ? fmt::format("{},…", text) : text;
}

std::string ranges_of(const std::vector<parameter> &all) {
  std::vector<std::string> texts;
  for (const parameter &p : all) texts.push_back(fmt::format("{}: {}", p.name, range_of(p)));
  return fmt::format("{}", fmt::join(texts, "; "));
}

std::string forms_of(const command &c) {
  std::vector<std::string> forms;
  const auto form = [&](std::string_view mark, const std::string &names) {
    forms.push_back(fmt::format("`{}{}{}{}`", cell(c.header), mark, names.empty() ? "" : " ", names));
  };
  if (c.has_command_form()) form("", names_of(c.takes, c.repeat_from));
  if (c.is_setting()) {
    form("?", "[MIN\\|MAX\\|DEF]");
  } else if (c.has_query_form()) {
    form("?", names_of(c.asks, SIZE_MAX));
  }
  return fmt::format("{}", fmt::join(forms, "<br>"));
}

std::string row_of(const command &c) {
  const auto &parameters = c.has_command_form() ? c.takes : c.asks;
  const std::string answer = c.is_setting() ? "the value" : cell(c.answer);
  return fmt::format("| {} | {} | {} | {} |\n", forms_of(c), ranges_of(parameters), answer, cell(c.help));
}

std::string section(std::string_view title, std::string_view text, const std::vector<command> &commands) {
  std::string all =
      fmt::format("\n## {}\n\n{}{}| command | parameters | answer | what it does |\n|---|---|---|---|\n",
                  title, text, text.empty() ? "" : "\n\n");
  for (const command &c : commands) all += row_of(c);
  return all;
}

}  // namespace

std::string command_reference() {
  std::string all = section("In both dialects", "", common_commands());
  for (const dialect &d : dialects())
    all += section(fmt::format("Dialect {}", d.name), d.description, d.commands());
  return all;
}

}  // namespace rf_tester
