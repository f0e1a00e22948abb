// SPDX-License-Identifier: Apache-2.0
#include "console/prompt/outputs.h"

#include "console/phone/library.h"
#include "console/run/file_name.h"
#include "console/run/functions.h"
#include "console/run/session.h"
#include "console/text/checksum.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <fmt/format.h>

namespace console {
namespace {

bool runs_sessions(const command_line &line) { return !line.words.empty() && line.words[0] == "run"; }

bool has_several_sessions(const command_line &line) {
  return line.all_chips || line.words.empty() || (runs_sessions(line) && line.words.size() > 2);
}

/** The script of the only session; "" for a call. */
std::string session_name(const command_line &line) {
  return runs_sessions(line) && line.words.size() == 2 ? line.words[1] : "";
}

/** The call's value, if it succeeds: its result, or one of its outputs. */
std::string value_from_phone(session &s, const char *function, const std::string &output) {
  auto &result = s.call(*find_function(function), {}, {}, true).result;
  if (result.means.verdict == outcome::bad) return "";
  for (auto &o : result.outputs)
    if (output == o.what->name) return o.value;
  return output.empty() ? result.value : "";
}

std::string serial_from_phone(session &s, const std::string &wanted) {
  auto serial = wanted == from_upc ? value_from_phone(s, "wifi_get_upc_code", "")
                                   : value_from_phone(s, "conn_test_get_checktime_of_chipcheck", "die_id");
  if (serial.empty() || serial.find_first_not_of('0') == serial.npos)
    throw usage_error{
        fmt::format("--serial {}: the phone does not report it: give the serial itself, or run doctor "
                    "to see what is missing.",
                    wanted)};
  return serial;
}

/** Asks the phone before the run for what the identity and the names need of it. Gives the chip. */
std::string ask_phone(command_line &line) {
  auto &serial = line.who.serial;
  bool wants_serial = serial == from_die_id || serial == from_upc, wants_chip = needs_chip(line.record_file);
  for (auto &option : output_options) wants_chip |= needs_chip(line.*option.file);
  if (!wants_serial && !wants_chip) return "";
  if (wants_serial && line.all_chips)
    throw usage_error{fmt::format("--serial {} is of one phone: give --chip one chip's name.", serial)};
  session s(line.with, "", {});
  s.is_single_call();
  s.start();
  if (wants_serial) serial = serial_from_phone(s, serial);
  return s.chip_name();
}

/** What a record must have beyond its other members, which have defaults. */
void check_record(const command_line &line) {
  if (line.record_file.empty()) return;
  if (!line.record_file.ends_with(".jsonl"))
    throw usage_error{fmt::format(
        "--record {}: give a name that ends in .jsonl, which orva-records collects.", line.record_file)};
  for (auto &key : {identity_keys[0], identity_keys[1]})
    if ((line.who.*key.member).empty())
      throw usage_error{
          fmt::format("--record {0}: a record names its {1}: give --{1}.", line.record_file, key.name)};
}

void complete_identity(identity &who, const command_line &line, const std::string &console_version) {
  who.run = new_run_id();
  who.started = time_with_zone();
  if (!who.given) return;
  if (who.plan_version.empty()) who.plan_version = "unknown";
  who.console = console_version;
  who.library = version_of_file(library::file_of(line.with.library));
}

}  // namespace

identity identity_of(const command_line &line, const std::string &session, bool first) {
  auto who = line.who;
  if (who.plan.empty()) who.plan = plan_of_session(session);
  if (!first) who.run = new_run_id(), who.started = time_with_zone();
  return who;
}

void complete(command_line &line, const std::string &console_version) {
  check_record(line);
  complete_identity(line.who, line, console_version);
  auto chip = ask_phone(line);
  auto who = identity_of(line, session_name(line), true);
  if (!line.record_file.empty()) name_from_pattern("--record", line.record_file, who, chip);
  for (auto &option : output_options) {
    auto pattern = line.*option.file;
    if (has_several_sessions(line))
      refuse_session_placeholders(option.name, pattern, line.who, line.all_chips);
    line.*option.file = name_from_pattern(option.name, pattern, who, chip);
    if (!is_pattern(pattern)) continue;
    make_folders(option.name, pattern, line.*option.file);
    never_replace(line.*option.file);
  }
}

}  // namespace console
