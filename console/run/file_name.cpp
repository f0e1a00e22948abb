// SPDX-License-Identifier: Apache-2.0
#include "console/run/file_name.h"

#include "console/text/text.h"
#include "console/text/usage_error.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fmt/format.h>
#include <functional>
#include <string_view>
#include <vector>

namespace console {
namespace {

constexpr std::string_view placeholders[] = {"serial", "station", "slot", "chip", "plan", "time", "run"};

/** A part of a pattern: text, or a placeholder's name. */
struct part {
  std::string_view text;
  bool is_placeholder;
};

/** Gives what stands behind a % the unknown way: as text with is_placeholder, empty. */
std::vector<part> parts_of(std::string_view pattern) {
  std::vector<part> parts;
  while (!pattern.empty()) {
    auto percent = std::min(pattern.find('%'), pattern.size());
    if (percent) parts.push_back({pattern.substr(0, percent), false});
    pattern.remove_prefix(percent);
    if (pattern.empty()) break;
    auto rest = pattern.substr(1);
    auto known = std::ranges::find_if(placeholders, [&](auto name) { return rest.starts_with(name); });
    bool escaped = rest.starts_with('%'), found = known != std::end(placeholders);
    parts.push_back({found ? *known : rest.substr(0, escaped), !escaped});
    pattern.remove_prefix(1 + parts.back().text.size());
  }
  return parts;
}

bool is_safe(unsigned char c, bool first) {
  return c >= 0x80 || isalnum(c) || c == '-' || c == '_' || c == '+' || (c == '.' && !first);
}

std::string encoded(std::string_view value) {
  std::string safe;
  for (char c : value)
    if (is_safe(static_cast<unsigned char>(c), safe.empty()))
      safe += c;
    else
      safe += fmt::format("%{:02X}", static_cast<unsigned char>(c));
  return safe;
}

/** "2026-01-31T08:15:00.250+01:00" as "20260131T081500.250+0100". */
std::string time_in_name(std::string time) {
  std::erase(time, ':');
  time.erase(4, 1);
  time.erase(6, 1);
  return time;
}

std::string value_of(std::string_view placeholder, const identity &who, const std::string &chip) {
  if (placeholder == "chip") return chip;
  if (placeholder == "time") return time_in_name(who.started);
  if (placeholder == "run") return who.run;
  auto key = std::ranges::find(identity_keys, placeholder, [](auto &k) { return std::string_view(k.name); });
  return who.*key->member;
}

bool has(const std::string &pattern, std::string_view placeholder) {
  return std::ranges::any_of(parts_of(pattern),
                             [&](auto &p) { return p.is_placeholder && p.text == placeholder; });
}

}  // namespace

bool is_pattern(const std::string &name) {
  return std::ranges::any_of(parts_of(name), &part::is_placeholder);
}

bool needs_chip(const std::string &name) { return has(name, "chip"); }

std::string name_from_pattern(const std::string &option, const std::string &pattern, const identity &who,
                              const std::string &chip) {
  std::string name;
  for (auto &p : parts_of(pattern)) {
    if (p.is_placeholder && p.text.empty()) {
      std::vector<std::string> known;
      for (auto each : placeholders) known.push_back(fmt::format("%{}", each));
      throw usage_error{
          fmt::format("{} {}: a % has no placeholder behind it: give {}, or %% for a percent sign.", option,
                      pattern, either(known))};
    }
    auto value = p.is_placeholder ? value_of(p.text, who, chip) : std::string(p.text);
    if (value.empty())
      throw usage_error{fmt::format("{0} {1}: %{2} has no value: give --{2}.", option, pattern, p.text)};
    name += p.is_placeholder ? encoded(value) : value;
  }
  return name;
}

void make_folders(const std::string &option, const std::string &pattern, const std::string &name) {
  namespace fs = std::filesystem;
  std::error_code failed;
  auto fixed = fs::path(pattern.substr(0, pattern.find('%'))).parent_path();
  if (!fixed.empty() && !fs::is_directory(fixed, failed))
    throw usage_error{
        fmt::format("{} {}: there is no folder {}: make it first.", option, pattern, fixed.string())};
  auto folder = fs::path(name).parent_path();
  if (folder != fixed && (fs::create_directories(folder, failed), failed))
    throw usage_error{fmt::format("{} {}: {}: {}.", option, pattern, folder.string(), failed.message())};
}

void refuse_session_placeholders(const std::string &option, const std::string &pattern, const identity &who,
                                 bool several_chips) {
  auto refuse = [&](const char *placeholder, const char *cure) {
    throw usage_error{
        fmt::format("{} {}: this file is about several sessions, and %{} is different in each: {}.", option,
                    pattern, placeholder, cure)};
  };
  if (has(pattern, "run")) refuse("run", "take %time");
  if (has(pattern, "plan") && who.plan.empty()) refuse("plan", "give --plan");
  if (has(pattern, "chip") && several_chips) refuse("chip", "give --chip one chip's name");
}

}  // namespace console
