// SPDX-License-Identifier: Apache-2.0
// An instrument profile: which texts an RF test set understands for each action, and how it answers.
// docs/how-to/instrument-profiles.md describes the file.
#ifndef CONSOLE_INSTRUMENT_PROFILE_H
#define CONSOLE_INSTRUMENT_PROFILE_H

#include <map>
#include <optional>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace console {

/** What a test set measures. */
struct quantity {
  const char *name;        /**< in profiles and sessions: "power" */
  const char *unit;        /**< "dBm" */
  const char *uncertainty; /**< key in a profile: "power_db" */
};
inline constexpr quantity quantities[] = {{"power", "dBm", "power_db"},
                                          {"evm", "dB", "evm_db"},
                                          {"frequency_error", "ppm", "frequency_ppm"},
                                          {"mask_margin", "dB", "mask_db"}};

std::vector<std::string> quantity_names();
/** Throws usage_error for an unknown name. */
const quantity &find_quantity(const std::string &name);

/** A query, and the part of its answer that is wanted. */
struct profile_answer {
  std::string ask;
  std::optional<int64_t> field; /**< of a comma list, from 0 */
  std::optional<std::string> pattern_text;
  std::regex pattern;

  bool matches(const std::string &text) const { return pattern_text && std::regex_search(text, pattern); }
  /** Throws usage_error if the answer has no such part. */
  std::string part_of(const std::string &answer) const;
};

/** A number in an answer. */
struct profile_value {
  profile_answer answer;
  std::string unit;
  double scale;

  /** In dBm, dB, ppm of the carrier at `mhz`, or packets; nothing for a negative power or percentage. */
  std::optional<double> converted(double number, double mhz) const;
};

/** A range of frequencies in which channels are numbered: zero_mhz + 5 MHz times the number. */
struct profile_band {
  std::string name;
  double zero_mhz, from_mhz, to_mhz;
};

struct instrument_profile {
  std::string path, name;
  std::string termination;
  int64_t timeout_ms;
  profile_answer identify;
  std::optional<std::regex> busy; /**< what the instrument sends to a client that it refuses */
  std::map<std::string, double> uncertainty;
  std::map<std::string, std::vector<std::string>> actions;
  std::string point, separator; /**< of the table of path losses */
  int64_t sign;
  std::vector<profile_band> bands;
  profile_answer done, error, outcome;
  std::map<std::string, std::string> outcomes; /**< what the instrument says, with what it stands for */
  std::map<std::string, profile_value> values;
  std::set<std::string> missing; /**< answers that stand for no value */
};

/** Reads a profile. Throws usage_error, whose message names the file and the key. */
instrument_profile load_instrument_profile(const std::string &path);

}  // namespace console

#endif
