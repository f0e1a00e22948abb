// SPDX-License-Identifier: Apache-2.0
// Parameters of a session: declared by its script with type, limits and default, given on the command line.
#ifndef CONSOLE_PARAMETERS_H
#define CONSOLE_PARAMETERS_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace console {

/** Names and values as given. */
using given_parameters = std::vector<std::pair<std::string, std::string>>;
/** Parses "NAME=VALUE" words; throws usage_error, also for a name given twice. */
given_parameters parse_parameters(const std::vector<std::string> &words);

struct parameter {
  std::string name, type, limits;
  std::optional<std::string> fallback; /**< nothing: it must be given */
  std::string value;
  bool given = false;
};

class parameters {
public:
  explicit parameters(given_parameters all) : given(std::move(all)) {}

  /** Declares a parameter and gives it its value. Throws usage_error for a declaration that makes no sense;
   * `fault` reports a value that is missing or does not fit. */
  const parameter &declare(parameter wanted);
  /** What is wrong with what was given, and what the session takes; "" if nothing is. Unknown names are known
   * only when all parameters are declared. */
  std::string fault(bool all_declared) const;

private:
  std::string taken() const;

  given_parameters given;
  std::vector<parameter> declared;
  std::string wrong_value;
};

}  // namespace console

#endif
