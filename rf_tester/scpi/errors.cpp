// SPDX-License-Identifier: Apache-2.0
#include "rf_tester/scpi/errors.h"

#include <algorithm>
#include <fmt/format.h>
#include <iterator>

namespace rf_tester::scpi {
namespace {

struct known_error {
  int number;
  const char *text;
};

constexpr known_error known_errors[] = {
    {no_error, "No error"},
    {invalid_character, "Invalid character"},
    {syntax_error, "Syntax error"},
    {invalid_separator, "Invalid separator"},
    {parameter_not_allowed, "Parameter not allowed"},
    {missing_parameter, "Missing parameter"},
    {mnemonic_too_long, "Program mnemonic too long"},
    {undefined_header, "Undefined header"},
    {suffix_out_of_range, "Header suffix out of range"},
    {numeric_data_error, "Numeric data error"},
    {invalid_character_in_number, "Invalid character in number"},
    {exponent_too_large, "Exponent too large"},
    {too_many_digits, "Too many digits"},
    {numeric_data_not_allowed, "Numeric data not allowed"},
    {invalid_suffix, "Invalid suffix"},
    {suffix_not_allowed, "Suffix not allowed"},
    {character_data_too_long, "Character data too long"},
    {character_data_not_allowed, "Character data not allowed"},
    {invalid_string_data, "Invalid string data"},
    {string_data_not_allowed, "String data not allowed"},
    {invalid_block_data, "Invalid block data"},
    {block_data_not_allowed, "Block data not allowed"},
    {invalid_expression, "Invalid expression"},
    {expression_data_not_allowed, "Expression data not allowed"},
    {execution_error, "Execution error"},
    {init_ignored, "Init ignored"},
    {settings_conflict, "Settings conflict"},
    {data_out_of_range, "Data out of range"},
    {too_much_data, "Too much data"},
    {illegal_parameter_value, "Illegal parameter value"},
    {data_stale, "Data corrupt or stale"},
    {file_name_not_found, "File name not found"},
    {queue_overflow, "Queue overflow"},
    {input_buffer_overrun, "Input buffer overrun"},
    {query_deadlocked, "Query DEADLOCKED"},
};

/** The longest text that an error answer may have. */
constexpr size_t longest_text = 255;

/** Fit for a quoted string on one line. */
std::string printable(std::string text) {
  for (char &c : text) {
    if (c == '"') c = '\'';
    if (c < ' ' || c > '~') c = '?';
  }
  return text.substr(0, longest_text);
}

}  // namespace

const char *error_text(int number) {
  const auto *found = std::ranges::find(known_errors, number, &known_error::number);
  return found == std::end(known_errors) ? "Device-specific error" : found->text;
}

uint8_t event_bit(int number) {
  if (is_command_error(number)) return 1U << 5;
  if (number <= -200 && number > -300) return 1U << 4;
  if (number <= -400 && number > -500) return 1U << 2;
  return 1U << 3;
}

bool is_command_error(int number) { return number <= -100 && number > -200; }

void error_queue::push(int number, const std::string &detail) {
  if (entries_.size() >= capacity) {
    entries_.back() = fmt::format("{},\"{}\"", int{queue_overflow}, error_text(queue_overflow));
    return;
  }
  const std::string text =
      detail.empty() ? error_text(number) : fmt::format("{};{}", error_text(number), detail);
  entries_.push_back(fmt::format("{},\"{}\"", number, printable(text)));
}

std::string error_queue::pop() {
  if (entries_.empty()) return fmt::format("{},\"{}\"", int{no_error}, error_text(no_error));
  std::string first = std::move(entries_.front());
  entries_.pop_front();
  return first;
}

}  // namespace rf_tester::scpi
