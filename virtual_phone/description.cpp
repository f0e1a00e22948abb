// SPDX-License-Identifier: Apache-2.0
// Reads a phone's description: TOML whose tables and keys join to the phone's keys ("radio.rssi"), and
// [[fault]] entries. A file is applied as a whole or not at all.
#define TOML_EXCEPTIONS 0
#include <toml++/toml.h>

#include "clock.h"
#include "keys.h"
#include "nv.h"
#include "phone.h"
#include "places.h"
#include "state.h"

#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <sys/stat.h>
#include <vector>

namespace phone {
namespace {

struct planned_fault {
  std::string place;
  int64_t nth = 1, times = 1, value = 0;
};

struct described_item {
  int64_t number = -1;
  std::string name, bytes;
  toml::source_index line = 0;
};

struct description {
  std::string path;
  struct radio radio;
  struct config config;
  std::vector<planned_fault> faults;
  std::vector<described_item> items;
};

std::string at(const description &file, const toml::node &node, const std::string &message) {
  return file.path + ":" + std::to_string(node.source().begin.line) + ": " + message;
}

std::string fraction_text(double number) {
  char text[64];
  return {text, std::to_chars(text, text + sizeof(text), number).ptr};
}

std::string scalar_text(const toml::node &node) {
  if (auto text = node.as_string()) return text->get();
  if (auto number = node.as_integer()) return std::to_string(number->get());
  if (auto number = node.as_floating_point()) return fraction_text(number->get());
  if (auto flag = node.as_boolean()) return flag->get() ? "true" : "false";
  return "";
}

bool is_scalar(const toml::node &node) { return node.is_string() || node.is_integer() || node.is_boolean(); }

/// Only a unit's quantities take fractions.
bool takes_fractions(const std::string &key) { return rf::find_unit_key(key) != nullptr; }

/// An array gives its scalars separated by commas.
bool node_text(const toml::node &node, bool fractions, std::string &text) {
  auto is_value = [&](const toml::node &n) { return is_scalar(n) || (fractions && n.is_floating_point()); };
  if (is_value(node)) {
    text = scalar_text(node);
    return true;
  }
  const auto *array = node.as_array();
  if (!array) return false;
  for (auto &item : *array) {
    if (!is_value(item)) return false;
    text += (text.empty() ? "" : ",") + scalar_text(item);
  }
  return true;
}

std::string fault_number(const description &file, const toml::node &node, std::string_view name,
                         int64_t least, int64_t &number) {
  auto value = node.as_integer();
  if (!value || value->get() < least || value->get() > INT32_MAX) {
    return at(file, node,
              "fault." + std::string(name) + ": must be a whole number, at least " + std::to_string(least));
  }
  number = value->get();
  return "";
}

std::string fault_field(const description &file, planned_fault &fault, std::string_view name,
                        const toml::node &node) {
  if (name == "nth") return fault_number(file, node, name, 1, fault.nth);
  if (name == "times") return fault_number(file, node, name, 0, fault.times);
  if (name == "value") return fault_number(file, node, name, INT32_MIN, fault.value);
  if (name != "place")
    return at(file, node, "fault." + std::string(name) + ": no such key; place, nth, times or value");
  fault.place = scalar_text(node);
  return fault.place.empty() ? at(file, node, "fault.place: must be a text like \"ioctl:11\"") : "";
}

std::string add_fault(description &file, const toml::node &node) {
  planned_fault fault;
  const auto *table = node.as_table();
  if (!table) return at(file, node, "fault: must be written as [[fault]] with place, nth, times and value");
  for (auto &&[name, value] : *table) {
    std::string message = fault_field(file, fault, name.str(), value);
    if (!message.empty()) return message;
  }
  if (fault.place.empty()) return at(file, node, "fault: place is missing");
  if (!find_fault_place(fault.place)) {
    return at(file, node,
              "fault.place: '" + fault.place + "' is no place; give one of " + fault_place_names());
  }
  file.faults.push_back(fault);
  return "";
}

std::string add_faults(description &file, const toml::node &node) {
  const auto *array = node.as_array();
  if (!array) return add_fault(file, node);
  for (auto &item : *array) {
    std::string message = add_fault(file, item);
    if (!message.empty()) return message;
  }
  return "";
}

bool read_hex(std::string_view digits, std::string &bytes) {
  for (size_t i = 0; i < digits.size(); i += 2) {
    unsigned byte = 0;
    auto pair = digits.substr(i, 2);
    auto [end, error] = std::from_chars(pair.data(), pair.data() + pair.size(), byte, 16);
    if (pair.size() != 2 || error != std::errc{} || end != pair.data() + pair.size()) return false;
    bytes += static_cast<char>(byte);
  }
  return true;
}

std::string item_field(const description &file, described_item &item, std::string_view name,
                       const toml::node &node) {
  if (name == "number") {
    auto number = node.as_integer();
    if (!number || number->get() < 0 || number->get() > UINT32_MAX)
      return at(file, node, "nv.number: must be a whole number from 0 to 4294967295");
    item.number = number->get();
    return "";
  }
  auto text = node.as_string();
  if (!text) return at(file, node, "nv." + std::string(name) + ": must be a text");
  bool fits = name == "data" ? read_hex(text->get(), item.bytes) : true;
  if (name == "name")
    item.name = text->get();
  else if (name == "text")
    item.bytes = text->get();
  else if (name != "data")
    return at(file, node, "nv." + std::string(name) + ": no such key; number, name, text or data");
  fits = fits && item.bytes.size() <= sizeof(nv_item::bytes) && item.name.size() < sizeof(nv_item::name);
  return fits ? ""
              : at(file, node,
                   "nv." + std::string(name) +
                       ": must be a name of at most 63 characters, a text of at most 104, or as "
                       "many bytes in hexadecimal");
}

std::string add_item(description &file, const toml::node &node) {
  const auto *table = node.as_table();
  if (!table) return at(file, node, "nv: must be written as [[nv]] with number, name, and text or data");
  described_item item;
  for (auto &&[name, value] : *table) {
    std::string message = item_field(file, item, name.str(), value);
    if (!message.empty()) return message;
  }
  if (item.number < 0 || item.name.empty()) return at(file, node, "nv: number or name is missing");
  if (table->contains("text") == table->contains("data"))
    return at(file, node, "nv: give either text or data");
  for (auto &other : file.items)
    if (other.number == item.number && other.name == item.name)
      return at(file, node,
                "nv: item " + std::to_string(item.number) + " " + item.name +
                    " is given twice, first in line " + std::to_string(other.line));
  item.line = node.source().begin.line;
  file.items.push_back(item);
  return file.items.size() <= max_nv_items ? "" : at(file, node, "nv: at most 512 items");
}

/// A description is of a phone's beginning; what a file keeps is not.
std::string add_items(description &file, const toml::node &node) {
  if (nv_is_lasting())
    return at(file, node, "nv: this phone keeps NV in a file, which a description does not change");
  const auto *array = node.as_array();
  if (!array) return add_item(file, node);
  for (auto &item : *array) {
    std::string message = add_item(file, item);
    if (!message.empty()) return message;
  }
  return "";
}

std::string add_table(description &file, const std::string &prefix, const toml::table &table);

std::string add_node(description &file, const std::string &key, const toml::node &node) {
  if (key == "fault") return add_faults(file, node);
  if (key == "nv") return add_items(file, node);
  if (const auto *table = node.as_table()) return add_table(file, key + ".", *table);
  std::string text;
  if (!node_text(node, takes_fractions(key), text))
    return at(file, node, key + ": must be a text, a whole number, true or false");
  std::string message = set_key(file.radio, file.config, key, text);
  return message.empty() ? "" : at(file, node, message);
}

std::string add_table(description &file, const std::string &prefix, const toml::table &table) {
  for (auto &&[name, node] : table) {
    std::string message = add_node(file, prefix + std::string(name.str()), node);
    if (!message.empty()) return message;
  }
  return "";
}

std::string put_items(const description &file) {
  for (auto &item : file.items) {
    std::string bytes = item.bytes;
    bytes.resize(sizeof(nv_item::bytes));
    if (phone_nv_put(static_cast<uint32_t>(item.number), item.name.c_str(), bytes.data()) != 0)
      return file.path + ": nv: there is no room for item " + std::to_string(item.number);
  }
  return "";
}

std::string change_cable(const description &file) {
  if (strcmp(file.config.cable, state().config.cable) == 0) return "";
  std::string message = rf::plug(file.config.cable);
  return message.empty() ? "" : file.path + ": " + message;
}

/// What can refuse comes first, so that a refused description changes nothing.
std::string apply(const description &file) {
  std::string message = change_cable(file);
  if (!message.empty()) return message;
  message = put_items(file);
  if (!message.empty()) {
    rf::plug(state().config.cable);
    return message;
  }
  state().radio = file.radio;
  state().config = file.config;
  rf::driver_came_up();
  rf::radio_changed();
  for (auto &fault : file.faults) {
    phone_fault(fault.place.c_str(), static_cast<unsigned>(fault.nth), static_cast<unsigned>(fault.times),
                static_cast<int>(fault.value));
  }
  return "";
}

std::string load(const char *path) {
  FILE *readable = fopen(path, "re");
  if (!readable) return std::string(path) + ": cannot be read: " + strerror(errno);
  struct stat found {};
  bool is_folder = fstat(fileno(readable), &found) == 0 && S_ISDIR(found.st_mode);
  fclose(readable);
  if (is_folder) return std::string(path) + ": is a folder; name a description file (TOML)";
  auto parsed = toml::parse_file(path);
  if (!parsed) {
    return std::string(path) + ":" + std::to_string(parsed.error().source().begin.line) + ": " +
           std::string(parsed.error().description());
  }
  auto file = std::make_unique<description>();
  file->path = path;
  file->radio = radio_now();
  file->config = state().config;
  std::string message = add_table(*file, "", parsed.table());
  return message.empty() ? apply(*file) : message;
}

}  // namespace
}  // namespace phone

int phone_load(const char *path, char *error, size_t error_size) {
  std::string message = path ? phone::load(path) : "no description file named";
  if (message.empty()) return 0;
  if (error) snprintf(error, error_size, "%s", message.c_str());
  return -1;
}
