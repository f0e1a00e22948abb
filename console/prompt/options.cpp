// SPDX-License-Identifier: Apache-2.0
#include "console/prompt/options.h"

#include "console/text/text.h"

#include <algorithm>
#include <fmt/format.h>
#include <getopt.h>
#include <map>

namespace console {
namespace {

void set_chip(command_line &line, const std::string &name) {
  line.with.chip_given = true;
  if ((line.all_chips = name == "all")) return;
  auto chip = chip_index(name);
  if (!chip)
    throw usage_error{fmt::format(
        "--chip {}: there is no such chip: give vq2040, vq2050, vq2040a, vq2070, 0 to 3, or all.", name)};
  line.with.chip = *chip;
}

void set_clock(command_line &line, const std::string &name) {
  if (name != "real" && name != "virtual")
    throw usage_error{fmt::format("--clock {}: give real or virtual.", name)};
  line.with.real_clock = name == "real";
}

struct known_option {
  option_help help;
  void (*take)(command_line &line, const std::string &value);
};

using text = const std::string &;

const known_option known_options[] = {
    {{"chip", "NAME",
      "vq2040 (default), vq2050, vq2040a, vq2070, 0 to 3, or all for one session after the other",
      "vq2040 vq2050 vq2040a vq2070 all"},
     set_chip},
    {{"phone", "FILE", "description of the virtual phone", "FILE"},
     [](command_line &line, text value) { line.with.phone_file = value; }},
    {{"clock", "CLOCK", "virtual (default): pauses cost no time; real: they are waited for", "virtual real"},
     set_clock},
    {{"log", "[=PRIORITY]", "the phone's log on stderr, from debug (default), info, warn or error on",
      "debug info warn error"},
     [](command_line &line, text value) { line.with.log_priority = log_priority(value); }},
    {{"nv", "FILE", "keeps NV in this file instead of in memory", "FILE"},
     [](command_line &line, text value) { line.with.nv_file = value; }},
    {{"yes", "", "changes a lasting NV store (--nv, or a phone's own) without asking"},
     [](command_line &line, text) { line.with.yes = true; }},
    {{"library", "FILE", "the library under test", "FILE"},
     [](command_line &line, text value) { line.with.library = value; }},
    {{"expect", "LIMITS",
      "what a single call should give: its result, then outputs and limits, as \"1 rssi -70..-40\""},
     [](command_line &line, text value) { line.expect = value; }},
    {{"junit", "FILE", "a report of the run for CI systems", "FILE"},
     [](command_line &line, text value) { line.junit_file = value; }},
    {{"report", "FILE", "a page for people: verdict, steps, time axis, calibration, log", "FILE"},
     [](command_line &line, text value) { line.report_file = value; }},
    {{"trace", "FILE", "a recording of every contact with the phone, for replay and diff", "FILE"},
     [](command_line &line, text value) { line.trace_file = value; }},
    {{"json", "", "one JSON object a line instead of the table"},
     [](command_line &line, text) { line.json = true; }},
    {{"brief", "", "one line for each call, without driver commands and pauses"},
     [](command_line &line, text) { line.how_much = detail::brief; }},
    {{"quiet", "", "only what failed, the notes behind that, and the summary"},
     [](command_line &line, text) { line.how_much = detail::quiet; }},
    {{"write", "", "doctor: also tries to write to NV, an item as it was read"},
     [](command_line &line, text) { line.write = true; }},
    {{"help", "", "tells this"}, [](command_line &line, text) { line.help = true; }},
    {{"version", "", "tells the version"}, [](command_line &line, text) { line.version = true; }},
};

constexpr word_help words[] = {
    {"run", "[OPTIONS] run SESSION.tcl...", "run sessions", "FILE"},
    {"preview", "[OPTIONS] preview FUNCTION [ARGUMENT...]", "tell what a call would change in NV",
     "FUNCTION"},
    {"nv", "[OPTIONS] nv WORD [NUMBER|FILE]", "list, show, diff, save, load, backup, restore or clear NV",
     "list show diff save load backup restore clear"},
    {"doctor", "[OPTIONS] doctor", "tell what is missing for a session, and what helps"},
    {"replay", "[OPTIONS] replay FILE", "run a recording's calls again, the phone answering as then", "FILE"},
    {"diff", "diff FILE FILE", "tell where two recordings part", "FILE"},
    {"list", "list", "name every function"},
    {"help", "help [FUNCTION]", "explain one, or tell all there is", "FUNCTION"},
    {"generate", "generate bash|zsh|man", "print a shell's completion, or the page of the manual",
     "bash zsh man"},
};

/** The option table as getopt_long reads it; the places in the table are the ids, behind all characters. */
constexpr int first_id = 256;

std::vector<option> getopt_table() {
  std::vector<option> all;
  for (auto &o : known_options) {
    int has = !*o.help.value ? no_argument : *o.help.value == '[' ? optional_argument : required_argument;
    all.push_back({o.help.name, has, nullptr, first_id + static_cast<int>(all.size())});
  }
  all.push_back({});
  return all;
}

std::vector<std::string> option_names() {
  std::vector<std::string> names;
  for (auto &o : known_options) names.push_back(fmt::format("--{}", o.help.name));
  return names;
}

/** Behind the first word all are arguments, for a negative number looks like an option. */
void refuse_late_options(const std::vector<std::string> &given) {
  for (size_t i = 1; i < given.size(); ++i)
    for (auto &o : known_options) {
      auto name = fmt::format("--{}", o.help.name);
      if (given[i] != name && !given[i].starts_with(name + "=")) continue;
      bool value_behind = given[i] == name && *o.help.value && *o.help.value != '[';
      throw usage_error{
          fmt::format("{0} stands behind {1}: options come first, as in: orva-station {0}{2} {1}", given[i],
                      given[0], value_behind ? fmt::format(" {}", o.help.value) : "")};
    }
}

}  // namespace

std::span<const word_help> command_line_words() { return words; }

const std::vector<option_help> &options() {
  static const std::vector<option_help> all = [] {
    std::vector<option_help> list;
    for (auto &o : known_options) list.push_back(o.help);
    return list;
  }();
  return all;
}

int log_priority(const std::string &name) {
  static const std::map<std::string, int> priorities = {
      {"", 3},  {"verbose", 2}, {"debug", 3}, {"info", 4}, {"warn", 5}, {"error", 6},
      {"V", 2}, {"D", 3},       {"I", 4},     {"W", 5},    {"E", 6}};
  auto found = priorities.find(name);
  if (found != priorities.end()) return found->second;
  throw usage_error{fmt::format("There is no log priority \"{}\": give debug, info, warn or error.", name)};
}

command_line parse_command_line(int count, char **arguments) {
  command_line line;
  line.with.library = "libwifi_factory_test_orva.so";
  opterr = 0;
  auto table = getopt_table();
  for (int id; (id = getopt_long(count, arguments, "+:h", table.data(), nullptr)) != -1;) {
    std::string current = arguments[optind - 1];
    if (id == ':' || (id >= first_id && optarg && !*optarg))
      throw usage_error{fmt::format("{} wants a value behind it; see orva-station --help.", current)};
    if (id == 'h') {
      line.help = true;
      continue;
    }
    if (id == '?')
      throw usage_error{fmt::format("{} is no option.{} See orva-station --help.", current,
                                    did_you_mean(current, option_names()))};
    known_options[id - first_id].take(line, optarg ? optarg : "");
  }
  line.words.assign(arguments + optind, arguments + count);
  if (line.words.size() == 2 && line.words[1] == "--help") line.words = {"help", line.words[0]};
  refuse_late_options(line.words);
  return line;
}

}  // namespace console
