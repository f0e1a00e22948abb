#include "options.h"

#include "text.h"

#include <fmt/format.h>
#include <getopt.h>
#include <map>

namespace station {
namespace {

enum option_id {
  CHIP = 256,
  PHONE,
  CLOCK,
  LOG,
  NV,
  LIBRARY,
  JSON,
  BRIEF,
  QUIET,
  EXPECT,
  JUNIT,
  REPORT,
  HELP,
  VERSION
};

constexpr option known_options[] = {{"chip", required_argument, nullptr, CHIP},
                                    {"phone", required_argument, nullptr, PHONE},
                                    {"clock", required_argument, nullptr, CLOCK},
                                    {"log", optional_argument, nullptr, LOG},
                                    {"nv", required_argument, nullptr, NV},
                                    {"library", required_argument, nullptr, LIBRARY},
                                    {"json", no_argument, nullptr, JSON},
                                    {"brief", no_argument, nullptr, BRIEF},
                                    {"quiet", no_argument, nullptr, QUIET},
                                    {"expect", required_argument, nullptr, EXPECT},
                                    {"report", required_argument, nullptr, REPORT},
                                    {"junit", required_argument, nullptr, JUNIT},
                                    {"help", no_argument, nullptr, HELP},
                                    {"version", no_argument, nullptr, VERSION},
                                    {nullptr, 0, nullptr, 0}};

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

void take_option(command_line &line, int id, const std::string &value) {
  switch (id) {
  case CHIP: set_chip(line, value); break;
  case PHONE: line.with.phone_file = value; break;
  case CLOCK: set_clock(line, value); break;
  case LOG: line.with.log_priority = log_priority(value); break;
  case NV: line.with.nv_file = value; break;
  case LIBRARY: line.with.library = value; break;
  case JSON: line.json = true; break;
  case BRIEF: line.how_much = detail::brief; break;
  case QUIET: line.how_much = detail::quiet; break;
  case JUNIT: line.junit_file = value; break;
  case REPORT: line.report_file = value; break;
  case EXPECT: line.expect = value; break;
  case HELP: line.help = true; break;
  case VERSION: line.version = true; break;
  default: break;
  }
}

std::vector<std::string> option_names() {
  std::vector<std::string> names;
  for (auto &o : known_options)
    if (o.name) names.push_back(fmt::format("--{}", o.name));
  return names;
}

}  // namespace

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
  for (int id; (id = getopt_long(count, arguments, "+:", known_options, nullptr)) != -1;) {
    std::string current = arguments[optind - 1];
    if (id == ':')
      throw usage_error{fmt::format("{} wants a value behind it; see orva-station --help.", current)};
    if (id == '?')
      throw usage_error{fmt::format("{} is no option.{} See orva-station --help.", current,
                                    did_you_mean(current, option_names()))};
    take_option(line, id, optarg ? optarg : "");
  }
  line.words.assign(arguments + optind, arguments + count);
  return line;
}

}  // namespace station
