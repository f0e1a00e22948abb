// SPDX-License-Identifier: Apache-2.0
#include "console/prompt/options.h"

#include "console/language/command_line_words.h"
#include "console/phone/abilities.h"
#include "console/phone/chips.h"
#include "console/phone/log_priority.h"
#include "console/prompt/station_file.h"
#include "console/run/identity.h"
#include "console/run/parameters.h"
#include "console/run/verdict.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <getopt.h>
#include <set>

namespace console {
namespace {

void set_chip(command_line &line, const std::string &name) {
  line.with.chip_given = true;
  if ((line.all_chips = name == "all")) return;
  auto chip = chip_index(name);
  if (!chip)
    throw usage_error{fmt::format("--chip {}: there is no such chip: give {}, 0 to {}, or all.", name,
                                  fmt::join(chip_names(), ", "), chip_count - 1)};
  line.with.chip = *chip;
}

void set_clock(command_line &line, const std::string &name) {
  if (name != "real" && name != "virtual")
    throw usage_error{fmt::format("--clock {}: give real or virtual.", name)};
  line.with.real_clock = name == "real";
}

void set_logcat(command_line &line, const std::string &when) {
  using enum phone_link::log_reading;
  if (!when.empty() && when != "missing" && when != "always")
    throw usage_error{fmt::format("--logcat={}: give missing or always.", when)};
  line.with.logcat = when == "always" ? always : missing;
}

template <std::string identity::*member> void set_identity(command_line &line, const std::string &value) {
  auto &key = *std::ranges::find(identity_keys, member, &identity_key::member);
  set_identity(line.who, key, value, fmt::format("--{}", key.name));
}

void set_attempt(command_line &line, const std::string &value) {
  constexpr int64_t most = 1000;
  auto number = parse_number(value);
  if (!number || *number < 1 || *number > most)
    throw usage_error{fmt::format("--attempt {}: give a number from 1 to {}.", value, most)};
  line.who.attempt = static_cast<unsigned>(*number);
  line.who.given = true;
}

std::string chip_help() {
  auto names = chip_names();
  names[0] += " (default)";
  return fmt::format("{}, 0 to {}, or all for one session after the other; overrides the chip of --phone",
                     fmt::join(names, ", "), chip_count - 1);
}

std::string log_help() {
  auto names = log_priority_names();
  names[0] += " (default)";
  return fmt::format("the phone's log on stderr, from {} on", either(names));
}

struct known_option {
  option_help help;
  void (*take)(command_line &line, const std::string &value);
};

using text = const std::string &;

const known_option known_options[] = {
    {{"chip", "NAME", chip_help(), fmt::format("{} all", fmt::join(chip_names(), " "))}, set_chip},
    {{"phone", "FILE", "description of the virtual phone", "FILE"},
     [](command_line &line, text value) { line.with.phone_file = value; }},
    {{"unit", "SEED", "give the virtual phone the RF hardware of this unit, a number from 0 to 4294967295"},
     [](command_line &line, text value) { line.with.unit = value; }},
    {{"clock", "CLOCK", "virtual (default): pauses take no time; real: the console waits", "virtual real"},
     set_clock},
    {{"log", "[=PRIORITY]", log_help(), fmt::format("{}", fmt::join(log_priority_names(), " "))},
     [](command_line &line, text value) { line.with.log_priority = parse_log_priority(value); }},
    {{"logcat", "[=WHEN]",
      "read the phone's log with logcat: missing (default): after calls without a log line; always",
      "missing always"},
     set_logcat},
    {{"nv", "FILE", "keep NV in this file instead of in memory", "FILE"},
     [](command_line &line, text value) { line.with.nv_file = value; }},
    {{"yes", "",
      works_here("--nv") ? "change a lasting NV store (--nv, or a phone's own) without asking"
                         : "change the phone's NV without asking"},
     [](command_line &line, text) { line.with.yes = true; }},
    {{"library", "FILE", "the library under test", "FILE"},
     [](command_line &line, text value) { line.with.library = value; }},
    {{"expect", "LIMITS",
      "what a single call must give: its result, then outputs and limits, as \"1 rssi -70..-40\""},
     [](command_line &line, text value) { line.expect = value; }},
    {{"junit", "FILE", "a report of the run for CI systems", "FILE"},
     [](command_line &line, text value) { line.junit_file = value; }},
    {{"report", "FILE", "a page for people: verdict, steps, time axis, calibration, log", "FILE"},
     [](command_line &line, text value) { line.report_file = value; }},
    {{"trace", "FILE", "a recording of every contact with the phone, for replay and diff", "FILE"},
     [](command_line &line, text value) { line.trace_file = value; }},
    {{"record", "FILE.jsonl", "a record of each session for orva-records; wants --serial and --station",
      "FILE"},
     [](command_line &line, text value) { line.record_file = value; }},
    {{"serial", "TEXT",
      "of the unit; from-die-id or from-upc: what the phone reports. In names of outputs %serial, %station, %slot, "
      "%chip, %plan, %time and %run stand for the value, %% for a percent sign",
      fmt::format("{} {}", from_die_id, from_upc)},
     set_identity<&identity::serial>},
    {{"station", "TEXT", "name of this station"}, set_identity<&identity::station>},
    {{"slot", "TEXT", "of the fixture"}, set_identity<&identity::slot>},
    {{"operator", "TEXT", "who runs the test"}, set_identity<&identity::operator_name>},
    {{"plan", "TEXT", "name of the test plan (default: the session's file name)"},
     set_identity<&identity::plan>},
    {{"plan-version", "TEXT", "version of the test plan (default: unknown)"},
     set_identity<&identity::plan_version>},
    {{"attempt", "NUMBER", "runs of this plan on this unit, this one included (default: 1)"}, set_attempt},
    {{"station-file", "FILE", "TOML with serial, station, slot, operator, plan, plan-version; options win",
      "FILE"},
     [](command_line &line, text value) { line.station_file = value; }},
    {{"json", "", "one JSON object per line instead of the table"},
     [](command_line &line, text) { line.json = true; }},
    {{"brief", "", "one line for each call, without driver commands and pauses"},
     [](command_line &line, text) { line.how_much = detail::brief; }},
    {{"quiet", "", "only what failed, the notes that follow it, and the summary"},
     [](command_line &line, text) { line.how_much = detail::quiet; }},
    {{"write", "", "doctor: also test writing to NV, by writing an item back as it was read"},
     [](command_line &line, text) { line.write = true; }},
    {{"keep-test-mode", "", "an interrupted session does not stop transmission and test mode"},
     [](command_line &line, text) { line.keep_test_mode = true; }},
    {{"help", "", "show this help"}, [](command_line &line, text) { line.help = true; }},
    {{"version", "", "show the version"}, [](command_line &line, text) { line.version = true; }},
};

/** The option table for getopt_long. Ids are indexes, moved above the range of characters. */
constexpr int first_id = 256;

std::vector<option> getopt_table() {
  std::vector<option> all;
  for (auto &o : known_options) {
    int has = !o.help.takes_value()        ? no_argument
              : o.help.value_is_optional() ? optional_argument
                                           : required_argument;
    all.push_back({o.help.name, has, nullptr, first_id + static_cast<int>(all.size())});
  }
  all.push_back({});
  return all;
}

std::vector<std::string> option_names() {
  std::vector<std::string> names;
  for (auto &o : options()) names.push_back(o.full_name());
  return names;
}

/** Options must come first: after the first word, "-99" is an argument. */
void refuse_late_options(const std::vector<std::string> &given) {
  for (size_t i = 1; i < given.size(); ++i)
    for (auto &o : known_options) {
      auto name = fmt::format("--{}", o.help.name);
      if (given[i] != name && !given[i].starts_with(name + "=")) continue;
      bool value_follows = given[i] == name && o.help.takes_value() && !o.help.value_is_optional();
      throw usage_error{fmt::format("{0} stands behind {1}: options come first, as in: {3} {0}{2} {1}",
                                    given[i], given[0], value_follows ? fmt::format(" {}", o.help.value) : "",
                                    own_name())};
    }
}

/** "run FILE... -- NAME=VALUE...", and doctor for its test set. */
void take_parameters(command_line &line) {
  auto &words = line.words;
  auto mark = std::ranges::find(words, "--");
  bool takes_them = !words.empty() && (words[0] == "run" || words[0] == "doctor");
  if (!takes_them || mark == words.end()) return;
  line.with.parameters = parse_parameters({mark + 1, words.end()});
  words.erase(mark, words.end());
}

}  // namespace

const std::vector<option_help> &options() {
  static const std::vector<option_help> all = [] {
    std::vector<option_help> list;
    for (auto &o : known_options)
      if (works_here(o.help.full_name())) list.push_back(o.help);
    return list;
  }();
  return all;
}

std::string option_help::full_name() const { return fmt::format("--{}", name); }

std::string option_help::usage() const {
  return fmt::format("--{}{}{}", name, takes_value() && !value_is_optional() ? " " : "", value);
}

std::string command_line_help() {
  std::string text = "Usage: orva-station [OPTIONS] and one of\n";
  auto line = [](std::string_view usage, std::string_view help) {
    constexpr std::string_view prefix = "[OPTIONS] ";
    if (usage.starts_with(prefix)) usage.remove_prefix(prefix.size());
    return fmt::format("  {:<30}  {}\n", usage, help);
  };
  text += line("FUNCTION [ARGUMENT...]", "call one function");
  for (auto &w : command_line_words()) text += line(w.usage, w.help);
  text += line("nothing", "the prompt: calls and the session language, line by line") + "\nOptions:\n";
  for (auto &o : options()) text += fmt::format("  {:<21}{}\n", o.usage(), o.help);
  return text + "\n" + exit_status_help + "\n";
}

command_line parse_command_line(int count, char **arguments) {
  command_line line;
  line.with.library = "libwifi_factory_test_orva.so";
  line.with.real_clock = !works_here("--clock");  // a real phone's pauses are real
  opterr = 0;
  auto table = getopt_table();
  std::set<int> given;
  for (int id; (id = getopt_long(count, arguments, "+:h", table.data(), nullptr)) != -1;) {
    std::string current = arguments[optind - 1];
    if (id == ':' || (id >= first_id && optarg && !*optarg))
      throw usage_error{fmt::format("{} wants a value behind it; see {} --help.",
                                    current.empty() ? known_options[id - first_id].help.full_name() : current,
                                    own_name())};
    if (id == 'h') {
      line.help = true;
      continue;
    }
    if (id == '?')
      throw usage_error{fmt::format("{} is no option.{} See {} --help.", current,
                                    did_you_mean(current, option_names()), own_name())};
    auto &found = known_options[id - first_id];
    require_works_here(found.help.full_name());
    if (!given.insert(id).second && found.help.takes_value())
      throw usage_error{fmt::format("--{0} is given twice, the second time as {1}: give --{0} once.",
                                    found.help.name, current)};
    found.take(line, optarg ? optarg : "");
    line.given.emplace_back(found.help.name);
  }
  line.words.assign(arguments + optind, arguments + count);
  if (line.words.size() == 2 && line.words[1] == "--help") line.words = {"help", line.words[0]};
  refuse_late_options(line.words);
  take_parameters(line);
  if (!line.station_file.empty()) take_station_file(line.who, line.station_file);
  return line;
}

}  // namespace console
