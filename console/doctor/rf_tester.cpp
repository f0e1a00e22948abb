// SPDX-License-Identifier: Apache-2.0
#include "console/doctor/rf_tester.h"

#include "console/tester/instrument.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <fmt/format.h>
#include <functional>
#include <memory>

namespace console {
namespace {

constexpr double probed_mhz = 2442;
/** A phone that transmits sends a burst every few milliseconds. */
constexpr double trigger_timeout_s = 0.2;
constexpr const char *accepted[] = {"address", "profile", "port"};

std::string value_of(const given_parameters &named, const std::string &name) {
  auto found = std::ranges::find(named, name, &given_parameters::value_type::first);
  return found == named.end() ? "" : found->second;
}

int64_t port_of(const given_parameters &named) {
  auto word = value_of(named, "port");
  auto number = parse_number(word.empty() ? "1" : word);
  if (number && *number >= 1 && *number <= 999) return *number;
  throw usage_error{fmt::format("doctor: port={}: give the number of a port, from 1.", word)};
}

void check_names(const given_parameters &named) {
  for (auto &[name, value] : named)
    if (std::ranges::find(accepted, name) == std::end(accepted))
      throw usage_error{
          fmt::format("doctor: \"{}\" is nothing that it takes: give address, profile and port of an RF "
                      "test set.",
                      name)};
  for (auto *name : {"address", "profile"})
    if (value_of(named, name).empty())
      throw usage_error{
          fmt::format("doctor: {0} is missing: an RF test set is named by address=HOST:PORT and "
                      "profile=FILE.",
                      name)};
}

/** What `act` found, or a finding with what it threw as the cause. */
finding tried(const std::string &what, const std::string &subject, const char *cure,
              const std::function<std::string()> &act) {
  try {
    return good(what, act());
  } catch (const usage_error &e) { return missing(what, {subject, e.message, cure}); }
}

std::string first_measurement(test_set &on, int64_t port) {
  on.reset();
  on.select_port(port);
  on.channel(probed_mhz, 20);
  on.trigger_timeout(trigger_timeout_s);
  auto found = on.measure();
  if (auto power = found.find("power"))
    return fmt::format("{:.1f} dBm on port {} at {} MHz", *power, port, probed_mhz);
  return fmt::format("done; no power in range on port {} at {} MHz", port, probed_mhz);
}

}  // namespace

std::vector<finding> examine_rf_tester(const given_parameters &named) {
  if (named.empty()) return {};
  check_names(named);
  auto port = port_of(named);
  auto address = value_of(named, "address"), file = value_of(named, "profile");
  std::vector<finding> all;
  std::unique_ptr<instrument_profile> profile;
  std::unique_ptr<test_set> on;
  all.push_back(tried("instrument profile", file,
                      "name a profile with profile=FILE; see docs/how-to/instrument-profiles.md", [&] {
                        profile = std::make_unique<instrument_profile>(load_instrument_profile(file));
                        return profile->name;
                      }));
  if (!profile) return all;
  all.push_back(tried("RF test set", address,
                      "check the address, the instrument's power and network, its profile, and "
                      "that nobody else uses it",
                      [&] {
                        on = std::make_unique<test_set>(address, *profile);
                        return on->identity();
                      }));
  if (!on) return all;
  all.push_back(tried("first measurement", fmt::format("port {}", port),
                      "compare the texts of the profile with the "
                      "instrument's manual",
                      [&] { return first_measurement(*on, port); }));
  return all;
}

}  // namespace console
