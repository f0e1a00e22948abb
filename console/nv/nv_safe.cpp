// SPDX-License-Identifier: Apache-2.0
#include "console/nv/nv_safe.h"

#include "console/language/interpreter.h"
#include "console/nv/nv_view.h"
#include "console/phone/phone_link.h"
#include "console/text/text.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <iostream>
#include <unistd.h>

namespace console {
namespace {

using items_t = std::vector<phone_link::nv_item>;
using words_t = const std::vector<std::string> &;

constexpr size_t item_size = 104;
constexpr int log_error = 6;

std::string change_table(const std::vector<nv_change> &changes) {
  if (changes.empty()) return "  It would change nothing in NV.\n";
  nv_change head{"item", "parameter", "now", "then"};
  size_t item = head.item.size(), parameter = head.parameter.size(), before = head.before.size();
  for (auto &c : changes) {
    item = std::max(item, c.item.size());
    parameter = std::max(parameter, c.parameter.size());
    before = std::max(before, c.before.size());
  }
  std::string text;
  auto add = [&](const nv_change &c) {
    text += fmt::format("  {:<{}}  {:<{}}  {:<{}}  {}\n", c.item, item, c.parameter, parameter, c.before,
                        before, c.after);
  };
  add(head);
  std::ranges::for_each(changes, add);
  return text;
}

/** The last call's result in words, and what the log says of a failure. */
std::string last_result(const session &s) {
  if (!s.last()) return "";
  auto &result = s.last()->result;
  auto text = fmt::format(" -> {}  {}", result.value, result.means.meaning);
  bool bad = result.means.verdict == outcome::bad;
  for (auto &line : s.last()->seen.log)
    if (bad && line.priority >= log_error) text += "\n  log: " + line.text;
  return text;
}

/** Runs in the copy; its first character tells the other side how it went. */
std::string foresee(session &s, const std::string &what, const std::function<void()> &act) {
  auto before = nv_values_of(phone_link::nv_items());
  s.go_unheard();
  try {
    act();
  } catch (const usage_error &e) { return "!" + e.message; }
  bool good = s.so_far().failed == 0 && (!s.last() || s.last()->result.means.verdict != outcome::bad);
  return fmt::format("{}{}{}\n{}", good ? '+' : '-', what, last_result(s),
                     change_table(nv_changes(before, nv_values_of(phone_link::nv_items()))));
}

std::string item_key(const phone_link::nv_item &item) { return fmt::format("{} {}", item.number, item.name); }

/** Makes these items read as given; tells the session of each value that then reads otherwise. */
std::string write_items(session &s, const items_t &items) {
  size_t alike = 0;
  auto present = phone_link::nv_items();
  for (auto &item : items) {
    auto bytes = item.bytes;
    bytes.resize(item_size);
    auto is_there = [&](auto &other) { return item_key(other) == item_key(item) && other.bytes == bytes; };
    if (std::ranges::any_of(present, is_there))
      ++alike;
    else if (!phone_link::put_nv(item))
      throw usage_error{fmt::format("NV item {} cannot be written.", item_key(item))};
  }
  auto text = fmt::format("{} written, {} so already.\n", counted(items.size() - alike, "NV item"),
                          alike == 1 ? "1 was" : fmt::format("{} were", alike));
  items_t now;
  for (auto &item : phone_link::nv_items())
    if (std::ranges::any_of(items, [&](auto &i) { return item_key(i) == item_key(item); }))
      now.push_back(item);
  for (auto &c : nv_changes(nv_values_of(items), nv_values_of(now))) {
    text += fmt::format("{} {}: written as {}, reads {}\n", c.item, c.parameter, c.before, c.after);
    s.expect({fmt::format("read back {} {}", c.item, c.parameter), c.before, c.after, false}, {});
  }
  return text;
}

/** The backup's items, and zeros for each other item that the store has. */
items_t whole_store(const std::string &path) {
  auto items = read_nv_file(path);
  for (auto &item : phone_link::nv_items())
    if (std::ranges::none_of(items, [&](auto &i) { return item_key(i) == item_key(item); }))
      items.push_back({item.number, item.name, std::string(item_size, '\0')});
  return items;
}

std::string load(session &s, const std::string &path, bool whole) {
  auto items = whole ? whole_store(path) : read_nv_file(path);
  ask_before_writing(s, fmt::format("nv {} {}", whole ? "restore" : "load", path),
                     [&] { write_items(s, items); });
  return write_items(s, items);
}

std::string backup(const std::string &path) {
  if (std::filesystem::exists(path))
    throw usage_error{
        fmt::format("nv backup: {} exists, and a backup is never overwritten: give another name.", path)};
  auto text = nv_save(path);
  if (!nv_changes(nv_values_of(phone_link::nv_items()), nv_values_of(read_nv_file(path))).empty())
    throw usage_error{fmt::format("nv backup: {} does not read as it was written: do not rely on it.", path)};
  return text;
}

std::string clear(session &s) {
  ask_before_writing(s, "nv clear", phone_link::clear_nv);
  auto there = phone_link::nv_items().size();
  phone_link::clear_nv();
  return fmt::format("{} cleared.\n", counted(there, "NV item"));
}

std::string show(const std::string &word) {
  auto number = parse_number(word);
  if (!number || *number < 0 || *number > UINT32_MAX)
    throw usage_error{fmt::format("nv show: \"{}\" is no NV number: give one like 340.", word)};
  return nv_show(static_cast<uint32_t>(*number));
}

struct nv_word {
  const char *name;
  size_t least, most; /**< words behind it */
  std::string (*run)(session &s, const std::string &word);
};

constexpr nv_word nv_words[] = {
    {"list", 0, 0, [](session &, const std::string &) { return nv_list(); }},
    {"show", 1, 1, [](session &, const std::string &number) { return show(number); }},
    {"snapshot", 0, 0, [](session &, const std::string &) { return nv_snapshot(), std::string(); }},
    {"diff", 0, 1, [](session &, const std::string &path) { return nv_diff(path); }},
    {"save", 1, 1, [](session &, const std::string &path) { return nv_save(path); }},
    {"load", 1, 1, [](session &s, const std::string &path) { return load(s, path, false); }},
    {"backup", 1, 1, [](session &, const std::string &path) { return backup(path); }},
    {"restore", 1, 1, [](session &s, const std::string &path) { return load(s, path, true); }},
    {"clear", 0, 0, [](session &s, const std::string &) { return clear(s); }},
};

}  // namespace

foresight preview(session &s, const std::string &what, const std::function<void()> &act) {
  auto told = phone_link::on_a_copy([&] { return foresee(s, what, act); });
  if (!told)
    throw usage_error{
        "preview: only the virtual phone can be copied; here take nv backup FILE before, and nv diff "
        "FILE afterwards."};
  auto text = told->substr(1);
  if ((*told)[0] == '!') throw usage_error{text};
  return {(*told)[0] == '+', text};
}

void ask_before_writing(session &s, const std::string &what, const std::function<void()> &act) {
  auto store = phone_link::lasting_store();
  if (store.empty() || s.may_write()) return;
  if (!isatty(STDIN_FILENO) || !isatty(STDERR_FILENO))
    throw usage_error{
        fmt::format("{} changes {} for good, and there is no terminal to ask on: give --yes. {}", what, store,
                    "preview tells what would change.")};
  fflush(stdout);
  if (phone_link::is_virtual()) fmt::print(stderr, "{}", preview(s, what, act).text);
  fmt::print(stderr, "{} changes {} for good. Go on? [y/N] ", what, store);
  std::string answer;
  std::getline(std::cin, answer);
  std::cin.clear();
  if (answer != "y" && answer != "yes")
    throw usage_error{fmt::format("{}: not done, {} is as it was.", what, store)};
  s.was_allowed();
}

std::vector<expectation> read_back() {
  std::map<std::string, phone_link::nv_item> written;
  for (auto *e : phone_link::contacts()) {
    if (e->kind != PHONE_NV_WRITE || e->result != 0) continue;
    std::string bytes(static_cast<const char *>(e->data), e->size);
    bytes.resize(item_size);
    phone_link::nv_item item{static_cast<uint32_t>(e->number[0]), e->name, bytes};
    written[item_key(item)] = item;
  }
  if (written.empty()) return {};
  items_t meant, now;
  for (auto &[key, item] : written) meant.push_back(item);
  for (auto &item : phone_link::nv_items())
    if (written.contains(item_key(item))) now.push_back(item);
  std::vector<expectation> all;
  for (auto &c : nv_changes(nv_values_of(meant), nv_values_of(now)))
    all.push_back({fmt::format("read back {} {}", c.item, c.parameter), c.before, c.after, false});
  return all;
}

std::string run_nv(words_t words, session &s, const interpreter *in) {
  auto found = std::ranges::find(nv_words, words.empty() ? "" : words[0], &nv_word::name);
  if (found == std::end(nv_words) || words.size() - 1 < found->least || words.size() - 1 > found->most)
    throw usage_error{fmt::format(
        "{}: give list, show NUMBER, snapshot, diff [FILE], save FILE, load FILE, backup FILE, restore "
        "FILE or clear.",
        trim_end(fmt::format("nv {}", fmt::join(words, " "))))};
  auto word = words.size() > 1 ? words[1] : "";
  bool reads = words[0] == "diff" || words[0] == "load" || words[0] == "restore";
  if (in && reads && !word.empty()) word = in->beside_script(word);
  return std::string(trim_end(found->run(s, word)));
}

}  // namespace console
