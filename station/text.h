/* Small text helpers. */
#ifndef STATION_TEXT_H
#define STATION_TEXT_H

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace station {

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

/** Does text match a glob of *, ? and [...]? */
bool glob(const std::string &pattern, const std::string &text);

/** Bytes as upper-case hexadecimal digits. */
std::string hex(const void *bytes, size_t size);

}  // namespace station

#endif
