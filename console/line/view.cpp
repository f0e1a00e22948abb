// SPDX-License-Identifier: Apache-2.0
#include "console/line/view.h"

#include "console/run/verdict.h"
#include "console/text/text.h"

#include <cerrno>
#include <cstdio>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace console {
namespace {

constexpr const char *plain = "\033[0m";

const char *colour_of(verdict v) {
  static constexpr const char *colours[] = {"\033[32m", "\033[33m", "\033[31m", "\033[35m"};
  return colours[static_cast<size_t>(v)];
}

/** "  last: PASS FAIL"; "" before the first. */
std::string last_verdicts(const std::vector<verdict> &all) {
  constexpr size_t most = 5;
  std::string text;
  for (size_t i = all.size() > most ? all.size() - most : 0; i < all.size(); ++i)
    text += fmt::format("{} {}", text.empty() ? "  last:" : "", word_of(all[i]));
  return text;
}

/** Texts of consoles may have line ends, and what moves a terminal's cursor. */
std::string one_line(std::string text) {
  for (auto &c : text)
    if (iscntrl(static_cast<unsigned char>(c))) c = ' ';
  return text;
}

std::string text_of(const slot_row &slot) {
  auto doing =
      slot.unit.empty() ? "free" : fmt::format("{}  {:.0f} s  {}", slot.unit, slot.seconds, slot.doing);
  return fmt::format("{:<4} {}{}", slot.name, doing, last_verdicts(slot.last));
}

std::vector<std::string> lines_of(const line_state &state) {
  std::vector<std::string> lines;
  for (auto &slot : state.slots) lines.push_back(text_of(slot));
  lines.push_back(fmt::format("{} waiting; {}", state.waiting, state.shift));
  lines.push_back(fmt::format("scan> {}", state.typed));
  for (auto &line : lines) line = cut_to_columns(one_line(line), page_width() - 1);
  return lines;
}

}  // namespace

void line_view::event(const std::string &text, std::optional<verdict> found) {
  erase();
  bool coloured = shows_slots && found;
  put(fmt::format("{}{}{}\n", coloured ? colour_of(*found) : "", one_line(text), coloured ? plain : ""));
}

void line_view::show(const line_state &state) {
  if (!shows_slots) return;
  auto lines = lines_of(state);
  if (lines == shown) return;
  erase();
  put(fmt::format("{}", fmt::join(lines, "\n")));
  shown = lines;
}

void line_view::erase() {
  if (shown.empty()) return;
  put(fmt::format("\r\033[{}A\033[J", shown.size() - 1));  // the last of them is always at least the second
  shown.clear();
}

/** Not with fmt::print, which throws once the terminal is gone: the slots would get no teardown. */
void line_view::put(const std::string &text) {
  errno = 0;
  bool written = fputs(text.c_str(), stdout) >= 0 && fflush(stdout) == 0;
  if (!written && !lost) lost = errno ? errno : EIO;
}

}  // namespace console
