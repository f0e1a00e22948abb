// SPDX-License-Identifier: Apache-2.0
// The commands of every dialect: the common commands, the status and system subsystems.
#include "rf_tester/commands/command.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace rf_tester {
namespace {

using scpi::dimension;
using scpi::failure;
using scpi::parameter;
using scpi::parameter_kind;

constexpr std::string_view quantities = "POWer|EVM|FREQuency|MASK|LEAKage";

parameter mask(std::string_view name, double most) {
  return {name, parameter_kind::integer, dimension::none, 0, most, 0};
}

std::string identity(test_set &set, const call &c) {
  return fmt::format("ORVA,{},{},{}", c.spoken->model, set.errors.seed(), ORVA_VERSION);
}

std::string all_errors(test_set &set) {
  std::vector<std::string> all;
  do all.push_back(set.status.errors.pop());
  while (set.status.errors.size() > 0);
  return fmt::format("{}", fmt::join(all, ","));
}

std::string text_of(unsigned value) { return std::to_string(value); }

const std::vector<command> ieee488 = {
    {.header = "*CLS",
     .help = "Clears the event registers and the error queue, and forgets a pending `*OPC`.",
     .act = [](test_set &s, const call &) { s.status.clear(), s.forget_completion(); }},
    {.header = "*ESE",
     .help = "Mask of the standard event register for bit 5 of the status byte.",
     .act = [](test_set &s,
               const call &c) { s.status.event_enable = static_cast<uint8_t>(c.arguments[0].number); },
     .takes = {mask("mask", 255)},
     .ask = [](test_set &s, const call &) { return text_of(s.status.event_enable); },
     .answer = "the mask"},
    {.header = "*ESR",
     .help =
         "Standard event register: 1 operation complete, 4 query error, 8 device error, 16 execution error, "
         "32 command error, 128 power on. Reading clears it.",
     .ask = [](test_set &s, const call &) { return text_of(s.status.take_events()); },
     .answer = "the sum of the bits"},
    {.header = "*IDN",
     .help = "Identification.",
     .ask = identity,
     .answer = "maker,model,serial number,version"},
    {.header = "*OPC",
     .help = "Sets bit 0 of the event register when no measurement is pending any more.",
     .act = [](test_set &s, const call &) { s.announce_completion(); }},
    {.header = "*OPC",
     .help = "Waits until no measurement is pending.",
     .ask = [](test_set &, const call &) { return std::string("1"); },
     .answer = "1",
     .waits = true},
    {.header = "*RST",
     .help =
         "Ends a measurement and sets every setting to its default; empties the path-loss tables. Cables, masks, "
         "events and errors stay.",
     .act = [](test_set &s, const call &) { s.reset(); }},
    {.header = "*SRE",
     .help = "Mask of the status byte for its bit 6, which itself cannot be masked.",
     .act =
         [](test_set &s, const call &c) {
           s.status.service_enable =
               static_cast<uint8_t>(static_cast<unsigned>(c.arguments[0].number) & 0xBFU);
         },
     .takes = {mask("mask", 255)},
     .ask = [](test_set &s, const call &) { return text_of(s.status.service_enable); },
     .answer = "the mask"},
    {.header = "*STB",
     .help =
         "Status byte: 4 an error is queued, 8 questionable, 16 an answer waits, 32 standard event, 64 any of the "
         "service mask, 128 operation.",
     .ask = [](test_set &s, const call &c) { return text_of(s.status.status_byte(c.answer_waits)); },
     .answer = "the sum of the bits"},
    {.header = "*TST",
     .help = "Self test.",
     .ask = [](test_set &, const call &) { return std::string("0"); },
     .answer = "0: no fault"},
    {.header = "*WAI",
     .help = "The commands that follow wait until no measurement is pending.",
     .act = [](test_set &, const call &) {},
     .waits = true},
};

const std::vector<command> subsystems = {
    {.header = "STATus:OPERation[:EVENt]",
     .help = "Events of the operation group: 16 a measurement began. Reading clears them.",
     .ask = [](test_set &s, const call &) { return text_of(s.status.operation.take_event()); },
     .answer = "the sum of the bits"},
    {.header = "STATus:OPERation:CONDition",
     .help = "The operation group now: 16 a measurement waits for its burst.",
     .ask = [](test_set &s, const call &) { return text_of(s.status.operation.condition); },
     .answer = "the sum of the bits"},
    {.header = "STATus:OPERation:ENABle",
     .help = "Mask of the operation events for bit 7 of the status byte.",
     .act = [](test_set &s,
               const call &c) { s.status.operation.enable = static_cast<uint16_t>(c.arguments[0].number); },
     .takes = {mask("mask", 32767)},
     .ask = [](test_set &s, const call &) { return text_of(s.status.operation.enable); },
     .answer = "the mask"},
    {.header = "STATus:QUEStionable[:EVENt]",
     .help =
         "Events of the questionable group: 8 power over or under range, 512 no trigger. Reading clears them.",
     .ask = [](test_set &s, const call &) { return text_of(s.status.questionable.take_event()); },
     .answer = "the sum of the bits"},
    {.header = "STATus:QUEStionable:CONDition",
     .help = "The questionable group of the last measurement.",
     .ask = [](test_set &s, const call &) { return text_of(s.status.questionable.condition); },
     .answer = "the sum of the bits"},
    {.header = "STATus:QUEStionable:ENABle",
     .help = "Mask of the questionable events for bit 3 of the status byte.",
     .act =
         [](test_set &s, const call &c) {
           s.status.questionable.enable = static_cast<uint16_t>(c.arguments[0].number);
         },
     .takes = {mask("mask", 32767)},
     .ask = [](test_set &s, const call &) { return text_of(s.status.questionable.enable); },
     .answer = "the mask"},
    {.header = "STATus:PRESet",
     .help = "Clears the masks of both groups.",
     .act = [](test_set &s, const call &) { s.status.preset(); }},
    {.header = "SYSTem:ERRor[:NEXT]",
     .help = "Takes the oldest error from the queue, which holds 30.",
     .ask = [](test_set &s, const call &) { return s.status.errors.pop(); },
     .answer = "number,\"text;detail\", or 0,\"No error\""},
    {.header = "SYSTem:ERRor:ALL",
     .help = "Takes every error from the queue.",
     .ask = [](test_set &s, const call &) { return all_errors(s); },
     .answer = "the errors, separated by commas"},
    {.header = "SYSTem:ERRor:COUNt",
     .help = "The number of errors in the queue.",
     .ask = [](test_set &s, const call &) { return std::to_string(s.status.errors.size()); },
     .answer = "a number"},
    {.header = "SYSTem:VERSion",
     .help = "Version of SCPI.",
     .ask = [](test_set &, const call &) { return std::string("1999.0"); },
     .answer = "1999.0"},
    {.header = "SYSTem:UNCertainty",
     .help = "The largest error of a reading: dB, and ppm for the frequency.",
     .ask =
         [](test_set &s, const call &c) {
           return fmt::format("{:g}", s.errors.bound(static_cast<quantity>(c.arguments[0].number)));
         },
     .asks = {{.name = "quantity", .kind = parameter_kind::choice, .choices = quantities}},
     .answer = "a number"},
    {.header = "DIAGnostic:CABLe<1-8>",
     .help = "What is plugged into a port. A real instrument cannot know.",
     .ask =
         [](test_set &s, const call &c) {
           return fmt::format("\"{}\"", s.ports[static_cast<size_t>(c.suffixes[0]) - 1].phone.value_or(""));
         },
     .answer = "the phone's name in quotes, empty without a phone"},
};

std::vector<command> joined(const std::vector<command> &first, const std::vector<command> &then) {
  std::vector<command> all = first;
  all.insert(all.end(), then.begin(), then.end());
  return all;
}

}  // namespace

