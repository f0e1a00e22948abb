// SPDX-License-Identifier: Apache-2.0
#define TOML_EXCEPTIONS 0
#include "console/prompt/station_file.h"

#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fmt/format.h>
#include <fstream>
#include <toml++/toml.h>
#include <vector>

namespace console {
namespace {

[[noreturn]] void refuse(const std::string &path, const toml::source_region &where, const std::string &why) {
  throw usage_error{fmt::format("--station-file {}:{}: {}", path, where.begin.line, why)};
}

toml::table read(const std::string &path) {
  std::error_code ignored;
  if (std::filesystem::is_directory(path, ignored))
    throw usage_error{fmt::format("--station-file {}: it is a folder; name a file.", path)};
  std::ifstream in(path);
  if (!in) throw usage_error{fmt::format("--station-file {}: {}.", path, strerror(errno))};
  auto parsed = toml::parse(in, path);
  if (!parsed) refuse(path, parsed.error().source(), fmt::format("{}.", parsed.error().description()));
  return std::move(parsed).table();
}

std::vector<std::string> key_names() {
  std::vector<std::string> names;
  for (auto &key : identity_keys) names.emplace_back(key.name);
  return names;
}

}  // namespace

void take_station_file(identity &who, const std::string &path) {
  auto table = read(path);
  for (auto &[name, value] : table) {
    auto key = std::ranges::find(identity_keys, name.str(), [](auto &k) { return std::string_view(k.name); });
    if (key == std::end(identity_keys))
      refuse(path, value.source(),
             fmt::format("\"{}\" is no key: give {}.", name.str(), either(key_names())));
    auto text = value.value_exact<std::string>();
    if (!text) refuse(path, value.source(), fmt::format("{}: give a text in quotes.", name.str()));
    auto called = fmt::format("--station-file {}:{}: {}", path, value.source().begin.line, name.str());
    identity checked;
    set_identity(checked, *key, *text, called);
    if ((who.*key->member).empty()) who.*key->member = *text;
  }
  who.given = true;
}

}  // namespace console
