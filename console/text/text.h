// SPDX-License-Identifier: Apache-2.0
// Text helpers.
#ifndef CONSOLE_TEXT_H
#define CONSOLE_TEXT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace console {

std::string upper(std::string_view text);
std::vector<std::string> split(std::string_view text, char separator);
/** Without trailing blanks and line ends. */
std::string_view trim_end(std::string_view text);

/** A signed decimal or 0x-hexadecimal number; nothing if there is anything else in the text. */
std::optional<int64_t> parse_number(std::string_view text);
/** A decimal number as instruments and scripts write it, with fraction and exponent; NAN and INF too. Nothing
 * if there is anything else in the text. */
std::optional<double> parse_real(std::string_view text);

/** Up to three names similar to `wrong`, the nearest first. */
std::vector<std::string> nearest(std::string_view wrong, const std::vector<std::string> &names);
/** " Did you mean a, b or c?", or "" if no name is similar. */
std::string did_you_mean(std::string_view wrong, const std::vector<std::string> &names);

/** "a, b or c"; "" for none. */
std::string either(std::vector<std::string> names);

/** "1 NV item", "2 NV items". */
std::string counted(size_t number, std::string_view what);

/** May colours and cursor movements be sent there? Not unless it is a terminal, and never with NO_COLOR or on
 * a dumb one. */
bool is_capable_terminal(int fd);
/** The width of UTF-8 text on a terminal. */
size_t columns(std::string_view text);
/** As many whole characters of the text as fit. */
std::string_view cut_to_columns(std::string_view text, size_t width);

/** The width of standard output's terminal, within what is readable. */
size_t page_width();
/** Wraps wide lines at spaces. Continuation lines align with the last column, or are indented by `indent`. */
std::string fold(std::string_view text, size_t width, size_t indent = 0);

/** True if the text matches a glob of *, ? and [...]. */
bool glob(const std::string &pattern, const std::string &text);

/** Bytes as upper-case hexadecimal digits. */
std::string hex(const void *bytes, size_t size);

}  // namespace console

#endif
