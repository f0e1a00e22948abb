// SPDX-License-Identifier: Apache-2.0
#include "rf_tester/options.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <asio/ip/address.hpp>
#include <charconv>
#include <cmath>
#include <fmt/format.h>

namespace rf_tester {
namespace {

constexpr double largest_bound = 20;
constexpr double largest_loss_db = 120, highest_mhz = 8000;
constexpr std::string_view bound_names[quantity_count] = {"power", "evm", "frequency", "mask", "leakage"};

std::vector<std::string> split(std::string_view text, char separator) {
  std::vector<std::string> parts;
  for (;;) {
    const size_t end = text.find(separator);
    parts.emplace_back(text.substr(0, end));
    if (end == std::string_view::npos) return parts;
    text.remove_prefix(end + 1);
  }
}

double number_from(const std::string &text, double least, double most, const std::string &where) {
  double value = NAN;
  const auto end = std::from_chars(text.data(), text.data() + text.size(), value);
  if (end.ec != std::errc() || end.ptr != text.data() + text.size() || !(value >= least && value <= most))
    throw usage_error(fmt::format("{}: '{}' is no number from {} to {}", where, text, least, most));
  return value;
}

/** "0.2" bounds the power; "power=0.2,evm=0.5" names each; "0" makes every reading exact. */
void set_bounds(const std::string &text, bounds &to) {
  const std::string where = "--uncertainty " + text;
  for (const std::string &part : split(text, ',')) {
    const size_t equals = part.find('=');
    const std::string name = equals == std::string::npos ? "power" : part.substr(0, equals);
    const double bound =
        number_from(equals == std::string::npos ? part : part.substr(equals + 1), 0, largest_bound, where);
    const auto *found = std::ranges::find(bound_names, name);
    if (found == std::end(bound_names))
      throw usage_error(fmt::format("{}: '{}' is no quantity; there are power, evm, frequency, mask, leakage",
                                    where, name));
    to[static_cast<size_t>(found - bound_names)] = bound;
    if (text == "0") to.fill(0);
  }
}

loss_table table_from(const std::string &text, const std::string &where) {
  std::map<double, double> points;
  for (const std::string &part : split(text, ',')) {
    const size_t colon = part.find(':');
    const std::string loss = colon == std::string::npos ? part : part.substr(colon + 1);
    const double mhz =
        colon == std::string::npos ? 0 : number_from(part.substr(0, colon), 1, highest_mhz, where);
    if (!points.emplace(mhz, number_from(loss, 0, largest_loss_db, where)).second)
      throw usage_error(fmt::format("{}: {} MHz is given twice", where, mhz));
  }
  if (points.size() > 1 && points.contains(0))
    throw usage_error(fmt::format("{}: give one loss, or MHZ:DB for each point", where));
  return loss_table(std::move(points));
}

/** "1.5", "3=1.5" or "3=2412:1.2,5180:2.1". */
void set_cable(const std::string &text, std::array<loss_table, port_count> &to) {
  const std::string where = "--cable-loss " + text;
  const size_t equals = text.find('=');
  if (equals == std::string::npos) {
    to.fill(table_from(text, where));
    return;
  }
  const double chosen = number_from(text.substr(0, equals), 1, port_count, where);
  if (chosen != std::floor(chosen)) throw usage_error(fmt::format("{}: there is no port {}", where, chosen));
  to[static_cast<size_t>(chosen) - 1] = table_from(text.substr(equals + 1), where);
}

/** CLI11 would take -1, and what does not fit, for the largest. */
uint64_t seed_from(const std::string &text) {
  uint64_t seed = 0;
  const char *const last = text.data() + text.size();
  const auto end = std::from_chars(text.data(), last, seed);
  if (end.ec != std::errc() || end.ptr != last)
    throw usage_error(fmt::format("--seed {}: give a whole number from 0 to {}", text, UINT64_MAX));
  return seed;
}

struct raw_texts {
  std::string seed = std::to_string(options{}.seed);
  std::vector<std::string> errors, cables;
};

void describe(CLI::App &app, options &to, raw_texts &raw) {
  app.add_option("--address", to.address, "address to listen on; anyone who reaches it can use the test set")
      ->capture_default_str();
  app.add_option("--port", to.port, "port for SCPI; 0: a free one")
      ->capture_default_str()
      ->check(CLI::Range(0, 65535));
  app.add_option("--cable-port", to.cable_port, "port for the cables of virtual phones; 0: a free one")
      ->capture_default_str()
      ->check(CLI::Range(0, 65535));
  app.add_option("--dialect", to.dialect_name, "commands that it understands: a or b")
      ->capture_default_str()
      ->check(CLI::IsMember({"a", "b"}));
  app.add_option("--seed", raw.seed, "this test set's own errors; the same seed gives the same readings")
      ->type_name("N")
      ->capture_default_str();
  app.add_option(
         "--uncertainty", raw.errors,
         "largest errors: DB of the power, or NAME=VALUE,… with power, evm, mask and leakage in dB and "
         "frequency in ppm; 0: none at all")
      ->type_name("VALUES")
      ->allow_extra_args(false);
  app.add_option("--cable-loss", raw.cables,
                 "what cables really lose: DB, PORT=DB or PORT=MHZ:DB,MHZ:DB,…; may be repeated")
      ->type_name("LOSS")
      ->allow_extra_args(false);
  app.add_flag("--reference", to.print_reference, "print the command reference and exit");
  app.set_version_flag("--version", "orva-rf-tester " ORVA_VERSION);
}

}  // namespace

options parse_options(int count, char **arguments) {
  options parsed;
  raw_texts raw;
  CLI::App app("A simulated RF test set: SCPI over TCP, with virtual phones on its ports.", "orva-rf-tester");
  describe(app, parsed, raw);
  try {
    app.parse(count, arguments);
  } catch (const CLI::Success &e) { std::exit(app.exit(e)); } catch (const CLI::ParseError &e) {
    throw usage_error(std::string(e.what()));
  }
  asio::error_code wrong_address;
  asio::ip::make_address(parsed.address, wrong_address);
  if (wrong_address)
    throw usage_error(fmt::format("--address {}: give a numeric address, as in 127.0.0.1", parsed.address));
  parsed.seed = seed_from(raw.seed);
  for (const std::string &text : raw.errors) set_bounds(text, parsed.errors);
  for (const std::string &text : raw.cables) set_cable(text, parsed.cables);
  return parsed;
}

}  // namespace rf_tester
