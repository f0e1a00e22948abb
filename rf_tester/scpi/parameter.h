// SPDX-License-Identifier: Apache-2.0
// What a command takes: the kinds of parameters, their units and ranges, and their values once checked.
#ifndef RF_TESTER_SCPI_PARAMETER_H
#define RF_TESTER_SCPI_PARAMETER_H

#include "rf_tester/scpi/lexer.h"

#include <string>
#include <string_view>
#include <vector>

namespace rf_tester::scpi {

enum class parameter_kind { number, integer, boolean, choice, text, port_list };
enum class dimension { none, frequency, level, ratio, time };

struct parameter {
  std::string_view name;
  parameter_kind kind = parameter_kind::number;
  dimension unit = dimension::none;
  /** Of a number, in the dimension's base unit. */
  double least = 0, most = 0;
  /** What DEFault stands for and what *RST sets. Not a number: there is none. */
  double usual = 0;
  /** Of a choice, as a header is spelled: "LOW|HIGH". */
  std::string_view choices = {};
  bool optional = false;
  /** The unit of a number sent without one, by its factor to the base unit: 1e6 for MHz. */
  double scale = 1;
};

struct argument {
  /** A number in the base unit, a boolean as 0 or 1, a choice by its place, the port of a list. */
  double number = 0;
  std::string text;
  bool given = false;
};

/** Hz, dBm, dB, s: the base unit of a dimension. */
std::string_view base_unit(dimension d);

/** What a number means in the base unit. Throws failure for a unit that does not fit. */
double in_base_unit(const datum &sent, dimension d, double scale);

/** Compares one datum with what is due. Throws failure. */
argument bind(const datum &sent, const parameter &due);

/** All data of a unit. From `repeat_from` on the parameters may come again, as pairs of a list do; no
   repetition if it is `due.size()`. */
std::vector<argument> bind(const std::vector<datum> &sent, const std::vector<parameter> &due,
                           size_t repeat_from);

/** True if the word is the choice, in its long or short form. */
bool is_choice(std::string_view word, std::string_view spelled);

}  // namespace rf_tester::scpi

#endif
