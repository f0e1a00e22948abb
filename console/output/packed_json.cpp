// SPDX-License-Identifier: Apache-2.0
#include "console/output/packed_json.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

namespace console {
namespace {

using json = packed_json::json;

/** In JSON, "<" occurs in strings only. */
std::string inert(const std::string &text) {
  std::string safe;
  for (char c : text)
    if (c == '<')
      safe += "\\u003c";
    else
      safe += c;
  return safe;
}

std::string text_of(const json &value) { return value.dump(-1, ' ', false, json::error_handler_t::replace); }

}  // namespace

void packed_json::write_entry(const std::string &entry) {
  write(first ? "[\n" : ",\n");
  write(inert(entry));
  first = false;
}

size_t packed_json::number_of_entry(const std::string &entry) {
  auto [at, added] = others.try_emplace(entry, values);
  if (added) {
    write_entry(entry);
    ++values;
  }
  return at->second;
}

size_t packed_json::number_of_string(const std::string &text) {
  auto [at, added] = strings.try_emplace(text, values);
  if (added) {
    write_entry(text_of(text));
    ++values;
  }
  return at->second;
}

size_t packed_json::number_of_keys(const json &object) {
  std::string joined;
  for (auto &[key, value] : object.items()) joined.append(key) += '\n';
  if (auto known = shapes.find(joined); known != shapes.end()) return known->second;
  std::vector<size_t> keys;
  for (auto &[key, value] : object.items()) keys.push_back(number_of_string(key));
  return shapes[joined] = number_of_entry(fmt::format(R"({{"list":[{}]}})", fmt::join(keys, ",")));
}

size_t packed_json::number_of(const json &value) {
  if (value.is_string()) return number_of_string(value.get_ref<const std::string &>());
  if (!value.is_structured()) return number_of_entry(text_of(value));
  std::vector<size_t> members;
  members.reserve(value.size());
  for (auto &member : value) members.push_back(number_of(member));
  if (value.is_array()) return number_of_entry(fmt::format(R"({{"list":[{}]}})", fmt::join(members, ",")));
  return number_of_entry(
      fmt::format(R"({{"keys":{},"values":[{}]}})", number_of_keys(value), fmt::join(members, ",")));
}

void packed_json::add_event(const json &event, std::initializer_list<int64_t> own) {
  auto line = fmt::format("[{}", number_of(event));
  for (auto number : own) line += fmt::format(",{}", number);
  write_entry(line + "]");
}

void packed_json::finish() { write(first ? "[]\n" : "\n]\n"); }

}  // namespace console