const std::vector<command> &common_commands() {
  static const std::vector<command> all = joined(ieee488, subsystems);
  return all;
}

const std::vector<dialect> &dialects() {
  static const std::vector<dialect> all = {dialect_a(), dialect_b()};
  return all;
}

command number_setting(std::string_view header, std::string help, parameter p, double settings::*field) {
  p.usual = settings{}.*field;
  command row{.header = header, .help = std::move(help)};
  row.takes = {p};
  row.number = field;
  return row;
}

command integer_setting(std::string_view header, std::string help, parameter p, int settings::*field) {
  p.kind = parameter_kind::integer;
  p.usual = settings{}.*field;
  command row{.header = header, .help = std::move(help)};
  row.takes = {p};
  row.integer = field;
  return row;
}

loss_table table_of(const std::vector<scpi::argument> &arguments, size_t from, double sign) {
  std::map<double, double> points;
  for (size_t i = from; i + 1 < arguments.size(); i += 2)
    points[arguments[i].number / 1e6] = sign * arguments[i + 1].number;
  if (points.size() > loss_table::most_points)
    throw failure(scpi::too_much_data, fmt::format("at most {} points", loss_table::most_points));
  return loss_table(std::move(points));
}

waveform waveform_named(const std::string &name, std::string (*named)(const waveform &)) {
  const auto &all = waveforms();
  const auto found = std::ranges::find(all, name, named);
  if (found == all.end()) throw failure(scpi::file_name_not_found, name);
  return *found;
}

std::string waveform_catalog(std::string (*named)(const waveform &)) {
  std::vector<std::string> names;
  for (const waveform &w : waveforms()) names.push_back(fmt::format("\"{}\"", named(w)));
  return fmt::format("{}", fmt::join(names, ","));
}

}  // namespace rf_tester
