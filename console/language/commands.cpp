// SPDX-License-Identifier: Apache-2.0
#include "console/language/commands.h"

#include "console/language/help.h"
#include "console/nv/nv_safe.h"
#include "console/phone/phone_link.h"
#include "console/phone/trace_view.h"
#include "console/prompt/options.h"
#include "console/run/expectations.h"
#include "console/text/text.h"
#include "console/text/within.h"

#include <charconv>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <tcl.h>

namespace console {
namespace {

using words_t = const std::vector<std::string> &;

constexpr size_t MANY = 1000;

const call_step &last_of(interpreter &in, const char *what) {
  if (auto *step = in.current().last()) return *step;
  throw usage_error{fmt::format("{}: no function was called yet.", what)};
}

void require(const std::string &message) {
  if (!message.empty()) throw usage_error{message};
}

int64_t whole_number(const char *what, const std::string &word) {
  auto number = parse_number(word);
  if (!number) throw usage_error{fmt::format("{} is \"{}\", which is no number.", what, word)};
  return *number;
}

/** The words of a Tcl list: {a b {c d}}. */
std::vector<std::string> list_words(const std::string &list) {
  int count = 0;
  const char **items = nullptr;
  if (Tcl_SplitList(nullptr, list.c_str(), &count, &items) != TCL_OK)
    throw usage_error{fmt::format("\"{}\" is no list: its braces or quotes do not match.", list)};
  std::vector<std::string> words(items, items + count);
  Tcl_Free(reinterpret_cast<char *>(items));
  return words;
}

std::string run_expect(interpreter &in, words_t words) {
  auto &step = last_of(in, "expect");
  auto what = words[0] + (words.size() == 3 ? " " + words[1] : "");
  auto &value = words.back();
  expectation e;
  if (words.size() == 3 && words[0] == "phone")
    e = expect_phone(words[1], value);
  else if (words.size() == 2 && what == "log")
    e = expect_log(step, value, true);
  else if (what == "no log")
    e = expect_log(step, value, false);
  else if (words.size() == 2 && what == "driver")
    e = expect_driver(step, list_words(value), in.current().chip());
  else if (words.size() == 2 && what == "shell")
    e = expect_shell(step, list_words(value));
  else
    throw usage_error{fmt::format(
        "expect: \"{}\" is nothing that can be expected: give log, no log, driver, shell or phone.", what)};
  in.current().expect(e, in.where());
  return e.held ? "1" : "0";
}

std::string run_limits(interpreter &in, words_t words) {
  require(limits_error(words[2]));
  bool held = within(words[2], words[1]);
  in.current().expect({words[0], words[2], words[1], held}, in.where());
  return held ? "1" : "0";
}

std::string run_phone(interpreter &in, words_t words) {
  if (words[0] == "set" && words.size() == 3) {
    require(phone_link::set(words[1], words[2]));
    return "";
  }
  if (words[0] == "get" && words.size() == 2) return phone_link::get(words[1]);
  if (words[0] == "load" && words.size() == 2) {
    require(phone_link::load(in.beside_script(words[1])));
    return "";
  }
  if (words[0] == "keys" && words.size() == 1) {
    std::string text;
    for (auto &[key, meaning] : phone_link::keys()) text += fmt::format("{:<28} {}\n", key, meaning);
    return std::string(trim_end(text));
  }
  throw usage_error{"phone: give set KEY VALUE, get KEY, load FILE or keys."};
}

std::string run_fault(interpreter &in, words_t words) {
  auto nth = whole_number("fault: NTH", words[1]);
  auto times = words.size() > 2 ? whole_number("fault: TIMES", words[2]) : 1;
  auto value = words.size() > 3 ? whole_number("fault: VALUE", words[3]) : 0;
  if (nth < 1 || times < 0)
    throw usage_error{"fault: NTH counts from 1 (the next use), TIMES from 0 (every use from there on)."};
  in.current().plan_fault(words[0], static_cast<unsigned>(nth), static_cast<unsigned>(times),
                          static_cast<int>(value), in.where());
  return "";
}

std::string run_wait(interpreter &, words_t words) {
  double seconds = 0;
  auto end = words[0].data() + words[0].size();
  auto [stop, error] = std::from_chars(words[0].data(), end, seconds);
  if (error != std::errc{} || stop != end || seconds < 0 || seconds > 86400)
    throw usage_error{fmt::format("wait: \"{}\" is no time: give seconds, 0 to 86400.", words[0])};
  phone_link::wait_us(static_cast<int64_t>(seconds * 1e6));
  return "";
}

std::string run_note(interpreter &in, words_t words) {
  in.current().note(fmt::format("{}", fmt::join(words, " ")));
  return "";
}

std::string run_puts(interpreter &in, words_t words) {
  in.current().note(words.back());
  return "";
}

std::string run_step(interpreter &in, words_t words) {
  in.current().title(fmt::format("{}", fmt::join(words, " ")));
  return "";
}

std::string run_progress(interpreter &in, words_t words) {
  auto done = whole_number("progress: DONE", words[0]), total = whole_number("progress: TOTAL", words[1]);
  if (done < 0 || total < done) throw usage_error{"progress: DONE lies between 0 and TOTAL."};
  in.current().report_progress(static_cast<size_t>(done), static_cast<size_t>(total),
                               words.size() > 2 ? words[2] : "");
  return "";
}

std::string run_chip(interpreter &in, words_t words) {
  if (words.empty()) return in.current().chip_name();
  auto chip = chip_index(words[0]);
  if (!chip)
    throw usage_error{fmt::format("\"{}\" is no chip: give vq2040, vq2050, vq2040a or vq2070.", words[0])};
  in.current().change_chip(*chip);
  return in.current().chip_name();
}

std::string run_has(interpreter &in, words_t words) {
  auto *f = find_function(words[0]);
  if (!f)
    throw usage_error{
        fmt::format("There is no function \"{}\".{}", words[0], did_you_mean(words[0], all_command_names()))};
  return (f->chips >> in.current().chip()) & 1 ? "1" : "0";
}

std::string run_output(interpreter &in, words_t words) {
  auto &step = last_of(in, "output");
  std::vector<std::string> names;
  for (auto &out : step.result.outputs) {
    if (words[0] == out.what->name) return out.value;
    names.emplace_back(out.what->name);
  }
  throw usage_error{fmt::format("{} has no output \"{}\"; it has: {}.", step.called->name, words[0],
                                names.empty() ? "none" : fmt::format("{}", fmt::join(names, ", ")))};
}

/** What the last call did, as a list that a script can go through. */
std::string run_seen(interpreter &in, words_t words) {
  auto &seen = last_of(in, "seen").seen;
  std::vector<std::string> items;
  if (words[0] == "driver")
    for (auto &c : seen.commands)
      items.push_back(to_list({std::to_string(c.id), c.name, c.value(), c.taken ? "1" : "0"}));
  else if (words[0] == "shell")
    for (auto &s : seen.shell) items.push_back(to_list({s.text, std::to_string(s.status)}));
  else if (words[0] == "log")
    for (auto &l : seen.log) items.push_back(to_list({std::to_string(l.priority), l.tag, l.text}));
  else if (words[0] == "pauses")
    for (auto us : seen.pauses_us) items.push_back(std::to_string(us));
  else
    throw usage_error{fmt::format("seen: \"{}\": give driver, shell, log or pauses.", words[0])};
  return to_list(items);
}

std::string run_log(interpreter &in, words_t words) {
  last_of(in, "log");
  return std::string(trim_end(log_text(words.empty() ? 0 : log_priority(words[0]))));
}

std::string run_trace(interpreter &in, words_t) {
  auto &step = last_of(in, "trace");
  return std::string(trim_end(trace_text(step.contacts_made)));
}

std::string run_nv_command(interpreter &in, words_t words) { return run_nv(words, in.current(), &in); }

std::string run_preview(interpreter &in, words_t words) {
  auto body = words.size() == 1 ? words[0] : to_list(words);
  return std::string(trim_end(preview(in.current(), body, [&] { in.eval(body); }).text));
}

std::string run_help(interpreter &, words_t words) {
  return std::string(trim_end(words.empty() ? help_overview() : help_about(words[0])));
}

std::string run_list(interpreter &, words_t) { return std::string(trim_end(help_list())); }

const command table[] = {
    {{"expect", "expect log|{no log}|driver|shell WHAT, expect phone KEY LIMITS",
      "Expects something of the last call: a log line (part of it, or a glob), no such line, exactly these driver "
      "commands (id or name, = value or limits, ! for refused), exactly these shell commands; or what the phone has come to.",
      "expect driver {power_save=0 mode=7 4=1 0=6 rate=65 power=15 transmit=1}"},
     2,
     3,
     run_expect},
    {{"limits", "limits NAME VALUE LIMITS", "Expects a value of your own to lie within limits.",
      "limits packets_per_second [expr {$packets / 2}] 40..60"},
     3,
     3,
     run_limits},
    {{"phone", "phone set KEY VALUE | get KEY | load FILE | keys", "Sets the virtual phone up.",
      "phone set radio.rssi -48"},
     1,
     3,
     run_phone},
    {{"fault", "fault PLACE NTH ?TIMES? ?VALUE?",
      "Makes the NTH use of a place fail from now on, TIMES times (0: always); a fault that never came fails the "
      "session.",
      "fault ioctl:11 1 2"},
     2,
     4,
     run_fault},
    {{"wait", "wait SECONDS", "Lets time pass on the phone's clock.", "wait 1.5"}, 1, 1, run_wait},
    {{"note", "note TEXT", "Writes a remark into the record.", "note operator changed the fixture"},
     1,
     MANY,
     run_note},
    {{"puts", "puts TEXT", "The same, by its usual name.", "puts $rssi"}, 1, 2, run_puts},
    {{"step", "step NAME", "Begins a part of the session under this title.", "step transmit"},
     1,
     MANY,
     run_step},
    {{"progress", "progress DONE TOTAL ?TEXT?",
      "Shows on a terminal how far a long run has come; sweep does it by itself.", "progress 3 14"},
     2,
     3,
     run_progress},
    {{"chip", "chip ?NAME?", "The fitted chip; with a name, fits that one (test state starts afresh).",
      "if {[chip] eq \"vq2070\"} { wifi_ru_set 0 -> 1 }"},
     0,
     1,
     run_chip},
    {{"has", "has FUNCTION", "1 where the fitted chip has a function, else 0.", "has wifi_setmimo_channel"},
     1,
     1,
     run_has},
    {{"output", "output NAME", "An output of the last call, as a value.", "set rssi [output rssi]"},
     1,
     1,
     run_output},
    {{"seen", "seen driver|shell|log|pauses", "What the last call did, as a list.",
      "foreach c [seen driver] { note [lindex $c 1] }"},
     1,
     1,
     run_seen},
    {{"log", "log ?PRIORITY?", "The log of the last call: from debug, info, warn or error on.", "log error"},
     0,
     1,
     run_log},
    {{"trace", "trace", "Every contact of the last call with the phone, in order.", "trace"},
     0,
     0,
     run_trace},
    {{"preview", "preview BODY",
      "Tells what a body would change in NV, parameter by parameter: it runs on a copy of the phone.",
      "note [preview {wifi_nvram_calibrate_clean 1}]"},
     1,
     MANY,
     run_preview},
    {{"nv",
      "nv list | show NUMBER | snapshot | diff ?FILE? | save FILE | load FILE | backup FILE | restore FILE | clear",
      "Looks at and sets the NV store; diff tells what changed since the snapshot or a saved file. load adds a "
      "file's items, restore makes the whole store as the backup; both read back what they wrote.",
      "nv show 340"},
     1,
     2,
     run_nv_command},
    {{"help", "help ?FUNCTION?", "Explains a function or command.", "help wifi_set_power"}, 0, 1, run_help},
    {{"functions", "functions", "All functions, by subject.", "functions"}, 0, 0, run_list},
};

}  // namespace

std::string to_list(const std::vector<std::string> &words) {
  std::vector<const char *> items;
  for (auto &w : words) items.push_back(w.c_str());
  char *merged = Tcl_Merge(static_cast<int>(items.size()), items.data());
  std::string list = merged;
  Tcl_Free(merged);
  return list;
}

std::span<const command> commands() { return table; }

const std::vector<command_help> &command_list() {
  static const std::vector<command_help> all = [] {
    std::vector<command_help> list;
    for (auto &c : table) list.push_back(c.help);
    list.push_back({"sweep", "sweep {NAME {VALUE...} ...} BODY",
                    "Runs the body for every combination of the values, the last name fastest.",
                    "sweep {channel {2412 2437 2472} power {100 155}} { wifi_set_channel $channel -> 1 }"});
    return list;
  }();
  return all;
}

}  // namespace console
