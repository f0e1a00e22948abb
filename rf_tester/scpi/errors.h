// SPDX-License-Identifier: Apache-2.0
// The standard error numbers, and the queue from which a client reads them.
#ifndef RF_TESTER_SCPI_ERRORS_H
#define RF_TESTER_SCPI_ERRORS_H

#include <cstdint>
#include <deque>
#include <stdexcept>
#include <string>

namespace rf_tester::scpi {

enum error_number : int {
  no_error = 0,
  invalid_character = -101,
  syntax_error = -102,
  invalid_separator = -103,
  parameter_not_allowed = -108,
  missing_parameter = -109,
  mnemonic_too_long = -112,
  undefined_header = -113,
  suffix_out_of_range = -114,
  numeric_data_error = -120,
  invalid_character_in_number = -121,
  exponent_too_large = -123,
  too_many_digits = -124,
  numeric_data_not_allowed = -128,
  invalid_suffix = -131,
  suffix_not_allowed = -138,
  character_data_too_long = -144,
  character_data_not_allowed = -148,
  invalid_string_data = -151,
  string_data_not_allowed = -158,
  invalid_block_data = -161,
  block_data_not_allowed = -168,
  invalid_expression = -171,
  expression_data_not_allowed = -178,
  execution_error = -200,
  init_ignored = -213,
  settings_conflict = -221,
  data_out_of_range = -222,
  too_much_data = -223,
  illegal_parameter_value = -224,
  data_stale = -230,
  file_name_not_found = -256,
  queue_overflow = -350,
  input_buffer_overrun = -363,
  query_deadlocked = -430,
};

/** The standard's text of a number. */
const char *error_text(int number);

/** Bit of the standard event status register that the class of an error sets. */
uint8_t event_bit(int number);

/** True for errors in the form of a command (-1xx). What follows in the same message is then dropped. */
bool is_command_error(int number);

/** Thrown where a command cannot be understood or carried out. what() has the detail after the standard's
 * text. */
class failure : public std::runtime_error {
public:
  explicit failure(int number, const std::string &detail = "")
      : std::runtime_error(detail), number_(number) {}
  int number() const { return number_; }

private:
  int number_;
};

/** First in, first out. The last place of a full queue tells of the overflow. */
class error_queue {
public:
  static constexpr size_t capacity = 30;

  void push(int number, const std::string &detail);
  /** `number,"text;detail"`, and `0,"No error"` when empty. */
  std::string pop();
  void clear() { entries_.clear(); }
  size_t size() const { return entries_.size(); }

private:
  std::deque<std::string> entries_;
};

}  // namespace rf_tester::scpi

#endif
