// SPDX-License-Identifier: Apache-2.0
// Reads a program message: units separated by `;`, each a header and its data separated by `,`.
#ifndef RF_TESTER_SCPI_LEXER_H
#define RF_TESTER_SCPI_LEXER_H

#include <string>
#include <string_view>
#include <vector>

namespace rf_tester::scpi {

enum class data_kind { number, word, string, block, expression };

/** One datum as it was sent, not yet compared with what the command takes. */
struct datum {
  data_kind kind = data_kind::word;
  /** The contents of a string, block or expression; the word; a number's digits. */
  std::string text = {};
  double number = 0;
  /** What follows a number, in capitals: "MHZ". */
  std::string unit = {};
};

struct program_unit {
  /** With its leading colon, if there is one; without the question mark. */
  std::string header;
  bool query = false;
  std::vector<datum> data;
};

/** Gives the units of a message one after the other, so that those before an error are carried out. */
class lexer {
public:
  explicit lexer(std::string message) : text_(std::move(message)) {}
  /** The next unit that is not empty; false at the end. Throws failure with a command error. */
  bool next(program_unit &unit);

private:
  bool at_end() const { return at_ >= text_.size(); }
  char peek() const { return at_end() ? '\0' : text_[at_]; }
  bool at_number() const;
  void skip_blanks();
  void read_header(program_unit &unit);
  void read_data(program_unit &unit);
  datum read_datum();
  datum read_number();
  /** The exponent after a mantissa, without the blanks before it; "" if none follows. */
  std::string read_exponent(const std::string &mantissa);
  datum read_decimal();
  datum read_based_number(int base);
  datum read_word();
  datum read_string();
  datum read_block();
  datum read_expression();
  std::string take_letters_and_digits();

  std::string text_;
  size_t at_ = 0;
};

}  // namespace rf_tester::scpi

#endif
