// SPDX-License-Identifier: Apache-2.0
#include "console/tester/filled_text.h"

#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <cmath>
#include <cstdint>
#include <fmt/format.h>

namespace console {
namespace {

bool is_for_fractions(const std::string &format) {
  return !format.empty() && std::string_view("eEfFgG%").find(format.back()) != std::string_view::npos;
}

std::string written(double number, const std::string &format) {
  auto form = fmt::format("{{:{}}}", format);
  bool whole = std::abs(number) < 1e15 && number == std::trunc(number);
  return whole && !is_for_fractions(format) ? fmt::format(fmt::runtime(form), static_cast<int64_t>(number))
                                            : fmt::format(fmt::runtime(form), number);
}

std::string written(const std::string &text, const std::string &format) {
  return format == "upper" ? upper(text) : fmt::format(fmt::runtime(fmt::format("{{:{}}}", format)), text);
}

/** "dbm:.2f" as it is written. */
std::string field(const std::string &inside, const std::function<text_value(const std::string &)> &value_of) {
  auto colon = std::min(inside.find(':'), inside.size());
  auto format = inside.substr(std::min(colon + 1, inside.size()));
  auto value = value_of(inside.substr(0, colon));
  try {
    return std::visit([&](auto &held) { return written(held, format); }, value);
  } catch (const fmt::format_error &) {
    throw usage_error{fmt::format("{{{}}} has a format that does not fit its value", inside)};
  }
}

}  // namespace

std::string fill(const std::string &text,
                 const std::function<text_value(const std::string &name)> &value_of) {
  std::string filled;
  for (size_t at = 0; at < text.size(); ++at) {
    char c = text[at];
    if (c != '{' && c != '}') {
      filled += c;
    } else if (at + 1 < text.size() && text[at + 1] == c) {
      filled += text[at++];
    } else {
      auto close = c == '{' ? text.find('}', at) : text.npos;
      if (close == text.npos) throw usage_error{fmt::format("'{}' has a brace without its other one", text)};
      filled += field(text.substr(at + 1, close - at - 1), value_of);
      at = close;
    }
  }
  return filled;
}

std::string fill(const std::string &text, const text_values &values) {
  return fill(text, [&](const std::string &name) { return values.at(name); });
}

}  // namespace console
