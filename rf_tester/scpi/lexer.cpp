// SPDX-License-Identifier: Apache-2.0
#include "rf_tester/scpi/lexer.h"

#include "rf_tester/scpi/errors.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <fmt/format.h>
#include <limits>

namespace rf_tester::scpi {
namespace {

constexpr size_t longest_word = 64;
constexpr size_t most_digits = 255;
constexpr int largest_exponent = 32000;
constexpr size_t most_data = 512;

// The locale's functions would accept other letters, and must not see a negative char.
bool is_digit(char c) { return c >= '0' && c <= '9'; }
bool is_letter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }
bool is_name(char c) { return is_letter(c) || is_digit(c) || c == '_'; }
/** White space is every control character but the newline, which ends the message, and NUL. */
bool is_blank(char c) { return c == ' ' || (c > '\0' && c < ' ' && c != '\n'); }
bool is_printable(char c) { return c >= ' ' && c <= '~'; }

std::string capitals(std::string text) {
  std::ranges::transform(text, text.begin(), [](char c) { return c >= 'a' && c <= 'z' ? char(c - 32) : c; });
  return text;
}

[[noreturn]] void unexpected(char c) {
  if (!is_printable(c))
    throw failure(invalid_character, fmt::format("octet {}", static_cast<unsigned char>(c)));
  throw failure(syntax_error, fmt::format("at '{}'", c));
}

}  // namespace

bool lexer::next(program_unit &unit) {
  unit = {};
  for (skip_blanks(); peek() == ';'; skip_blanks()) at_++;
  if (at_end()) return false;
  read_header(unit);
  if (!at_end() && peek() != ';') {
    if (!is_blank(peek())) {
      if (is_printable(peek()))
        throw failure(invalid_separator, fmt::format("'{}' after the header", peek()));
      unexpected(peek());
    }
    read_data(unit);
  }
  if (!at_end()) at_++;
  return true;
}

void lexer::skip_blanks() {
  while (!at_end() && is_blank(peek())) at_++;
}

void lexer::read_header(program_unit &unit) {
  const size_t begin = at_;
  if (peek() == '*' || peek() == ':') at_++;
  if (!is_letter(peek())) unexpected(peek());
  while (!at_end() && (is_name(peek()) || peek() == ':')) at_++;
  unit.header = text_.substr(begin, at_ - begin);
  if (unit.header.ends_with(':') || unit.header.find("::") != std::string::npos)
    throw failure(syntax_error, "an empty node in " + unit.header);
  unit.query = peek() == '?';
  if (unit.query) at_++;
}

void lexer::read_data(program_unit &unit) {
  skip_blanks();
  if (at_end() || peek() == ';') return;
  for (;;) {
    if (unit.data.size() >= most_data)
      throw failure(parameter_not_allowed, fmt::format("more than {} parameters", most_data));
    skip_blanks();
    unit.data.push_back(read_datum());
    skip_blanks();
    if (at_end() || peek() == ';') return;
    if (peek() != ',') {
      if (!is_printable(peek())) unexpected(peek());
      throw failure(invalid_separator, fmt::format("'{}' where a comma is due", peek()));
    }
    at_++;
  }
}

bool lexer::at_number() const {
  const char c = peek();
  return is_digit(c) || c == '+' || c == '-' || c == '.';
}

datum lexer::read_datum() {
  const char c = peek();
  if (c == '"' || c == '\'') return read_string();
  if (c == '(') return read_expression();
  if (c == '#') return read_block();
  if (is_letter(c)) return read_word();
  if (at_number()) return read_number();
  if (c == ',' || c == ';' || at_end()) throw failure(syntax_error, "an empty parameter");
  unexpected(c);
}

std::string lexer::take_letters_and_digits() {
  const size_t begin = at_;
  while (!at_end() && is_name(peek())) at_++;
  return text_.substr(begin, at_ - begin);
}

datum lexer::read_number() {
  datum read = read_decimal();
  skip_blanks();
  if (is_letter(peek())) read.unit = capitals(take_letters_and_digits());
  if (is_name(peek()) || peek() == '.' || peek() == '+' || peek() == '-')
    throw failure(invalid_character_in_number, fmt::format("'{}' after {}", peek(), read.text));
  return read;
}

