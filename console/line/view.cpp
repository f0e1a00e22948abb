// SPDX-License-Identifier: Apache-2.0
#include "console/line/view.h"

#include "console/run/verdict.h"
#include "console/text/text.h"

#include <fmt/format.h>

namespace console {
namespace {

constexpr const char *plain = "\033[0m";

const char *colour_of(verdict v) {
  static constexpr const char *colours[] = {"\033[32m", "\033[33m", "\033[31m", "\033[35m"};
  return colours[static_cast<size_t>(v)];
}

std::string last_verdicts(const std::vector<verdict> &all) {
  constexpr size_t most = 5;
  std::string text;
  for (size_t i = all.size() > most ? all.size() - most : 0; i < all.size(); ++i)
    text += fmt::format(" {}", word_of(all[i]));
  return text;
}

/** Texts of consoles may have line ends, and what moves a terminal's cursor. */
std::string one_line(std::string text) {
  for (auto &c : text)
    if (iscntrl(static_cast<unsigned char>(c))) c = ' ';
  return text;
}

std::string text_of(const slot_row &slot) {
  auto name = fmt::format("{:<4} ", slot.name);
  if (slot.unit.empty())
    return fmt::format("{}free, last:{}", name, slot.last.empty() ? " none" : last_verdicts(slot.last));
  return fmt::format("{}{}  {:.0f} s  {}  last:{}", name, slot.unit, slot.seconds, slot.doing,
                     last_verdicts(slot.last));
}

}  // namespace

void line_view::event(const std::string &text, std::optional<verdict> found) {
  erase();
  bool coloured = shows_slots && found;
  fmt::print("{}{}{}\n", coloured ? colour_of(*found) : "", one_line(text), coloured ? plain : "");
  fflush(stdout);
}

void line_view::show(const line_state &state) {
  if (!shows_slots) return;
  std::vector<std::string> lines;
  for (auto &slot : state.slots) lines.push_back(one_line(text_of(slot)));
  lines.push_back(fmt::format("{}; {} waiting", state.shift, state.waiting));
  lines.push_back(one_line(fmt::format("scan> {}", state.typed)));
  erase();
  for (size_t i = 0; i < lines.size(); ++i)
    fmt::print("{}{}", i ? "\n" : "", cut_to_columns(lines[i], page_width() - 1));
  shown = lines.size();
  fflush(stdout);
}

void line_view::erase() {
  if (!shown) return;
  fmt::print("\r");
  if (shown > 1) fmt::print("\033[{}A", shown - 1);
  fmt::print("\033[J");
  shown = 0;
  fflush(stdout);
}

}  // namespace console
