// SPDX-License-Identifier: Apache-2.0
#include "console/nv/nv_safe.h"

#include "console/phone/observed.h"
#include "console/phone/phone_link.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fmt/format.h>
#include <fmt/ranges.h>
#include <iostream>
#include <iterator>
#include <map>
#include <unistd.h>

namespace console {
namespace {

using items_t = std::vector<phone_link::nv_item>;

using phone_link::nv_item_size;

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

std::string item_key(const phone_link::nv_item &item) { return fmt::format("{} {}", item.number, item.name); }

/** Runs in the copied phone's process. The first character is the outcome: + good, - bad, ! a usage_error. */
std::string foresee(const std::string &what, const std::function<trial()> &act) {
  auto before = nv_values_of(phone_link::nv_items());
  try {
    auto went = act();
    return fmt::format("{}{}{}\n{}", went.good ? '+' : '-', what, went.result,
                       change_table(nv_changes(before, nv_values_of(phone_link::nv_items()))));
  } catch (const usage_error &e) { return "!" + e.message; }
}

std::string filled_up(std::string bytes) {
  bytes.resize(nv_item_size);
  return bytes;
}

bool holds(const items_t &present, const phone_link::nv_item &item) {
  return std::ranges::any_of(present, [&](auto &other) {
    return item_key(other) == item_key(item) && filled_up(other.bytes) == filled_up(item.bytes);
  });
}

bool has_key_of(const items_t &items, const phone_link::nv_item &item) {
  return std::ranges::any_of(items, [&](auto &other) { return item_key(other) == item_key(item); });
}

/** The values of these items that the store does not hold as written. */
std::vector<nv_change> unkept(const items_t &written) {
  items_t now;
  for (auto &item : phone_link::readable_nv_items())
    if (has_key_of(written, item)) now.push_back(item);
  return nv_changes(nv_values_of(written), nv_values_of(now));
}

std::string item_key(const contact &e) { return fmt::format("{} {}", e.number[0], e.name); }

/** How often the last call wrote each item with success. */
std::map<std::string, size_t> write_counts() {
  std::map<std::string, size_t> counts;
  for (auto *e : phone_link::contacts())
    if (e->kind == PHONE_NV_WRITE && e->result == 0) ++counts[item_key(*e)];
  return counts;
}

items_t only(const items_t &all, const std::string &key) {
  items_t found;
  std::ranges::copy_if(all, std::back_inserter(found), [&](auto &item) { return item_key(item) == key; });
  return found;
}

bool is_text(const items_t &items) {
  return std::ranges::none_of(items, [](auto &item) { return nv_text(item.bytes).starts_with("0x"); });
}

}  // namespace

foresight preview_nv(const std::string &what, const std::function<trial()> &act) {
  auto reply = phone_link::on_a_copy([&] { return foresee(what, act); });
  if (!reply)
    throw usage_error{
        "preview: only the virtual phone can be copied; here take nv backup FILE before, and nv diff "
        "FILE afterwards."};
  auto text = reply->substr(1);
  if ((*reply)[0] == '!') throw usage_error{text};
  return {(*reply)[0] == '+', text};
}

bool confirm_writing(const std::string &what, const std::function<trial()> &act) {
  auto store = phone_link::lasting_store();
  if (store.empty()) return false;
  if (!isatty(STDIN_FILENO) || !isatty(STDERR_FILENO))
    throw usage_error{
        fmt::format("{} changes {} for good, and there is no terminal to ask on: give --yes. {}", what, store,
                    "preview tells what would change.")};
  fflush(stdout);
  if (phone_link::is_virtual()) fmt::print(stderr, "{}", preview_nv(what, act).text);
  fmt::print(stderr, "{} changes {} for good. Go on? [y/N] ", what, store);
  std::string answer;
  std::getline(std::cin, answer);
  std::cin.clear();
  if (answer != "y" && answer != "yes")
    throw usage_error{fmt::format("{}: not done, {} is as it was.", what, store)};
  return true;
}

std::vector<nv_change> unkept_writes() {
  std::map<std::string, phone_link::nv_item> last;
  for (auto *e : phone_link::contacts()) {
    if (e->kind != PHONE_NV_WRITE || e->result != 0) continue;
    std::string bytes(static_cast<const char *>(e->data), e->size);
    bytes.resize(nv_item_size);
    phone_link::nv_item item{static_cast<uint32_t>(e->number[0]), e->name, bytes};
    last[item_key(item)] = item;
  }
  if (last.empty()) return {};
  items_t written;
  for (auto &[key, item] : last) written.push_back(item);
  return unkept(written);
}

std::vector<nv_change> lost_in_merges(const items_t &before) {
  std::vector<nv_change> lost;
  auto after = phone_link::readable_nv_items();
  for (auto &[key, writes] : write_counts()) {
    auto held = only(before, key), holds_now = only(after, key);
    if (!is_text(held) || !is_text(holds_now)) continue;
    auto changes = nv_changes(nv_values_of(held), nv_values_of(holds_now));
    auto gone = [](auto &c) { return c.after == "none"; };
    bool too_many = static_cast<size_t>(std::ranges::count_if(changes, std::not_fn(gone))) > writes;
    std::ranges::copy_if(changes, std::back_inserter(lost),
                         [&](auto &c) { return gone(c) || (too_many && c.before != "none"); });
  }
  return lost;
}

std::vector<blind_write> blind_writes() {
  std::vector<blind_write> all;
  std::map<std::string, int64_t> unread;
  for (auto *e : phone_link::contacts()) {
    if (e->kind == PHONE_NV_READ && e->result != 0) unread[item_key(*e)] = e->result;
    if (e->kind != PHONE_NV_WRITE || e->result != 0 || !unread.contains(item_key(*e))) continue;
    all.push_back({item_key(*e), unread[item_key(*e)]});
    unread.erase(item_key(*e));
  }
  return all;
}

/** All of them or, where the store can, none. */
static void put_together(const items_t &items) {
  if (items.empty()) return;
  if (!phone_link::begin_nv())
    throw usage_error{fmt::format("{} cannot be written.", phone_link::lasting_store())};
  for (auto &item : items)
    if (!phone_link::put_nv(item)) {
      phone_link::end_nv(false);
      throw usage_error{fmt::format("NV item {} cannot be written.", item_key(item))};
    }
  if (!phone_link::end_nv(true))
    throw usage_error{fmt::format("{} cannot be written: it is as it was.", phone_link::lasting_store())};
}

nv_written write_items(const items_t &items) {
  auto present = phone_link::readable_nv_items();
  auto fresh = items;
  auto alike = std::erase_if(fresh, [&](auto &item) { return holds(present, item); });
  put_together(fresh);
  auto text = fmt::format("{} written, {} so already.\n", counted(items.size() - alike, "NV item"),
                          alike == 1 ? "1 was" : fmt::format("{} were", alike));
  auto lost = unkept(items);
  for (auto &c : lost)
    text += fmt::format("{} {}: written as {}, reads {}\n", c.item, c.parameter, c.before, c.after);
  return {text, lost};
}

items_t whole_store(const std::string &path) {
  auto items = read_backup(path);
  for (auto &item : phone_link::nv_items())
    if (!has_key_of(items, item)) items.push_back({item.number, item.name, std::string(nv_item_size, '\0')});
  return items;
}

void verify_restored(const items_t &items) {
  for (auto &item : phone_link::nv_items())
    if (!holds(items, item))
      throw usage_error{fmt::format("nv restore: NV item {} is not as in the backup.", item_key(item))};
}

std::string nv_backup(const std::string &path) {
  if (std::filesystem::exists(path))
    throw usage_error{
        fmt::format("nv backup: {} exists, and a backup is never overwritten: give another name.", path)};
  auto text = nv_save(path);
  if (!nv_changes(nv_values_of(phone_link::nv_items()), nv_values_of(read_backup(path))).empty())
    throw usage_error{fmt::format("nv backup: {} does not read as it was written: do not rely on it.", path)};
  return text;
}

std::string nv_clear() {
  auto present = phone_link::nv_items().size();
  phone_link::clear_nv();
  std::vector<std::string> left;
  for (auto &item : phone_link::nv_items()) left.push_back(item_key(item));
  if (!left.empty())
    throw usage_error{
        fmt::format("nv clear: these NV items are not empty afterwards: {}. Look for the cause with "
                    "doctor --write.",
                    fmt::join(left, ", "))};
  return fmt::format("{} cleared.\n", counted(present, "NV item"));
}

}  // namespace console
