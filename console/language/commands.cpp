// SPDX-License-Identifier: Apache-2.0
#include "console/language/commands.h"

#include "console/language/help.h"
#include "console/language/nv_commands.h"
#include "console/language/option_words.h"
#include "console/phone/abilities.h"
#include "console/phone/chips.h"
#include "console/phone/log_priority.h"
#include "console/phone/phone_link.h"
#include "console/phone/trace_view.h"
#include "console/run/expectations.h"
#include "console/run/functions.h"
#include "console/text/output_file.h"
#include "console/text/tcl_list.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"
#include "console/text/within.h"

#include <algorithm>
#include <charconv>
#include <cstring>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <tcl.h>

namespace console {
namespace {

using words_t = const std::vector<std::string> &;

constexpr size_t MANY = 1000;

std::vector<std::string> function_names() {
  std::vector<std::string> names;
  for (auto &f : functions()) names.emplace_back(f.name);
  return names;
}

const call_step &last_of(script_context &in, const char *what) {
  if (auto *step = in.current().last()) return *step;
  throw usage_error{fmt::format("{}: no function was called yet.", what)};
}

int64_t whole_number(const char *what, const std::string &word) {
  auto number = parse_number(word);
  if (!number) throw usage_error{fmt::format("{} is \"{}\", which is no number.", what, word)};
  return *number;
}

struct expect_row {
  subcommand word;
  expectation (*make)(script_context &in, const call_step &last, words_t words);
};

constexpr expect_row expect_rows[] = {
    {{"log", "WHAT"}, [](auto &, auto &last, words_t words) { return expect_log(last, words.back(), true); }},
    {{"no log", "WHAT"},
     [](auto &, auto &last, words_t words) { return expect_log(last, words.back(), false); }},
    {{"driver", "WHAT"},
     [](auto &in, auto &last, words_t words) {
       return expect_driver(last, list_words(words.back()), in.current().chip());
     }},
    {{"shell", "WHAT"},
     [](auto &, auto &last, words_t words) { return expect_shell(last, list_words(words.back())); }},
    {{"phone", "KEY LIMITS"}, [](auto &, auto &, words_t words) { return expect_phone(words[1], words[2]); }},
};

/** Do the words before the row's arguments make its name? "no log" may be one word or two. */
bool is_chosen(const expect_row &row, words_t words) {
  auto arguments = row.word.most_arguments();
  return words.size() > arguments &&
         fmt::format("{}", fmt::join(words.begin(), words.end() - static_cast<ptrdiff_t>(arguments), " ")) ==
             row.word.name;
}

std::string run_expect(script_context &in, words_t words) {
  in.current().refuse_in_preview("expect");
  auto &step = last_of(in, "expect");
  auto row = std::ranges::find_if(expect_rows, [&](auto &r) { return is_chosen(r, words); });
  if (row == std::end(expect_rows))
    throw usage_error{fmt::format("expect: \"{}{}\" is nothing that can be expected: give {}.", words[0],
                                  words.size() == 3 ? " " + words[1] : "",
                                  either(names_of(words_of_table(expect_rows))))};
  require_works_here(fmt::format("expect {}", row->word.name));
  auto e = row->make(in, step, words);
  in.current().expect(e, in.where());
  return e.held ? "1" : "0";
}

/** "expect log|{no log}|driver|shell WHAT, expect phone KEY LIMITS" */
std::string expect_usage() {
  std::string text;
  for (auto &row : expect_rows) {
    bool last = &row + 1 == std::end(expect_rows) ||
                std::string_view(row.word.arguments) != (&row + 1)->word.arguments;
    bool first = &row == expect_rows || std::string_view(row.word.arguments) != (&row - 1)->word.arguments;
    text += first ? text.empty() ? "expect " : ", expect " : "|";
    text += strchr(row.word.name, ' ') ? fmt::format("{{{}}}", row.word.name) : row.word.name;
    if (last) text += fmt::format(" {}", row.word.arguments);
  }
  return text;
}

std::string run_limits(script_context &in, words_t words) {
  in.current().refuse_in_preview("limits");
  require(limits_error(words[2]));
  auto given = parse_options("limits", std::span(words).subspan(3), {"unit", "at"});
  // Tcl writes very small and large results with an exponent. Where a text is allowed, 12E4 may be one.
  auto got = within(words[2], words[1]) ? words[1] : without_exponent(words[1]);
  expectation e{words[0],      words[2],
                got,           within(words[2], got),
                given["unit"], parse_condition("limits: -at", given["at"])};
  in.current().expect(e, in.where());
  return e.held ? "1" : "0";
}

struct phone_row {
  subcommand word;
  std::string (*run)(script_context &in, words_t words);
};

std::string phone_keys() {
  std::string text;
  for (auto &[key, meaning] : phone_link::keys()) text += fmt::format("{:<28} {}\n", key, meaning);
  return std::string(trim_end(text));
}

constexpr phone_row phone_rows[] = {
    {{"set", "KEY VALUE"},
     [](script_context &, words_t words) {
       return require(phone_link::set(words[1], words[2])), std::string();
     }},
    {{"get", "KEY"}, [](script_context &, words_t words) { return value_of_phone(words[1]); }},
    {{"load", "FILE"},
     [](script_context &in, words_t words) {
       auto path = in.beside_script(words[1]);
       claim_file({"phone load", path, false});
       return require(phone_link::load(path)), std::string();
     }},
    {{"keys"}, [](script_context &, words_t) { return phone_keys(); }},
};

std::string run_phone(script_context &in, words_t words) {
  for (auto &row : phone_rows)
    if (words[0] == row.word.name && row.word.takes(words.size() - 1)) return row.run(in, words);
  throw usage_error{fmt::format("phone: give {}.", sentence_of(words_of_table(phone_rows)))};
}

std::string run_fault(script_context &in, words_t words) {
  auto nth = whole_number("fault: NTH", words[1]);
  auto times = words.size() > 2 ? whole_number("fault: TIMES", words[2]) : 1;
  auto value = words.size() > 3 ? whole_number("fault: VALUE", words[3]) : 0;
  if (nth < 1 || times < 0)
    throw usage_error{"fault: NTH counts from 1 (the next use), TIMES from 0 (every use from there on)."};
  in.current().plan_fault(words[0], static_cast<unsigned>(nth), static_cast<unsigned>(times),
                          static_cast<int>(value), in.where());
  return "";
}

std::string run_wait(script_context &, words_t words) {
  double seconds = 0;
  auto end = words[0].data() + words[0].size();
  auto [stop, error] = std::from_chars(words[0].data(), end, seconds);
  if (error != std::errc{} || stop != end || !(seconds >= 0 && seconds <= 86400))
    throw usage_error{fmt::format("wait: \"{}\" is no time: give seconds, 0 to 86400.", words[0])};
  // A signal that comes just before a wait does not end it, so a long one consists of several.
  constexpr int64_t piece_us = 900'000;
  for (auto left = static_cast<int64_t>(seconds * 1e6); left > 0 && !Tcl_AsyncReady(); left -= piece_us)
    phone_link::wait_us(std::min(left, piece_us));
  return "";
}

std::string run_ignore(script_context &in, words_t words) {
  auto *f = find_function(words[0]);
  if (!f)
    throw usage_error{fmt::format("ignore: \"{}\" is no function: give a call, as in: ignore "
                                  "wifi_nvram_set.{}",
                                  words[0], did_you_mean(words[0], function_names()))};
  if (std::ranges::find(words, "->") != words.end())
    throw usage_error{"ignore: leave out -> and what follows: an ignored result is not judged."};
  return in.current().call(*f, {words.begin() + 1, words.end()}, in.where(), true).result.value;
}

std::string run_note(script_context &in, words_t words) {
  in.current().note(fmt::format("{}", fmt::join(words, " ")));
  return "";
}

std::string run_puts(script_context &in, words_t words) {
  in.current().note(words.back());
  return "";
}

std::string run_step(script_context &in, words_t words) {
  in.current().title(fmt::format("{}", fmt::join(words, " ")));
  return "";
}

std::string run_progress(script_context &in, words_t words) {
  auto done = whole_number("progress: DONE", words[0]), total = whole_number("progress: TOTAL", words[1]);
  if (done < 0 || total < done) throw usage_error{"progress: DONE lies between 0 and TOTAL."};
  in.current().report_progress(static_cast<size_t>(done), static_cast<size_t>(total),
                               words.size() > 2 ? words[2] : "");
  return "";
}

std::string run_chip(script_context &in, words_t words) {
  if (words.empty()) return in.current().chip_name();
  require_works_here("chip CHIP");
  auto chip = chip_index(words[0]);
  if (!chip) throw usage_error{fmt::format("\"{}\" is no chip: give {}.", words[0], either(chip_names()))};
  in.current().change_chip(*chip);
  return in.current().chip_name();
}

bool has_command(unsigned chip, const std::string &name) {
  std::vector<std::string> known;
  for (unsigned any = 0; any < chip_count; ++any)
    for (auto &command : command_names(any)) known.push_back(command);
  if (std::ranges::find(known, name) == known.end())
    throw usage_error{
        fmt::format("has driver: no chip has a driver command \"{}\".{}", name, did_you_mean(name, known))};
  return std::ranges::count(command_names(chip), name) > 0;
}

std::string run_has(script_context &in, words_t words) {
  if (words.size() == 2) {
    if (words[0] != "driver") throw usage_error{"has: give a function, or driver and a driver command."};
    return has_command(in.current().chip(), words[1]) ? "1" : "0";
  }
  auto *f = find_function(words[0]);
  if (!f)
    throw usage_error{
        fmt::format("There is no function \"{}\".{}", words[0], did_you_mean(words[0], all_command_names()))};
  return (f->chips >> in.current().chip()) & 1 ? "1" : "0";
}

std::string run_output(script_context &in, words_t words) {
  auto &step = last_of(in, "output");
  std::vector<std::string> names;
  for (auto &out : step.result.outputs) {
    if (words[0] == out.what->name) return out.value;
    names.emplace_back(out.what->name);
  }
  throw usage_error{fmt::format("{} has no output \"{}\"; it has: {}.", step.called->name, words[0],
                                names.empty() ? "none" : fmt::format("{}", fmt::join(names, ", ")))};
}

using list_t = std::vector<std::string>;

struct seen_row {
  subcommand word;
  list_t (*items)(const observed &seen);
};

list_t driver_items(const observed &seen) {
  list_t items;
  for (auto &c : seen.commands)
    items.push_back(to_list({std::to_string(c.id), c.name, c.value(), c.taken ? "1" : "0"}));
  return items;
}

list_t shell_items(const observed &seen) {
  list_t items;
  for (auto &s : seen.shell) items.push_back(to_list({s.text, std::to_string(s.status)}));
  return items;
}

list_t log_items(const observed &seen) {
  list_t items;
  for (auto &l : seen.log) items.push_back(to_list({std::to_string(l.priority), l.tag, l.text}));
  return items;
}

list_t pause_items(const observed &seen) {
  list_t items;
  for (auto us : seen.pauses_us) items.push_back(std::to_string(us));
  return items;
}

constexpr seen_row seen_rows[] = {
    {{"driver"}, driver_items}, {{"shell"}, shell_items}, {{"log"}, log_items}, {{"pauses"}, pause_items}};

std::string run_seen(script_context &in, words_t words) {
  auto &seen = last_of(in, "seen").seen;
  for (auto &row : seen_rows)
    if (words[0] == row.word.name) return to_list(row.items(seen));
  throw usage_error{fmt::format("seen: \"{}\": give {}.", words[0], sentence_of(words_of_table(seen_rows)))};
}

std::string run_log(script_context &in, words_t words) {
  last_of(in, "log");
  return std::string(trim_end(log_text(words.empty() ? 0 : parse_log_priority(words[0]))));
}

std::string run_trace(script_context &in, words_t) {
  auto &step = last_of(in, "trace");
  return std::string(trim_end(trace_text(step.contacts_made)));
}

std::string run_nv_command(script_context &in, words_t words) {
  return run_nv(words, in.current(), [&](const std::string &path) { return in.beside_script(path); });
}

std::string run_tester_command(script_context &in, words_t words) {
  return run_tester(words, {in.rf_bench(), in.current(), in.where(),
                            [&](const std::string &path) { return in.beside_script(path); }});
}

std::string run_preview(script_context &in, words_t words) {
  auto body = words.size() == 1 ? words[0] : to_list(words);
  return std::string(trim_end(in.current().preview(body, [&] { in.eval(body); }).text));
}

std::string run_parameter(script_context &in, words_t words) {
  parameter wanted{.name = words[0], .type = words[1], .limits = words[2], .fallback = {}, .value = ""};
  if (words.size() > 3) wanted.fallback = words[3];
  return in.current().take_parameter(wanted);
}

std::string run_file(script_context &in, words_t words) {
  return in.run(words[0], {words.begin() + 1, words.end()});
}

std::string run_source(script_context &in, words_t words) { return in.source(words[0]); }

std::string run_teardown(script_context &in, words_t words) {
  in.at_end(words[0]);
  return "";
}

std::string run_help(script_context &, words_t words) {
  return std::string(
      trim_end(words.empty() ? help_overview(command_list()) : help_about(words[0], command_list())));
}

std::string run_list(script_context &, words_t) { return std::string(trim_end(help_list())); }

const command table[] = {
    {{"expect", expect_usage(),
      "Expects something of the last call: a log line (part of it, or a glob), no such line, exactly these driver "
      "commands (id or name, = value or limits, ! for refused), or exactly these shell commands. expect phone "
      "expects a value of the phone's description or state.",
      "expect driver {power_save=0 mode=7 4=1 0=6 rate=65 power=15 transmit=1}", words_of_table(expect_rows)},
     2,
     3,
     run_expect},
    {{"ignore", "ignore FUNCTION ?ARGUMENT...?",
      "Calls a function whose result does not matter. Without it and without ->, a call that fails fails the session.",
      "ignore wifi_stop_testmode"},
     1,
     MANY,
     run_ignore},
    {{"limits", "limits NAME VALUE LIMITS ?-unit UNIT? ?-at {NAME VALUE ...}?",
      "Expects a value of your own to lie within limits. With its unit and what it was measured at, it is a "
      "measurement in every report.",
      "limits power 15.02 13..17 -unit dBm -at {mhz 2442 rate mcs7}"},
     3,
     7,
     run_limits},
    {{"phone", "phone " + usage_of(words_of_table(phone_rows)), "Sets the virtual phone up.",
      "phone set radio.rssi -48", words_of_table(phone_rows)},
     1,
     3,
     run_phone},
    {{"fault", "fault PLACE NTH ?TIMES? ?VALUE?",
      "Makes the NTH use of a place from now on fail, and the TIMES - 1 uses after it (0: all of them). A fault "
      "that never fires fails the session.",
      "fault ioctl:11 1 2"},
     2,
     4,
     run_fault},
    {{"wait", "wait SECONDS", "Lets time pass on the phone's clock.", "wait 1.5"}, 1, 1, run_wait},
    {{"note", "note TEXT", "Writes a remark into the record.", "note operator changed the fixture"},
     1,
     MANY,
     run_note},
    {{"puts", "puts TEXT", "Does the same as note.", "puts $rssi"}, 1, 2, run_puts},
    {{"step", "step NAME", "Begins a part of the session under this title.", "step transmit"},
     1,
     MANY,
     run_step},
    {{"progress", "progress DONE TOTAL ?TEXT?",
      "Shows on a terminal how far a long run has come; sweep does it by itself.", "progress 3 14"},
     2,
     3,
     run_progress},
    {{"chip", works_here("chip CHIP") ? "chip ?CHIP?" : "chip",
      works_here("chip CHIP") ? "The fitted chip. With an argument, fits that chip and resets the test state."
                              : "The fitted chip.",
      "if {[chip] eq \"vq2070\"} { wifi_ru_set 0 -> 1 }"},
     0,
     1,
     run_chip,
     true},
    {{"has", "has FUNCTION | driver COMMAND",
      "1 if the fitted chip has the function, or the driver command, else 0.",
      "if {[has driver mimo_chain]} { wifi_setmimo_channel 1 -> 1 }"},
     1,
     2,
     run_has,
     true},
    {{"output", "output OUTPUT", "An output of the last call, as a value.", "set rssi [output rssi]"},
     1,
     1,
     run_output},
    {{"seen", fmt::format("seen {}", fmt::join(names_of(words_of_table(seen_rows)), "|")),
      "What the last call did, as a list.", "foreach c [seen driver] { note [lindex $c 1] }",
      words_of_table(seen_rows)},
     1,
     1,
     run_seen},
    {{"log", "log ?PRIORITY?",
      fmt::format("The log of the last call, from this priority on: {}.", either(log_priority_names())),
      "log error"},
     0,
     1,
     run_log},
    {{"trace", "trace", "Every contact of the last call with the phone, in order.", "trace"},
     0,
     0,
     run_trace},
    {{"preview", "preview BODY",
      "Shows what a body would change in NV, parameter by parameter: it runs on a copy of the phone. Expectations "
      "are refused there.",
      "note [preview {wifi_nvram_calibrate_clean 1}]"},
     1,
     MANY,
     run_preview},
    {{"parameter", "parameter NAME TYPE LIMITS ?DEFAULT?",
      "Declares a parameter of the session and returns its value, which run FILE -- NAME=VALUE gives. TYPE is integer, "
      "number, text or limits. Without a default it must be given. Parameters come before anything else that the "
      "session does.",
      "set power [parameter power integer 0..300 155]"},
     3,
     4,
     run_parameter,
     true},
    {{"run", "run FILE ?NAME=VALUE...?",
      "At the prompt: runs a file as a session of its own, which begins with a phone as the options describe it, and "
      "gives its verdict. The prompt goes on with the phone that the session left.",
      "run sessions/rf.tcl power=155"},
     1,
     MANY,
     run_file,
     true},
    {{"source", "source FILE", "At the prompt: runs a file's commands here, on the phone as it is.",
      "source sessions/rf.tcl"},
     1,
     1,
     run_source,
     true},
    {{"teardown", "teardown BODY",
      "Runs the body when the session ends: after the last command, a failed one or an interruption. Of several, the "
      "last one runs first.",
      "teardown { wifi_stop_tx; wifi_stop_testmode }"},
     1,
     1,
     run_teardown},
    {{"nv", "nv " + usage_of(nv_words()),
      "Shows and changes the NV store. diff shows what changed since the snapshot or against a saved file. load "
      "adds a file's items, restore makes the whole store equal to the backup; both read back what they wrote.",
      "nv show 340", nv_words()},
     1,
     2,
     run_nv_command},
    {{"tester", "tester " + usage_of(tester_words()),
      "Drives an RF test set through an instrument profile. Powers and levels are those at the phone. measure "
      "returns power (dBm), evm (dB), frequency_error (ppm) and mask_margin (dB) by name and judges those behind "
      "->; limit gives the standard's limit less the test set's uncertainty.",
      "tester measure -wanted 15 -at {rate mcs7} -> power 13..17 evm ..-27.3", tester_words()},
     1,
     MANY,
     run_tester_command},
    {{"help", "help ?COMMAND?", "Explains a function or command.", "help wifi_set_power"},
     0,
     1,
     run_help,
     true},
    {{"functions", "functions", "All functions, by subject.", "functions"}, 0, 0, run_list, true},
};

/** Written in the session language itself, see sweep.h. */
const command_help sweep_help = {
    "sweep", "sweep {NAME {VALUE...} ...} BODY",
    "Runs the body for every combination of the values, the last name fastest.",
    "sweep {channel {2412 2437 2472} power {100 155}} { wifi_set_channel $channel -> 1 }"};

}  // namespace

std::span<const command> commands() { return table; }

const std::vector<command_help> &command_list() {
  static const std::vector<command_help> all = [] {
    std::vector<command_help> list;
    for (auto &c : table)
      if (works_here(c.help.name)) list.push_back(c.help);
    list.push_back(sweep_help);
    return list;
  }();
  return all;
}

const command_help *find_command(std::string_view name) {
  auto found = std::ranges::find(command_list(), name, &command_help::name);
  return found == command_list().end() ? nullptr : &*found;
}

std::vector<std::string> all_command_names() {
  std::vector<std::string> names;
  for (auto &f : functions()) names.emplace_back(f.name);
  for (auto &c : command_list()) names.emplace_back(c.name);
  return names;
}

}  // namespace console