std::string lexer::read_exponent(const std::string &mantissa) {
  size_t begin = at_;
  while (begin < text_.size() && is_blank(text_[begin])) begin++;
  if (begin == text_.size() || (text_[begin] != 'E' && text_[begin] != 'e')) return "";
  // An E with digits is an exponent; any other begins a unit.
  size_t digits = begin + 1;
  if (digits < text_.size() && (text_[digits] == '+' || text_[digits] == '-')) digits++;
  if (digits >= text_.size() || !is_digit(text_[digits])) return "";
  int value = 0;
  const auto end = std::from_chars(text_.data() + digits, text_.data() + text_.size(), value);
  if (end.ec != std::errc() || value > largest_exponent) throw failure(exponent_too_large, mantissa);
  at_ = static_cast<size_t>(end.ptr - text_.data());
  return text_.substr(begin, at_ - begin);
}

datum lexer::read_decimal() {
  const size_t begin = at_;
  size_t digits = 0;
  if (peek() == '+' || peek() == '-') at_++;
  for (; is_digit(peek()); at_++) digits++;
  if (peek() == '.') at_++;
  for (; is_digit(peek()); at_++) digits++;
  datum read{data_kind::number, text_.substr(begin, at_ - begin)};
  if (digits == 0) throw failure(numeric_data_error, fmt::format("'{}' has no digits", read.text));
  if (digits > most_digits) throw failure(too_many_digits, fmt::format("{} digits", digits));
  read.text += read_exponent(read.text);
  // Beyond the range of a double it is infinite or zero, which the parameter's range decides about.
  read.number = std::strtod(read.text.c_str(), nullptr);
  return read;
}

datum lexer::read_word() {
  datum read{data_kind::word, take_letters_and_digits()};
  if (read.text.size() > longest_word)
    throw failure(character_data_too_long, read.text.substr(0, longest_word));
  return read;
}

datum lexer::read_string() {
  const char quote = peek();
  datum read{data_kind::string};
  for (at_++; !at_end(); at_++) {
    if (peek() == quote) {
      at_++;
      if (peek() != quote || at_end()) return read;  // a doubled quote stands for one
    }
    if (static_cast<signed char>(peek()) <= 0) unexpected(peek());
    read.text += peek();
  }
  throw failure(invalid_string_data, "the closing quote is missing");
}

datum lexer::read_based_number(int base) {
  at_ += 2;
  const std::string digits = take_letters_and_digits();
  uint64_t value = 0;
  const char *const last = digits.data() + digits.size();
  const auto end = std::from_chars(digits.data(), last, value, base);
  if (digits.empty() || end.ec == std::errc::invalid_argument)
    throw failure(numeric_data_error, "no digits after '#'");
  if (end.ptr != last)
    throw failure(invalid_character_in_number, fmt::format("'{}' in {}", *end.ptr, digits));
  const bool fits = end.ec == std::errc();
  return {data_kind::number, digits,
          fits ? static_cast<double>(value) : std::numeric_limits<double>::infinity()};
}

datum lexer::read_block() {
  const char mark = at_ + 1 < text_.size() ? text_[at_ + 1] : '\0';
  if (mark == 'H' || mark == 'h') return read_based_number(16);
  if (mark == 'Q' || mark == 'q') return read_based_number(8);
  if (mark == 'B' || mark == 'b') return read_based_number(2);
  if (mark < '1' || mark > '9') throw failure(invalid_block_data, "a digit is due after '#'");
  at_ += 2;
  const auto width = static_cast<size_t>(mark - '0');
  size_t length = 0;
  const std::string digits = text_.substr(at_, width);
  const auto end = std::from_chars(digits.data(), digits.data() + digits.size(), length);
  if (digits.size() != width || end.ptr != digits.data() + width || end.ec != std::errc())
    throw failure(invalid_block_data, "its length is not a number");
  at_ += width;
  if (length > text_.size() - at_) throw failure(invalid_block_data, "it is shorter than announced");
  datum read{data_kind::block, text_.substr(at_, length)};
  at_ += length;
  return read;
}

datum lexer::read_expression() {
  const size_t begin = at_ + 1;
  for (at_++; !at_end() && peek() != ')'; at_++)
    if (!is_printable(peek()) || peek() == ';' || peek() == '(' || peek() == '"')
      throw failure(invalid_expression, "it holds a character that it must not");
  if (at_end()) throw failure(invalid_expression, "the closing parenthesis is missing");
  datum read{data_kind::expression, text_.substr(begin, at_ - begin)};
  at_++;
  return read;
}

}  // namespace rf_tester::scpi
