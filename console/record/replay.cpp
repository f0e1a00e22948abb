// SPDX-License-Identifier: Apache-2.0
#include "console/record/replay.h"

#include "console/phone/chips.h"
#include "console/phone/phone_link.h"
#include "console/record/contact_lines.h"
#include "console/record/player.h"
#include "console/record/recording.h"
#include "console/run/functions.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <fmt/format.h>

namespace console {
namespace {

using kinds_t = std::set<std::string>;

/** A line that came from the phone's log has lost its line end. Its result is the length of the text. */
void drop_line_end(json &line) {
  auto text = line.value("text", "");
  if (line.at("kind") != "log" || !text.ends_with('\n') || line.at("result") != text.size()) return;
  text.pop_back();
  line["result"] = text.size();
  line["text"] = text;
}

/** A call's contacts without times and without kinds that nobody saw, then its outcome: the lines to compare.
 */
std::vector<json> compared_lines(const recorded_call &call, const kinds_t &without) {
  auto all = call.contacts;
  std::erase_if(all, [&](auto &c) { return without.contains(c.at("kind").template get<std::string>()); });
  for (auto &c : all) {
    c.erase("at_us");
    drop_line_end(c);
  }
  all.push_back(
      {{"type", "result"}, {"result", call.result}, {"outputs", call.outputs}, {"dropped", call.dropped}});
  return all;
}

std::string line_text(const std::vector<json> &all, size_t i) {
  if (i >= all.size()) return "nothing more";
  if (all[i].at("type") == "contact") return describe_contact(all[i]);
  auto &outputs = all[i].at("outputs");
  auto dropped = all[i].at("dropped").get<size_t>();
  return fmt::format("{}the call's end, result {}{}{}",
                     dropped ? counted(dropped, "contact") + " not kept, " : "",
                     all[i].at("result").get<std::string>(), outputs.empty() ? "" : ", outputs ",
                     outputs.empty() ? "" : outputs.dump());
}

/** The first difference with a few lines of context; "" if there is none. */
std::string first_difference(const std::vector<json> &expected, const std::vector<json> &came) {
  constexpr size_t context = 3;
  auto size = std::min(expected.size(), came.size());
  size_t at = 0;
  while (at < size && expected[at] == came[at]) ++at;
  if (at == expected.size() && at == came.size()) return "";
  std::string text;
  for (size_t i = at > context ? at - context : 0; i < at; ++i)
    text += fmt::format("  {:>4}  same      {}\n", i + 1, line_text(expected, i));
  return text + fmt::format("  {:>4}  expected  {}\n  {:>4}  came      {}\n", at + 1, line_text(expected, at),
                            at + 1, line_text(came, at));
}

bool print_difference(size_t number, const recorded_call &expected, const recorded_call &came,
                      const kinds_t &without, const std::string &where) {
  auto text = first_difference(compared_lines(expected, without), compared_lines(came, without));
  if (text.empty()) return false;
  fmt::print("{}: call {} on {}, {}: contact by contact\n{}", where, number, expected.chip,
             call_text(expected), text);
  return true;
}

recorded_call run_again(const recorded_call &then, const library &lib) {
  auto now = then;
  prepared_call prepared(*find_function(then.function), then.arguments);
  player::plan(then);
  phone_link::clear_contacts();
  auto result = prepared.run(lib);
  now.contacts = contact_lines(phone_link::contacts());
  now.result = result.value;
  now.outputs = outputs_json(result);
  return now;
}

void load_for(const recorded_call &call, const settings &with, library &lib) {
  lib.load_or_throw(with.library);
  if (chip_index(call.chip)) phone_link::set("chip", call.chip);
}

void require_function(const library &lib, const recorded_call &call, const settings &with) {
  if (!lib.symbol(call.function.c_str()))
    throw usage_error{fmt::format("The library {} has no function {}.", with.library, call.function)};
}

void require_complete(const recorded_call &call, const std::string &where) {
  if (call.dropped)
    throw usage_error{fmt::format("{}: {} of {} were not kept: the call cannot be repeated.", where,
                                  counted(call.dropped, "contact"), call_text(call))};
}

/** Without a call nothing is compared, and nothing may be said to be the same. */
void require_calls(const recording &all) {
  if (all.calls.empty())
    throw usage_error{fmt::format("{}: it has no call: there is nothing to compare.", all.path)};
}

}  // namespace

bool replay(const std::string &path, const settings &with) {
  if (!player::available())
    throw usage_error{"replay: only orva-station has a virtual phone that plays a recording."};
  auto then = read_recording(path);
  require_calls(then);
  prepare_phone(with);
  player::watch_all();
  library lib;
  for (size_t i = 0; i < then.calls.size(); ++i) {
    auto &call = then.calls[i];
    if (call.fresh) load_for(call, with, lib);
    require_function(lib, call, with);
    auto where = fmt::format("{}:{}", path, call.line);
    require_complete(call, where);
    if (print_difference(i + 1, call, run_again(call, lib), then.without, where)) return false;
  }
  fmt::print("{}: {} replayed, all the same.\n", path, counted(then.calls.size(), "call"));
  return true;
}

bool diff_recordings(const std::string &first, const std::string &second) {
  auto a = read_recording(first), b = read_recording(second);
  auto size = std::min(a.calls.size(), b.calls.size());
  if (b.calls.empty()) require_calls(a);
  auto without = a.without;
  without.insert(b.without.begin(), b.without.end());
  for (size_t i = 0; i < size; ++i) {
    auto &x = a.calls[i], &y = b.calls[i];
    auto where = fmt::format("{}:{} and {}:{}", first, x.line, second, y.line);
    if (x.chip != y.chip || x.fresh != y.fresh || x.function != y.function || x.arguments != y.arguments) {
      fmt::print("{}: call {} is another\n        expected  {} on {}{}\n        came      {} on {}{}\n",
                 where, i + 1, call_text(x), x.chip, x.fresh ? ", library new" : "", call_text(y), y.chip,
                 y.fresh ? ", library new" : "");
      return false;
    }
    if (print_difference(i + 1, x, y, without, where)) return false;
  }
  if (a.calls.size() != b.calls.size()) {
    auto &longer = a.calls.size() > b.calls.size() ? a : b;
    fmt::print("{}:{}: call {}, {}, has no counterpart: the other recording ends before it.\n", longer.path,
               longer.calls[size].line, size + 1, call_text(longer.calls[size]));
    return false;
  }
  fmt::print("{} and {}: {}, all the same.\n", first, second, counted(size, "call"));
  return true;
}

}  // namespace console
