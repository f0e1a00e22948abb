// SPDX-License-Identifier: Apache-2.0
#include "console/language/tester_commands.h"

#include "console/language/option_words.h"
#include "console/text/output_file.h"
#include "console/text/tcl_list.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"
#include "console/text/within.h"

#include <algorithm>
#include <cmath>
#include <fmt/format.h>
#include <map>
#include <span>
#include <tcl.h>

namespace console {
namespace {

using words_t = std::span<const std::string>;
using conditions_t = std::vector<std::pair<std::string, std::string>>;

constexpr size_t MANY = 1000;
constexpr double most_packets = 1e6;

test_set &connected(const tester_context &in) {
  if (in.on.connected) return *in.on.connected;
  throw usage_error{"No test set is connected: use tester connect ADDRESS PROFILE."};
}

double real(const std::string &what, const std::string &word) {
  auto number = parse_real(word);
  if (!number || !std::isfinite(*number))
    throw usage_error{fmt::format("tester {} is \"{}\", which is no number.", what, word)};
  return *number;
}

int64_t count(const std::string &what, const std::string &word, double most) {
  auto number = real(what, word);
  if (number < 1 || number > most || number != std::trunc(number))
    throw usage_error{
        fmt::format("tester {} is \"{}\": give a whole number from 1 to {}.", what, word, most)};
  return static_cast<int64_t>(number);
}

/** To a thousandth: no test set knows more. */
std::string shown(double value) { return fmt::format("{}", std::round(value * 1000) / 1000 + 0.0); }

// ---- Connection and settings -----------------------------------------------------------------------------

std::string connect(const tester_context &in, words_t words) {
  in.on.connected.reset();  // a test set serves one client
  auto path = in.located(words[1]);
  claim_file({"tester connect", path, false});
  in.on.connected = std::make_unique<test_set>(words[0], load_instrument_profile(path),
                                               [] { return Tcl_AsyncReady() != 0; });
  return in.on.connected->identity();
}

std::string enter_losses(const tester_context &in, words_t words) {
  auto list = list_words(words[0]);
  std::map<double, double> table;
  if (list.size() % 2 != 0)
    throw usage_error{
        fmt::format("tester loss: \"{}\": give frequencies in MHz with a loss in dB each, as in: {{2412 1.2 "
                    "5180 2.1}}.",
                    words[0])};
  for (size_t i = 0; i < list.size(); i += 2)
    if (!table.emplace(real("loss: MHZ", list[i]), real("loss: DB", list[i + 1])).second)
      throw usage_error{fmt::format("tester loss: {} MHz is given twice: give it once.", list[i])};
  connected(in).set_path_loss(table);
  return "";
}

std::string tune(const tester_context &in, words_t words) {
  auto mhz = real("channel: MHZ", words[0]);
  if (mhz <= 0) throw usage_error{fmt::format("tester channel: {} MHz is no frequency.", mhz)};
  connected(in).channel(mhz, words.size() > 1 ? real("channel: BANDWIDTH", words[1]) : 20);
  return "";
}

std::string set_timeout(const tester_context &in, words_t words) {
  auto seconds = real("timeout: SECONDS", words[0]);
  if (!(seconds > 0 && seconds <= 3600))
    throw usage_error{fmt::format("tester timeout: {} s: give more than 0 and at most 3600.", seconds)};
  connected(in).trigger_timeout(seconds);
  return "";
}

// ---- Measuring -------------------------------------------------------------------------------------------

struct wanted_quantity {
  const quantity *of;
  std::string limits;
};

/** The pairs after "->". */
std::vector<wanted_quantity> wanted_quantities(words_t words) {
  if (words.empty() || words.size() % 2 != 0)
    throw usage_error{
        "tester measure: behind -> come pairs of a quantity and its limits, as in: -> power 13..17 evm ..-25"};
  std::vector<wanted_quantity> all;
  for (size_t i = 0; i < words.size(); i += 2) {
    require(limits_error(words[i + 1]));
    all.push_back({&find_quantity(words[i]), words[i + 1]});
  }
  return all;
}

/** The channel, then what the script adds; its word counts for a name that both give. */
conditions_t condition_of(const test_set &on, const conditions_t &given) {
  conditions_t all{{"mhz", shown(on.mhz())}, {"bandwidth_mhz", shown(on.bandwidth_mhz())}};
  std::erase_if(all, [&](auto &known) {
    return std::ranges::count(given, known.first, &conditions_t::value_type::first) > 0;
  });
  all.insert(all.end(), given.begin(), given.end());
  return all;
}

void judge(const tester_context &in, const reading &found, const std::vector<wanted_quantity> &wants,
           const conditions_t &at) {
  if (!found.trouble.empty())
    in.running.expect({"measurement", "a plausible reading", found.trouble, false, "", at}, in.where);
  for (auto &want : wants) {
    auto value = found.find(want.of->name);
    auto got = value ? shown(*value) : "";
    bool held = value && within(want.limits, got);
    in.running.expect({want.of->name, want.limits, got, held, want.of->unit, at}, in.where);
  }
}

std::string measure(const tester_context &in, words_t words) {
  auto &on = connected(in);
  auto arrow = std::ranges::find(words, "->");
  auto split = static_cast<size_t>(arrow - words.begin());
  auto given = parse_options("tester measure", words.first(split), {"wanted", "within", "at"});
  auto wants =
      arrow == words.end() ? std::vector<wanted_quantity>{} : wanted_quantities(words.subspan(split + 1));
  auto at = parse_condition("tester measure: -at", given["at"]);
  auto wanted =
      given.contains("wanted") ? std::optional(real("measure: -wanted", given["wanted"])) : std::nullopt;
  in.running.refuse_in_preview("tester measure");
  auto found = on.measure(wanted, given.contains("within") ? real("measure: -within", given["within"]) : 3);
  judge(in, found, wants, condition_of(on, at));
  std::vector<std::string> values;
  for (auto &[name, value] : found.values) values.insert(values.end(), {name, shown(value)});
  return to_list(values);
}

std::string generate(const tester_context &in, words_t words) {
  auto &on = connected(in);
  auto given = parse_options("tester generate", words, {"format", "rate", "level", "count", "bandwidth"});
  for (auto *name : {"format", "rate", "level"})
    if (!given.contains(name)) throw usage_error{fmt::format("tester generate: -{} is missing.", name)};
  auto width =
      given.contains("bandwidth") ? real("generate: -bandwidth", given["bandwidth"]) : on.bandwidth_mhz();
  auto packets = given.contains("count") ? count("generate: -count", given["count"], most_packets) : 1000;
  return std::to_string(
      on.generate(given["format"], given["rate"], width, real("generate: -level", given["level"]), packets));
}

// ---- Limits ----------------------------------------------------------------------------------------------

double uncertainty(const tester_context &in, const std::string &name) {
  return connected(in).profile().uncertainty.at(find_quantity(name).name);
}

std::string load_limits(const tester_context &in, words_t words) {
  auto path = in.located(words[0]);
  claim_file({"tester limits", path, false});
  in.on.limits = std::make_unique<limit_table>(path);
  return "";
}

/** What a reading of the quantity errs by at most. A level that is compared with the test set's own errs as
 * its power does; a count of packets does not err. */
double guard_of(const tester_context &in, const std::string &name, const std::string &unit) {
  auto names = quantity_names();
  if (std::ranges::count(names, name) > 0) return uncertainty(in, name);
  return unit == "dB" || unit == "dBm" ? uncertainty(in, "power") : 0;
}

std::string limit(const tester_context &in, words_t words) {
  if (!in.on.limits) throw usage_error{"tester limit: no table is loaded: use tester limits FILE."};
  auto given =
      parse_options("tester limit", words.subspan(1), {"format", "rate", "band", "bandwidth", "tighten"});
  auto tighten = given.contains("tighten") ? real("limit: -tighten", given["tighten"]) : 0;
  if (tighten < 0)
    throw usage_error{
        fmt::format("tester limit: -tighten {}: a limit can only be tightened: give 0 or more.", tighten)};
  given.erase("tighten");
  if (auto width = given.extract("bandwidth")) {
    width.key() = "bandwidth_mhz";
    given.insert(std::move(width));
  }
  auto &found = in.on.limits->find(words[0], given);
  return found.text(guard_of(in, words[0], found.unit) + tighten);
}

// ---- The table -------------------------------------------------------------------------------------------

struct row {
  subcommand word;
  size_t least, most; /**< arguments */
  std::string (*run)(const tester_context &in, words_t words);
};

constexpr row rows[] = {
    {{"connect", "ADDRESS PROFILE"}, 2, 2, connect},
    {{"reset"}, 0, 0, [](auto &in, words_t) { return connected(in).reset(), std::string(); }},
    {{"port", "NUMBER"},
     1,
     1,
     [](auto &in, words_t words) {
       return connected(in).select_port(count("port: NUMBER", words[0], 999)), std::string();
     }},
    {{"loss", "LOSSES"}, 1, 1, enter_losses},
    {{"channel", "MHZ ?BANDWIDTH?"}, 1, 2, tune},
    {{"expect", "DBM"},
     1,
     1,
     [](auto &in, words_t words) {
       return connected(in).expect_power(real("expect: DBM", words[0])), std::string();
     }},
    {{"average", "COUNT"},
     1,
     1,
     [](auto &in, words_t words) {
       return connected(in).average(count("average: COUNT", words[0], 10000)), std::string();
     }},
    {{"timeout", "SECONDS"}, 1, 1, set_timeout},
    {{"measure", "?-wanted DBM? ?-within DB? ?-at CONDITION? ?-> QUANTITY RANGE ...?"}, 0, MANY, measure},
    {{"generate", "-format FORMAT -rate RATE -level DBM ?-count COUNT? ?-bandwidth BANDWIDTH?"},
     6,
     10,
     generate},
    {{"uncertainty", "QUANTITY"},
     1,
     1,
     [](auto &in, words_t words) { return shown(uncertainty(in, words[0])); }},
    {{"limits", "FILE"}, 1, 1, load_limits},
    {{"limit", "QUANTITY ?-format FORMAT? ?-rate RATE? ?-band GHZ? ?-bandwidth BANDWIDTH? ?-tighten DB?"},
     1,
     11,
     limit},
    {{"identity"}, 0, 0, [](auto &in, words_t) { return connected(in).identity(); }},
    {{"close"}, 0, 0, [](auto &in, words_t) { return in.on.connected.reset(), std::string(); }},
};

}  // namespace

std::vector<subcommand> tester_words() { return words_of_table(rows); }

std::string run_tester(const std::vector<std::string> &words, const tester_context &in) {
  auto found = std::ranges::find(rows, words[0], [](auto &r) { return std::string_view(r.word.name); });
  if (found == std::end(rows))
    throw usage_error{fmt::format("tester: \"{}\" is nothing that a test set does: give {}.{}", words[0],
                                  either(names_of(tester_words())),
                                  did_you_mean(words[0], names_of(tester_words())))};
  auto arguments = std::span(words).subspan(1);
  if (arguments.size() < found->least || arguments.size() > found->most)
    throw usage_error{
        fmt::format("tester {0}: usage: tester {0} {1}", found->word.name, found->word.arguments)};
  return found->run(in, arguments);
}

}  // namespace console
