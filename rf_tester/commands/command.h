// SPDX-License-Identifier: Apache-2.0
// A row of the command tables. The interpreter and the command reference are made from these.
#ifndef RF_TESTER_COMMANDS_COMMAND_H
#define RF_TESTER_COMMANDS_COMMAND_H

#include "rf_tester/instrument/instrument.h"
#include "rf_tester/scpi/parameter.h"

#include <string>
#include <string_view>
#include <vector>

namespace rf_tester {

struct dialect;

/** What a command gets: its arguments as bound, the suffixes of its header. */
struct call {
  std::vector<scpi::argument> arguments;
  std::vector<int> suffixes;
  /** An answer of the same message is in the output queue. */
  bool answer_waits = false;
  const dialect *spoken = nullptr;
};

struct command {
  /** As header_pattern reads it. */
  std::string_view header;
  std::string help;
  /** The command form; null where there is none. */
  void (*act)(test_set &, const call &) = nullptr;
  std::vector<scpi::parameter> takes = {};
  /** From here on the parameters may come again. */
  size_t repeat_from = SIZE_MAX;
  /** The query form; null where there is none. */
  std::string (*ask)(test_set &, const call &) = nullptr;
  std::vector<scpi::parameter> asks = {};
  std::string_view answer = {};
  /** Runs when no measurement is pending. `start` comes before the wait. */
  bool waits = false;
  void (*start)(test_set &) = nullptr;
  /** Instead of `act` and `ask`: a number that is set and asked. `takes` has its one parameter. */
  double settings::*number = nullptr;
  int settings::*integer = nullptr;

  bool is_setting() const { return number != nullptr || integer != nullptr; }
  bool has_command_form() const { return act != nullptr || is_setting(); }
  bool has_query_form() const { return ask != nullptr || is_setting(); }
};

/** What one kind of instrument understands beside the common commands, and how it writes numbers. */
struct dialect {
  std::string_view name;
  std::string_view model;
  std::string_view description;
  const std::vector<command> &(*commands)();
  /** Of a setting; of a reading, where not a number means that there is none. */
  std::string (*setting)(double);
  std::string (*reading)(double);
};

/** The commands that every dialect has. */
const std::vector<command> &common_commands();
/** All dialects, the default first. */
const std::vector<dialect> &dialects();
const dialect &dialect_a();
const dialect &dialect_b();

// What rows of both dialects do.

command number_setting(std::string_view header, std::string help, scpi::parameter p, double settings::*field);
command integer_setting(std::string_view header, std::string help, scpi::parameter p, int settings::*field);
/** Reads frequency and loss by turns, from an argument on. Throws failure for too many points. */
loss_table table_of(const std::vector<scpi::argument> &arguments, size_t from, double sign);
/** The waveform with this name, as `named` writes it. Throws failure if there is none. */
waveform waveform_named(const std::string &name, std::string (*named)(const waveform &));
/** All names in quotes, separated by commas. */
std::string waveform_catalog(std::string (*named)(const waveform &));

}  // namespace rf_tester

#endif
