// SPDX-License-Identifier: Apache-2.0
#include "console/nv/nv_view.h"

#include "console/phone/observed.h"
#include "console/text/output_file.h"
#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>

namespace console {
namespace {

using phone_link::nv_item_size;

std::string bytes_of_hex(const std::string &digits, const std::string &where) {
  std::string bytes;
  for (size_t i = 0; i + 1 < digits.size(); i += 2) {
    auto byte = parse_number("0x" + digits.substr(i, 2));
    if (!byte)
      throw usage_error{fmt::format("{}: \"{}\" is no hexadecimal byte.", where, digits.substr(i, 2))};
    bytes += static_cast<char>(*byte);
  }
  if (digits.size() % 2) throw usage_error{fmt::format("{}: an odd number of hexadecimal digits.", where)};
  return bytes;
}

/** Parses "340 WIC0_2G5G_OFDM pa2ga0=1,2,3;". Contents that are not text are hexadecimal: 0x… */
phone_link::nv_item parse_item(const std::string &line, const std::string &where) {
  auto words = split(line, ' ');
  auto number = words.empty() ? std::nullopt : parse_number(words[0]);
  if (words.size() < 2 || !number || *number < 0 || *number > UINT32_MAX)
    throw usage_error{fmt::format("{}: \"{}\": an NV line is NUMBER NAME CONTENTS.", where, line)};
  auto content = line.substr(std::min(line.size(), words[0].size() + words[1].size() + 2));
  if (content.starts_with("0x")) content = bytes_of_hex(content.substr(2), where);
  if (content.size() > nv_item_size)
    throw usage_error{fmt::format("{}: {} bytes; an item holds {}.", where, content.size(), nv_item_size)};
  return {static_cast<uint32_t>(*number), words[1], content};
}

std::string item_line(const phone_link::nv_item &item) {
  return fmt::format("{} {} {}\n", item.number, item.name, nv_text(item.bytes));
}

/** A comment to nv load. */
std::string unread_line(const phone_link::unread_item &item) {
  return fmt::format("# {} {} cannot be read: code {}\n", item.number, item.name, item.code);
}

constexpr std::string_view backup_header = "# orva-station NV backup 1\n", end_mark = "# end: ";

uint32_t crc32(std::string_view text) {
  constexpr uint32_t polynomial = 0xEDB88320;
  uint32_t sum = ~0u;
  for (char c : text) {
    sum ^= static_cast<unsigned char>(c);
    for (int bit = 0; bit < 8; ++bit) sum = sum >> 1 ^ (sum & 1 ? polynomial : 0);
  }
  return ~sum;
}

/** The last line of a backup, for the text before it. */
std::string end_line(std::string_view text) {
  auto lines = static_cast<size_t>(std::ranges::count(text, '\n')) - 1;
  return fmt::format("{}{}, CRC-32 {:08X}\n", end_mark, counted(lines, "NV item"), crc32(text));
}

/** A backup must be whole: a cut or altered one would be restored as the state of the unit. */
void check_backup(const std::string &text, const std::string &path) {
  auto at = text.rfind(std::string("\n") + std::string(end_mark));
  if (at == text.npos)
    throw usage_error{
        fmt::format("{}: the backup is cut: its last line, \"# end\", is missing. Use another.", path)};
  if (text.substr(at + 1) != end_line(text.substr(0, at + 1)))
    throw usage_error{fmt::format(
        "{}: the backup was altered: its checksum does not match. Use another; to load items of your own, "
        "put them into a file without the lines \"{}\" and \"# end\".",
        path, trim_end(backup_header))};
}

/** One at a line's end would be written into the item, and a backup's first line would not be known. */
void refuse_carriage_returns(const std::string &text, const std::string &path) {
  auto at = text.find('\r');
  if (at == text.npos) return;
  auto line = std::count(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), '\n') + 1;
  throw usage_error{fmt::format(
      "{}:{}: the line holds a carriage return: end the lines with a newline alone, and write contents that are "
      "not text as hexadecimal digits, 0x...",
      path, line)};
}

std::string read_text(const std::string &path) {
  std::ifstream file(path);
  std::stringstream text;
  if (file) text << file.rdbuf();
  if (!file || std::filesystem::is_directory(path))
    throw usage_error{fmt::format("The NV file {} cannot be read: {}.", path,
                                  std::filesystem::is_directory(path) ? "it is a folder" : strerror(errno))};
  refuse_carriage_returns(text.str(), path);
  return text.str();
}

std::string show_item(const phone_link::nv_item &item) {
  auto text = fmt::format("{} {}\n", item.number, item.name);
  auto content = nv_text(item.bytes);
  if (content.starts_with("0x") || content.empty())
    return text + "  " + (content.empty() ? "empty" : content) + "\n";
  for (auto &entry : split(content, ';')) {
    if (entry.empty()) continue;
    auto equals = entry.find('=');
    text += equals == entry.npos
                ? fmt::format("  {}\n", entry)
                : fmt::format("  {:<10} {}\n", entry.substr(0, equals), entry.substr(equals + 1));
  }
  return text;
}

std::optional<nv_values> snapshot;

}  // namespace

