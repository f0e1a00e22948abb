// SPDX-License-Identifier: Apache-2.0
#include "console/line/plan.h"

#include "console/phone/chips.h"
#include "console/run/file_name.h"
#include "console/run/identity.h"
#include "console/text/output_file.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#define TOML_EXCEPTIONS 0
#include <toml++/toml.h>

#include <algorithm>
#include <filesystem>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <set>

namespace console {
namespace {

namespace fs = std::filesystem;

/** A node with its place, for messages. */
struct entry {
  const line_plan &plan;
  std::string key;
  const toml::node &node;

  [[noreturn]] void wrong(const std::string &why) const {
    throw usage_error{fmt::format("{}:{}: {}: {}.", plan.file, node.source().begin.line, key, why)};
  }
};

std::string text_of(const entry &e) {
  auto text = e.node.as_string();
  if (!text || text->get().empty()) e.wrong("give a text in quotes");
  if (text->get().find('\0') != std::string::npos)
    e.wrong("a zero character cannot be passed on; leave it out");
  return text->get();
}

unsigned number_of(const entry &e, int64_t least, int64_t most) {
  auto number = e.node.as_integer();
  if (!number || number->get() < least || number->get() > most)
    e.wrong(fmt::format("give a whole number from {} to {}", least, most));
  return static_cast<unsigned>(number->get());
}

/** A text that a record can hold. */
std::string name_of(const entry &e, std::string_view option) {
  auto text = text_of(e);
  identity checked;
  auto *key = std::ranges::find(identity_keys, option, [](auto &k) { return std::string_view(k.name); });
  set_identity(checked, *key, text, fmt::format("{}:{}: {}", e.plan.file, e.node.source().begin.line, e.key));
  return text;
}

std::vector<std::string> texts_of(const entry &e) {
  auto list = e.node.as_array();
  if (!list || list->empty()) e.wrong("give a list of texts, as [\"A\", \"B\"]");
  std::vector<std::string> all;
  for (auto &item : *list) all.push_back(text_of({e.plan, e.key, item}));
  return all;
}

/** Relative to the plan's folder. */
std::string path_of(const entry &e) { return (fs::path(e.plan.file).parent_path() / text_of(e)).string(); }

/** A folder as part of a pattern. */
std::string escaped(std::string text) {
  for (size_t at = 0; (at = text.find('%', at)) != text.npos; at += 2) text.insert(at, 1, '%');
  return text;
}

/** The same, with placeholders for the unit and its slot. */
std::string pattern_of(const entry &e) {
  return (fs::path(escaped(fs::path(e.plan.file).parent_path().string())) / text_of(e)).string();
}

std::string existing_file(const entry &e, const std::string &path) {
  std::error_code failed;
  if (!fs::exists(path, failed)) e.wrong(fmt::format("there is no file {}", path));
  return path;
}

std::vector<std::string> sessions_of(const entry &e) {
  std::vector<std::string> all;
  for (auto &name : texts_of(e))
    all.push_back(existing_file(e, (fs::path(e.plan.file).parent_path() / name).string()));
  return all;
}

std::string parameter_text(const entry &e) {
  if (auto number = e.node.as_integer()) return std::to_string(number->get());
  if (auto number = e.node.as_floating_point()) return fmt::format("{}", number->get());
  return text_of(e);
}

void take_parameters(slot_plan &slot, const entry &e) {
  auto table = e.node.as_table();
  if (!table) e.wrong("give a table of names and values, as { power = 120 }");
  for (auto &&[name, node] : *table) {
    std::string key(name.str());
    auto value = parameter_text({e.plan, fmt::format("{}.{}", e.key, key), node});
    auto known = std::ranges::find(slot.parameters, key, [](auto &p) { return p.first; });
    if (known == slot.parameters.end())
      slot.parameters.emplace_back(key, value);
    else
      known->second = value;
  }
}

std::string chip_of(const entry &e) {
  auto name = text_of(e);
  if (!chip_index(name)) e.wrong(fmt::format("\"{}\" is no chip; give {}", name, either(chip_names())));
  return name;
}

/** What a key does. */
template <class To> struct known_key {
  const char *name;
  void (*take)(To &, const entry &);
};

/** In a slot, or at the top for all slots. */
const known_key<slot_plan> slot_keys[] = {
    {"chip", [](slot_plan &to, const entry &e) { to.chip = chip_of(e); }},
    {"phone", [](slot_plan &to, const entry &e) { to.phone = pattern_of(e); }},
    {"unit", [](slot_plan &to, const entry &e) { to.unit = parameter_text(e); }},
    {"nv", [](slot_plan &to, const entry &e) { to.nv = pattern_of(e); }},
    {"console", [](slot_plan &to, const entry &e) { to.console = texts_of(e); }},
    {"options", [](slot_plan &to, const entry &e) { to.options = texts_of(e); }},
    {"parameters", take_parameters},
};

constexpr int64_t longest_s = 86400;

const known_key<line_plan> plan_keys[] = {
    {"name", [](line_plan &to, const entry &e) { to.name = name_of(e, "plan"); }},
    {"version", [](line_plan &to, const entry &e) { to.version = name_of(e, "plan-version"); }},
    {"station", [](line_plan &to, const entry &e) { to.station = name_of(e, "station"); }},
    {"operator", [](line_plan &to, const entry &e) { to.operator_name = name_of(e, "operator"); }},
    {"sessions", [](line_plan &to, const entry &e) { to.sessions = sessions_of(e); }},
    {"teardown", [](line_plan &to, const entry &e) { to.teardown = existing_file(e, path_of(e)); }},
    {"spool", [](line_plan &to, const entry &e) { to.spool = path_of(e); }},
    {"reports", [](line_plan &to, const entry &e) { to.reports = path_of(e); }},
    {"attempts", [](line_plan &to, const entry &e) { to.attempts = number_of(e, 1, 100); }},
    {"stop_after", [](line_plan &to, const entry &e) { to.stop_after = number_of(e, 0, 1000); }},
    {"time_limit_s",
     [](line_plan &to, const entry &e) { to.time_limit = std::chrono::seconds(number_of(e, 1, longest_s)); }},
    {"grace_s",
     [](line_plan &to, const entry &e) { to.grace = std::chrono::seconds(number_of(e, 1, longest_s)); }},
};

template <class To, size_t N>
const known_key<To> *find_key(const known_key<To> (&keys)[N], std::string_view name) {
  auto *found = std::ranges::find(keys, name, &known_key<To>::name);
  return found == std::end(keys) ? nullptr : found;
}

[[noreturn]] void unknown_key(const entry &e, bool in_slot) {
  std::vector<std::string> names;
  for (auto &key : slot_keys) names.emplace_back(key.name);
  if (in_slot)
    names.emplace_back("name");
  else {
    for (auto &key : plan_keys) names.emplace_back(key.name);
    names.emplace_back("slot");
  }
  e.wrong(fmt::format("no such key; give {}", either(names)));
}

slot_plan read_slot(const line_plan &plan, const slot_plan &common, const toml::node &node) {
  entry whole = {plan, "slot", node};
  auto table = node.as_table();
  if (!table) whole.wrong("write each slot as [[slot]] with a name");
  auto slot = common;
  for (auto &&[name, value] : *table) {
    entry e = {plan, fmt::format("slot.{}", name.str()), value};
    auto *key = find_key(slot_keys, name.str());
    if (key)
      key->take(slot, e);
    else if (name.str() == "name")
      slot.name = name_of(e, "slot");
    else
      unknown_key(e, true);
  }
  if (slot.name.empty()) whole.wrong("name is missing; give one, as name = \"1\"");
  if (slot.name.find_first_of(" \t") != std::string::npos)
    whole.wrong(fmt::format("the name \"{}\" has a blank, which ends a slot's name in a scan; leave it out",
                            slot.name));
  return slot;
}

void read_slots(line_plan &plan, const slot_plan &common, const toml::node &node) {
  entry whole = {plan, "slot", node};
  auto list = node.as_array();
  if (!list || list->empty()) whole.wrong("write each slot as [[slot]] with a name");
  for (auto &item : *list) {
    auto slot = read_slot(plan, common, item);
    if (std::ranges::find(plan.slots, slot.name, &slot_plan::name) != plan.slots.end())
      entry{plan, "slot.name", item}.wrong(
          fmt::format("there are two slots {}; give each a name of its own", slot.name));
    plan.slots.push_back(slot);
  }
}

/** Options whose values depend on the unit, with those that are given. */
std::vector<std::pair<const char *, std::string>> patterns_of(const slot_plan &slot) {
  std::vector<std::pair<const char *, std::string>> all = {
      {"phone", slot.phone}, {"unit", slot.unit}, {"nv", slot.nv}};
  std::erase_if(all, [](auto &option) { return option.second.empty(); });
  return all;
}

std::string filled(const line_plan &plan, const char *key, const std::string &pattern, const slot_plan &slot,
                   const unit_in_slot &unit) {
  identity who;
  who.serial = unit.serial;
  who.slot = slot.name;
  who.station = plan.station;
  return name_from_pattern(fmt::format("{}: {}", plan.file, key), pattern, who, slot.chip);
}

/** An NV store belongs to one phone: two slots on one would overwrite each other's calibration. A unit is in
 * one slot only. */
void check_stores(const line_plan &plan) {
  std::set<std::string> stores;
  for (auto &slot : plan.slots) {
    auto store_of = [&](const char *serial) { return filled(plan, "nv", slot.nv, slot, {.serial = serial}); };
    if (slot.nv.empty() || store_of("1") != store_of("2")) continue;
    if (!stores.insert(whole_path(store_of("1"))).second)
      throw usage_error{
          fmt::format("{}: slot {}: nv {} is another slot's too; give each slot its own, as with "
                      "nv = \"%slot.nv\".",
                      plan.file, slot.name, slot.nv)};
  }
}

/** Placeholders that have no value are found before the first unit. */
void check_patterns(const line_plan &plan) {
  for (auto &slot : plan.slots)
    for (auto &[key, pattern] : patterns_of(slot)) filled(plan, key, pattern, slot, {.serial = "serial"});
}

void check_complete(const line_plan &plan) {
  auto missing = [&](const char *key, const char *example) {
    throw usage_error{fmt::format("{}: {} is missing; give it, as {} = {}.", plan.file, key, key, example)};
  };
  if (plan.station.empty())
    throw usage_error{fmt::format(
        "{}: station is missing; give it there, as station = \"line-3\", or with --station.", plan.file)};
  if (plan.version.empty()) missing("version", "\"1\"");
  if (plan.sessions.empty()) missing("sessions", "[\"sessions/rf.tcl\"]");
  if (plan.spool.empty()) missing("spool", "\"spool\"");
  if (plan.slots.empty())
    throw usage_error{
        fmt::format("{}: slot is missing; give at least one, as [[slot]] with name = \"1\".", plan.file)};
  if (!plan.name.empty() && plan.sessions.size() > 1)
    throw usage_error{fmt::format(
        "{}: name: each of several sessions has a record of its own, and its file's name as the plan; "
        "leave name out, or give one session.",
        plan.file)};
  check_patterns(plan);
  check_stores(plan);
}

void read_keys(line_plan &plan, const toml::table &table) {
  slot_plan common;
  common.console = {fs::read_symlink("/proc/self/exe").string()};
  for (auto &&[name, node] : table) {
    entry e = {plan, std::string(name.str()), node};
    if (auto *key = find_key(plan_keys, name.str()))
      key->take(plan, e);
    else if (auto *of_slot = find_key(slot_keys, name.str()))
      of_slot->take(common, e);
    else if (name.str() != "slot")
      unknown_key(e, false);
  }
  if (auto *slots = table.get("slot")) read_slots(plan, common, *slots);
}

toml::table parsed_file(const std::string &path) {
  std::error_code failed;
  if (fs::is_directory(path, failed))
    throw usage_error{fmt::format("{}: is a folder; name a plan (TOML).", path)};
  if (!fs::exists(path, failed))
    throw usage_error{fmt::format("{}: there is no such file; name a plan (TOML).", path)};
  auto parsed = toml::parse_file(path);
  if (!parsed)
    throw usage_error{
        fmt::format("{}:{}: {}", path, parsed.error().source().begin.line, parsed.error().description())};
  return std::move(parsed).table();
}

std::vector<std::string> phone_command(const line_plan &plan, const slot_plan &slot,
                                       const unit_in_slot &unit) {
  auto words = slot.console;
  words.emplace_back("--json");
  if (!slot.chip.empty()) words.insert(words.end(), {"--chip", slot.chip});
  for (auto &[key, pattern] : patterns_of(slot))
    words.insert(words.end(), {fmt::format("--{}", key), filled(plan, key, pattern, slot, unit)});
  words.insert(words.end(), slot.options.begin(), slot.options.end());
  return words;
}

}  // namespace

line_plan read_line_plan(const line_options &with) {
  line_plan plan;
  plan.file = with.plan_file;
  read_keys(plan, parsed_file(plan.file));
  if (!with.station.empty()) plan.station = with.station;
  if (!with.operator_name.empty()) plan.operator_name = with.operator_name;
  check_complete(plan);
  return plan;
}

std::vector<std::string> unit_command(const line_plan &plan, const slot_plan &slot,
                                      const unit_in_slot &unit) {
  auto words = phone_command(plan, slot, unit);
  const std::pair<const char *, const std::string &> with[] = {
      {"--serial", unit.serial},          {"--station", plan.station}, {"--slot", slot.name},
      {"--operator", plan.operator_name}, {"--plan", plan.name},       {"--plan-version", plan.version}};
  for (auto &[option, value] : with)
    if (!value.empty()) words.insert(words.end(), {option, value});
  words.insert(words.end(), {"--attempt", std::to_string(unit.attempt)});
  words.insert(words.end(), {"--record", (fs::path(escaped(plan.spool)) / "%run.jsonl").string()});
  // One page has all sessions of the run; each of them has a run id of its own.
  auto *page = plan.sessions.size() > 1 ? "%serial-%time.html" : "%run.html";
  if (!plan.reports.empty())
    words.insert(words.end(), {"--report", (fs::path(escaped(plan.reports)) / page).string()});
  words.emplace_back("run");
  words.insert(words.end(), plan.sessions.begin(), plan.sessions.end());
  if (!slot.parameters.empty()) words.emplace_back("--");
  for (auto &[name, value] : slot.parameters) words.push_back(fmt::format("{}={}", name, value));
  return words;
}

std::vector<std::string> teardown_command(const line_plan &plan, const slot_plan &slot,
                                          const unit_in_slot &unit) {
  auto words = phone_command(plan, slot, unit);
  words.insert(words.end(), {"run", plan.teardown});
  return words;
}

}  // namespace console
