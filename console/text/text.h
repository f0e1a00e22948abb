// SPDX-License-Identifier: Apache-2.0
/* Small text helpers. */
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
/** Without the line ends and blanks behind it. */
std::string_view trim_end(std::string_view text);

/** A decimal number, signed, or 0x and hexadecimal digits; nothing before, between or behind. */
std::optional<int64_t> parse_number(std::string_view text);

/** Up to three names that somebody who typed `wrong` may have meant, the nearest first. */
std::vector<std::string> nearest(std::string_view wrong, const std::vector<std::string> &names);
/** " Did you mean a, b or c?", or "" where nothing is near. */
std::string did_you_mean(std::string_view wrong, const std::vector<std::string> &names);

/** "a, b or c"; "" for none. */
std::string either(std::vector<std::string> names);

/** "1 NV item", "2 NV items". */
std::string counted(size_t number, std::string_view what);

/** How wide a page on standard output is: as its terminal, and never too wide to read. */
size_t page_width();
/** Breaks what is wider at spaces. It goes on below its last column, or, with an indent, behind that. */
std::string fold(std::string_view text, size_t width, size_t indent = 0);

/** Does text match a glob of *, ? and [...]? */
bool glob(const std::string &pattern, const std::string &text);

/** Bytes as upper-case hexadecimal digits. */
std::string hex(const void *bytes, size_t size);

}  // namespace console

#endif