std::vector<phone_link::nv_item> read_nv_file(const std::string &path) {
  auto text = read_text(path);
  if (text.starts_with(backup_header)) check_backup(text, path);
  std::vector<phone_link::nv_item> items;
  std::map<std::pair<uint32_t, std::string>, size_t> lines_of_items;
  size_t line_number = 0;
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    ++line_number;
    if (trim_end(line).empty() || line[0] == '#') continue;
    auto &item = items.emplace_back(parse_item(line, fmt::format("{}:{}", path, line_number)));
    auto [first, is_new] = lines_of_items.try_emplace({item.number, item.name}, line_number);
    if (!is_new)
      throw usage_error{
          fmt::format("{}:{}: NV item {} {} is given twice, first in line {}: keep one of them.", path,
                      line_number, item.number, item.name, first->second)};
  }
  return items;
}

std::vector<phone_link::nv_item> read_backup(const std::string &path) {
  auto text = read_text(path);
  if (!text.starts_with(backup_header))
    throw usage_error{
        fmt::format("{}: it is no backup: it does not begin with \"{}\". Give a file made by nv "
                    "backup or nv save; nv load adds the items of any other.",
                    path, trim_end(backup_header))};
  return read_nv_file(path);
}

nv_values nv_values_of(const std::vector<phone_link::nv_item> &items) {
  nv_values values;
  for (auto &item : items) {
    auto where = fmt::format("{} {}", item.number, item.name), content = nv_text(item.bytes);
    if (content.starts_with("0x")) {
      for (size_t i = 0; i < item.bytes.size(); ++i)
        if (item.bytes[i])
          values[{where, fmt::format("byte {:3}", i)}] =
              fmt::format("{}", static_cast<uint8_t>(item.bytes[i]));
      continue;
    }
    for (auto &entry : split(content, ';')) {
      if (entry.empty()) continue;
      auto equals = std::min(entry.find('='), entry.size());
      auto name = std::pair(where, entry.substr(0, equals));
      while (values.contains(name)) name.second += " (again)";
      values[name] = entry.substr(std::min(entry.size(), equals + 1));
    }
  }
  return values;
}

std::vector<nv_change> nv_changes(const nv_values &before, const nv_values &after) {
  auto names = before;
  names.insert(after.begin(), after.end());
  auto value = [](const nv_values &values, const nv_values::key_type &name) {
    auto found = values.find(name);
    return found == values.end() ? "none" : found->second;
  };
  std::vector<nv_change> changes;
  for (auto &[name, unused] : names)
    if (value(before, name) != value(after, name))
      changes.push_back({name.first, name.second, value(before, name), value(after, name)});
  return changes;
}

void nv_snapshot() { snapshot = nv_values_of(phone_link::nv_items()); }

std::string nv_diff(const std::string &path) {
  if (path.empty() && !snapshot)
    throw usage_error{"nv diff: there is no snapshot: take one with nv snapshot, or name a saved file."};
  auto before = path.empty() ? *snapshot : nv_values_of(read_nv_file(path));
  std::string text;
  for (auto &c : nv_changes(before, nv_values_of(phone_link::nv_items())))
    text += fmt::format("{} {}: {} -> {}\n", c.item, c.parameter, c.before, c.after);
  return text;
}

std::string nv_list() {
  std::string text;
  std::vector<phone_link::unread_item> unread;
  for (auto &item : phone_link::readable_nv_items(&unread)) text += item_line(item);
  for (auto &item : unread) text += unread_line(item);
  return text.empty() ? "The NV store is empty.\n" : text;
}

std::string nv_show(uint32_t number) {
  std::string text;
  std::vector<phone_link::unread_item> unread;
  for (auto &item : phone_link::readable_nv_items(&unread))
    if (item.number == number) text += show_item(item);
  for (auto &item : unread)
    if (item.number == number) text += unread_line(item);
  return text.empty() ? fmt::format("NV item {} was never written.\n", number) : text;
}

std::string nv_save(const std::string &path) {
  auto items = phone_link::nv_items();
  std::string text(backup_header);
  for (auto &item : items) text += item_line(item);
  text += end_line(text);
  output_file file(fmt::format("The file {} cannot be written", path), path);
  file.write(text);
  file.commit();
  return fmt::format("{} saved to {}.\n", counted(items.size(), "NV item"), path);
}

}  // namespace console
