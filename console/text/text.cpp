// SPDX-License-Identifier: Apache-2.0
#include "console/text/text.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <cwchar>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <numeric>
#include <sys/ioctl.h>
#include <tcl.h>
#include <unistd.h>

namespace console {

std::string upper(std::string_view text) {
  std::string result(text);
  std::ranges::transform(result, result.begin(),
                         [](unsigned char c) { return static_cast<char>(std::toupper(c)); });
  return result;
}

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  for (size_t from = 0; from <= text.size();) {
    auto to = std::min(text.find(separator, from), text.size());
    parts.emplace_back(text.substr(from, to - from));
    from = to + 1;
  }
  return parts;
}

std::string_view trim_end(std::string_view text) {
  auto last = text.find_last_not_of(" \t\r\n");
  return last == text.npos ? text.substr(0, 0) : text.substr(0, last + 1);
}

std::optional<int64_t> parse_number(std::string_view text) {
  bool negative = text.starts_with('-');
  if (negative) text.remove_prefix(1);
  bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
  if (hexadecimal) text.remove_prefix(2);
  uint64_t magnitude = 0;
  auto end = text.data() + text.size();
  auto [stop, error] = std::from_chars(text.data(), end, magnitude, hexadecimal ? 16 : 10);
  if (text.empty() || error != std::errc{} || stop != end || magnitude > INT64_MAX) return std::nullopt;
  auto number = static_cast<int64_t>(magnitude);
  return negative ? -number : number;
}

std::optional<double> parse_real(std::string_view text) {
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  double value = 0;
  auto end = text.data() + text.size();
  auto [stop, error] = std::from_chars(text.data(), end, value);
  return error == std::errc{} && stop == end ? std::optional(value) : std::nullopt;
}

/** The number of insertions, deletions, changes and swaps of neighbours from a to b. */
static size_t distance(std::string_view a, std::string_view b) {
  std::vector<std::vector<size_t>> d(a.size() + 1, std::vector<size_t>(b.size() + 1));
  for (size_t i = 0; i <= a.size(); ++i) d[i][0] = i;
  std::iota(d[0].begin(), d[0].end(), size_t{0});
  for (size_t i = 1; i <= a.size(); ++i)
    for (size_t j = 1; j <= b.size(); ++j) {
      d[i][j] = std::min({d[i - 1][j] + 1, d[i][j - 1] + 1, d[i - 1][j - 1] + (a[i - 1] != b[j - 1])});
      if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
        d[i][j] = std::min(d[i][j], d[i - 2][j - 2] + 1);
    }
  return d[a.size()][b.size()];
}

std::vector<std::string> nearest(std::string_view wrong, const std::vector<std::string> &names) {
  std::vector<std::pair<size_t, std::string>> near;
  for (auto &name : names) {
    auto steps = distance(wrong, name);
    bool part = wrong.size() > 3 && name.find(wrong) != name.npos;
    if (part || steps <= std::max<size_t>(wrong.size() > 4 ? 2 : 1, wrong.size() / 4))
      near.emplace_back(steps, name);
  }
  std::ranges::sort(near);
  std::vector<std::string> result;
  for (auto &[steps, name] : near)
    if (result.size() < 3 && steps <= near[0].first + 1) result.push_back(name);
  return result;
}

std::string either(std::vector<std::string> names) {
  if (names.empty()) return "";
  auto last = names.back();
  names.pop_back();
  return names.empty() ? last : fmt::format("{} or {}", fmt::join(names, ", "), last);
}

std::string did_you_mean(std::string_view wrong, const std::vector<std::string> &names) {
  auto near = nearest(wrong, names);
  return near.empty() ? "" : fmt::format(" Did you mean {}?", either(near));
}

std::string counted(size_t number, std::string_view what) {
  return fmt::format("{} {}{}", number, what, number == 1 ? "" : "s");
}

bool is_capable_terminal(int fd) {
  auto *terminal = getenv("TERM"), *no_colour = getenv("NO_COLOR");
  return isatty(fd) && terminal && *terminal && std::string_view(terminal) != "dumb" &&
         !(no_colour && *no_colour);
}

/** Takes the first character off the text and returns its width. */
static size_t take_character(std::string_view &text) {
  std::mbstate_t state = {};
  wchar_t character = 0;
  auto size = std::mbrtowc(&character, text.data(), text.size(), &state);
  bool valid = size > 0 && size <= text.size();
  text.remove_prefix(valid ? size : 1);
  return valid ? static_cast<size_t>(std::max(wcwidth(character), 0)) : 1;
}

size_t columns(std::string_view text) {
  size_t width = 0;
  while (!text.empty()) width += take_character(text);
  return width;
}

std::string_view cut_to_columns(std::string_view text, size_t width) {
  auto rest = text;
  for (size_t used = 0; !rest.empty();) {
    auto after = rest;
    used += take_character(after);
    if (used > width) break;
    rest = after;
  }
  return text.substr(0, text.size() - rest.size());
}

size_t page_width() {
  constexpr size_t least = 40, most = 110;
  winsize window = {};
  bool known = ioctl(STDOUT_FILENO, TIOCGWINSZ, &window) == 0 && window.ws_col > 0;
  return known ? std::clamp<size_t>(window.ws_col, least, most) : most;
}

/** The start of the last column that leaves enough width for continuation lines. */
static size_t last_column(std::string_view line, size_t width) {
  size_t column = line.find_first_not_of(' ');
  for (size_t at = 1; at < std::min(line.size(), width * 3 / 5); ++at)
    if (line[at] != ' ' && line.substr(0, at).ends_with("  ")) column = at;
  return column;
}

std::string fold(std::string_view text, size_t width, size_t indent) {
  std::string folded;
  for (auto &line : split(text, '\n')) {
    auto margin = indent ? indent : last_column(line, width);
    for (std::string_view rest = line; !rest.empty();) {
      auto room = width - (rest.data() == line.data() ? 0 : margin);
      auto from = rest.data() == line.data() ? margin : 0;
      auto fits = cut_to_columns(rest, room).size();
      auto end = rest.size() == fits ? rest.size() : rest.rfind(' ', fits);
      if (end == rest.npos || end <= from) end = std::min(rest.find(' ', fits), rest.size());
      folded += trim_end(rest.substr(0, end));
      rest.remove_prefix(std::min(rest.find_first_not_of(' ', end), rest.size()));
      if (!rest.empty()) folded += fmt::format("\n{:{}}", "", margin);
    }
    folded += '\n';
  }
  folded.pop_back();
  return folded;
}

bool glob(const std::string &pattern, const std::string &text) {
  return Tcl_StringMatch(text.c_str(), pattern.c_str()) != 0;
}

std::string hex(const void *bytes, size_t size) {
  auto *first = static_cast<const unsigned char *>(bytes);
  return fmt::format("{:02X}", fmt::join(first, first + size, ""));
}

}  // namespace console
