// SPDX-License-Identifier: Apache-2.0
#include "console/tester/limit_table.h"

#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fmt/format.h>
#include <fstream>

namespace console {
namespace {

constexpr const char *conditions[] = {"format", "rate", "band", "bandwidth_mhz"};
constexpr const char *column_names[] = {"quantity", "format", "rate", "band",  "bandwidth_mhz",
                                        "low",      "high",   "unit", "source"};

/** The cells of a line; one in quotes may hold commas, and a quote as two. */
std::vector<std::string> cells_of(const std::string &line) {
  std::vector<std::string> all(1);
  bool quoted = false;
  for (size_t i = 0; i < line.size(); ++i) {
    char c = line[i];
    bool is_pair = quoted && c == '"' && i + 1 < line.size() && line[i + 1] == '"';
    if (is_pair)
      all.back() += line[i++];
    else if (c == '"')
      quoted = !quoted;
    else if (c == ',' && !quoted)
      all.emplace_back();
    else
      all.back() += c;
  }
  return all;
}

/** An empty cell fits anything. Numbers are compared as numbers. */
bool fits(const std::string &cell, const std::map<std::string, std::string> &at, const char *name) {
  auto given = at.find(name);
  if (cell.empty()) return true;
  if (given == at.end()) return false;
  auto wanted = parse_real(cell), known = parse_real(given->second);
  return wanted && known ? *wanted == *known : cell == given->second;
}

std::optional<double> number(const std::string &cell, const std::string &where) {
  auto value = parse_real(cell);
  if (!cell.empty() && !value) throw usage_error{fmt::format("{}: '{}' is no number", where, cell)};
  return value;
}

/** Without what tightening by 0.3 adds to a binary fraction. */
std::string shown(double value) {
  return fmt::format("{}", parse_real(fmt::format("{:.6f}", value)).value_or(value));
}

}  // namespace

std::string rf_limit::text(double guard) const {
  auto text = (low ? shown(*low + guard) : "") + ".." + (high ? shown(*high - guard) : "");
  if (!low && !high) return "*";
  if (low && high && *low + guard > *high - guard)
    throw usage_error{
        fmt::format("the limits {}..{} {} less {} at each end leave nothing", *low, *high, unit, guard)};
  return text;
}

limit_table::row limit_table::read(const std::vector<std::string> &names, const std::string &line,
                                   int line_number) const {
  auto where = fmt::format("{}:{}", path, line_number);
  auto cells = cells_of(line);
  if (cells.size() != names.size())
    throw usage_error{
        fmt::format("{}: {} cells where the first line names {}", where, cells.size(), names.size())};
  row found;
  for (size_t i = 0; i < cells.size(); ++i) found.cells[names[i]] = cells[i];
  found.limit = {number(found.cells["low"], where), number(found.cells["high"], where), found.cells["unit"],
                 found.cells["source"]};
  return found;
}

limit_table::limit_table(const std::string &file) : path(file) {
  std::ifstream text(file);
  if (!text)
    throw usage_error{fmt::format("The table of limits {} cannot be read: {}.", file, strerror(errno))};
  std::string line;
  std::getline(text, line);
  auto names = cells_of(std::string(trim_end(line)));
  for (auto *column : column_names)
    if (std::ranges::count(names, column) != 1)
      throw usage_error{fmt::format("{}:1: the column {} is missing", file, column)};
  for (int number = 2; std::getline(text, line); ++number)
    if (auto held = std::string(trim_end(line)); !held.empty()) rows.push_back(read(names, held, number));
}

const rf_limit &limit_table::find(const std::string &quantity,
                                  const std::map<std::string, std::string> &at) const {
  auto found = std::ranges::find_if(rows, [&](auto &each) {
    auto matches = [&](auto *name) { return fits(each.cells.at(name), at, name); };
    return each.cells.at("quantity") == quantity && std::ranges::all_of(conditions, matches);
  });
  if (found != rows.end()) return found->limit;
  std::string condition;
  for (auto &[name, value] : at) condition += fmt::format(" {} {}", name, value);
  throw usage_error{fmt::format("{} has no limit of {} for{}", path, quantity,
                                condition.empty() ? " every case" : condition)};
}

}  // namespace console
