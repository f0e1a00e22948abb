// SPDX-License-Identifier: Apache-2.0
#include "console/run/expectations.h"

#include "console/phone/chips.h"
#include "console/phone/phone_link.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"
#include "console/text/within.h"

#include <algorithm>
#include <fmt/format.h>
#include <fmt/ranges.h>

namespace console {
namespace {

bool is_number(const function &f, const std::string &name) {
  if (name == "result") return f.result != result_kind::function_pointer;
  for (auto &a : f.arguments)
    if (name == a.name) return a.is_number();
  return false;
}

std::vector<std::string> output_names(const function &f) {
  std::vector<std::string> names;
  for (auto &a : f.arguments)
    if (a.is_output()) names.emplace_back(a.name);
  return names;
}

wanted checked(const function &f, const std::string &name, const std::string &limits) {
  auto names = output_names(f);
  if (name != "result" && std::ranges::find(names, name) == names.end())
    throw usage_error{
        names.empty()
            ? fmt::format("{} has no output \"{}\": it has none, expect its result only.", f.name, name)
            : fmt::format("{} has no output \"{}\": it has {}.", f.name, name, fmt::join(names, ", "))};
  auto wrong = is_number(f, name) ? limits_error(limits) : "";
  if (!wrong.empty()) throw usage_error{fmt::format("{}: {}: {}.", f.name, name, wrong)};
  return {name, limits};
}

struct wanted_command {
  uint32_t id;
  std::string limits = "*";
  bool taken;
};

wanted_command parse_command(std::string text, unsigned chip) {
  bool refused = text.ends_with('!');
  if (refused) text.pop_back();
  auto equals = text.find('=');
  auto name = text.substr(0, equals);
  auto number = parse_number(name);
  auto id = number ? *number : command_id(chip, name);
  if (id < 0)
    throw usage_error{fmt::format("expect driver: \"{}\" is no driver command of {}: give its id or name.{}",
                                  name, chip < chip_count ? chip_name(chip) : "this chip",
                                  did_you_mean(name, command_names(chip)))};
  if (equals == text.npos) return {static_cast<uint32_t>(id), "*", !refused};
  auto limits = text.substr(equals + 1);
  if (auto wrong = range_error(limits); !wrong.empty())
    throw usage_error{fmt::format("expect driver: {}: {}.", name, wrong)};
  return {static_cast<uint32_t>(id), limits, !refused};
}

/** The command by its id or by its name, as the expectation gave it. */
std::string short_form(const driver_command &c, bool by_id) {
  auto id = std::to_string(c.id);
  return fmt::format("{}{}{}{}", by_id || c.name.empty() ? id : c.name, c.value().empty() ? "" : "=",
                     c.value(), c.taken ? "" : "!");
}

/** A result that reports a failure is no value: a range does not cover it, only the value itself does. */
expectation judge_own_result(const call_result &result, const wanted &want) {
  bool bad = result.means.verdict == outcome::bad, in_limits = within(want.limits, result.value);
  bool held = in_limits && (!bad || names_value(want.limits, result.value));
  auto why = in_limits && !held ? fmt::format(" ({})", result.means.meaning) : "";
  return {want.name, want.limits, result.value + why, held};
}

}  // namespace

std::vector<wanted> take_wanted(const function &f, std::vector<std::string> &words) {
  auto arrow = std::ranges::find(words, "->");
  std::vector<std::string> rest(arrow == words.end() ? arrow : arrow + 1, words.end());
  bool given = arrow != words.end();
  words.erase(arrow, words.end());
  if (given && rest.size() % 2 == 0)
    throw usage_error{fmt::format(
        "{}: behind -> comes the result, then pairs of an output's name and its limits, as in: {}", f.name,
        f.example)};
  std::vector<wanted> wants;
  if (given) wants.push_back(checked(f, "result", rest[0]));
  for (size_t i = 1; i + 1 < rest.size(); i += 2) wants.push_back(checked(f, rest[i], rest[i + 1]));
  return wants;
}

std::vector<expectation> judge_result(const call_result &result, const std::vector<wanted> &wants) {
  std::vector<expectation> all;
  for (auto &want : wants) {
    auto got = result.value;
    for (auto &out : result.outputs)
      if (want.name == out.what->name) got = out.value;
    all.push_back(want.name == "result" ? judge_own_result(result, want)
                                        : expectation{want.name, want.limits, got, within(want.limits, got)});
  }
  for (auto &overrun : result.overruns) all.push_back({"buffers", "untouched outside", overrun, false});
  return all;
}

expectation unexpected_failure(const call_result &result) {
  return {"result", "success", result.value, false};
}

expectation not_kept(const nv_change &change) {
  return {fmt::format("read back {} {}", change.item, change.parameter), change.before, change.after, false};
}

expectation written_unread(const blind_write &item) {
  return {fmt::format("NV read {} before it is written", item.item), "code 0",
          fmt::format("code {}", item.code), false};
}

expectation expect_driver(const call_step &step, const std::vector<std::string> &wants, unsigned chip) {
  auto &got = step.seen.commands;
  bool held = got.size() == wants.size();
  for (size_t i = 0; i < wants.size(); ++i) {
    auto want = parse_command(wants[i], chip);
    held = held && got[i].id == want.id && got[i].taken == want.taken && within(want.limits, got[i].value());
  }
  std::vector<std::string> sent;
  for (size_t i = 0; i < got.size(); ++i)
    sent.push_back(short_form(got[i], i < wants.size() && isdigit(static_cast<unsigned char>(wants[i][0]))));
  return {"driver", fmt::format("{}", fmt::join(wants, " ")), fmt::format("{}", fmt::join(sent, " ")), held};
}

expectation expect_shell(const call_step &step, const std::vector<std::string> &wants) {
  auto &got = step.seen.shell;
  bool held = got.size() == wants.size();
  for (size_t i = 0; held && i < wants.size(); ++i) {
    bool fails = wants[i].starts_with('!');
    held = within(wants[i].substr(fails), got[i].text) && (got[i].status != 0) == fails;
  }
  std::vector<std::string> ran;
  for (auto &s : got) ran.push_back((s.status ? "!" : "") + s.text);
  return {"shell", fmt::format("{}", fmt::join(wants, "; ")), fmt::format("{}", fmt::join(ran, "; ")), held};
}

std::string value_of_phone(const std::string &key) {
  std::vector<std::string> names;
  for (auto &[name, meaning] : phone_link::keys()) names.push_back(name);
  if (std::ranges::find(names, key) == names.end())
    throw usage_error{fmt::format("The phone has no key \"{}\".{}", key, did_you_mean(key, names))};
  return phone_link::get(key);
}

expectation expect_phone(const std::string &key, const std::string &limits) {
  auto got = value_of_phone(key);
  return {"phone " + key, limits, got, within(limits, got)};
}

expectation expect_log(const call_step &step, const std::string &pattern, bool present) {
  std::string found;
  for (auto &line : step.seen.log)
    if (line.text.find(pattern) != line.text.npos || glob(pattern, line.text)) {
      found = line.text;
      break;
    }
  auto got = found.empty() ? fmt::format("no such line among {}", step.seen.log.size()) : found;
  return {present ? "log" : "no log", pattern, got, found.empty() != present};
}

}  // namespace console
